#include "kyt_host/communication/reply_handlers.h"

#include "kyt_host/communication/detail/json_text.h"

namespace {

void collectTexts(const Json::Value& value, std::vector<std::string>& texts) {
  if (value.isString()) texts.push_back(value.asString());
  if (value.isArray() || value.isObject()) {
    for (const Json::Value& member : value) collectTexts(member, texts);
  }
}

}  // namespace

void RecvRobotState::callBack(const char* data) {
  if (const Callback callback = callback_) callback(data);
}

void ReceiveSystemMessage::callBack(const char* data) {
  const Callback callback = callback_;
  Json::Value root;
  if (callback == nullptr || !parseJson(data, root) || !root.isObject()) return;
  if (!root.isMember("kind") || !root.isMember("data") || !root.isMember("code")) return;
  const std::string text = root["data"].asString();
  callback(root["kind"].asInt(), text.c_str(), root["code"].asInt());
}

bool RecvDownloadFinish::finished() const {
  const std::lock_guard lock(mutex_);
  return finished_;
}

std::vector<std::string> RecvAllJobFileName::jobFileNames() const {
  const std::lock_guard lock(mutex_);
  return jobFileNames_;
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
