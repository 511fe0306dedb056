#include "kyt_host/communication/detail/frame_filer.h"

#include <string>

namespace kyt_host::detail {

namespace {

constexpr std::string_view requestIdKey = "\"reqId\"";
constexpr std::size_t searched = requestIdKey.find('I');  // a letter that is rare in what controllers send

bool carriesRequestId(std::string_view text) {
  for (std::size_t at = text.find('I', searched); at != std::string_view::npos; at = text.find('I', at + 1)) {
    if (text[at - 1] == 'q' && text.compare(at - searched, requestIdKey.size(), requestIdKey) == 0) return true;
  }
  return false;
}

}  // namespace

void FrameFiler::beginRead(std::string_view bytes) { mayCarryRequestIds_ = carriesRequestId(bytes); }

void FrameFiler::finishRead() {
  endRow();
  callbacks_.publish();
}

void FrameFiler::beginRow(unsigned int code) {
  endRow();
  handler_ = store_.findOrAddReceived(static_cast<Strategy>(code));
  everyTextCounts_ = handler_ != nullptr && handler_->wantsEveryText();
  row_ = {code, handler_ != nullptr && handler_->wantsCallBack(), receiveCallback_.load() != nullptr, false};
  inRow_ = true;
}

void FrameFiler::endRow() {
  if (inRow_ && handler_ != nullptr) handler_->store(lastText_);
  inRow_ = false;
}

// Whether the text is one that carries a request's id: not for the store, but for the receive callback like any other.
bool FrameFiler::takeRequestReply(const Frame& frame) {
  if (frame.command == static_cast<unsigned int>(Strategy::DownloadData)) return false;  // a file may hold anything
  if (!carriesRequestId(frame.text())) return false;
  owner_.onMessageReceived(static_cast<Strategy>(frame.command), std::string(frame.text()));
  if (receiveCallback_.load() != nullptr) callbacks_.add({frame.command, false, true, false}, frame.text());
  return true;
}

}  // namespace kyt_host::detail
