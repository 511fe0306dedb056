// What goes over the line: raw, listen, scan.

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include <arpa/inet.h>

#include <kyt_host/kyt_host.h>

#include "tool/command_names.h"
#include "tool/commands/commands.h"
#include "tool/interruption.h"
#include "tool/moving_command.h"

namespace tool {
namespace {

// As a tree where it is JSON, otherwise as the text that it is.
Value contentOf(const std::string& text) {
  const Value value = Value::parse(text, nullptr, false);
  return value.is_discarded() ? Value(text) : value;
}

struct Raw : MovingCommand {
  std::string request;
  std::string text;
  std::string reply;
  double timeout = 1;

  void takes(CLI::App& app) override {
    app.add_option("CODE", request, "such as 0x2602, or its name: GetSpeed")->required();
    app.add_option("TEXT", text, "its JSON; without it: of the robot alone");
    app.add_option("--reply", reply, "the code of the reply that is awaited");
    app.add_option("--timeout", timeout, "seconds for the reply")
        ->capture_default_str()
        ->check(CLI::Range(0.001, 3600.0));
    describeConfirmation(app);
  }

  void run() override {
    const int code = codeOf("CODE", request);
    const int awaited = reply.empty() ? 0 : codeOf("--reply", reply);
    if (text.empty()) text = Value{{"robot", number()}}.dump();
    if (!asksOnly(code)) confirm("send " + request + ", which may move something,");
    if (reply.empty()) {
      checked(controller(), "raw", [&](SOCKETFD handle) { return send_message(handle, code, text); });
      return out.show({{"sent", request}});
    }
    std::string answer;
    const auto exchange = [&](SOCKETFD handle) {
      return exchange_message(handle, code, text, awaited, static_cast<int>(timeout * 1000), answer);
    };
    checked(controller(), "raw", exchange);
    out.show({{"reply", reply}, {"content", contentOf(answer)}});
  }

  static int codeOf(const char* option, const std::string& text) {
    if (const int code = commandCode(text); code >= 0) return code;
    throw CLI::ValidationError(option, text + " is no code: 0x2602, or a name such as GetSpeed");
  }

  static bool asksOnly(int code) { return commandName(code).rfind("Get", 0) == 0; }
};

struct Listen : ControllerCommand {
  Listen() : ControllerCommand(true) {}

  std::optional<double> seconds;

  void takes(CLI::App& app) override {
    app.add_option("--for", seconds, "seconds; otherwise until Ctrl-C")->check(CLI::PositiveNumber);
  }

  void run() override {
    const Interruption interruption;
    const SOCKETFD handle = controller().handle();
    kyt::check("listen", set_frame_callback(handle, [this](SOCKETFD, int code, const std::string& text) {
                 out.line({{"time", now()}, {"frame", commandName(code)}, {"content", contentOf(text)}});
               }));
    interruption.wait(kyt::Seconds(seconds.value_or(1e9)));
    set_frame_callback(handle, {});
    wait_for_callbacks(handle, 1000);
  }
};

// One connection to each address and one question, a few at a time.
struct Scan : Command {
  std::string network;
  unsigned short port = 6001;
  double timeout = 0.3;
  Output out;

  void describe(CLI::App& app) override {
    app.add_option("NETWORK", network, "such as 192.168.1.0/24: up to 1024 addresses, from /22 on")->required();
    app.add_option("--port", port, "where controllers listen")->capture_default_str();
    app.add_option("--timeout", timeout, "seconds for each connection")
        ->capture_default_str()
        ->check(CLI::Range(0.01, 10.0));
    out.describe(app);
  }

  void run() override {
    constexpr int atOnce = 16;
    const std::vector<std::string> hosts = hostsOf(network);
    std::vector<Value> found(hosts.size());
    std::atomic<std::size_t> next{0};
    std::atomic<int> asked{0};
    silenceDiagnostics();
    std::vector<std::thread> threads;
    for (int i = 0; i < atOnce; ++i) {
      threads.emplace_back([&] {
        for (std::size_t host = next++; host < hosts.size(); host = next++, ++asked) found[host] = ask(hosts[host]);
      });
    }
    while (asked < static_cast<int>(hosts.size())) {
      out.progress("of " + std::to_string(hosts.size()) + " addresses", asked, static_cast<long long>(hosts.size()));
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    for (std::thread& thread : threads) thread.join();
    out.progress("all addresses", 1, 1);
    found.erase(std::remove(found.begin(), found.end(), Value()), found.end());
    out.show({{"asked", hosts.size()}, {"controllers", found}});
  }

  // Nothing where nobody is, or somebody who is no controller.
  Value ask(const std::string& host) const {
    kyt::Options options;
    options.port = std::to_string(port);
    options.timeout = kyt::Seconds(timeout);
    options.reconnect = false;
    try {
      const kyt::Controller controller(host, options);
      return {{"host", host}, {"id", controller.id()}};
    } catch (const kyt::Error&) {
      return {};
    }
  }

  static std::vector<std::string> hostsOf(const std::string& network) {
    constexpr unsigned int widest = 22;
    const auto slash = network.find('/');
    const std::string length = slash == std::string::npos ? "32" : network.substr(slash + 1);
    in_addr first{};
    if (inet_pton(AF_INET, network.substr(0, slash).c_str(), &first) != 1 || length.empty() || length.size() > 2 ||
        length.find_first_not_of("0123456789") != std::string::npos || std::stoul(length) > 32)
      throw CLI::ValidationError("NETWORK", network + " is no network such as 192.168.1.0/24");
    const auto bits = static_cast<unsigned int>(std::stoul(length));
    if (bits < widest) throw CLI::ValidationError("NETWORK", network + " has more than 1024 addresses");
    const std::uint32_t count = 1U << (32 - bits);
    const std::uint32_t start = ntohl(first.s_addr) & ~(count - 1);
    const bool hasEnds = count > 2;  // of which the first is the network, and the last everybody
    std::vector<std::string> hosts;
    for (std::uint32_t i = hasEnds ? 1 : 0; i < count - (hasEnds ? 1 : 0); ++i) {
      const in_addr address{htonl(start + i)};
      std::array<char, INET_ADDRSTRLEN> text{};
      hosts.emplace_back(inet_ntop(AF_INET, &address, text.data(), text.size()));
    }
    return hosts;
  }
};

}  // namespace

void addWireCommands(const Family& kyt) {
  kyt.add<Raw>("raw", "any request: raw 0x2602 '{\"robot\":1}' --reply 0x2603");
  kyt.add<Listen>("listen", "print every frame that the controller sends");
  kyt.add<Scan>("scan", "who answers like a controller: scan 192.168.1.0/24");
}

}  // namespace tool
