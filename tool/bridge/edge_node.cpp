#include "tool/bridge/edge_node.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace tool::bridge {
namespace {

constexpr unsigned int mostSeq = 256;
constexpr std::uint64_t aliasesOfDevice = 4096;

}  // namespace

EdgeNode::EdgeNode(Settings settings, std::function<void()> wake)
    : settings_(std::move(settings)), wake_(wake ? std::move(wake) : [] {}) {
  devices_[0].alive = true;
}

DeviceId EdgeNode::add(const std::string& name) {
  const std::lock_guard lock(mutex_);
  const DeviceId device = ++lastDevice_;
  byName_[name] = device;
  devices_[device].name = name;
  return device;
}

void EdgeNode::remove(DeviceId device) {
  died(device);
  const std::lock_guard lock(mutex_);
  devices_[device].removed = true;
  settle(device);
}

void EdgeNode::born(DeviceId device, std::vector<Metric> metrics, std::vector<Datum> values) {
  const std::lock_guard lock(mutex_);
  Device& its = devices_[device];
  if (metrics.size() != values.size() || metrics.size() >= aliasesOfDevice)
    throw std::invalid_argument("metrics without values, or too many");
  its.byName.clear();
  for (std::size_t i = 0; i < metrics.size(); ++i) its.byName[metrics[i].name] = i;
  its.metrics = std::move(metrics);
  its.values = std::move(values);
  its.quality = Quality::Good;
  its.alive = true;
  if (!born_ || device == 0) return;
  push({Kind::Birth, device, timeNow()});
  wake_();
}

void EdgeNode::died(DeviceId device) {
  const std::lock_guard lock(mutex_);
  Device& its = devices_[device];
  if (!its.alive) return;
  its.alive = false;
  its.quality = Quality::Stale;
  if (!born_) return;
  push({Kind::Death, device, timeNow()});
  wake_();
}

void EdgeNode::report(DeviceId device, const std::vector<Sample>& samples, Time time) {
  const std::lock_guard lock(mutex_);
  Device& its = devices_[device];
  if (!its.alive) return;
  Item data{Kind::Data, device, time};
  Item alarms{Kind::Data, device, time};
  alarms.alarm = true;
  for (const Sample& sample : samples) {
    if (sample.metric >= its.metrics.size()) continue;
    const Metric& metric = its.metrics[sample.metric];
    Datum& known = its.values[sample.metric];
    if (!differs(known, sample.value, metric.band)) continue;
    known = sample.value;
    (metric.alarm ? alarms : data).samples.push_back(sample);
  }
  for (Item* item : {&alarms, &data})
    if (!item->samples.empty()) push(std::move(*item));
  if (born_) wake_();
}

void EdgeNode::trust(DeviceId device, Quality quality, Time time) {
  const std::lock_guard lock(mutex_);
  Device& its = devices_[device];
  if (!its.alive || its.quality == quality) return;
  its.quality = quality;
  Item item{Kind::Data, device, time, quality};
  for (std::size_t i = 0; i < its.values.size(); ++i) item.samples.push_back({i, its.values[i]});
  push(std::move(item));
  if (born_) wake_();
}

// --- what waits

std::size_t EdgeNode::Item::size() const {
  std::size_t size = sizeof(Item) + samples.capacity() * sizeof(Sample);
  for (const Sample& sample : samples)
    if (const auto* text = std::get_if<std::string>(&sample.value)) size += text->size();
  return size;
}

void EdgeNode::push(Item item) {
  bytes_ += item.size();
  count_.buffered += item.samples.size();
  ++devices_[item.device].waiting;
  items_.push_back(std::move(item));
  shrink();
}

// The oldest goes first, alarms after everything else.
void EdgeNode::shrink() {
  while (bytes_ > settings_.buffer && !(items_.empty() && kept_.empty())) {
    const bool onlyKept = items_.empty();
    std::deque<Item>& from = onlyKept ? kept_ : items_;
    Item item = std::move(from.front());
    from.pop_front();
    if (!onlyKept && (item.alarm || item.kind != Kind::Data)) {
      kept_.push_back(std::move(item));
      continue;
    }
    bytes_ -= item.size();
    count_.buffered -= item.samples.size();
    count_.dropped += item.samples.size();
    --devices_[item.device].waiting;
    settle(item.device);
  }
}

