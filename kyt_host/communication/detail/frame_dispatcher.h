#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/frame_buffer.h"
#include "kyt_host/communication/listener.h"
#include "kyt_host/communication/message_manager.h"

namespace kyt_host::detail {

/// What the application wants to be called for every frame.
struct FrameCallbacks {
  using Callback = void (*)(int code, const char* text);

  std::atomic<Callback> callback{nullptr};
  Listener<int, const std::string&> listener;

  bool wanted() const { return callback.load() != nullptr || listener.installed(); }
};

/// Takes in the frames that a connection receives: their texts go to the handlers of their codes, and what a callback
/// wants into the queue.
///
/// Of a run of frames with the same code within one read only the last text is stored, since it would have replaced
/// the others before anybody could look: a stream of states then costs one lock for each read, not for each frame.
/// Handlers that want every text get every text.
class FrameDispatcher {
 public:
  FrameDispatcher(BackendBase& owner, MessageManager& store, CallbackQueue& callbacks,
                  const FrameCallbacks& frameCallbacks)
      : owner_(owner), store_(store), callbacks_(callbacks), frameCallbacks_(frameCallbacks) {}

  /// Before the frames of a read.
  /// @param bytes  all that they are cut out of; stays in place until `finishRead`
  void beginRead(std::string_view bytes);

  /// Takes an intact frame.
  void take(const Frame& frame) {
    if (mayCarryRequestIds_ && takeRequestReply(frame)) return;
    if (!inRun_ || run_.code != frame.command || everyTextCounts_) beginRun(frame.command);
    lastText_ = frame.text();
    if (run_.callbacks != 0) callbacks_.add(run_, lastText_);
  }

  /// After the last frame of a read: stores what is still to be stored, and hands the callbacks' batch over.
  void finishRead();

 private:
  void beginRun(unsigned int code);
  void endRun();
  bool takeRequestReply(const Frame& frame);

  BackendBase& owner_;
  MessageManager& store_;
  CallbackQueue& callbacks_;
  const FrameCallbacks& frameCallbacks_;

  bool mayCarryRequestIds_ = false;

  // The run of frames of one code that is going on.
  bool inRun_ = false;
  bool everyTextCounts_ = false;  // so that each frame is a run of its own
  CallbackQueue::Event run_;
  MessageBaseStrategy* handler_ = nullptr;  // null: the code is unknown, and so are too many others
  std::string_view lastText_;
};

}  // namespace kyt_host::detail
