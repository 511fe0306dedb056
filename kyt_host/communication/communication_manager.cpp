#include "kyt_host/communication/communication_manager.h"

#include <exception>
#include <iostream>
#include <thread>
#include <vector>

#include "kyt_host/communication/detail/callback_queue.h"
#include "kyt_host/communication/detail/tcp_link.h"
#include "kyt_host/detail/diagnostics.h"

using namespace kyt_host::detail;

namespace {

using Deadline = std::chrono::steady_clock::time_point;
using namespace std::chrono_literals;

// The system has no descriptors, threads or memory left.
void reportConnectError(const std::exception& exception) {
  printLine(std::cerr, std::string("Connect error: ") + exception.what());
}

}  // namespace

std::array<ClientManager::Slot, ClientManager::maxClients> ClientManager::clients_;
std::mutex ClientManager::mutex_;
std::atomic<bool> ClientManager::exiting_{false};

ClientManager& ClientManager::getInstance() {
  static ClientManager instance;  // a constant to the compiler, and nothing to destroy
  return instance;
}

ClientManager::LeftBehind& ClientManager::leftBehind() {
  static auto& all = *new LeftBehind;
  return all;
}

// --- handles ---

int ClientManager::FreeIds::take() {
  if (count_ == 0) return -1;
  const int socketFd = ids_[first_];
  first_ = (first_ + 1) % ids_.size();
  --count_;
  return socketFd;
}

bool ClientManager::FreeIds::contains(int socketFd) const {
  for (std::size_t i = 0; i < count_; ++i) {
    if (ids_[(first_ + i) % ids_.size()] == socketFd) return true;
  }
  return false;
}

ClientManager::Slot* ClientManager::slot(int socketFd) {
  if (socketFd < 1 || socketFd > maxClients) return nullptr;
  return &clients_[static_cast<std::size_t>(socketFd - 1)];
}

int ClientManager::getNextSocketID() {
  const std::lock_guard lock(mutex_);
  return freeIds_.take();
}

void ClientManager::giveBack(int socketFd) {
  const std::lock_guard lock(mutex_);
  freeIds_.giveBack(socketFd);
}

// --- connecting and disconnecting ---

int ClientManager::addClient(const std::string& ip, const std::string& port) {
  return addClient(ip, port, TcpLink::connectTimeLimit);
}

int ClientManager::addClient(const std::string& ip, const std::string& port, std::chrono::milliseconds timeLimit) {
  if (exiting_) return -1;
  watchExit();
  const int socketFd = getNextSocketID();
  if (socketFd == -1) return -1;
  Communication* added = nullptr;
  try {
    auto communication = std::make_unique<Communication>(ip, port, socketFd);
    communication->backend().setConnectTimeLimit(timeLimit);
    const std::unique_lock lock(mutex_);
    added = communication.release();
    slot(socketFd)->communication = added;
  } catch (const std::exception& exception) {
    reportConnectError(exception);
    giveBack(socketFd);
    return -1;
  }
  bool connected = false;
  try {
    const Client client(socketFd);  // or another thread may already have removed it
    connected = client.communication() == added && added->Connect();
  } catch (const std::exception& exception) {
    reportConnectError(exception);
  }
  if (connected) return socketFd;
  remove(socketFd, added);
  return -1;
}

void ClientManager::removeClient(int socketFd) {
  if (const Slot* const client = slot(socketFd)) remove(socketFd, client->communication);
}

// Removes a connection, unless it has been removed and its handle, perhaps, given to another.
void ClientManager::remove(int socketFd, Communication* expected) {
  Slot& client = *slot(socketFd);
  std::unique_ptr<Communication> communication;
  {
    const std::lock_guard lock(mutex_);
    if (expected == nullptr || client.communication != expected) return;
    leaveBehind(socketFd, expected->backend().callbacks());
    communication.reset(expected);
    client.communication = nullptr;
  }
  communication->backend().closeConnection();  // ends the calls that are in progress
  while (client.users != 0) {
    std::this_thread::sleep_for(50us);
    communication->backend().closeConnection();  // one of them may just have been about to connect
  }
  communication.reset();
  giveBack(socketFd);
}

void ClientManager::leaveBehind(int socketFd, const std::shared_ptr<CallbackQueue>& callbacks) {
  LeftBehind& all = leftBehind();
  for (auto entry = all.begin(); entry != all.end();) entry = entry->second.expired() ? all.erase(entry) : ++entry;
  if (callbacks != nullptr) all.emplace(socketFd, callbacks);
}

bool ClientManager::waitForCallbacks(int socketFd, int timeoutMs) {
  const Deadline deadline =
      timeoutMs < 0 ? Deadline::max() : std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
  std::vector<std::shared_ptr<CallbackQueue>> all;
  if (const Client client(socketFd); client.communication() != nullptr) {
    if (const auto callbacks = client->callbacks()) all.push_back(callbacks);
  }
  {
    const std::lock_guard lock(mutex_);
    const auto [begin, end] = leftBehind().equal_range(socketFd);
    for (auto entry = begin; entry != end; ++entry) {
      if (const auto callbacks = entry->second.lock()) all.push_back(callbacks);
    }
  }
  for (const auto& callbacks : all) {
    if (!callbacks->awaitQuiet(deadline)) return false;
  }
  return true;
}

// --- looking up ---

BackendBase* ClientManager::getClient(int socketFd) {
  const Client client(socketFd);
  return client ? &*client : nullptr;
}

std::deque<std::unique_ptr<Command>>* ClientManager::getQueueMotion(int socketFd, int robotNum) {
  const Client client(socketFd);
  MotionQueue* const queue = client.queueMotion(robotNum);
  return queue == nullptr ? nullptr : &queue->lines();
}

ClientManager::Client::Client(int socketFd) {
  Slot* const client = slot(socketFd);
  if (client == nullptr || client->communication == nullptr) return;
  slot_ = client;
  ++slot_->users;
  communication_ = slot_->communication;
}

MotionQueue* ClientManager::Client::queueMotion(int robotNum) const {
  return communication_ == nullptr ? nullptr : communication_->queueMotion(robotNum);
}

ClientManager::Client::~Client() {
  if (slot_ != nullptr) --slot_->users;
}
