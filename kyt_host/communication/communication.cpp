#include "kyt_host/communication/communication.h"

#include "kyt_host/communication/asio_tcp_backend.h"

Communication::Communication(const std::string& ip, const std::string& port) : Communication(ip, port, 0) {}

Communication::Communication(const std::string& ip, const std::string& port, SOCKETFD socketFd)
    : backend_(std::make_unique<AsioTCPBackend>(ip, port, socketFd)) {}

Communication::~Communication() = default;

bool Communication::Connect() { return backend_->Connect(); }

MotionQueue* Communication::queueMotion(int robotNum) {
  if (robotNum < 1 || robotNum > robots) return nullptr;
  return &queueMotions_[static_cast<std::size_t>(robotNum - 1)];
}
