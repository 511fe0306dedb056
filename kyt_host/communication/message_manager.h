#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "kyt_host/communication/message_base_strategy.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The reply store of one connection: command code -> handler.
///
/// All reply codes that the library knows are registered from the start. They are found without a lock; handlers of
/// other codes are added as they are needed, and live as long as the store.
class KYT_HOST_API MessageManager {
 public:
  /// How many handlers frames of unknown codes may bring into being, so that no peer can make the store grow at will.
  static constexpr std::size_t maxUnknownCodes = 256;

  MessageManager();
  ~MessageManager();
  MessageManager(const MessageManager&) = delete;
  MessageManager& operator=(const MessageManager&) = delete;

  /// Puts a plain handler under `code`, in place of the one that was there, which is deleted: not for a code that
  /// somebody may be waiting for.
  MessageBaseStrategy* addNewMessage(Strategy code);

  /// The handler of `code`, or null.
  MessageBaseStrategy* find(Strategy code) const;

  /// The handler of `code`; a plain one is added if there is none.
  MessageBaseStrategy* findOrAdd(Strategy code);

  /// The handler of a code that has arrived; null when it is unknown and `maxUnknownCodes` are there already.
  MessageBaseStrategy* findOrAddReceived(Strategy code);

  /// Nothing can arrive any more, until `reopen`: whoever waits in this store gives up.
  void endWaits();
  void reopen() { ended_ = false; }
  const std::atomic<bool>& ended() const { return ended_; }

 private:
  MessageBaseStrategy* addUnlessThere(Strategy code, std::size_t limit);

  std::atomic<bool> ended_{false};
  std::vector<std::unique_ptr<MessageBaseStrategy>> registered_;
  mutable std::mutex othersMutex_;
  std::unordered_map<Strategy, std::unique_ptr<MessageBaseStrategy>> others_;
};
