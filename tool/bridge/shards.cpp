#include "tool/bridge/shards.h"

#include <cstdint>

namespace tool::bridge {

Shards::Shards(unsigned int own, unsigned int shards, bool standby) : own_(own), shards_(shards), standby_(standby) {}

// FNV-1a: the same on every machine.
unsigned int Shards::of(const std::string& controller) const {
  std::uint32_t hash = 2166136261U;
  for (const char each : controller) hash = (hash ^ static_cast<unsigned char>(each)) * 16777619U;
  return hash % shards_ + 1;
}

// How far a bridge is behind the one that a part is meant for.
unsigned int Shards::distance(unsigned int shard, unsigned int holder) const {
  return (holder + shards_ - shard) % shards_;
}

void Shards::heard(unsigned int shard, unsigned int holder, Clock::time_point now) {
  if (shard < 1 || shard > shards_ || holder < 1 || holder > shards_) return;
  if (holder == own_) {
    if (!echoed_ || now - echo_ > lease) listening_ = now;
    echo_ = now;
    echoed_ = true;
    return;
  }
  bridges_[holder] = now;
  if (distance(shard, holder) < distance(shard, own_)) parts_[shard] = now;
}

bool Shards::isAlive(unsigned int bridge, Clock::time_point now) const {
  const auto found = bridges_.find(bridge);
  return found != bridges_.end() && now - found->second <= lease;
}

std::set<unsigned int> Shards::held(Clock::time_point now) {
  if (!standby_) return {own_};
  if (!echoed_ || now - echo_ > hold) return {};
  std::set<unsigned int> held{own_};
  if (now - listening_ <= lease) return held;
  for (unsigned int shard = 1; shard <= shards_; ++shard) {
    const auto claimed = parts_.find(shard);
    bool isOurs = shard != own_ && (claimed == parts_.end() || now - claimed->second > lease);
    for (unsigned int behind = 0; isOurs && behind < distance(shard, own_); ++behind)
      isOurs = !isAlive((shard - 1 + behind) % shards_ + 1, now);
    if (isOurs) held.insert(shard);
  }
  return held;
}

std::set<unsigned int> Shards::toSay(Clock::time_point now) {
  if (!standby_ || now - said_ < renewal) return {};
  said_ = now;
  std::set<unsigned int> parts = held(now);
  parts.insert(own_);
  return parts;
}

}  // namespace tool::bridge
