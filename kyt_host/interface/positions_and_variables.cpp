#include "kyt_host/interface/positions_and_variables.h"

#include "kyt_host/interface/detail/exchange.h"

namespace {

constexpr std::size_t jointsOfARobot = 7;
constexpr double notRead = -2147483648.0;

}  // namespace

int get_current_position_robot(SOCKETFD socketFd, int robotNum, int coord, std::vector<double>& pos) {
  pos.assign(jointsOfARobot, notRead);  // an old position must never be taken for the robot's
  return query(socketFd, Strategy::GetCurrentPosition, compact({{"coord", coord}, {"robot", robotNum}}),
               reply<RecvPosition>(Strategy::CurrentPositionReply), [&pos](const Json::Value& root) {
                 std::vector<double> values;
                 take(values, "pos", "position")(root);
                 if (values.size() < jointsOfARobot) values.clear();  // rather nothing than half a position
                 pos = std::move(values);
               });
}
