#pragma once

#include <array>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "kyt_host/communication/communication.h"
#include "kyt_host/export.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The connections of this process by handle, 1..1000.
///
/// There before the first object of the application and never destroyed, so that whatever still asks while the process
/// ends gets an answer. When it exits, callbacks stop as soon as the objects that are younger than the first connection
/// have been destroyed; the connections are closed after everything else. The child of a fork begins anew.
class KYT_HOST_API ClientManager {
  struct Slot;

 public:
  static constexpr int maxClients = 1000;

  static ClientManager& getInstance();

  /// Takes a handle out of the free ones; -1 when all are in use. A handle that is given back goes to the end of the
  /// row, so it is used again only after all others.
  int getNextSocketID();

  /// Connects. @return the handle, or -1
  int addClient(const std::string& ip, const std::string& port);

  /// The same; each attempt to connect gives up after `timeLimit`.
  int addClient(const std::string& ip, const std::string& port, std::chrono::milliseconds timeLimit);

  /// Disconnects, and gives the handle back. Calls that other threads make on it end with a status code first.
  void removeClient(int socketFd);

  /// Waits until no callback of a handle runs, and none is due; also those of connections that have had the handle.
  /// @param timeoutMs  milliseconds; negative: without limit
  bool waitForCallbacks(int socketFd, int timeoutMs);

  /// The connection of a handle; null when the handle is unknown or not connected now. Nothing keeps the connection
  /// from being removed while the pointer is in use: see `Client`.
  static BackendBase* getClient(int socketFd);

  /// The lines that wait for the motion queue of robot `robotNum`, 1..4; null for other numbers and unknown handles.
  /// Not while another thread pushes or sends: see `Client::queueMotion`.
  static std::deque<std::unique_ptr<Command>>* getQueueMotion(int socketFd, int robotNum);

  /// A connection in use: as long as this stands, it is not destroyed.
  class KYT_HOST_API Client {
   public:
    explicit Client(int socketFd);
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// Whether the handle names a connection that is connected now.
    explicit operator bool() const { return communication_ != nullptr && communication_->backend().getConnectState(); }

    BackendBase* operator->() const { return &communication_->backend(); }
    BackendBase& operator*() const { return communication_->backend(); }

    /// The connection, connected or not; null when the handle is unknown.
    Communication* communication() const { return communication_; }

    /// The lines for the motion queue of robot `robotNum`, 1..4; null for other numbers and when the handle is unknown.
    MotionQueue* queueMotion(int robotNum) const;

   private:
    Slot* slot_ = nullptr;  // in which it is counted
    Communication* communication_ = nullptr;
  };

 private:
  // Look-ups take no lock: when a connection is there they count themselves in, then look again whether it is. Removal
  // takes the connection out, then waits until nobody is counted in.
  struct Slot {
    std::atomic<Communication*> communication{nullptr};
    std::atomic<std::uint32_t> users{0};
  };

  // The handles that are free, in the order in which they are given out.
  class FreeIds {
   public:
    constexpr FreeIds() {
      for (int socketFd = 1; socketFd <= maxClients; ++socketFd) giveBack(socketFd);
    }
    int take();
    constexpr void giveBack(int socketFd) { ids_[(first_ + count_++) % ids_.size()] = socketFd; }
    bool contains(int socketFd) const;

   private:
    std::array<int, maxClients> ids_{};
    std::size_t first_ = 0;
    std::size_t count_ = 0;
  };

  // What delivers the messages of connections that are gone, or about to be: a callback may still run there. By handle;
  // never destroyed.
  using LeftBehind = std::multimap<int, std::weak_ptr<kyt_host::detail::CallbackQueue>>;

  constexpr ClientManager() = default;

  static Slot* slot(int socketFd);
  void remove(int socketFd, Communication* expected);
  void giveBack(int socketFd);
  static LeftBehind& leftBehind();
  static void leaveBehind(int socketFd, const std::shared_ptr<kyt_host::detail::CallbackQueue>& callbacks);

  // process_ends.cpp
  static void forEach(const std::function<void(BackendBase& backend)>& visit);
  static bool anyConnection();
  static void watchExit();
  static void stopCallbacks();
  [[gnu::destructor]] static void closeConnections();
  [[gnu::constructor]] static void watchForks();
  static void beforeFork();
  static void afterForkInParent();
  static void afterForkInChild();

  static std::array<Slot, maxClients> clients_;
  static std::mutex mutex_;           // guards which connections there are, those left behind, and the free handles
  static std::atomic<bool> exiting_;  // nothing connects any more
  FreeIds freeIds_;
};
