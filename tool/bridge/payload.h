#pragma once

#include <optional>
#include <string>
#include <vector>

#include "tool/bridge/metric.h"

namespace tool::bridge {

/// A metric as it is on the broker.
struct WireMetric {
  std::string name;
  std::optional<std::uint64_t> alias;
  std::optional<Time> time;
  std::optional<Type> type;  ///< of what this program writes; other integers count as Int64
  Datum value;
  bool historical = false;
  std::optional<Quality> quality;
  std::string unit;
  std::optional<double> low;
  std::optional<double> high;
};

struct Payload {
  std::optional<Time> time;
  std::optional<unsigned int> seq;
  std::vector<WireMetric> metrics;
};

/// What a node tells of itself, and by which it is asked to tell its births anew.
constexpr const char* rebirthName = "Node Control/Rebirth";
WireMetric rebirthControl(bool value);

/// @return nothing for what is no payload, or has more than 100,000 metrics
std::optional<Payload> decode(const void* bytes, std::size_t size);
std::string encode(const Payload& payload);

/// The parts of a topic, spBv1.0/GROUP/KIND/NODE[/DEVICE]; nothing for any other topic.
struct Topic {
  std::string group;
  std::string kind;
  std::string node;
  std::string device;

  static std::optional<Topic> of(const std::string& text);
  std::string text() const;
};

/// Where a host application says whether it is there.
std::string stateTopic(const std::string& host);
/// What it says; nothing for what cannot be read.
struct HostState {
  bool online = false;
  Time time = 0;
};
std::optional<HostState> hostState(const std::string& text);

/// Whether it may be a part of a topic: not empty, no longer than 200 bytes, printable, without / + #.
bool isTopicPart(const std::string& text);

}  // namespace tool::bridge
