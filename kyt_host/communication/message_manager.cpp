#include "kyt_host/communication/message_manager.h"

#include <array>
#include <cstdint>
#include <limits>

#include "kyt_host/communication/exchanges.h"

using namespace kyt_host::detail;

namespace {

constexpr std::size_t numberOfCodes = 0x10000;
constexpr std::uint8_t notRegistered = 0xFF;
static_assert(std::size(exchanges) < notRegistered);

// Where the handler of each code stands among the registered ones: one look-up for every frame that arrives.
constexpr std::array<std::uint8_t, numberOfCodes> makePlaces() {
  std::array<std::uint8_t, numberOfCodes> places{};
  for (auto& place : places) place = notRegistered;
  std::uint8_t next = 0;
  for (const Exchange& row : exchanges) {
    auto& place = places[static_cast<std::size_t>(row.reply)];
    if (row.hasHandler && place == notRegistered) place = next++;
  }
  return places;
}

constexpr auto places = makePlaces();

std::uint8_t placeOf(Strategy code) {
  const auto index = static_cast<std::size_t>(code);
  return index < numberOfCodes ? places[index] : notRegistered;
}

}  // namespace

MessageManager::MessageManager() {
  registered_.reserve(std::size(exchanges));
  for (const Exchange& row : exchanges) {
    // Several requests may have one reply: the first row makes its handler.
    if (row.hasHandler && placeOf(row.reply) == registered_.size()) registered_.push_back(row.makeHandler());
  }
}

MessageManager::~MessageManager() = default;

MessageBaseStrategy* MessageManager::addNewMessage(Strategy code) {
  auto handler = std::make_unique<MessageBaseStrategy>();
  MessageBaseStrategy* const added = handler.get();
  if (const std::uint8_t place = placeOf(code); place != notRegistered) {
    registered_[place] = std::move(handler);
  } else {
    const std::lock_guard lock(othersMutex_);
    others_[code] = std::move(handler);
  }
  return added;
}

MessageBaseStrategy* MessageManager::find(Strategy code) const {
  if (const std::uint8_t place = placeOf(code); place != notRegistered) return registered_[place].get();
  const std::lock_guard lock(othersMutex_);
  const auto found = others_.find(code);
  return found == others_.end() ? nullptr : found->second.get();
}

MessageBaseStrategy* MessageManager::findOrAdd(Strategy code) {
  return addUnlessThere(code, std::numeric_limits<std::size_t>::max());
}

MessageBaseStrategy* MessageManager::findOrAddReceived(Strategy code) { return addUnlessThere(code, maxUnknownCodes); }

MessageBaseStrategy* MessageManager::addUnlessThere(Strategy code, std::size_t limit) {
  if (const std::uint8_t place = placeOf(code); place != notRegistered) return registered_[place].get();
  const std::lock_guard lock(othersMutex_);
  const auto found = others_.find(code);
  if (found != others_.end()) return found->second.get();
  if (others_.size() >= limit) return nullptr;
  return others_.emplace(code, std::make_unique<MessageBaseStrategy>()).first->second.get();
}

void MessageManager::endWaits() {
  ended_ = true;
  for (const auto& handler : registered_) handler->endWaits();
  const std::lock_guard lock(othersMutex_);
  for (const auto& [code, handler] : others_) handler->endWaits();
}
