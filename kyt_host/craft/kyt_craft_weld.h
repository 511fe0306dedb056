#pragma once

#include <vector>

#include "kyt_host/export.h"
#include "kyt_host/records/welding.h"
#include "kyt_host/types.h"

// Arc welding: parameter sets, manual actions, and what the welding machine is doing.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// --- arc parameter sets ---

/// Reads an arc parameter set. Virtual controller: zeros for one that was never set, as for a weaving set.
/// @param num  number of the set. Virtual controller: 0..999.
KYT_HOST_API int weld_get_config_robot(SOCKETFD socketFd, int robotNum, int num, ArcParam& param);
inline int weld_get_config(SOCKETFD socketFd, int num, ArcParam& param) {
  return weld_get_config_robot(socketFd, const_robot, num, param);
}

/// Sets an arc parameter set. Virtual controller: by hand the arc burns with the one set or used last.
/// @param num  number of the set. Virtual controller: 0..999.
/// @return 0 sent; -2; -3 when a value is not finite or negative (nothing sent)
KYT_HOST_API int weld_set_config_robot(SOCKETFD socketFd, int robotNum, int num, ArcParam& param);
inline int weld_set_config(SOCKETFD socketFd, int num, ArcParam& param) {
  return weld_set_config_robot(socketFd, const_robot, num, param);
}

// --- weaving parameter sets ---

/// Reads a weaving parameter set. Fields that its pattern does not use keep their values.
/// @param num  number of the set. Virtual controller: 0..999.
KYT_HOST_API int weld_get_wave_weld_param_robot(SOCKETFD socketFd, int robotNum, int num, WaveParam& param);
inline int weld_get_wave_weld_param(SOCKETFD socketFd, int num, WaveParam& param) {
  return weld_get_wave_weld_param_robot(socketFd, const_robot, num, param);
}

/// Sets a weaving parameter set. Sent are the type, frequency, amplitude, initial direction and deflections; with types
/// 1 and 3 the dwell at the edges, too; with type 2 the angle and the radius of the L.
/// @param num  number of the set. Virtual controller: 0..999.
/// @return 0 sent; -2; -3 when the type is not 0..3 or a value is not finite (nothing sent)
KYT_HOST_API int weld_set_wave_weld_param_robot(SOCKETFD socketFd, int robotNum, int num, const WaveParam& param);
inline int weld_set_wave_weld_param(SOCKETFD socketFd, int num, const WaveParam& param) {
  return weld_set_wave_weld_param_robot(socketFd, const_robot, num, param);
}

// --- manual actions: 1 switches on, 0 off ---
// With the virtual controller an arc burns while welding is enabled and spot welding by hand is on.

/// Enables welding.
KYT_HOST_API int weld_set_enable_robot(SOCKETFD socketFd, int robotNum, int value);
inline int weld_set_enable(SOCKETFD socketFd, int value) { return weld_set_enable_robot(socketFd, const_robot, value); }

/// Spot welds by hand.
KYT_HOST_API int weld_set_hand_spot_robot(SOCKETFD socketFd, int robotNum, int value);
inline int weld_set_hand_spot(SOCKETFD socketFd, int value) {
  return weld_set_hand_spot_robot(socketFd, const_robot, value);
}

/// Feeds wire.
KYT_HOST_API int weld_set_feed_wire_robot(SOCKETFD socketFd, int robotNum, int value);
inline int weld_set_feed_wire(SOCKETFD socketFd, int value) {
  return weld_set_feed_wire_robot(socketFd, const_robot, value);
}

/// Draws wire back.
KYT_HOST_API int weld_set_rewind_wire_robot(SOCKETFD socketFd, int robotNum, int value);
inline int weld_set_rewind_wire(SOCKETFD socketFd, int value) {
  return weld_set_rewind_wire_robot(socketFd, const_robot, value);
}

/// Opens the gas.
KYT_HOST_API int weld_set_supply_gas_robot(SOCKETFD socketFd, int robotNum, int value);
inline int weld_set_supply_gas(SOCKETFD socketFd, int value) {
  return weld_set_supply_gas_robot(socketFd, const_robot, value);
}

// --- state ---

/// Reads which manual actions are switched on.
/// @param status  receives 5 values, 0 or 1: wire feed, wire return, gas, welding enabled, spot welding enabled. One
///                that the reply lacks keeps its value; without any of them the list is left alone.
KYT_HOST_API int weld_get_feed_wire_status_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& status);
inline int weld_get_feed_wire_status(SOCKETFD socketFd, std::vector<int>& status) {
  return weld_get_feed_wire_status_robot(socketFd, const_robot, status);
}

/// Reads the welding monitor.
KYT_HOST_API int weld_get_monitor_status_robot(SOCKETFD socketFd, int robotNum, WeldState& state);
inline int weld_get_monitor_status(SOCKETFD socketFd, WeldState& state) {
  return weld_get_monitor_status_robot(socketFd, const_robot, state);
}
