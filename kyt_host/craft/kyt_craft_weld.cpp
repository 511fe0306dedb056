#include "kyt_host/craft/kyt_craft_weld.h"

#include <algorithm>
#include <cmath>

#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

// The manual actions share a code; these tell them apart.
constexpr int enableWelding = 1;
constexpr int handSpot = 3;
constexpr int feedWire = 4;
constexpr int rewindWire = 5;
constexpr int supplyGas = 6;

int operate(SOCKETFD socketFd, int robotNum, int action, int value) {
  return command(socketFd, Strategy::OperateWelder,
                 withLineFeed({{"robot", robotNum}, {"value", value}, {"type", action}}));
}

// Currents, voltages and times: a negative one has no meaning.
bool acceptable(const ArcParam& param) {
  const double values[] = {param.weldVoltage, param.weldCurrent,   param.arcOnCurrent,  param.arcOnVoltage,
                           param.arcOnTime,   param.arcOnRampTime, param.arcOffCurrent, param.arcOffVoltage,
                           param.arcOffTime,  param.arcOffRampTime};
  return param.arcOnRampMode >= 0 && param.arcOffRampMode >= 0 &&
         std::all_of(std::begin(values), std::end(values), [](double v) { return v >= 0; });
}

bool acceptable(const WaveParam& param) {
  constexpr int highestType = 3;
  const double values[] = {param.swingFreq,
                           param.swingAmplitude,
                           param.radius,
                           param.LTypeAngle,
                           param.leftStayTime,
                           param.rightStayTime,
                           param.horizontalDeflection,
                           param.verticalDeflection};
  return param.type >= 0 && param.type <= highestType &&
         std::all_of(std::begin(values), std::end(values), [](double v) { return std::isfinite(v); });
}

// The ramps' keys go out both with and without their prefix.
Json::Value withBothRampKeys(const ArcParam& param) {
  auto object = written<Json::Value>(param);
  for (const char* const key : {"ramp_enable", "ramp_mode", "ramp_time"}) {
    auto& on = object["arcon_parameters"];
    auto& off = object["arcoff_parameters"];
    on[key] = on[std::string("arcon_") + key];
    off[std::string("arcoff_") + key] = off[key];
  }
  return object;
}

// Only what the weaving pattern uses.
Json::Value ofItsType(const WaveParam& param) {
  auto object = written<Json::Value>(param);
  const bool dwells = param.type == 1 || param.type == 3;
  const bool isL = param.type == 2;
  if (!dwells) {
    for (const char* const key : {"isMove", "left_standing_time", "right_standing_time"}) object.removeMember(key);
  }
  if (!isL) {
    for (const char* const key : {"L_angle", "radius"}) object.removeMember(key);
  }
  return object;
}

}  // namespace

int weld_get_config_robot(SOCKETFD socketFd, int robotNum, int num, ArcParam& param) {
  return query<Strategy::GetWeldConfig>(socketFd, withLineFeed({{"robot", robotNum}, {"num", num}}),
                                        replies::arcParam(param));
}

int weld_set_config_robot(SOCKETFD socketFd, int robotNum, int num, ArcParam& param) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!acceptable(param)) return PARAM_ERR;
  const auto sets = withBothRampKeys(param);
  return command(socketFd, Strategy::SetWeldConfig,
                 withLineFeed({{"robot", robotNum},
                               {"num", num},
                               {"weld_parameters", sets["weld_parameters"]},
                               {"arcon_parameters", sets["arcon_parameters"]},
                               {"arcoff_parameters", sets["arcoff_parameters"]}}));
}

int weld_get_wave_weld_param_robot(SOCKETFD socketFd, int robotNum, int num, WaveParam& param) {
  return query<Strategy::GetWaveWeldParam>(socketFd, withLineFeed({{"robot", robotNum}, {"num", num}}),
                                           replies::waveParam(param));
}

int weld_set_wave_weld_param_robot(SOCKETFD socketFd, int robotNum, int num, const WaveParam& param) {
  if (!connected(socketFd)) return DISCONNECT;
  if (!acceptable(param)) return PARAM_ERR;
  return command(socketFd, Strategy::SetWaveWeldParam,
                 withLineFeed({{"robot", robotNum}, {"num", num}, {"parameter", ofItsType(param)}}));
}

int weld_set_enable_robot(SOCKETFD socketFd, int robotNum, int value) {
  return operate(socketFd, robotNum, enableWelding, value);
}

int weld_set_hand_spot_robot(SOCKETFD socketFd, int robotNum, int value) {
  return operate(socketFd, robotNum, handSpot, value);
}

int weld_set_feed_wire_robot(SOCKETFD socketFd, int robotNum, int value) {
  return operate(socketFd, robotNum, feedWire, value);
}

int weld_set_rewind_wire_robot(SOCKETFD socketFd, int robotNum, int value) {
  return operate(socketFd, robotNum, rewindWire, value);
}

int weld_set_supply_gas_robot(SOCKETFD socketFd, int robotNum, int value) {
  return operate(socketFd, robotNum, supplyGas, value);
}

int weld_get_feed_wire_status_robot(SOCKETFD socketFd, int robotNum, std::vector<int>& status) {
  return query<Strategy::GetFeedWireStatus>(socketFd, withLineFeed({{"robot", robotNum}}),
                                            replies::feedWireStatus(status));
}

int weld_get_monitor_status_robot(SOCKETFD socketFd, int robotNum, WeldState& state) {
  return query<Strategy::GetWeldMonitor>(socketFd, withLineFeed({{"robot", robotNum}}), replies::weldState(state));
}
