#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

#include "kyt_host/communication/communication.h"
#include "kyt_host/export.h"

/// The connections of this process by handle, 1..1000.
class KYT_HOST_API ClientManager {
 public:
  static constexpr int maxClients = 1000;

  static ClientManager& getInstance();

  /// Takes a handle out of the free ones; -1 when all are in use. A handle that is given back goes to the end of the
  /// row, so it is used again only after all others.
  int getNextSocketID();

  /// Connects. @return the handle, or -1
  int addClient(const std::string& ip, const std::string& port);

  /// Disconnects, and gives the handle back. Calls that other threads make on it end with a status code first.
  void removeClient(int socketFd);

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
    int socketFd_;
    Communication* communication_;
  };

 private:
  // Look-ups take no lock: they count themselves in, then look whether a connection is there. Removal takes the
  // connection out, then waits until nobody is counted in.
  struct Slot {
    std::atomic<Communication*> communication{nullptr};
    std::atomic<std::uint32_t> users{0};
  };

  ClientManager();
  ~ClientManager();

  static Slot* slot(int socketFd);
  void remove(int socketFd, Communication* expected);
  void giveBack(int socketFd);

  static std::array<Slot, maxClients> clients_;
  static std::mutex mutex_;  // guards which connections there are, and the free handles
  std::deque<int> freeIds_;
};
