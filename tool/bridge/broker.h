#pragma once

#include <atomic>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tool/bridge/configuration.h"
#include "tool/bridge/edge_node.h"

struct mosquitto;
struct mosquitto_message;

namespace tool::bridge {

/// What a client of a broker does.
struct BrokerClient {
  std::string id;                                    ///< of the client; empty: the broker chooses
  std::function<std::optional<Message>()> will;      ///< for each connection anew
  std::function<std::vector<std::string>()> topics;  ///< that are subscribed to
  std::function<void()> connected;                   ///< the broker has taken all subscriptions
  std::function<void(const std::string& why)> lost;  ///< or never came to be
  /// @return whether the connection is to be given up, behind what `extra` has, and made anew
  std::function<bool(const std::string& topic, const std::string& payload, bool retained)> message;
  std::function<std::optional<Message>()> next;   ///< what is to be sent, at most once
  std::function<std::optional<Message>()> extra;  ///< and before that: what may be sent at any time
};

/// A connection to a broker that is made anew, with growing pauses, as often as it breaks; the next broker is tried
/// each time. One thread does everything: no function of the client is called on another one. What the broker does not
/// take is not fetched.
class Broker {
 public:
  /// Throws Failure for what cannot be: a password or a certificate that cannot be read.
  Broker(BrokerSettings settings, BrokerClient client);
  /// Says goodbye, after what `next` still has; within a second or so.
  ~Broker();
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  /// Begins. To be called once.
  void start();
  /// Tells that `next` has something. From any thread.
  void wake();

 private:
  void run();
  std::string connection(const BrokerUrl& url);
  std::string converse(mosquitto* client);
  bool send(mosquitto* client);
  void drainWake() const;
  static void onConnect(mosquitto* client, void* self, int reason);
  static void onSubscribe(mosquitto* client, void* self, int id, int count, const int* granted);
  static void onMessage(mosquitto* client, void* self, const mosquitto_message* message);

  const BrokerSettings settings_;
  const BrokerClient client_;
  std::string password_;
  const int wake_;
  std::atomic<bool> ending_{false};
  bool givenUp_ = false;
  bool ready_ = false;
  std::size_t subscriptions_ = 0;
  std::string refused_;
  std::thread thread_;
};

}  // namespace tool::bridge
