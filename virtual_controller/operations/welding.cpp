#include <map>

#include "virtual_controller/operations/operations.h"
#include "virtual_controller/operations/record.h"
#include "virtual_controller/request.h"

namespace virtual_controller {
namespace {

const Fields<ArcSet> weldFields{
    {{"weld_current"}, &ArcSet::weldCurrent},
    {{"weld_voltage"}, &ArcSet::weldVoltage},
};

const Fields<ArcTransition> arcOnFields{
    {{"arcon_current"}, &ArcTransition::current},
    {{"arcon_voltage"}, &ArcTransition::voltage},
    {{"arcon_time"}, &ArcTransition::time},
    {{"arcon_ramp_enable", "ramp_enable"}, &ArcTransition::rampEnable},
    {{"arcon_ramp_mode", "ramp_mode"}, &ArcTransition::rampMode},
    {{"arcon_ramp_time", "ramp_time"}, &ArcTransition::rampTime},
};

/// Replies name the ramp without a prefix, unlike the one above.
const Fields<ArcTransition> arcOffFields{
    {{"arcoff_current"}, &ArcTransition::current},
    {{"arcoff_voltage"}, &ArcTransition::voltage},
    {{"arcoff_time"}, &ArcTransition::time},
    {{"ramp_enable", "arcoff_ramp_enable"}, &ArcTransition::rampEnable},
    {{"ramp_mode", "arcoff_ramp_mode"}, &ArcTransition::rampMode},
    {{"ramp_time", "arcoff_ramp_time"}, &ArcTransition::rampTime},
};

const Fields<WeaveSet> weaveFields{
    {{"weaving_type"}, &WeaveSet::type},
    {{"weaving_freq"}, &WeaveSet::frequency},
    {{"weaving_ampli"}, &WeaveSet::amplitude},
    {{"L_angle"}, &WeaveSet::lTypeAngle},
    {{"radius"}, &WeaveSet::radius},
    {{"isMove"}, &WeaveSet::moveWhenEdgeStay},
    {{"left_standing_time"}, &WeaveSet::leftStayTime},
    {{"right_standing_time"}, &WeaveSet::rightStayTime},
    {{"init_direction"}, &WeaveSet::initialDirection},
    {{"horizontal_angle"}, &WeaveSet::horizontalDeflection},
    {{"vertical_angle"}, &WeaveSet::verticalDeflection},
};

int arcNumber(const Json& request) { return numberOf("arc set", request, {"num"}, 0, 999); }
int weaveNumber(const Json& request) { return numberOf("weaving set", request, {"num"}, 0, 999); }

void setArcSet(Model& model, const Json& request) {
  auto& welder = model.robot(request).state.welder;
  const auto number = arcNumber(request);
  auto arc = recordFrom(object(request, {"weld_parameters"}), weldFields);
  arc.on = recordFrom(object(request, {"arcon_parameters"}), arcOnFields);
  arc.off = recordFrom(object(request, {"arcoff_parameters"}), arcOffFields);
  welder.arcSets[number] = arc;
  welder.arcSet = number;
}

OptionalReply getArcSet(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto number = arcNumber(request);
  const auto arc = stored(robot.state.welder.arcSets, number);
  auto answer = reply(Strategy::WeldConfigReply, robot.number, {"num"}, number);
  answer.message["weld_parameters"] = objectOf(arc, weldFields);
  answer.message["arcon_parameters"] = objectOf(arc.on, arcOnFields);
  answer.message["arcoff_parameters"] = objectOf(arc.off, arcOffFields);
  return answer;
}

void setWeaveSet(Model& model, const Json& request) {
  auto& sets = model.robot(request).state.welder.weaveSets;
  sets[weaveNumber(request)] = recordFrom(object(request, {"parameter"}), weaveFields);
}

OptionalReply getWeaveSet(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto number = weaveNumber(request);
  auto answer = reply(Strategy::WaveWeldParamReply, robot.number, {"num"}, number);
  answer.message["parameter"] = objectOf(stored(robot.state.welder.weaveSets, number), weaveFields);
  return answer;
}

void operate(Model& model, const Json& request) {
  static const std::map<int, bool Welder::*> actions{
      {1, &Welder::enabled}, {3, &Welder::spot}, {4, &Welder::feeding}, {5, &Welder::rewinding}, {6, &Welder::gas}};
  auto& welder = model.robot(request).state.welder;
  const auto action = actions.find(integer(request, {"type"}));
  if (action == actions.end()) {
    throw Refusal(SystemCode::OutOfRange, "the welding machine is told to do 1, 3, 4, 5 or 6, in type");
  }
  auto told = welder;
  told.*action->second = numberOf("value", request, {"value"}, 0, 1) != 0;
  if (told.feeding && told.rewinding) {
    throw Refusal(SystemCode::WrongState, "wire is not fed and rewound at once: end the other one first");
  }
  welder = told;
  welder.keepTime(model.clock().now().count());
}

OptionalReply getFeedWireStatus(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& welder = robot.state.welder;
  return Reply{Strategy::FeedWireStatusReply,
               {{"robot", robot.number},
                {"feedWire", int{welder.feeding}},
                {"returnWire", int{welder.rewinding}},
                {"aspiration", int{welder.gas}},
                {"weldEnabled", int{welder.enabled}},
                {"spotWeldEnabled", int{welder.spot}}}};
}

/// An arc burns while the machine is enabled and the hand spot switch is held, or a program has lit it: without it
/// there is neither current nor voltage. By hand it burns with the arc set that was used or set last. The duty ratio is
/// the percentage of the time enabled.
OptionalReply getMonitor(Model& model, const Json& request) {
  const auto& robot = model.robot(request);
  const auto& welder = robot.state.welder;
  auto arc = welder.arcBurns() ? stored(welder.arcSets, welder.arcSet) : ArcSet{};
  if (welder.arcBurns() && welder.lit) {
    if (welder.ownCurrent != 0) arc.weldCurrent = welder.ownCurrent;
    if (welder.ownVoltage != 0) arc.weldVoltage = welder.ownVoltage;
  }
  const auto now = model.clock().now().count();
  const auto burnt = welder.arcTime.time(now);
  const auto enabled = welder.enabledTime.time(now);
  return Reply{Strategy::WeldMonitorReply,
               {{"robot", robot.number},
                {"pistolSwitch", int{welder.spot}},
                {"arcingSuccess", int{welder.arcBurns()}},
                {"handWireFeed", int{welder.feeding || welder.rewinding}},
                {"weldCurrent", arc.weldCurrent},
                {"weldVoltage", arc.weldVoltage},
                {"weldRunTime", burnt},
                {"weldRunDutyRatio", enabled > 0 ? 100 * burnt / enabled : 0}}};
}

}  // namespace

void addWelding(Operations& operations) {
  operations.insert({
      {Strategy::SetWeldConfig, command("weld_set_config", setArcSet)},
      {Strategy::GetWeldConfig, {"weld_get_config", getArcSet}},
      {Strategy::SetWaveWeldParam, command("weld_set_wave_weld_param", setWeaveSet)},
      {Strategy::GetWaveWeldParam, {"weld_get_wave_weld_param", getWeaveSet}},
      {Strategy::OperateWelder, command("weld_set_enable, _hand_spot, _feed_wire, _rewind_wire, _supply_gas", operate)},
      {Strategy::GetFeedWireStatus, {"weld_get_feed_wire_status", getFeedWireStatus}},
      {Strategy::GetWeldMonitor, {"weld_get_monitor_status", getMonitor}},
  });
}

}  // namespace virtual_controller
