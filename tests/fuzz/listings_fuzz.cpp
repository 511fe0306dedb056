// A controller's lists of files, whose names become paths on this PC: what comes out of them stays in its folder.

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <utility>
#include <vector>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/message_manager.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/file/detail/listing.h"

namespace fs = std::filesystem;

namespace {

void require(bool holds) {
  if (!holds) std::abort();
}

// A connection on which every request is answered with the same text.
class Answering : public BackendBase {
 public:
  explicit Answering(std::string text) : text_(std::move(text)) {}

  bool Connect() override { return true; }
  bool closeConnection() override { return true; }
  bool getConnectState() const override { return true; }
  void setConnectRestart(bool) override {}
  void SetReconnectCallback(void (*)()) override {}
  std::string GetIp() const override { return {}; }
  std::string GetPort() const override { return {}; }
  bool sendData(unsigned int, const std::string&) override { return true; }
  MessageBaseStrategy* waitingMessage(unsigned int, int) override { return nullptr; }
  void setCallbackWhenRecv(void (*)(int, const char*)) override {}
  MessageBaseStrategy* getMessageByStrategy(unsigned int code) override {
    return store_.find(static_cast<Strategy>(code));
  }
  MessageBaseStrategy* exchange(unsigned int, const std::string&, unsigned int replyCode, int,
                                std::string& text) override {
    getMessageByStrategy(static_cast<unsigned int>(Strategy::JobFileNameReply))->store(text_);
    text = text_;
    return getMessageByStrategy(replyCode);
  }

 private:
  const std::string text_;
  MessageManager store_;
};

void requireInFolder(const std::vector<std::string>& names) {
  const fs::path folder = "/somewhere/R1";
  for (const std::string& name : names) {
    const fs::path path = (folder / name).lexically_normal();
    require(path.parent_path() == folder && path.has_filename() && name.find('\0') == std::string::npos);
  }
}

void list(const std::string& text) {
  Answering controller(text);
  std::vector<std::vector<std::string>> jobs;
  std::vector<std::string> files;
  try {
    kyt_host::detail::listJobFiles(controller, jobs);
  } catch (const std::exception&) {  // ends as -5
  }
  try {
    kyt_host::detail::listConfigFiles(controller, files);
  } catch (const std::exception&) {
  }
  for (const std::vector<std::string>& ofRobot : jobs) requireInFolder(ofRobot);
  requireInFolder(files);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::cerr.setstate(std::ios::failbit);  // names that are refused are told there
  list({reinterpret_cast<const char*>(data), size});
  return 0;
}
