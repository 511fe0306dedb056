#pragma once

#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "tool/bridge/broker.h"
#include "tool/bridge/plant.h"

namespace tool::bridge {

/// What tells the parser which broker, and who we are to it.
CLI::Option* describeBroker(CLI::App& app, const std::string& name, BrokerSettings& broker);

/// A plant as it comes from a broker. Nodes whose births were told before we came are asked for them.
class WatchedPlant {
 public:
  /// Throws a Failure for what cannot be a broker.
  explicit WatchedPlant(const BrokerSettings& settings);

  void start() { broker_.start(); }

  /// "connected", or what is in the way.
  std::string connection() const;
  std::vector<Value> robots() const;
  /// The controllers that have news, as they are now; all of them when the connection comes or goes.
  std::vector<Value> takeNews();

 private:
  BrokerClient client();
  void tell(const std::string& connection);
  void ask(const std::string& group, const std::string& node);

  mutable std::mutex mutex_;  // of what the broker's thread has to tell
  Plant plant_;
  std::string connection_ = "connecting";
  std::deque<Message> questions_;
  std::map<std::string, Time> asked_;
  Broker broker_;
};

}  // namespace tool::bridge
