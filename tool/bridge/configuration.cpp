#include "tool/bridge/configuration.h"

#include <algorithm>
#include <fstream>
#include <functional>
#include <sstream>
#include <tuple>
#include <utility>

#include "tool/address.h"
#include "tool/bridge/payload.h"
#include "tool/command.h"

namespace tool::bridge {
namespace {

using Words = std::vector<std::string>;

/// What a key's values do to a T; whatever they throw says why they cannot be.
template <class T>
using Setters = std::map<std::string, std::function<void(T&, const Words&)>>;

const std::string& one(const Words& words) {
  if (words.size() != 1) throw Failure("takes one value");
  return words.front();
}

double number(const Words& words, double low, double high) {
  std::istringstream text(one(words));
  text.imbue(std::locale::classic());
  double value = 0;
  if (!(text >> value) || !text.eof() || value < low || value > high) {
    std::ostringstream range;
    range << one(words) << " is no number from " << low << " to " << high;
    throw Failure(range.str());
  }
  return value;
}

bool truth(const Words& words) {
  if (one(words) != "true" && one(words) != "false") throw Failure(one(words) + " is neither true nor false");
  return one(words) == "true";
}

std::string topicPart(const Words& words) {
  if (!isTopicPart(one(words))) throw Failure(one(words) + " cannot be a part of a topic: no / + # in it");
  return one(words);
}

// An empty list comes as one word that is empty.
std::set<std::string> someOf(const Words& words, const std::set<std::string>& known) {
  std::set<std::string> some;
  for (const std::string& word : words) {
    if (word.empty() && words.size() == 1) break;
    if (known.count(word) == 0)
      throw Failure(word + " is none of" + [&] {
        std::string all;
        for (const std::string& each : known) all += " " + each;
        return all;
      }());
    some.insert(word);
  }
  return some;
}

const Setters<ControllerSettings>& controllerKeys() {
  static const Setters<ControllerSettings> keys = [] {
    using Its = ControllerSettings;
    Setters<Its> all = {
        {"host", [](Its& its, const Words& words) { its.host = one(words); }},
        {"port",
         [](Its& its, const Words& words) { its.port = std::to_string(static_cast<int>(number(words, 1, 65535))); }},
        {"robots",
         [](Its& its, const Words& words) {
           its.robots.clear();
           for (const std::string& word : words) its.robots.insert(static_cast<int>(number({word}, 1, lastRobot)));
         }},
        {"metrics",
         [](Its& its, const Words& words) {
           its.metrics = someOf(words, {groupNames.begin(), groupNames.end()});
         }},
        {"rate", [](Its& its, const Words& words) { its.rate.fill(number(words, 0.01, 1000)); }},
        {"stale_after", [](Its& its, const Words& words) { its.staleAfter = number(words, 0.1, 3600); }},
        {"ask", [](Its& its, const Words& words) { its.ask = truth(words); }},
        {"allow_commands", [](Its& its, const Words& words) { its.allow = someOf(words, allCommands()); }},
        {"command_max_age", [](Its& its, const Words& words) { its.maxAge = number(words, 0.1, 3600); }},
    };
    for (std::size_t i = 0; i < groups; ++i)
      all[std::string(groupNames[i]) + "_rate"] = [i](Its& its, const Words& words) {
        its.rate[i] = number(words, 0.01, 1000);
      };
    for (std::size_t i = 1; i < bands; ++i)
      all[std::string(bandNames[i]) + "_band"] = [i](Its& its, const Words& words) {
        its.band[i] = number(words, 0, 1e9);
      };
    return all;
  }();
  return keys;
}

const Setters<Configuration>& fileKeys() {
  static const Setters<Configuration> keys = {
      {"broker",
       [](Configuration& its, const Words& words) {
         for (const std::string& url : words) BrokerUrl{url};
         its.broker.urls = words;
       }},
      {"user", [](Configuration& its, const Words& words) { its.broker.user = one(words); }},
      {"password_file", [](Configuration& its, const Words& words) { its.broker.passwordFile = one(words); }},
      {"ca", [](Configuration& its, const Words& words) { its.broker.ca = one(words); }},
      {"certificate", [](Configuration& its, const Words& words) { its.broker.certificate = one(words); }},
      {"key", [](Configuration& its, const Words& words) { its.broker.key = one(words); }},
      {"group", [](Configuration& its, const Words& words) { its.group = topicPart(words); }},
      {"node", [](Configuration& its, const Words& words) { its.node = topicPart(words); }},
      {"primary_host", [](Configuration& its, const Words& words) { its.primaryHost = topicPart(words); }},
      {"buffer", [](Configuration& its, const Words& words) { its.buffer = number(words, 0.01, 4096); }},
      {"standby", [](Configuration& its, const Words& words) { its.standby = truth(words); }},
      {"shard",
       [](Configuration& its, const Words& words) {
         char slash = 0;
         std::istringstream text(one(words));
         unsigned int shard = 0;
         unsigned int shards = 0;
         constexpr unsigned int most = 100;
         if (!(text >> shard >> slash >> shards) || slash != '/' || shard < 1 || shard > shards || shards > most)
           throw Failure(one(words) + " is no shard: as in \"1/2\"");
         its.shard = shard;
         its.shards = shards;
       }},
  };
  return keys;
}

/// One key of a file, and where it stands.
struct Entry {
  int line = 0;
  Words section;
  std::string key;
  Words values;
};

// CLI11 reads TOML and forgets the lines; so it gets one statement at a time, behind the section that it is in.
class Reader {
 public:
  Reader(std::string file, Faults& faults) : file_(std::move(file)), faults_(faults) {
    std::ifstream stream(file_);
    if (!stream) throw Failure(file_ + ": cannot be read");
    std::string section;
    std::string line;
    for (int number = 1; std::getline(stream, line); ++number) {
      const int first = number;
      CLI::detail::trim(line);
      if (line.empty() || line.front() == '#') continue;
      if (line.front() == '[' && line.find('=') == std::string::npos) {
        const auto end = line.rfind(']');
        section = end == std::string::npos ? "" : line.substr(0, end + 1);
        if (end == std::string::npos) fault(first, "a section ends with ]");
        continue;
      }
      for (std::string more; isOpen(line) && std::getline(stream, more); ++number)
        line += "\n" + more.substr(0, more.find('#'));
      add(first, section, line);
    }
  }

