#pragma once

#include <chrono>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tool::bridge {

/// Which part of a list of controllers is this bridge's. Those that share a list say each second, to all, which parts
/// they hold; a part of which nothing has been heard for the lease goes to the next bridge of the ring. Who does not
/// hear itself, since the broker is gone or the way to it, lets everything go before long: others may have taken it.
///
/// It knows no broker and no clock.
class Shards {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::chrono::seconds renewal{1};
  static constexpr std::chrono::seconds lease{6};
  static constexpr std::chrono::seconds hold{10};  ///< how long who is not heard goes on

  /// @param own      1..shards
  /// @param standby  whether to take over from others; otherwise nothing is said, and one's own part is all there is
  Shards(unsigned int own, unsigned int shards, bool standby);

  /// The part that a controller belongs to: by its name, whatever else there is.
  unsigned int of(const std::string& controller) const;

  /// One bridge says that it holds a part.
  void heard(unsigned int shard, unsigned int holder, Clock::time_point now);
  /// What is held now.
  std::set<unsigned int> held(Clock::time_point now);
  /// What is to be said now, at most once each `renewal`: the parts that are held, and one's own in any case.
  std::set<unsigned int> toSay(Clock::time_point now);

  unsigned int own() const { return own_; }
  bool standby() const { return standby_; }

 private:
  bool isAlive(unsigned int bridge, Clock::time_point now) const;
  unsigned int distance(unsigned int shard, unsigned int holder) const;

  const unsigned int own_;
  const unsigned int shards_;
  const bool standby_;
  Clock::time_point listening_;  // since then, without a gap
  Clock::time_point echo_;       // when this bridge has heard itself last
  Clock::time_point said_;
  std::map<unsigned int, Clock::time_point> bridges_;  // when each has been heard, whatever it said
  std::map<unsigned int, Clock::time_point> parts_;    // when each has been claimed by one that goes before this one
  bool echoed_ = false;
};

}  // namespace tool::bridge
