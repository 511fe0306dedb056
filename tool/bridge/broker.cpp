#include "tool/bridge/broker.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <random>
#include <utility>

#include <pthread.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <mosquitto.h>
#include <poll.h>

#include "tool/command.h"

namespace tool::bridge {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int keepAlive = 10;  // seconds
constexpr std::chrono::seconds patience{10};
constexpr std::chrono::milliseconds firstPause{250};
constexpr std::chrono::milliseconds lastPause{4000};
constexpr std::chrono::milliseconds beat{100};
constexpr std::chrono::milliseconds goodbye{1000};
constexpr std::size_t longestPayload = 256 * 1024;

struct Freed {
  void operator()(mosquitto* client) const { mosquitto_destroy(client); }
};

void require(int result, const char* what) {
  if (result != MOSQ_ERR_SUCCESS) throw Failure(std::string(what) + ": " + mosquitto_strerror(result));
}

const char* orNull(const std::string& text) { return text.empty() ? nullptr : text.c_str(); }

// What libmosquitto does not look at while it waits for an answer: that the connection was refused.
bool hasEnded(int descriptor) {
  pollfd connection{descriptor, 0, 0};
  return poll(&connection, 1, 0) > 0 && (connection.revents & POLLHUP) != 0;
}

std::string passwordOf(const BrokerSettings& settings) {
  if (settings.passwordFile.empty()) {
    const char* given = std::getenv("KYT_MQTT_PASSWORD");
    return given == nullptr ? "" : given;
  }
  std::ifstream stream(settings.passwordFile);
  std::string password;
  if (!std::getline(stream, password)) throw Failure(settings.passwordFile + ": cannot be read");
  return password;
}

}  // namespace

Broker::Broker(BrokerSettings settings, BrokerClient client)
    : settings_(std::move(settings)),
      client_(std::move(client)),
      password_(passwordOf(settings_)),
      wake_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
  static const int library = mosquitto_lib_init();
  require(library, "libmosquitto");
  if (wake_ < 0) throw Failure("no descriptors are left");
  for (const std::string& file : {settings_.ca, settings_.certificate, settings_.key})
    if (!file.empty() && access(file.c_str(), R_OK) != 0) throw Failure(file + ": cannot be read");
}

void Broker::start() {
  thread_ = std::thread([this] {
    pthread_setname_np(pthread_self(), "broker");
    run();
  });
}

Broker::~Broker() {
  ending_ = true;
  wake();
  if (thread_.joinable()) thread_.join();
  close(wake_);
}

void Broker::wake() { eventfd_write(wake_, 1); }

void Broker::drainWake() const {
  eventfd_t count = 0;
  eventfd_read(wake_, &count);
}

void Broker::run() {
  std::minstd_rand random{std::random_device{}()};
  auto pause = firstPause;
  for (std::size_t i = 0; !ending_; ++i) {
    std::string why;
    try {
      why = connection(BrokerUrl(settings_.urls[i % settings_.urls.size()]));
    } catch (const std::exception& error) {
      why = error.what();
    }
    if (ready_ || givenUp_) pause = firstPause;
    ready_ = givenUp_ = false;
    client_.lost(why);
    // Many bridges lose one broker at once, and should not come back at once.
    const auto part = std::uniform_real_distribution<double>(0.5, 1)(random);
    const auto until = Clock::now() + std::chrono::duration_cast<Clock::duration>(pause * part);
    while (!ending_ && Clock::now() < until) {
      pollfd waiting{wake_, POLLIN, 0};
      poll(&waiting, 1, static_cast<int>(std::chrono::ceil<std::chrono::milliseconds>(until - Clock::now()).count()));
      drainWake();
    }
    pause = std::min(pause * 2, lastPause);
  }
}

