#include "kyt_host/communication/reply_handlers.h"

#include <algorithm>
#include <iostream>
#include <utility>

#include "kyt_host/codec/replies.h"
#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/guarded.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/detail/wall_clock.h"

using namespace kyt_host::detail;

namespace {

void collectTexts(const Json::Value& value, std::vector<std::string>& texts) {
  if (value.isString()) texts.push_back(value.asString());
  if (value.isArray() || value.isObject()) {
    for (const Json::Value& member : value) collectTexts(member, texts);
  }
}

// The second, unless the first has disconnected.
template <class First, class Second>
void callBoth(const First& first, const Second& second) {
  callUser(first);
  if (CallbackQueue* const queue = CallbackQueue::runningHere(); queue == nullptr || !queue->stopped())
    callUser(second);
}

bool readMessage(const char* text, SystemMessage& message) {
  try {
    Json::Value root;
    if (!parseJson(text, root) || !root.isObject()) return false;
    if (!root.isMember("kind") || !root.isMember("data") || !root.isMember("code")) return false;
    message.kind = root["kind"].asInt();
    message.text = textOf(root["data"]);
    message.code = root["code"].asInt();
    message.robot = root["robot"].isInt() ? root["robot"].asInt() : 0;
    return true;
  } catch (const std::exception& exception) {  // a member of another type
    printLine(std::cerr, std::string("A message of the controller is not understood: ") + exception.what());
    return false;
  }
}

// Messages are counted up to here, and then from 1 again.
constexpr unsigned int numbers = 0x7FFFFFFF;
std::atomic<unsigned int> latest{0};

bool isAfter(int number, int other) {
  const auto ahead = (static_cast<unsigned int>(number) - static_cast<unsigned int>(other)) & numbers;
  return ahead != 0 && ahead <= numbers / 2;
}

}  // namespace

void RecvRobotState::callBack(const char* data) {
  callBoth(
      [&] {
        if (const Callback callback = callback_) callback(data);
      },
      [&] {
        if (listener.installed()) listener(data);
      });
}

RecvRobotState::Follower::Follower(RecvRobotState& handler) : handler_(handler) {
  const std::lock_guard lock(handler_.mutex_);
  handler_.followers_.push_back(this);
  ++handler_.following_;
}

RecvRobotState::Follower::~Follower() {
  const std::lock_guard lock(handler_.mutex_);
  auto& all = handler_.followers_;
  all.erase(std::find(all.begin(), all.end(), this));
  --handler_.following_;
}

std::vector<std::string> RecvRobotState::Follower::takeTexts() {
  const std::lock_guard lock(handler_.mutex_);
  return std::exchange(texts_, {});
}

void RecvRobotState::onStored() {
  for (Follower* const follower : followers_) {
    auto& texts = follower->texts_;
    if (texts.size() == Follower::mostKept) texts.erase(texts.begin());
    texts.push_back(text_);
  }
}

void ReceiveSystemMessage::store(std::string_view data) {
  const std::lock_guard lock(mutex_);
  keptBytes_ += data.size();
  kept_.push_back({static_cast<int>(++latest & numbers), secondsSince1970(), std::string(data)});
  while (kept_.size() > mostKept || (keptBytes_ > mostKeptBytes && kept_.size() > 1)) {
    keptBytes_ -= kept_.front().text.size();
    kept_.pop_front();
  }
}

int ReceiveSystemMessage::latestNumber() { return static_cast<int>(latest & numbers); }

void ReceiveSystemMessage::addMessagesAfter(int number, std::vector<SystemMessage>& messages) const {
  const std::lock_guard lock(mutex_);
  for (const Kept& kept : kept_) {
    SystemMessage message;
    if ((number != 0 && !isAfter(kept.number, number)) || !readMessage(kept.text.c_str(), message)) continue;
    message.number = kept.number;
    message.time = kept.time;
    messages.push_back(std::move(message));
  }
}

void ReceiveSystemMessage::callBack(const char* data) {
  SystemMessage message;
  if (!wantsCallBack() || !readMessage(data, message)) return;
  callBoth(
      [&] {
        if (const Callback callback = callback_) callback(message.kind, message.text.c_str(), message.code);
      },
      [&] { listener(message.kind, message.text, message.code); });
}

bool RecvDownloadFinish::finished() const {
  const std::lock_guard lock(mutex_);
  return finished_;
}

std::vector<std::string> RecvAllJobFileName::jobFileNames() const {
  const std::lock_guard lock(mutex_);
  return jobFileNames_;
}

std::vector<std::string> RecvAllJobFileName::takeTexts() {
  const std::lock_guard lock(mutex_);
  textsSize_ = 0;
  return std::exchange(texts_, {});
}

void RecvAllJobFileName::onStored() {
  getAllJobFileName();
  textsSize_ += text_.size() + sizeof(std::string);
  if (textsSize_ <= maxKept) texts_.push_back(text_);
}

void RecvAllJobFileName::getAllJobFileName() {
  jobFileNames_.clear();
  try {
    Json::Value root;
    if (parseJson(text_, root)) collectTexts(root, jobFileNames_);
  } catch (const std::exception&) {
    jobFileNames_.clear();  // nested beyond the reader's limit: no list of names
  }
}

int RecvDhParaState::recvDHpara(int /*robotType*/, RobotDHParam& param) const {
  return decode(text(), replies::dhParam(param));
}

int RecvJointPara::recvJointparam(RobotJointParam& param) const { return decode(text(), replies::jointParam(param)); }

int RecvIoControl::receiveIoControl(int& num, int& time, RemoteControl& control,
                                    std::vector<RemoteProgram>& programs) const {
  return decode(text(), readAtOnce(replies::readRemoteFunction, num, time, control, programs));
}

int RecvIoRemoteTips::receiveIoRemoteTips(int& num, int& outagerecover, int& outagerecoverValue,
                                          std::vector<RemoteProgram>& outputs) const {
  return decode(text(), readAtOnce(replies::readRemoteTips, num, outagerecover, outagerecoverValue, outputs));
}

int RecvIOtype::getIOtype(IOtype& io) const { return decode(text(), readAtOnce(replies::readIoType, io)); }