EdgeNode::Item EdgeNode::pop() {
  std::deque<Item>& from = kept_.empty() ? items_ : kept_;
  Item item = std::move(from.front());
  from.pop_front();
  bytes_ -= item.size();
  count_.buffered -= item.samples.size();
  --devices_[item.device].waiting;
  return item;
}

// A device that has been removed goes with the last that is to be told about it.
void EdgeNode::settle(DeviceId device) {
  const auto found = devices_.find(device);
  if (found == devices_.end() || !found->second.removed || found->second.waiting > 0) return;
  const auto named = byName_.find(found->second.name);
  if (named != byName_.end() && named->second == device) byName_.erase(named);
  devices_.erase(found);
}

// --- the broker

Message EdgeNode::will() {
  const std::lock_guard lock(mutex_);
  bdSeq_ = (bdSeq_ + 1) % static_cast<int>(mostSeq);
  Payload payload;
  payload.time = timeNow();
  payload.metrics.push_back(bdSeq());
  return {Topic{settings_.group, "NDEATH", settings_.node, ""}.text(), encode(payload)};
}

void EdgeNode::connected() {
  const std::lock_guard lock(mutex_);
  connected_ = true;
  if (settings_.primaryHost.empty() || hostOnline_) birthDue_ = true;
}

void EdgeNode::disconnected() {
  const std::lock_guard lock(mutex_);
  connected_ = born_ = birthDue_ = rebirth_ = hostOnline_ = false;
  hostTime_ = 0;
  birthsDue_.clear();
}

void EdgeNode::rebirth() {
  const std::lock_guard lock(mutex_);
  rebirth_ = born_;
}

bool EdgeNode::host(const HostState& state) {
  const std::lock_guard lock(mutex_);
  if (state.time < hostTime_) return false;  // of an older connection of the host's
  hostTime_ = state.time;
  hostOnline_ = state.online;
  if (connected_ && hostOnline_ && !born_) birthDue_ = true;
  if (!hostOnline_) birthDue_ = false;
  return !hostOnline_ && born_;
}

std::optional<Message> EdgeNode::death() {
  const std::lock_guard lock(mutex_);
  if (!born_) return std::nullopt;
  born_ = false;
  Payload payload;
  payload.time = timeNow();
  payload.metrics.push_back(bdSeq());
  return Message{Topic{settings_.group, "NDEATH", settings_.node, ""}.text(), encode(payload)};
}

// Births tell the present; so everything that waits is the past, and its births and deaths are no news.
void EdgeNode::beginAnew() {
  std::deque<Item> data;
  std::set<DeviceId> wanted;
  while (!kept_.empty() || !items_.empty()) {
    Item item = pop();
    if (item.kind != Kind::Data) continue;
    if (devices_[item.device].removed) {
      count_.dropped += item.samples.size();
      continue;
    }
    item.historical = true;
    item.quality.reset();  // who reads it later has no use for how old it was then
    wanted.insert(item.device);
    data.push_back(std::move(item));
  }
  for (Item& item : data) push(std::move(item));
  birthsDue_.clear();
  for (auto device = devices_.begin(); device != devices_.end();) {
    device->second.announced = false;
    const auto current = device++;
    if (current->first == 0) continue;
    if (current->second.alive || wanted.count(current->first) != 0) birthsDue_.insert(current->first);
    settle(current->first);
  }
  for (const DeviceId id : birthsDue_)
    if (!devices_[id].alive) push({Kind::Death, id, timeNow()});
}

std::optional<Message> EdgeNode::next() {
  const std::lock_guard lock(mutex_);
  constexpr Time pause = 1000;
  if (!connected_) return std::nullopt;
  if (birthDue_ || (rebirth_ && timeNow() - birthTime_ >= pause)) return nodeBirth();
  if (!born_) return std::nullopt;
  if (!birthsDue_.empty()) return deviceBirth(*birthsDue_.begin());
  while (!kept_.empty() || !items_.empty()) {
    const Item item = pop();
    const bool announced = item.device == 0 || devices_[item.device].announced;
    std::optional<Message> message;
    if (item.kind == Kind::Birth && devices_[item.device].alive) message = deviceBirth(item.device);
    if (item.kind == Kind::Data && announced) message = data(item);
    if (item.kind == Kind::Death && announced) message = deviceDeath(item.device);
    settle(item.device);
    if (message) return message;
  }
  return std::nullopt;
}

