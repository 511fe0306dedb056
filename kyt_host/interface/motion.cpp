#include "kyt_host/interface/motion.h"

#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/exchange/exchange.h"

using namespace kyt_host::detail;

namespace {

constexpr std::size_t robotValues = 7;
constexpr std::size_t valuesWithExternalAxes = 14;

template <class Build>
int move(SOCKETFD socketFd, const MoveCmd& cmd, Strategy code, std::size_t values, const Build& request) {
  if (!connected(socketFd)) return DISCONNECT;
  if (cmd.targetPosValue.size() < values) return PARAM_ERR;
  return command(socketFd, code, request(firstValues(cmd.targetPosValue, values)));
}

int moveByLine(SOCKETFD socketFd, int robotNum, const MoveCmd& cmd, Strategy code, std::size_t values) {
  return move(socketFd, cmd, code, values, [&](const std::vector<double>& target) {
    return withLineFeed({{"robot", robotNum},
                         {"vel", cmd.velocity},
                         {"coord", cmd.coord},
                         {"acc", cmd.acc},
                         {"dec", cmd.dec},
                         {"pos", list(target)}});
  });
}

// A bound is exceeded only by what lies beyond it; what is not a number does not.
bool outside(double value, double low, double high) { return value < low || value > high; }

bool withinLimits(const MoveCmd& cmd, double highestVelocity) {
  constexpr int highestCoord = 4;
  constexpr int highestSmoothing = 5;
  return cmd.coord >= 0 && cmd.coord <= highestCoord && !outside(cmd.velocity, 1, highestVelocity) &&
         !outside(cmd.acc, 1, 100) && !outside(cmd.dec, 1, 100) && cmd.pl >= 0 && cmd.pl <= highestSmoothing;
}

}  // namespace

int robot_movej_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd) {
  return moveByLine(socketFd, robotNum, cmd, Strategy::MoveJ, robotValues);
}

int robot_movel_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd) {
  return moveByLine(socketFd, robotNum, cmd, Strategy::MoveL, robotValues);
}

int robot_extra_movej_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd) {
  return moveByLine(socketFd, robotNum, cmd, Strategy::ExtraMoveJ, valuesWithExternalAxes);
}

int robot_extra_movel_robot(SOCKETFD socketFd, int robotNum, MoveCmd cmd) {
  return move(socketFd, cmd, Strategy::ExtraMoveL, valuesWithExternalAxes, [&](const std::vector<double>& target) {
    return compact({{"robot", robotNum},
                    {"vel", cmd.velocity},
                    {"coord", cmd.coord},
                    {"acc", cmd.acc},
                    {"dec", cmd.dec},
                    {"pos", target}});
  });
}

int robot_go_home_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::GoHome, withLineFeed({{"robot", robotNum}, {"type", 0}}));
}

int robot_go_to_reset_position_robot(SOCKETFD socketFd, int robotNum) {
  return command(socketFd, Strategy::GoToResetPosition, withLineFeed({{"robot", robotNum}}));
}

int robot_start_jogging_robot(SOCKETFD socketFd, int /*robotNum*/, int axis, bool dir) {
  return command(socketFd, Strategy::StartJogging, withLineFeed({{"axis", axis}, {"direction", dir ? 1 : -1}}));
}

int robot_stop_jogging_robot(SOCKETFD socketFd, int /*robotNum*/, int axis) {
  return command(socketFd, Strategy::StopJogging, withLineFeed({{"axis", axis}}));
}

int enable_servo_position_motion_control_robot(SOCKETFD socketFd, int robotNum, bool on) {
  {
    const ClientManager::Client client(socketFd);
    if (!client || client->GetPort() != "7000") return DISCONNECT;
  }
  return command(socketFd, Strategy::EnableServoPositionMotionControl, compact({{"robot", robotNum}, {"switch", on}}));
}

bool judge_movejcmd_limit_exceeded(MoveCmd cmd) { return withinLimits(cmd, 100); }

bool judge_movelcmd_limit_exceeded(MoveCmd cmd) { return withinLimits(cmd, 5000); }