  const std::vector<Entry>& entries() const { return entries_; }
  void fault(int line, const std::string& text) {
    faults_.emplace(line, file_ + ":" + std::to_string(line) + ": " + text);
  }

 private:
  // A list that goes on in the next line.
  static bool isOpen(const std::string& text) {
    const auto value = text.find('=');
    const auto begin = value == std::string::npos ? value : text.find_first_not_of(" \t", value + 1);
    return begin != std::string::npos && text[begin] == '[' && text.find(']', begin) == std::string::npos;
  }

  void add(int line, const std::string& section, const std::string& statement) {
    if (statement.find('=') == std::string::npos) return fault(line, "neither KEY = VALUE nor a [section]");
    try {
      std::istringstream text(section + "\n" + statement + "\n");
      for (const CLI::ConfigItem& item : CLI::ConfigTOML().from_config(text))
        if (item.name != "--" && item.name != "++") entries_.push_back({line, item.parents, item.name, item.inputs});
    } catch (const std::exception& error) {
      fault(line, error.what());
    }
  }

  const std::string file_;
  Faults& faults_;
  std::vector<Entry> entries_;
};

template <class T>
void set(Reader& reader, const Setters<T>& keys, T& its, const Entry& entry) {
  const auto found = keys.find(entry.key);
  if (found == keys.end()) return reader.fault(entry.line, entry.key + ": there is no such key here");
  try {
    found->second(its, entry.values);
  } catch (const std::exception& error) {
    reader.fault(entry.line, entry.key + ": " + error.what());
  }
}

}  // namespace

const std::set<std::string>& allCommands() {
  static const std::set<std::string> all = {"speed", "outputs", "run", "stop", "clear", "power_off", "power_on"};
  return all;
}

bool ControllerSettings::operator==(const ControllerSettings& other) const {
  const auto all = [](const ControllerSettings& its) {
    return std::tie(its.name, its.host, its.port, its.robots, its.metrics, its.rate, its.band, its.staleAfter, its.ask,
                    its.allow, its.maxAge);
  };
  return all(*this) == all(other);
}

bool Configuration::sameButControllers(const Configuration& other) const {
  const auto all = [](const Configuration& its) {
    const BrokerSettings& at = its.broker;
    return std::tie(at.urls, at.user, at.passwordFile, at.ca, at.certificate, at.key, its.group, its.node,
                    its.primaryHost, its.buffer, its.shard, its.shards, its.standby);
  };
  return all(*this) == all(other);
}

Configuration readConfiguration(const std::string& file, Faults& faults) {
  Reader reader(file, faults);
  Configuration configuration;
  ControllerSettings defaults;
  std::map<std::string, int> lines;
  for (const Entry& entry : reader.entries()) {
    if (entry.section.empty()) {
      set(reader, fileKeys(), configuration, entry);
    } else if (entry.section == Words{"defaults"}) {
      set(reader, controllerKeys(), defaults, entry);
    } else if (entry.section.size() == 2 && entry.section.front() == "controllers") {
      const std::string& name = entry.section.back();
      if (lines.emplace(name, entry.line).second) {
        if (!isTopicPart(name)) reader.fault(entry.line, name + " cannot be a part of a topic: no / + # in it");
        configuration.controllers[name] = defaults;
        configuration.controllers[name].name = name;
      }
      set(reader, controllerKeys(), configuration.controllers[name], entry);
    } else {
      reader.fault(entry.line, "there are no sections but [defaults] and [controllers.NAME]");
    }
  }
  for (const char* key : {"broker", "group", "node"}) {
    const auto isIt = [&](const Entry& entry) { return entry.section.empty() && entry.key == key; };
    if (std::none_of(reader.entries().begin(), reader.entries().end(), isIt))
      reader.fault(1, std::string(key) + ": is missing; it stands before the first section");
  }
  if (configuration.broker.certificate.empty() != configuration.broker.key.empty())
    reader.fault(1, "certificate and key go together");
  if (configuration.standby && configuration.shards < 2) reader.fault(1, "standby is for one of several shards");
  for (auto controller = configuration.controllers.begin(); controller != configuration.controllers.end();) {
    const auto [name, settings] = *controller;
    if (settings.host.empty()) reader.fault(lines[name], name + " has no host");
    controller = settings.host.empty() || !isTopicPart(name) ? configuration.controllers.erase(controller)
                                                             : std::next(controller);
  }
  return configuration;
}

BrokerUrl::BrokerUrl(const std::string& text) {
  std::string rest = text;
  for (const auto& [scheme, secure] : {std::pair{"mqtt://", false}, std::pair{"mqtts://", true}})
    if (text.rfind(scheme, 0) == 0) {
      rest = text.substr(std::string(scheme).size());
      tls = secure;
    }
  if (rest.find('/') != std::string::npos) throw Failure(text + " is no broker: mqtt://HOST:PORT or mqtts://HOST:PORT");
  constexpr int plain = 1883;
  constexpr int secure = 8883;
  const std::string usual = tls ? std::to_string(secure) : std::to_string(plain);
  const auto colon = rest.rfind(':');
  const bool hasPort = colon != std::string::npos && rest.find(']', colon) == std::string::npos;
  try {
    const Address address(hasPort ? rest : rest + ":" + usual);
    host = address.host;
    port = std::stoi(address.port);
  } catch (const std::exception&) {
    throw Failure(text + " is no broker: mqtt://HOST:PORT or mqtts://HOST:PORT");
  }
}

}  // namespace tool::bridge