// One connection from its beginning to its end. @return why it has ended
std::string Broker::connection(const BrokerUrl& url) {
  const std::unique_ptr<mosquitto, Freed> client(mosquitto_new(orNull(client_.id), true, this));
  if (!client) throw Failure("no client could be made");
  const int version = MQTT_PROTOCOL_V311;
  require(mosquitto_opts_set(client.get(), MOSQ_OPT_PROTOCOL_VERSION, const_cast<int*>(&version)), "version");
  mosquitto_connect_callback_set(client.get(), onConnect);
  mosquitto_subscribe_callback_set(client.get(), onSubscribe);
  mosquitto_message_callback_set(client.get(), onMessage);
  if (!settings_.user.empty())
    require(mosquitto_username_pw_set(client.get(), settings_.user.c_str(), orNull(password_)), "user");
  if (url.tls)
    require(mosquitto_tls_set(client.get(), orNull(settings_.ca), settings_.ca.empty() ? "/etc/ssl/certs" : nullptr,
                              orNull(settings_.certificate), orNull(settings_.key), nullptr),
            "TLS");
  if (const auto will = client_.will ? client_.will() : std::nullopt)
    require(mosquitto_will_set(client.get(), will->topic.c_str(), static_cast<int>(will->payload.size()),
                               will->payload.data(), 1, false),
            "will");
  subscriptions_ = 0;
  refused_.clear();
  require(mosquitto_connect_async(client.get(), url.host.c_str(), url.port, keepAlive),
          (url.host + ":" + std::to_string(url.port)).c_str());
  const auto deadline = Clock::now() + patience;
  while (!ready_) {
    require(mosquitto_loop(client.get(), static_cast<int>(beat.count()), 1), "connecting");
    if (hasEnded(mosquitto_socket(client.get())))
      return url.host + ":" + std::to_string(url.port) + ": nobody is there";
    if (!refused_.empty()) return refused_;
    if (Clock::now() > deadline) return "no answer within " + std::to_string(patience.count()) + " s";
    if (ending_) return "ended";
  }
  return converse(client.get());
}

// A broker that stands, until it does not.
std::string Broker::converse(mosquitto* client) {
  Clock::time_point ended{};
  for (;;) {
    if (ending_ && ended == Clock::time_point{}) ended = Clock::now();
    const bool sent = send(client);
    const bool over = givenUp_ || (ending_ && !sent);
    if ((over && !mosquitto_want_write(client)) || (ending_ && Clock::now() > ended + goodbye)) {
      mosquitto_disconnect(client);
      return givenUp_ ? "given up, as the primary host is not there" : "ended";
    }
    std::array<pollfd, 2> waiting{{{mosquitto_socket(client), POLLIN, 0}, {wake_, POLLIN, 0}}};
    if (mosquitto_want_write(client)) waiting[0].events |= POLLOUT;
    poll(waiting.data(), waiting.size(), sent ? 0 : static_cast<int>(beat.count()));
    drainWake();
    int result = MOSQ_ERR_SUCCESS;
    if ((waiting[0].revents & (POLLIN | POLLHUP | POLLERR)) != 0) result = mosquitto_loop_read(client, 1);
    if (result == MOSQ_ERR_SUCCESS && (waiting[0].revents & POLLOUT) != 0) result = mosquitto_loop_write(client, 1);
    if (result == MOSQ_ERR_SUCCESS) result = mosquitto_loop_misc(client);
    if (result != MOSQ_ERR_SUCCESS) return mosquitto_strerror(result);
  }
}

// As much as the broker takes, within reason. @return whether there may be more
bool Broker::send(mosquitto* client) {
  constexpr int most = 100;
  for (int i = 0; i < most; ++i) {
    if (mosquitto_want_write(client)) return false;  // what was sent last has not gone yet
    auto message = client_.extra ? client_.extra() : std::nullopt;
    if (!message && !givenUp_ && client_.next) message = client_.next();
    if (!message) return false;
    require(mosquitto_publish(client, nullptr, message->topic.c_str(), static_cast<int>(message->payload.size()),
                              message->payload.data(), 0, false),
            "publishing");
  }
  return true;
}

void Broker::onConnect(mosquitto* client, void* self, int reason) {
  auto& its = *static_cast<Broker*>(self);
  if (reason != 0) {
    its.refused_ = mosquitto_connack_string(reason);
    return;
  }
  for (const std::string& topic : its.client_.topics()) {
    mosquitto_subscribe(client, nullptr, topic.c_str(), 1);
    ++its.subscriptions_;
  }
}

void Broker::onSubscribe(mosquitto* /*client*/, void* self, int /*id*/, int /*count*/, const int* granted) {
  auto& its = *static_cast<Broker*>(self);
  constexpr int refused = 128;
  if (granted[0] >= refused) its.refused_ = "the broker refuses a subscription";
  if (--its.subscriptions_ > 0 || !its.refused_.empty()) return;
  its.ready_ = true;
  its.client_.connected();
}

void Broker::onMessage(mosquitto* /*client*/, void* self, const mosquitto_message* message) {
  auto& its = *static_cast<Broker*>(self);
  const auto size = static_cast<std::size_t>(std::max(message->payloadlen, 0));
  if (size > longestPayload) return;
  const auto* bytes = static_cast<const char*>(message->payload);
  try {
    if (its.client_.message(message->topic, std::string(bytes == nullptr ? "" : bytes, size), message->retain))
      its.givenUp_ = true;
  } catch (const std::exception&) {  // libmosquitto is C: nothing may pass through it
  }
}

}  // namespace tool::bridge
