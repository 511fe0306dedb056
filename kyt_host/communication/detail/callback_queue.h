#pragma once

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string_view>
#include <vector>

namespace kyt_host::detail {

/// Gives back memory of a batch.
struct BatchRelease {
  std::size_t size = 0;
  void operator()(char* bytes) const;
};

/// What the reader of one connection hands to the thread that calls the user's callbacks.
///
/// The reader adds events and publishes them in batches; the other thread delivers them one at a time, in order.
/// Nothing is dropped: while what waits occupies more than `capacity` bytes there is no room, and nothing is read.
class CallbackQueue {
 public:
  static constexpr std::size_t capacity = 4 * 1024 * 1024;

  /// A callback that itself waits for a reply must not stop that reply from being read: as long as it waits, the
  /// reader may go on up to this.
  static constexpr std::size_t capacityWhileCallbackWaits = 16 * capacity;

  /// Which callbacks an event is for.
  enum Callbacks : std::uint32_t {
    OfHandler = 1,       ///< the own one of the handler of the event's code
    OfReceiver = 2,      ///< the receive callback
    OfReconnection = 4,  ///< not a frame: the connection has been restored
    OfLoss = 8,          ///< not a frame: it has broken
  };

  struct Event {
    std::uint32_t code = 0;
    std::uint32_t callbacks = 0;  ///< any of `Callbacks`
  };

  using Deliver = std::function<void(const Event& event, const char* text)>;

  /// Receiver: adds an event to the batch in the making.
  void add(const Event& event, std::string_view text) {
    const Record record{event, static_cast<std::uint32_t>(text.size())};
    char* const bytes = making_.extend(sizeof record + text.size() + 1);
    std::memcpy(bytes, &record, sizeof record);
    text.copy(bytes + sizeof record, text.size());
    bytes[sizeof record + text.size()] = '\0';
  }

  /// Receiver: hands over the batch in the making, if there is one.
  void publish();

  /// Whether the reader may go on. If not, `onRoom` is called as soon as it may.
  bool hasRoom();

  /// Waits for that. @return false when it is not so by `deadline`
  bool awaitRoom(std::chrono::steady_clock::time_point deadline);

  /// Called on the thread that makes room. Set before anything is published.
  std::function<void()> onRoom;

  /// Whether something waits, and nobody has begun to deliver. Then whoever asks has to see to it.
  bool needsThread();

  /// That could not be done.
  void hasNoThread() { begun_ = false; }

  /// Delivers events on the calling thread until `stop`.
  void run(const Deliver& deliver);

  /// Ends `run` after the event being delivered. What is added from then on is dropped, so that there is room.
  void stop();

  bool stopped() const { return stopped_; }

  /// Waits until nothing is being delivered, and nothing waits for it. On the thread that is in `run` that is taken to
  /// be so.
  /// @return false when it is not so by `deadline`
  bool awaitQuiet(std::chrono::steady_clock::time_point deadline);

  /// The queue whose events the calling thread delivers, or null.
  static CallbackQueue* runningHere() { return runningHere_; }

  /// In the child of a fork, where the thread that is in `run` may be the only one: it leaves without looking back.
  static void leaveAfterFork() { runningHere_ = nullptr; }

  /// Stands while the calling thread waits for a reply. Only matters on a thread that is in `run`.
  class WaitingForReply {
   public:
    WaitingForReply();
    ~WaitingForReply();
    WaitingForReply(const WaitingForReply&) = delete;
    WaitingForReply& operator=(const WaitingForReply&) = delete;
  };

 private:
  /// What a batch is a row of, each followed by its text and a zero byte.
  struct Record {
    Event event;
    std::uint32_t textSize = 0;
  };

  /// A row of bytes to append to, which are not set to zero first.
  class Batch {
   public:
    const char* begin() const { return bytes_.get(); }
    const char* end() const { return bytes_.get() + size_; }
    std::size_t size() const { return size_; }
    std::size_t capacity() const { return capacity_; }
    void clear() { size_ = 0; }
    void append(const Batch& other) { std::copy(other.begin(), other.end(), extend(other.size())); }

    /// Room for `count` bytes more, for the caller to write.
    char* extend(std::size_t count) {
      if (capacity_ - size_ < count) grow(size_ + count);
      size_ += count;
      return bytes_.get() + size_ - count;
    }

   private:
    void grow(std::size_t leastCapacity);

    std::unique_ptr<char[], BatchRelease> bytes_;
    std::size_t size_ = 0;
    std::size_t capacity_ = 0;
  };

  bool handOver();
  Batch takeSpare();
  std::size_t occupiedBytes();
  bool isRoom() const { return occupiedBytes_ <= currentCapacity() || stopped_; }
  void tellRoom(std::unique_lock<std::mutex>& lock);
  void waitForBatch(std::unique_lock<std::mutex>& lock);
  void deliverBatch(const Batch& batch, const Deliver& deliver);
  std::size_t currentCapacity() const { return callbackWaits_ ? capacityWhileCallbackWaits : capacity; }

  Batch making_;  // the reader's alone

  std::mutex mutex_;
  std::condition_variable published_;
  std::condition_variable room_;
  std::condition_variable quiet_;
  std::deque<Batch> batches_;
  std::vector<Batch> spares_;      // the memory of batches that have been delivered
  std::size_t occupiedBytes_ = 0;  // by what waits, and by what is being delivered
  bool delivering_ = false;
  bool idle_ = false;         // the delivering thread sleeps
  bool readerWaits_ = false;  // for room
  std::atomic<bool> begun_{false};
  bool callbackWaits_ = false;
  std::atomic<bool> stopped_{false};  // set with the mutex held

  static thread_local CallbackQueue* runningHere_;
};

}  // namespace kyt_host::detail
