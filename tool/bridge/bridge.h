#pragma once

#include <atomic>
#include <chrono>
#include <deque>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>

#include "tool/bridge/broker.h"
#include "tool/bridge/configuration.h"
#include "tool/bridge/edge_node.h"
#include "tool/bridge/shards.h"
#include "tool/bridge/station.h"

namespace tool::bridge {

/// The bridge: an edge node on a broker, with a station for each controller.
class Bridge {
 public:
  /// @param file  the configuration, which is read again when SIGHUP comes
  Bridge(std::string file, Configuration configuration);
  ~Bridge();
  Bridge(const Bridge&) = delete;
  Bridge& operator=(const Bridge&) = delete;

  /// Runs until SIGINT or SIGTERM. To be called once, with these and SIGHUP blocked.
  void run();

 private:
  BrokerClient client();
  void arrange();
  void readAgain();
  void tellAboutItself();
  // What has come; whether the connection has to be given up.
  bool take(const std::string& topic, const std::string& payload, bool retained);
  bool takeCommands(const Topic& topic, const Payload& payload, bool retained);
  bool takeHost(const std::string& payload);
  bool takeClaim(const std::string& topic, const std::string& payload);
  bool malformed(const std::string& topic);
  std::optional<Message> extra();
  std::optional<Message> next();

  const std::string file_;
  Configuration configuration_;
  std::mutex mutex_;  // of the stations, the shards and what is to be said
  Shards shards_;
  std::deque<Message> extras_;
  std::map<std::string, std::unique_ptr<Station>> stations_;
  std::map<std::string, std::future<void>> leaving_;  // their ends take a moment
  std::atomic<std::size_t> malformed_{0};
  std::atomic<bool> saysGoodbye_{false};
  Time toldBuffered_ = 0;
  EdgeNode node_;
  std::unique_ptr<Broker> broker_;
};

}  // namespace tool::bridge
