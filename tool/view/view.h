#pragma once

#include <string>
#include <vector>

#include "tool/address.h"
#ifdef KYT_BRIDGE
#include "tool/bridge/configuration.h"
#endif

namespace tool::view {

/// Serves the page until Ctrl-C.
/// @param listen   where
/// @param control  whether the page has buttons, for those who have the token
void serve(const std::vector<Address>& controllers, const Address& listen, bool control);

#ifdef KYT_BRIDGE
/// The same with what a broker tells of a plant, and without buttons.
void serve(const bridge::BrokerSettings& broker, const Address& listen);
#endif

}  // namespace tool::view
