#include "kyt_host/file/detail/listing.h"

#include <algorithm>
#include <iostream>
#include <numeric>
#include <utility>

#include <json/value.h>

#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/detail/diagnostics.h"
#include "kyt_host/detail/json_text.h"
#include "kyt_host/file/detail/single_file.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

namespace {

constexpr std::size_t robotCount = 4;
constexpr std::size_t longestName = 255;

bool isControlCharacter(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7F;
}

// Whether it names a file in the folder at hand, and nothing else.
bool isPlainName(const std::string& name) {
  return !name.empty() && name != "." && name.size() <= longestName && name.find_first_of("/\\") == std::string::npos &&
         name.find("..") == std::string::npos && std::none_of(name.begin(), name.end(), isControlCharacter);
}

/// Takes plain names out of the lists of one listing. Of the others some are told, and then how many there were.
class PlainNames {
 public:
  PlainNames() = default;
  ~PlainNames() {
    if (refused_ > mostTold)
      printLine(std::cerr, "File names of the controller that are not to be trusted: " + std::to_string(refused_));
  }
  PlainNames(const PlainNames&) = delete;
  PlainNames& operator=(const PlainNames&) = delete;

  void take(const Json::Value& list, std::vector<std::string>& names) {
    for (const Json::Value& entry : list) {
      std::string name = entry.asString();
      if (isPlainName(name)) {
        names.push_back(std::move(name));
      } else if (++refused_ <= mostTold) {
        std::replace_if(name.begin(), name.end(), isControlCharacter, '?');
        printLine(std::cerr, "A file name of the controller is not to be trusted: " + name.substr(0, longestName));
      }
    }
  }

 private:
  static constexpr std::size_t mostTold = 10;
  std::size_t refused_ = 0;
};

template <class Handler>
Handler* handlerOf(BackendBase& server, Strategy code) {
  return dynamic_cast<Handler*>(server.getMessageByStrategy(static_cast<unsigned int>(code)));
}

}  // namespace

int listJobFiles(BackendBase& server, std::vector<std::vector<std::string>>& names) {
  auto* const lists = handlerOf<RecvAllJobFileName>(server, Strategy::JobFileNameReply);
  const auto* const number = handlerOf<RecvAllJobFileNum>(server, Strategy::JobFileNumberReply);
  if (lists == nullptr || number == nullptr) return RECEIVE_FAILED;
  lists->takeTexts();  // those that nobody has asked for
  std::string finished;
  if (server.exchange(static_cast<unsigned int>(Strategy::ListJobFiles), "",
                      static_cast<unsigned int>(Strategy::JobFileListFinished), fileReplyTimeLimitMs,
                      finished) == nullptr)
    return RECEIVE_FAILED;

  PlainNames plain;
  std::vector<std::vector<std::string>> found(robotCount);
  Json::ArrayIndex count = 0;
  for (const std::string& text : lists->takeTexts()) {
    Json::Value list;
    if (!parseJson(text, list)) continue;
    const Json::Value& files = list["jobfilename"];
    const unsigned int robot = list.get("robot", const_robot).asUInt();
    if (robot < 1 || robot > robotCount) continue;
    plain.take(files, found[robot - 1]);
    count += files.size();
  }
  Json::Value total;
  if (parseJson(number->text(), total) && total.isMember("jobfilenum") && total["jobfilenum"].asUInt() != count)
    return RECEIVE_FAILED;  // some of them were lost, or are too many
  names = std::move(found);
  return SUCCESS;
}

int listConfigFiles(BackendBase& server, std::vector<std::string>& names) {
  Json::Value reply;
  if (!askFileServer(server, Strategy::ListConfigFiles, "", Strategy::ConfigFileListReply, fileReplyTimeLimitMs, reply))
    return RECEIVE_FAILED;
  std::vector<std::string> found;
  PlainNames().take(reply["configfilename"], found);
  names = std::move(found);
  return SUCCESS;
}

}  // namespace kyt_host::detail
