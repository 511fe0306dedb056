#include "virtual_controller/operations/operations.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

OptionalReply getCurrentPosition(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto coord = request.contains("coord") ? integer(request, {"coord"}) : robot.state.coord;
  const auto& position = coord == 0 ? robot.state.position : robot.state.cartesian;
  return Reply{Strategy::CurrentPositionReply, {{"robot", robot.number}, {"coord", coord}, {"pos", position}}};
}

}  // namespace

void addPositions(Operations& operations) {
  operations.insert({{Strategy::GetCurrentPosition, {"get_current_position", getCurrentPosition}}});
}

}  // namespace virtual_controller