Message EdgeNode::nodeBirth() {
  birthDue_ = rebirth_ = false;
  born_ = true;
  birthTime_ = timeNow();
  beginAnew();
  seq_ = 0;
  Payload payload;
  payload.metrics.push_back(bdSeq());
  payload.metrics.push_back(rebirthControl(false));
  addMetrics(payload, 0);
  return message("NBIRTH", 0, std::move(payload));
}

Message EdgeNode::deviceBirth(DeviceId device) {
  birthsDue_.erase(device);
  devices_[device].announced = true;
  Payload payload;
  addMetrics(payload, device);
  return message("DBIRTH", device, std::move(payload));
}

Message EdgeNode::data(const Item& item) {
  const Device& device = devices_[item.device];
  Payload payload;
  for (const Sample& sample : item.samples) {
    if (sample.metric >= device.metrics.size()) continue;  // the device was born anew, with less
    WireMetric metric;
    metric.alias = alias(item.device, sample.metric);
    metric.time = item.time;
    metric.type = device.metrics[sample.metric].type;
    metric.value = sample.value;
    metric.historical = item.historical;
    metric.quality = item.quality;
    payload.metrics.push_back(std::move(metric));
  }
  return message(item.device == 0 ? "NDATA" : "DDATA", item.device, std::move(payload));
}

Message EdgeNode::deviceDeath(DeviceId device) {
  devices_[device].announced = false;
  return message("DDEATH", device, {});
}

Message EdgeNode::message(const char* kind, DeviceId device, Payload payload) {
  payload.time = timeNow();
  payload.seq = seq_;
  seq_ = (seq_ + 1) % mostSeq;
  ++count_.sent;
  return {Topic{settings_.group, kind, settings_.node, devices_[device].name}.text(), encode(payload)};
}

void EdgeNode::addMetrics(Payload& payload, DeviceId device) const {
  const Device& its = devices_.at(device);
  const Time time = timeNow();
  for (std::size_t i = 0; i < its.metrics.size(); ++i) {
    const Metric& from = its.metrics[i];
    WireMetric metric;
    metric.name = from.name;
    metric.alias = alias(device, i);
    metric.time = time;
    metric.type = from.type;
    metric.value = its.values[i];
    metric.unit = from.unit;
    metric.low = from.low;
    metric.high = from.high;
    if (its.quality != Quality::Good) metric.quality = its.quality;
    payload.metrics.push_back(std::move(metric));
  }
}

WireMetric EdgeNode::bdSeq() const {
  WireMetric metric;
  metric.name = "bdSeq";
  metric.time = timeNow();
  metric.type = Type::Int64;
  metric.value = std::int64_t{bdSeq_};
  return metric;
}

std::uint64_t EdgeNode::alias(DeviceId device, std::size_t metric) const { return device * aliasesOfDevice + metric; }

bool EdgeNode::live() const {
  const std::lock_guard lock(mutex_);
  return born_;
}

std::optional<EdgeNode::Target> EdgeNode::find(const std::string& name, const WireMetric& metric) const {
  const std::lock_guard lock(mutex_);
  const auto known = byName_.find(name);
  if (known == byName_.end()) return std::nullopt;
  const DeviceId id = known->second;
  const Device& device = devices_.at(id);
  if (!metric.name.empty()) {
    const auto found = device.byName.find(metric.name);
    if (found == device.byName.end()) return std::nullopt;
    return Target{id, found->second, metric.name};
  }
  if (!metric.alias || *metric.alias / aliasesOfDevice != id) return std::nullopt;
  const std::size_t index = *metric.alias % aliasesOfDevice;
  if (index >= device.metrics.size()) return std::nullopt;
  return Target{id, index, device.metrics[index].name};
}

EdgeNode::Count EdgeNode::count() const {
  const std::lock_guard lock(mutex_);
  Count count = count_;
  for (const auto& [id, device] : devices_)
    if (id != 0 && device.alive) ++count.alive;
  return count;
}

}  // namespace tool::bridge
