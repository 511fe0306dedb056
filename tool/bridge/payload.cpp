#include "tool/bridge/payload.h"

#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "payload.pb.h"

namespace tool::bridge {
namespace {

constexpr int mostInMessage = 100'000;
constexpr const char* prefix = "spBv1.0";

template <class Field>  // a metric or a property; both have the same setters
void setValue(Field& field, Type type, const Datum& value) {
  if (const auto* truth = std::get_if<bool>(&value)) return field.set_boolean_value(*truth);
  if (const auto* number = std::get_if<double>(&value)) return field.set_double_value(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return field.set_string_value(*text);
  if (const auto* integer = std::get_if<std::int64_t>(&value)) {
    if (type == Type::Int32) return field.set_int_value(static_cast<std::uint32_t>(*integer));
    return field.set_long_value(static_cast<std::uint64_t>(*integer));
  }
  field.set_is_null(true);
}

void addProperty(wire::Metric& metric, const char* key, Type type, const Datum& value) {
  metric.mutable_properties()->add_keys(key);
  wire::PropertyValue& property = *metric.mutable_properties()->add_values();
  property.set_type(static_cast<unsigned int>(type));
  setValue(property, type, value);
}

void write(wire::Metric& to, const WireMetric& metric) {
  if (!metric.name.empty()) to.set_name(metric.name);
  if (metric.alias) to.set_alias(*metric.alias);
  if (metric.time) to.set_timestamp(*metric.time);
  if (metric.historical) to.set_is_historical(true);
  const Type type = metric.type.value_or(Type::String);
  to.set_datatype(static_cast<unsigned int>(type));
  setValue(to, type, metric.value);
  if (!metric.unit.empty()) addProperty(to, "engUnit", Type::String, metric.unit);
  if (metric.low) addProperty(to, "engLow", Type::Double, *metric.low);
  if (metric.high) addProperty(to, "engHigh", Type::Double, *metric.high);
  if (metric.quality) addProperty(to, "Quality", Type::Int32, static_cast<std::int64_t>(*metric.quality));
}

// Numbers that stand in fewer bits than they travel in have a sign of their own.
std::int64_t signedOf(std::uint32_t bits, unsigned int type) {
  constexpr unsigned int int8 = 1;
  constexpr unsigned int int16 = 2;
  if (type == int8) return static_cast<std::int8_t>(bits);
  if (type == int16) return static_cast<std::int16_t>(bits);
  return type == static_cast<unsigned int>(Type::Int32) ? static_cast<std::int32_t>(bits) : std::int64_t{bits};
}

Datum valueOf(const wire::Metric& metric) {
  if (metric.is_null()) return {};
  if (metric.has_boolean_value()) return metric.boolean_value();
  if (metric.has_double_value()) return metric.double_value();
  if (metric.has_float_value()) return double{metric.float_value()};
  if (metric.has_int_value()) return signedOf(metric.int_value(), metric.datatype());
  if (metric.has_long_value()) return static_cast<std::int64_t>(metric.long_value());
  if (metric.has_string_value()) return metric.string_value();
  return {};
}

WireMetric read(const wire::Metric& from) {
  WireMetric metric;
  metric.name = from.name();
  if (from.has_alias()) metric.alias = from.alias();
  if (from.has_timestamp()) metric.time = from.timestamp();
  metric.historical = from.is_historical();
  metric.value = valueOf(from);
  for (int i = 0; i < std::min(from.properties().keys_size(), from.properties().values_size()); ++i)
    if (from.properties().keys(i) == "Quality")
      metric.quality = Quality(static_cast<int>(from.properties().values(i).int_value()));
  return metric;
}

}  // namespace

WireMetric rebirthControl(bool value) {
  WireMetric metric;
  metric.name = rebirthName;
  metric.type = Type::Boolean;
  metric.value = value;
  return metric;
}

std::optional<Payload> decode(const void* bytes, std::size_t size) {
  wire::Payload from;
  if (size > static_cast<std::size_t>(std::numeric_limits<int>::max()) ||
      !from.ParseFromArray(bytes, static_cast<int>(size)) || from.metrics_size() > mostInMessage)
    return std::nullopt;
  Payload payload;
  if (from.has_timestamp()) payload.time = from.timestamp();
  if (from.has_seq()) payload.seq = static_cast<unsigned int>(from.seq() % 256);
  for (const wire::Metric& metric : from.metrics()) payload.metrics.push_back(read(metric));
  return payload;
}

std::string encode(const Payload& payload) {
  static thread_local wire::Payload to;  // keeps its memory from one payload to the next
  to.Clear();
  if (payload.time) to.set_timestamp(*payload.time);
  if (payload.seq) to.set_seq(*payload.seq);
  for (const WireMetric& metric : payload.metrics) write(*to.add_metrics(), metric);
  return to.SerializeAsString();
}

std::optional<Topic> Topic::of(const std::string& text) {
  std::vector<std::string> parts(1);
  for (const char each : text)
    if (each == '/')
      parts.emplace_back();
    else
      parts.back() += each;
  const bool fits = parts.size() == 4 || parts.size() == 5;
  if (!fits || parts[0] != prefix || !std::all_of(parts.begin() + 1, parts.end(), isTopicPart)) return std::nullopt;
  return Topic{parts[1], parts[2], parts[3], parts.size() == 5 ? parts[4] : ""};
}

std::string Topic::text() const {
  return std::string(prefix) + "/" + group + "/" + kind + "/" + node + (device.empty() ? "" : "/" + device);
}

std::string stateTopic(const std::string& host) { return std::string(prefix) + "/STATE/" + host; }

std::optional<HostState> hostState(const std::string& text) {
  const auto value = nlohmann::json::parse(text, nullptr, false);
  if (!value.is_object() || !value.contains("online") || !value["online"].is_boolean()) return std::nullopt;
  HostState state{value["online"].get<bool>()};
  if (value.contains("timestamp") && value["timestamp"].is_number_unsigned())
    state.time = value["timestamp"].get<Time>();
  return state;
}

bool isTopicPart(const std::string& text) {
  constexpr std::size_t longest = 200;
  const auto fits = [](char each) {
    return static_cast<unsigned char>(each) >= ' ' && each != '\x7f' && each != '/' && each != '+' && each != '#';
  };
  return !text.empty() && text.size() <= longest && std::all_of(text.begin(), text.end(), fits);
}

}  // namespace tool::bridge
