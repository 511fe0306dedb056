#pragma once

#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/heartbeat.h"
#include "kyt_host/communication/detail/receiver.h"
#include "kyt_host/communication/detail/stop_signal.h"
#include "kyt_host/communication/detail/thread_group.h"

namespace kyt_host::detail {

/// What lives from one Connect to its closeConnection. Its threads share it, so that one that had to be left behind (in
/// a callback that closes its own connection, or does not return) finds everything in place, and stopped.
struct Session {
  Session(BackendBase& owner, MessageManager& store, TcpLink& link, const FrameCallbacks& frameCallbacks,
          Receiver::Events& events)
      : receiver(link, FrameDispatcher(owner, store, callbacks, frameCallbacks), callbacks, signal, events) {
    callbacks.onRoom = [this] { receiver.goOn(); };
  }

  void stop() {
    signal.stop();
    callbacks.stop();
    heartbeat.stop();
  }

  StopSignal signal;
  CallbackQueue callbacks;
  Receiver receiver;
  Heartbeat heartbeat;
  ThreadGroup threads;  ///< that calls back, that restores a broken connection, and that of the heartbeat
};

}  // namespace kyt_host::detail
