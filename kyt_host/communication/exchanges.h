#pragma once

#include <cstddef>
#include <iterator>
#include <memory>
#include <type_traits>

#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/strategy.h"

// Which reply answers which request, and the class that files it. The store of each connection is made of these rows,
// and a query finds its own at compile time.

namespace kyt_host::detail {

inline constexpr auto noRequest = static_cast<Strategy>(~0U);  // no code of a frame

struct Exchange {
  Strategy request;  ///< or `noRequest`
  Strategy reply;
  bool hasHandler;  ///< from the start; else one is made when somebody asks
  std::unique_ptr<MessageBaseStrategy> (*makeHandler)();
};

template <class Handler>
constexpr Exchange row(Strategy request, Strategy reply) {
  if constexpr (std::is_void_v<Handler>) {
    return {request, reply, false, nullptr};
  } else {
    return {request, reply, true, []() -> std::unique_ptr<MessageBaseStrategy> { return std::make_unique<Handler>(); }};
  }
}

/// What nobody here asks for.
template <class Handler>
constexpr Exchange received(Strategy reply) {
  return row<Handler>(noRequest, reply);
}

// clang-format off
inline constexpr Exchange exchanges[] = {
    // servo and state
    row<RecvServoStatus>(Strategy::GetServoState, Strategy::ServoStateReply),
    row<RecvServoStatus>(Strategy::SetServoState, Strategy::ServoStateReply),
    row<RecvDeadmanStatus>(Strategy::SetServoPower, Strategy::ServoPowerReply),
    row<RecvOperationMode>(Strategy::GetCurrentMode, Strategy::CurrentModeReply),
    row<RecvTeachType>(Strategy::GetTeachType, Strategy::TeachTypeReply),
    row<RecvCoordination>(Strategy::GetCurrentCoord, Strategy::CurrentCoordReply),
    row<RecvSpeed>(Strategy::GetSpeed, Strategy::SpeedReply),
    row<RecvRobotType>(Strategy::GetRobotType, Strategy::RobotTypeReply),
    row<RecvRobotRunStatus>(Strategy::GetRunningState, Strategy::RunningStateReply),
    row<RecvControllerID>(Strategy::GetControllerId, Strategy::ControllerIdReply),
    row<RecvTeachboxStatus>(Strategy::GetTeachboxStatus, Strategy::TeachboxStatusReply),
    row<void>(Strategy::GetRobotSwitch, Strategy::RobotSwitchReply),  // has no handler until somebody asks

    // positions and motor data
    row<RecvMotorSpeed>(Strategy::GetMotorSpeed, Strategy::MotorSpeedReply),
    row<RecvMotorTorque>(Strategy::GetMotorTorque, Strategy::MotorTorqueReply),
    row<RecvMotorPayload>(Strategy::GetMotorPayload, Strategy::MotorPayloadReply),
    row<RecvLineSpeedAndJointSpeed>(Strategy::GetLineAndJointSpeed, Strategy::LineAndJointSpeedReply),
    row<RecvPosition>(Strategy::GetCurrentPosition, Strategy::CurrentPositionReply),
    row<SetZeroSuccess>(Strategy::SetAxisZeroPosition, Strategy::AxisZeroPositionReply),
    row<ReceiveCurEXPosition>(Strategy::GetExtraPosition, Strategy::ExtraPositionReply),
    row<RecvSensorData>(Strategy::GetSensorData, Strategy::SensorDataReply),
    row<RecvStaticSearchData>(Strategy::GetStaticSearchPosition, Strategy::StaticSearchPositionReply),
    row<RecvTransCoordPos>(Strategy::TransformCoord, Strategy::TransformCoordReply),
    row<MessageBaseStrategy>(Strategy::GetPosReachable, Strategy::PosReachableReply),

    // geometry, joints and their calibration
    row<RecvDhParaState>(Strategy::GetRobotDhParam, Strategy::RobotDhParamReply),
    row<RecvJointPara>(Strategy::GetRobotJointParam, Strategy::RobotJointParamReply),
    row<RecvSingleCycle>(Strategy::GetSingleCycle, Strategy::SingleCycleReply),
    row<Receive4Point>(Strategy::GetFourPoint, Strategy::FourPointReply),
    row<RecvCountSuccessedFor>(Strategy::CalculateFourPoint, Strategy::CalculateFourPointReply),

    // global variables and positions
    row<RecvGlobalPosition>(Strategy::GetGlobalPosition, Strategy::GlobalPositionReply),
    row<RecvGlobalVariant>(Strategy::GetGlobalVariant, Strategy::GlobalVariantReply),
    row<RecvGlobalExternPosition>(Strategy::GetGlobalSyncPosition, Strategy::GlobalSyncPositionReply),

    // tools and user coordinates
    row<RecvToolCoordPara>(Strategy::GetToolHandParam, Strategy::ToolHandParamReply),
    row<RecvToolCoordNumber>(Strategy::GetToolHandNumber, Strategy::ToolHandNumberReply),
    row<RecvUserCoordPara>(Strategy::GetUserCoordPara, Strategy::UserCoordParaReply),
    row<RecvUserCoordNumber>(Strategy::GetUserCoordNumber, Strategy::UserCoordNumberReply),

    // jobs and the motion queue
    row<RecvJobfileLine>(Strategy::GetJobLine, Strategy::JobLineReply),
    row<RecvCurJob>(Strategy::GetCurrentJob, Strategy::CurrentJobReply),
    row<RecvCycleIndex>(Strategy::SetJobRunTimes, Strategy::JobRunTimesReply),
    row<RecvTotalLines>(Strategy::GetJobTotalLines, Strategy::JobTotalLinesReply),
    row<RecvCommandByLines>(Strategy::GetJobCommand, Strategy::JobCommandReply),
    row<RecvQueueMotionStatus>(Strategy::GetQueueMotionStatus, Strategy::QueueMotionStatusReply),
    row<RecvQueuelen>(Strategy::GetQueueMotionLength, Strategy::QueueMotionLengthReply),

    // IO, remote control, safety
    row<RecvDout>(Strategy::GetDigitalOutput, Strategy::DigitalOutputReply),
    row<RecvDin>(Strategy::GetDigitalInput, Strategy::DigitalInputReply),
    row<RecvAout>(Strategy::GetAnalogOutput, Strategy::AnalogOutputReply),
    row<RecvAin>(Strategy::GetAnalogInput, Strategy::AnalogInputReply),
    row<RecvForceDin>(Strategy::GetForceDigitalInput, Strategy::ForceDigitalInputReply),
    row<RecvResetIO>(Strategy::GetIoReset, Strategy::IoResetReply),
    row<RecvIOtype>(Strategy::GetIoType, Strategy::IoTypeReply),
    row<RecvDigitalInputMsg>(Strategy::GetDigitalInputMessage, Strategy::DigitalInputMessageReply),
    row<RecvDigitalOutputMsg>(Strategy::GetDigitalOutputMessage, Strategy::DigitalOutputMessageReply),
    row<RecvRemoteProgram>(Strategy::GetRemoteProgram, Strategy::RemoteProgramReply),
    row<RecvRemotePara>(Strategy::GetRemoteParam, Strategy::RemoteParamReply),
    row<RecvIoControl>(Strategy::GetRemoteFunction, Strategy::RemoteFunctionReply),
    row<RecvIoRemoteTips>(Strategy::GetRemoteStatusTips, Strategy::RemoteStatusTipsReply),
    row<RecvHardDeadmanMode>(Strategy::GetHardEnablePort, Strategy::HardEnablePortReply),
    row<RecvSafeIO>(Strategy::GetSafeIo, Strategy::SafeIoReply),

    // welding
    row<RecvWeldConfig>(Strategy::GetWeldConfig, Strategy::WeldConfigReply),
    row<ReceivedWaveweldData>(Strategy::GetWaveWeldParam, Strategy::WaveWeldParamReply),
    row<RecvCurrentHandleOperate>(Strategy::GetFeedWireStatus, Strategy::FeedWireStatusReply),
    row<ReceiveWeldMonitor>(Strategy::GetWeldMonitor, Strategy::WeldMonitorReply),

    // vision
    row<RecvVisionParameter>(Strategy::GetVisionParameter, Strategy::VisionParameterReply),
    row<RecvVisionRange>(Strategy::GetVisionRange, Strategy::VisionRangeReply),
    row<RecvVisionPositionParam>(Strategy::GetVisionPositionParameter, Strategy::VisionPositionParameterReply),
    row<RecvVisioCalibrateData>(Strategy::GetVisionCalibrateData, Strategy::VisionCalibrateDataReply),

    // pushed by the controller, unsolicited
    received<ReceiveSystemMessage>(Strategy::ErrorMessage),
    received<ReceiveSystemMessage>(Strategy::WarningMessage),
    received<RecvRobotState>(Strategy::RobotState),
    received<RecvVFDstate>(Strategy::VfdState),

    // file transfer
    received<RecvUploadRespond>(Strategy::UploadRequestReply),
    received<RecvUploadSuccess>(Strategy::UploadFinishedReply),
    received<RecvAllJobFileNum>(Strategy::JobFileNumberReply),
    received<RecvAllJobFileName>(Strategy::JobFileNameReply),
    received<RecvAllJobFileNameFinsh>(Strategy::JobFileListFinished),
    received<RecvDownloadFileData>(Strategy::DownloadData),
    received<RecvDownloadRespond>(Strategy::DownloadRequestReply),
    received<RecvDownloadFinish>(Strategy::DownloadFinished),
    received<RecvConfigFileList>(Strategy::ConfigFileListReply),

    // read by applications that exchange messages themselves
    received<MessageBaseStrategy>(Strategy::PalletCraftIdReply),
    received<RecvResultForDH>(Strategy::ResultForDhReply),
    received<RecvTrackRecordOnOff>(Strategy::TrackRecordStatusReply),
    received<MessageBaseStrategy>(Strategy::ConveyorBasicReply),
    received<RecvConveyorIdentificationParamter>(Strategy::ConveyorIdentificationReply),
    received<RecvConveyorSensorParams>(Strategy::ConveyorSensorReply),
    received<RecvConveyorTrackRangeParams>(Strategy::ConveyorTrackRangeReply),
    received<RecvConveyorWaitPointParams>(Strategy::ConveyorWaitPointReply),
    received<MessageBaseStrategy>(Strategy::ModbusMasterStatusReply),
    received<MessageBaseStrategy>(Strategy::ModbusReadReply),
    received<MessageBaseStrategy>(Strategy::PalletRunningStateReply),
};
// clang-format on

/// The reply that answers `request`; `noRequest` when no row tells.
constexpr Strategy findReply(Strategy request) {
  for (const Exchange& exchange : exchanges) {
    if (exchange.request == request) return exchange.reply;
  }
  return noRequest;
}

/// The same for a request that has a row.
template <Strategy request>
constexpr Strategy replyTo() {
  constexpr Strategy reply = findReply(request);
  static_assert(reply != noRequest, "exchanges.h has no row for this request");
  return reply;
}

/// What answers the last one of many requests in place of `reply`; `noRequest` when nothing does.
constexpr Strategy lastInsteadOf(Strategy reply) {
  return reply == Strategy::DownloadData ? Strategy::DownloadFinished : noRequest;
}

}  // namespace kyt_host::detail
