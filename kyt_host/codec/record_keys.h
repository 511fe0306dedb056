#pragma once

#include "kyt_host/codec/reading.h"
#include "kyt_host/records/conveyor.h"
#include "kyt_host/records/io.h"
#include "kyt_host/records/robot_parameters.h"
#include "kyt_host/records/robot_state.h"
#include "kyt_host/records/tool_param.h"
#include "kyt_host/records/vision.h"
#include "kyt_host/records/welding.h"

namespace kyt_host::detail {

// What the members of the records are called on the wire.

template <>
inline constexpr auto keysOf<ToolParam> = record(key("x", &ToolParam::X), key("y", &ToolParam::Y),
                                                 key("z", &ToolParam::Z), key("A", &ToolParam::A),
                                                 key("B", &ToolParam::B), key("C", &ToolParam::C),
                                                 key("payload_mass", &ToolParam::payloadMass),
                                                 key("payload_inertia", &ToolParam::payloadInertia),
                                                 key("payload_mass_center_X", &ToolParam::payloadMassCenter_X),
                                                 key("payload_mass_center_Y", &ToolParam::payloadMassCenter_Y),
                                                 key("payload_mass_center_Z", &ToolParam::payloadMassCenter_Z));

// --- robot state ---

/// All but what has no shape of its own.
template <>
inline constexpr auto keysOf<RobotStateReport> =
    record(key("robot", &RobotStateReport::robot), key("time", &RobotStateReport::time),
           key("positionSync", &RobotStateReport::positionSync), key("pose", &RobotStateReport::pose),
           key("velocity", &RobotStateReport::velocity), key("lineVelocity", &RobotStateReport::lineVelocity),
           key("torque", &RobotStateReport::torque), key("inputs", &RobotStateReport::inputs),
           key("outputs", &RobotStateReport::outputs), key("analogInputs", &RobotStateReport::analogInputs),
           key("analogOutputs", &RobotStateReport::analogOutputs), key("job", &RobotStateReport::job),
           key("line", &RobotStateReport::line), key("servoState", &RobotStateReport::servoState),
           key("runningState", &RobotStateReport::runningState), key("mode", &RobotStateReport::mode),
           key("coord", &RobotStateReport::coord), key("speed", &RobotStateReport::speed),
           key("position", &RobotStateReport::position), key("errorCode", &RobotStateReport::errorCode),
           key("realPosACS", &RobotStateReport::realPosACS), key("realPosMCS", &RobotStateReport::realPosMCS),
           key("channel", &RobotStateReport::channel), key("stop", &RobotStateReport::stop),
           key("interval", &RobotStateReport::interval));

/// What is handed on as JSON.
inline constexpr auto robotStateJsonKeys =
    record(key("typeCfg", &RobotStateReport::typeCfg), key("detailedMotionPos", &RobotStateReport::detailedMotionPos),
           key("optional", &RobotStateReport::optional), key("queryType", &RobotStateReport::queryType));

// --- geometry and joints ---

template <>
inline constexpr auto keysOf<LinkParam> = record(key("d", &LinkParam::d), key("a", &LinkParam::a),
                                                 key("theta", &LinkParam::theta));

template <>
inline constexpr auto keysOf<CoupleCoe> = record(key("Couple_Coe_1_2", &CoupleCoe::coupleCoe12),
                                                 key("Couple_Coe_2_3", &CoupleCoe::coupleCoe23),
                                                 key("Couple_Coe_3_2", &CoupleCoe::coupleCoe32),
                                                 key("Couple_Coe_3_4", &CoupleCoe::coupleCoe34),
                                                 key("Couple_Coe_4_5", &CoupleCoe::coupleCoe45),
                                                 key("Couple_Coe_4_6", &CoupleCoe::coupleCoe46),
                                                 key("Couple_Coe_5_6", &CoupleCoe::coupleCoe56));

template <>
inline constexpr auto keysOf<DynamicLimit> = record(key("max", &DynamicLimit::max), key("min", &DynamicLimit::min));

/// All but the link lengths, whose keys are counted through.
template <>
inline constexpr auto keysOf<RobotDHParam> = record(
    key("Link", &RobotDHParam::link), key("CoupleCoe", &RobotDHParam::coupleCoe),
    key("dynamicLimit", &RobotDHParam::dynamicLimit), key("conversionRatio", &RobotDHParam::conversionRatio),
    key("pitch", &RobotDHParam::pitch), key("x_ratio", &RobotDHParam::xRatio), key("y_ratio", &RobotDHParam::yRatio),
    key("z_ratio", &RobotDHParam::zRatio), key("conversionRatio_X", &RobotDHParam::conversionRatioX),
    key("conversionRatio_Y", &RobotDHParam::conversionRatioY),
    key("conversionRatio_Z", &RobotDHParam::conversionRatioZ));

/// The names of the joint parameters' own object "Joint".
template <>
inline constexpr auto keysOf<RobotJointParam> = record(
    key("ReducRatio", &RobotJointParam::reducRatio), key("EncoderResolution", &RobotJointParam::encoderResolution),
    key("PosSWLimit", &RobotJointParam::posSWLimit), key("NegSWLimit", &RobotJointParam::negSWLimit),
    key("RatedRotSpeed", &RobotJointParam::ratedRotSpeed), key("RatedDeRotSpeed", &RobotJointParam::ratedDeRotSpeed),
    key("MaxRotSpeed", &RobotJointParam::maxRotSpeed), key("MaxDeRotSpeed", &RobotJointParam::maxDeRotSpeed),
    key("MaxAcc", &RobotJointParam::maxAcc), key("MaxDecel", &RobotJointParam::maxDecel),
    key("Direction", &RobotJointParam::direction), key("RatedVel", &RobotJointParam::ratedVel),
    key("DeRatedVel", &RobotJointParam::deRatedVel));

/// The names of the joint parameters when they stand in the reply itself.
inline constexpr auto jointParamRootKeys = record(
    key("reducRatio", &RobotJointParam::reducRatio), key("encoderResolution", &RobotJointParam::encoderResolution),
    key("positiveLimit", &RobotJointParam::posSWLimit), key("reverseLimit", &RobotJointParam::negSWLimit),
    key("ratedRPM", &RobotJointParam::ratedRotSpeed), key("ratedReverseRPM", &RobotJointParam::ratedDeRotSpeed),
    key("maxRPM", &RobotJointParam::maxRotSpeed), key("maxReverseRPM", &RobotJointParam::maxDeRotSpeed),
    key("maxAcc", &RobotJointParam::maxAcc), key("maxDec", &RobotJointParam::maxDecel),
    key("direction", &RobotJointParam::direction), key("ratedSpeed", &RobotJointParam::ratedVel),
    key("ratedReverseSpeed", &RobotJointParam::deRatedVel));

// --- welding ---

template <>
inline constexpr auto keysOf<ArcParam> = record(
    inside("weld_parameters", key("weld_voltage", &ArcParam::weldVoltage), key("weld_current", &ArcParam::weldCurrent)),
    inside("arcon_parameters", key("arcon_current", &ArcParam::arcOnCurrent),
           key("arcon_voltage", &ArcParam::arcOnVoltage), key("arcon_time", &ArcParam::arcOnTime),
           key("arcon_ramp_enable", &ArcParam::arcOnRampEnable), key("arcon_ramp_mode", &ArcParam::arcOnRampMode),
           key("arcon_ramp_time", &ArcParam::arcOnRampTime)),
    inside("arcoff_parameters", key("arcoff_current", &ArcParam::arcOffCurrent),
           key("arcoff_voltage", &ArcParam::arcOffVoltage), key("arcoff_time", &ArcParam::arcOffTime),
           // unlike those of arc on, the ramp's keys have no prefix here
           key("ramp_enable", &ArcParam::arcOffRampEnable), key("ramp_mode", &ArcParam::arcOffRampMode),
           key("ramp_time", &ArcParam::arcOffRampTime)));

template <>
inline constexpr auto keysOf<WaveParam> =
    record(key("weaving_type", &WaveParam::type), key("weaving_freq", &WaveParam::swingFreq),
           key("weaving_ampli", &WaveParam::swingAmplitude), key("radius", &WaveParam::radius),
           key("L_angle", &WaveParam::LTypeAngle), key("isMove", &WaveParam::moveWhenEdgeStay),
           key("left_standing_time", &WaveParam::leftStayTime), key("right_standing_time", &WaveParam::rightStayTime),
           key("init_direction", &WaveParam::initialDir), key("horizontal_angle", &WaveParam::horizontalDeflection),
           key("vertical_angle", &WaveParam::verticalDeflection));

template <>
inline constexpr auto keysOf<WeldState> = record(key("pistolSwitch", &WeldState::pistolSwitch),
                                                 key("arcingSuccess", &WeldState::arcingSuccess),
                                                 key("handWireFeed", &WeldState::handWireFeed),
                                                 key("weldCurrent", &WeldState::weldCurrent),
                                                 key("weldVoltage", &WeldState::weldVoltage),
                                                 key("weldRunTime", &WeldState::weldTime),
                                                 key("weldRunDutyRatio", &WeldState::weldPWM));

// --- vision ---

template <>
inline constexpr auto keysOf<VisionCameraList> = record(key("currentName", &VisionCameraList::currentName),
                                                        key("listNum", &VisionCameraList::listNum));

template <>
inline constexpr auto keysOf<VisionParam> =
    record(key("cameraList", &VisionParam::cameraList), key("addDataInitialPara", &VisionParam::addDataInitialPara),
           key("addDataNum", &VisionParam::addDataNum), key("angleUnit", &VisionParam::angleUnit),
           key("endMark", &VisionParam::endMark), key("failFlag", &VisionParam::failFlag),
           key("frameHeader", &VisionParam::frameHeader), key("hasTCS", &VisionParam::hasTCS),
           key("hasUCS", &VisionParam::hasUCS), key("separator", &VisionParam::separator),
           key("singleTarget", &VisionParam::singleTarget), key("successFlag", &VisionParam::successFlag),
           key("timeOut", &VisionParam::timeOut), key("type", &VisionParam::type),
           key("camera_data_type", &VisionParam::cameraDataType), key("userCoordNum", &VisionParam::userCoordNum),
           key("IP", &VisionParam::ip), key("portNum", &VisionParam::portNum), key("portOne", &VisionParam::portOne),
           key("portTwo", &VisionParam::portTwo), key("server", &VisionParam::server),
           key("IOPort", &VisionParam::ioPort), key("duration", &VisionParam::duration),
           key("intervals", &VisionParam::intervals), key("triggerMode", &VisionParam::triggerMode),
           key("triggerOnce", &VisionParam::triggerOnce), key("triggerStr", &VisionParam::triggerStr));

template <>
inline constexpr auto keysOf<VisionRange> = record(key("maxX", &VisionRange::maxX), key("maxY", &VisionRange::maxY),
                                                   key("maxZ", &VisionRange::maxZ), key("minX", &VisionRange::minX),
                                                   key("minY", &VisionRange::minY), key("minZ", &VisionRange::minZ));

template <>
inline constexpr auto keysOf<VisionPositionParam> = record(
    key("position", &VisionPositionParam::position), key("excursion", &VisionPositionParam::excursion),
    key("angleDirection", &VisionPositionParam::angleDirection), key("cameraData", &VisionPositionParam::cameraData),
    key("cameraPoint", &VisionPositionParam::cameraPoint), key("datumPoint", &VisionPositionParam::datumPoint),
    key("datumPointDeg", &VisionPositionParam::datumPointDeg), key("Xexcursion", &VisionPositionParam::xexcursion),
    key("Yexcursion", &VisionPositionParam::yexcursion), key("Zexcursion", &VisionPositionParam::zexcursion),
    key("angle", &VisionPositionParam::angle), key("recvPointsType", &VisionPositionParam::recvPointsType),
    key("sampleData", &VisionPositionParam::sampleData), key("scale", &VisionPositionParam::scale),
    key("protocol", &VisionPositionParam::protocol), key("type", &VisionPositionParam::type));

template <>
inline constexpr auto keysOf<VisionCalibrationPoint> = record(
    key("pixel_pos", &VisionCalibrationPoint::pixelPos), key("pixel_pos_deg", &VisionCalibrationPoint::pixelPosDeg),
    key("robot_pos", &VisionCalibrationPoint::robotPos), key("robot_pos_deg", &VisionCalibrationPoint::robotPosDeg));

template <>
inline constexpr auto keysOf<VisionCalibration> = record(key("calibrated", &VisionCalibration::calibrated),
                                                         key("point_num", &VisionCalibration::pointNum),
                                                         key("point", &VisionCalibration::point));

template <>
inline constexpr auto keysOf<VisionCalibrationData> = record(key("visionNum", &VisionCalibrationData::visionNum),
                                                             key("calibration", &VisionCalibrationData::calibration));

// --- conveyor tracking ---

template <>
inline constexpr auto keysOf<ConveyorIdentificationParams> = record(
    key("conveyorID", &ConveyorIdentificationParams::conveyorID),
    key("detectSrc", &ConveyorIdentificationParams::detectSrc),
    key("DI_capturePos", &ConveyorIdentificationParams::diCapturePos),
    key("globalVar", &ConveyorIdentificationParams::globalVar),
    key("visionID", &ConveyorIdentificationParams::visionID),
    key("vision_io_filter_type", &ConveyorIdentificationParams::visionIoFilterType),
    key("vision_latch_encoder_value_type", &ConveyorIdentificationParams::visionLatchEncoderValueType),
    key("identification", &ConveyorIdentificationParams::identification),
    key("communication", &ConveyorIdentificationParams::communication),
    key("sensorTrg", &ConveyorIdentificationParams::sensorTrg), key("type", &ConveyorIdentificationParams::type));

template <>
inline constexpr auto keysOf<ConveyorSensorParams> = record(
    key("conveyorID", &ConveyorSensorParams::conveyorID), key("sensorPosDeg", &ConveyorSensorParams::sensorPosDeg),
    key("X", &ConveyorSensorParams::x), key("Y", &ConveyorSensorParams::y), key("Z", &ConveyorSensorParams::z),
    key("A", &ConveyorSensorParams::a), key("B", &ConveyorSensorParams::b), key("C", &ConveyorSensorParams::c));

template <>
inline constexpr auto keysOf<ConveyorTrackRangeParams> = record(
    key("conveyorID", &ConveyorTrackRangeParams::conveyorID), key("position", &ConveyorTrackRangeParams::position),
    key("receLatestPos", &ConveyorTrackRangeParams::receLatestPos),
    key("trackRangeXMax", &ConveyorTrackRangeParams::trackRangeXMax),
    key("trackRangeYMax", &ConveyorTrackRangeParams::trackRangeYMax),
    key("trackRangeYMin", &ConveyorTrackRangeParams::trackRangeYMin),
    key("trackRangeZMax", &ConveyorTrackRangeParams::trackRangeZMax),
    key("trackRangeZMin", &ConveyorTrackRangeParams::trackRangeZMin),
    key("trackStartXPoint", &ConveyorTrackRangeParams::trackStartXPoint));

template <>
inline constexpr auto keysOf<ConveyorWaitPointParams> = record(key("conveyorID", &ConveyorWaitPointParams::conveyorID),
                                                               key("delayDetectTime",
                                                                   &ConveyorWaitPointParams::delayDetectTime),
                                                               key("isWait", &ConveyorWaitPointParams::isWait),
                                                               key("pos", &ConveyorWaitPointParams::pos));

// --- IO and remote control ---

template <>
inline constexpr auto keysOf<RemoteProgram> = record(key("port", &RemoteProgram::port),
                                                     key("value", &RemoteProgram::value));

template <>
inline constexpr auto keysOf<RemoteProgramSetting> = record(key("name", &RemoteProgramSetting::job),
                                                            key("times", &RemoteProgramSetting::times));

template <>
inline constexpr auto keysOf<RemoteControl> =
    record(inside("inPort", key("clearoutagekeep", &RemoteControl::clearStashPort),
                  key("faultReset", &RemoteControl::faultResetPort), key("pause", &RemoteControl::pausePort),
                  key("start", &RemoteControl::startPort), key("stop", &RemoteControl::stopPort)),
           inside("inValue", key("clearoutagekeep", &RemoteControl::clearStashValue),
                  key("faultReset", &RemoteControl::faultResetValue), key("pause", &RemoteControl::pauseValue),
                  key("start", &RemoteControl::startValue), key("stop", &RemoteControl::stopValue)));

template <>
inline constexpr auto keysOf<SafeIO> =
    record(inside("quickStop", key("port1", &SafeIO::quickStopPort1), key("port2", &SafeIO::quickStopPort2),
                  key("value1", &SafeIO::quickStopValue1), key("value2", &SafeIO::quickStopValue2),
                  key("enable", &SafeIO::quickStopEnable), key("shieldFlag1", &SafeIO::quickStopShied1),
                  key("shieldFlag2", &SafeIO::quickStopShied2), key("time", &SafeIO::quickStopTime),
                  key("shieldTime", &SafeIO::quickStopShiedTime)),
           inside("safeScreen", key("port1", &SafeIO::screenPort1), key("port2", &SafeIO::screenPort2),
                  key("value1", &SafeIO::screenValue1), key("value2", &SafeIO::screenValue2),
                  key("enable", &SafeIO::screenEnable)));

template <>
inline constexpr auto keysOf<VFDState> = record(key("motor_vel", &VFDState::motorVel),
                                                key("motor_current", &VFDState::motorCurrent),
                                                key("spindle_angle", &VFDState::spindleAngle));

}  // namespace kyt_host::detail
