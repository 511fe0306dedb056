#include "kyt_host/communication/detail/frame_dispatcher.h"

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

void FrameDispatcher::beginRead(std::string_view bytes) { mayCarryRequestIds_ = carriesRequestId(bytes); }

void FrameDispatcher::finishRead() {
  endRun();
  callbacks_.publish();
}

void FrameDispatcher::beginRun(unsigned int code) {
  endRun();
  handler_ = store_.findOrAddReceived(static_cast<Strategy>(code));
  everyTextCounts_ = handler_ != nullptr && handler_->wantsEveryText();
  run_ = {code, 0};
  if (handler_ != nullptr && handler_->wantsCallBack()) run_.callbacks |= CallbackQueue::OfHandler;
  if (frameCallbacks_.wanted()) run_.callbacks |= CallbackQueue::OfReceiver;
  inRun_ = true;
}

void FrameDispatcher::endRun() {
  if (inRun_ && handler_ != nullptr) handler_->store(lastText_);
  inRun_ = false;
}

// Whether the text is one that carries a request's id: not for the store, but for the receive callback like any other.
bool FrameDispatcher::takeRequestReply(const Frame& frame) {
  if (frame.command == static_cast<unsigned int>(Strategy::DownloadData)) return false;  // a file may hold anything
  if (!carriesRequestId(frame.text())) return false;
  owner_.onMessageReceived(static_cast<Strategy>(frame.command), std::string(frame.text()));
  if (frameCallbacks_.wanted()) callbacks_.add({frame.command, CallbackQueue::OfReceiver}, frame.text());
  return true;
}

}  // namespace kyt_host::detail
