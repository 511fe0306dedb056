#include "kyt_host/communication/communication_manager.h"

#include <chrono>
#include <exception>
#include <iostream>
#include <memory>
#include <thread>

#include "kyt_host/communication/detail/diagnostics.h"

namespace {

// The system has no descriptors, threads or memory left.
void reportConnectError(const std::exception& exception) {
  printLine(std::cerr, std::string("Connect error: ") + exception.what());
}

}  // namespace

std::array<ClientManager::Slot, ClientManager::maxClients> ClientManager::clients_;
std::mutex ClientManager::mutex_;

ClientManager& ClientManager::getInstance() {
  static ClientManager instance;
  return instance;
}

ClientManager::ClientManager() {
  for (int socketFd = 1; socketFd <= maxClients; ++socketFd) freeIds_.push_back(socketFd);
}

ClientManager::~ClientManager() {
  for (int socketFd = 1; socketFd <= maxClients; ++socketFd) removeClient(socketFd);
}

ClientManager::Slot* ClientManager::slot(int socketFd) {
  if (socketFd < 1 || socketFd > maxClients) return nullptr;
  return &clients_[static_cast<std::size_t>(socketFd - 1)];
}

int ClientManager::getNextSocketID() {
  const std::lock_guard lock(mutex_);
  if (freeIds_.empty()) return -1;
  const int socketFd = freeIds_.front();
  freeIds_.pop_front();
  return socketFd;
}

void ClientManager::giveBack(int socketFd) {
  const std::lock_guard lock(mutex_);
  freeIds_.push_back(socketFd);
}

int ClientManager::addClient(const std::string& ip, const std::string& port) {
  const int socketFd = getNextSocketID();
  if (socketFd == -1) return -1;
  Communication* added = nullptr;
  try {
    auto communication = std::make_unique<Communication>(ip, port);
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
    communication.reset(expected);
    client.communication = nullptr;
  }
  communication->backend().closeConnection();  // ends the calls that are in progress
  while (client.users != 0) {
    std::this_thread::sleep_for(std::chrono::microseconds(50));
    communication->backend().closeConnection();  // one of them may just have been about to connect
  }
  communication.reset();
  giveBack(socketFd);
}

BackendBase* ClientManager::getClient(int socketFd) {
  const Client client(socketFd);
  return client ? &*client : nullptr;
}

std::deque<std::unique_ptr<Command>>* ClientManager::getQueueMotion(int socketFd, int robotNum) {
  const Client client(socketFd);
  MotionQueue* const queue = client.queueMotion(robotNum);
  return queue == nullptr ? nullptr : &queue->lines();
}

ClientManager::Client::Client(int socketFd) : socketFd_(socketFd), communication_(nullptr) {
  Slot* const client = slot(socketFd);
  if (client == nullptr) return;
  ++client->users;
  communication_ = client->communication;
}

MotionQueue* ClientManager::Client::queueMotion(int robotNum) const {
  return communication_ == nullptr ? nullptr : communication_->queueMotion(robotNum);
}

ClientManager::Client::~Client() {
  if (Slot* const client = slot(socketFd_)) --client->users;
}
