#include "kyt_host/communication/message_manager.h"

#include <array>
#include <cstdint>
#include <limits>

#include "kyt_host/communication/reply_handlers.h"

namespace {

struct Registration {
  Strategy code;
  std::unique_ptr<MessageBaseStrategy> (*makeHandler)();
};

template <class Handler>
constexpr Registration handledBy(Strategy code) {
  return {code, []() -> std::unique_ptr<MessageBaseStrategy> { return std::make_unique<Handler>(); }};
}

// In order of registration: a later line replaces an earlier one of the same code, as SensorDataReply shows.
constexpr Registration registrations[] = {
    handledBy<RecvAppendModeStatus>(Strategy::SensorDataReply),
    handledBy<RecvTeachboxStatus>(Strategy::TeachboxStatusReply),
    handledBy<RecvTotalLines>(Strategy::JobTotalLinesReply),
    handledBy<RecvCommandByLines>(Strategy::JobCommandReply),
    handledBy<RecvSensorData>(Strategy::SensorDataReply),
    handledBy<MessageBaseStrategy>(Strategy::PalletCraftIdReply),
    handledBy<RecvServoStatus>(Strategy::ServoStateReply),
    handledBy<RecvOperationMode>(Strategy::CurrentModeReply),
    handledBy<RecvCoordination>(Strategy::CurrentCoordReply),
    handledBy<RecvDeadmanStatus>(Strategy::ServoPowerReply),
    handledBy<RecvSpeed>(Strategy::SpeedReply),
    handledBy<RecvPosition>(Strategy::CurrentPositionReply),
    handledBy<RecvRobotRunStatus>(Strategy::RunningStateReply),
    handledBy<RecvGlobalPosition>(Strategy::GlobalPositionReply),
    handledBy<RecvGlobalVariant>(Strategy::GlobalVariantReply),
    handledBy<RecvDin>(Strategy::DigitalInputReply),
    handledBy<RecvDout>(Strategy::DigitalOutputReply),
    handledBy<RecvToolCoordNumber>(Strategy::ToolHandNumberReply),
    handledBy<RecvUserCoordNumber>(Strategy::UserCoordNumberReply),
    handledBy<RecvUserCoordPara>(Strategy::UserCoordParaReply),
    handledBy<RecvQueueMotionStatus>(Strategy::QueueMotionStatusReply),
    handledBy<RecvCycleIndex>(Strategy::JobRunTimesReply),
    handledBy<RecvCountSuccessedFor>(Strategy::CalculateFourPointReply),
    handledBy<Receive4Point>(Strategy::FourPointReply),
    handledBy<RecvResultForDH>(Strategy::ResultForDhReply),
    handledBy<ReceiveCurEXPosition>(Strategy::ExtraPositionReply),
    handledBy<RecvAout>(Strategy::AnalogOutputReply),
    handledBy<RecvAin>(Strategy::AnalogInputReply),
    handledBy<RecvForceDin>(Strategy::ForceDigitalInputReply),
    handledBy<SetZeroSuccess>(Strategy::AxisZeroPositionReply),
    handledBy<RecvSingleCycle>(Strategy::SingleCycleReply),
    handledBy<RecvCurJob>(Strategy::CurrentJobReply),
    handledBy<RecvWeldConfig>(Strategy::WeldConfigReply),
    handledBy<RecvCurrentHandleOperate>(Strategy::FeedWireStatusReply),
    handledBy<ReceiveSystemMessage>(Strategy::ErrorMessage),
    handledBy<ReceiveSystemMessage>(Strategy::WarningMessage),
    handledBy<RecvTransCoordPos>(Strategy::TransformCoordReply),
    handledBy<RecvToolCoordPara>(Strategy::ToolHandParamReply),
    handledBy<ReceivedWaveweldData>(Strategy::WaveWeldParamReply),
    handledBy<RecvDhParaState>(Strategy::RobotDhParamReply),
    handledBy<RecvJointPara>(Strategy::RobotJointParamReply),
    handledBy<ReceiveWeldMonitor>(Strategy::WeldMonitorReply),
    handledBy<RecvJobfileLine>(Strategy::JobLineReply),
    handledBy<RecvGlobalExternPosition>(Strategy::GlobalSyncPositionReply),
    handledBy<RecvVisionParameter>(Strategy::VisionParameterReply),
    handledBy<RecvVisionRange>(Strategy::VisionRangeReply),
    handledBy<RecvVisionPositionParam>(Strategy::VisionPositionParameterReply),
    handledBy<RecvVisioCalibrateData>(Strategy::VisionCalibrateDataReply),
    handledBy<RecvHardDeadmanMode>(Strategy::HardEnablePortReply),
    handledBy<RecvSafeIO>(Strategy::SafeIoReply),
    handledBy<RecvControllerID>(Strategy::ControllerIdReply),
    handledBy<RecvResetIO>(Strategy::IoResetReply),
    handledBy<RecvDigitalInputMsg>(Strategy::DigitalInputMessageReply),
    handledBy<RecvDigitalOutputMsg>(Strategy::DigitalOutputMessageReply),
    handledBy<RecvRemotePara>(Strategy::RemoteParamReply),
    handledBy<RecvIoControl>(Strategy::RemoteFunctionReply),
    handledBy<RecvIoRemoteTips>(Strategy::RemoteStatusTipsReply),
    handledBy<RecvRemoteProgram>(Strategy::RemoteProgramReply),
    handledBy<RecvTrackRecordOnOff>(Strategy::TrackRecordStatusReply),
    handledBy<RecvTeachType>(Strategy::TeachTypeReply),
    handledBy<MessageBaseStrategy>(Strategy::ConveyorBasicReply),
    handledBy<RecvConveyorIdentificationParamter>(Strategy::ConveyorIdentificationReply),
    handledBy<RecvConveyorSensorParams>(Strategy::ConveyorSensorReply),
    handledBy<RecvConveyorTrackRangeParams>(Strategy::ConveyorTrackRangeReply),
    handledBy<RecvConveyorWaitPointParams>(Strategy::ConveyorWaitPointReply),
    handledBy<RecvRobotType>(Strategy::RobotTypeReply),
    handledBy<RecvStaticSearchData>(Strategy::StaticSearchPositionReply),
    handledBy<RecvMotorSpeed>(Strategy::MotorSpeedReply),
    handledBy<RecvMotorTorque>(Strategy::MotorTorqueReply),
    handledBy<RecvMotorPayload>(Strategy::MotorPayloadReply),
    handledBy<RecvLineSpeedAndJointSpeed>(Strategy::LineAndJointSpeedReply),
    handledBy<MessageBaseStrategy>(Strategy::ModbusMasterStatusReply),
    handledBy<MessageBaseStrategy>(Strategy::ModbusReadReply),
    handledBy<MessageBaseStrategy>(Strategy::PosReachableReply),
    handledBy<RecvQueuelen>(Strategy::QueueMotionLengthReply),
    handledBy<RecvIOtype>(Strategy::IoTypeReply),
    handledBy<RecvVFDstate>(Strategy::VfdState),
    handledBy<MessageBaseStrategy>(Strategy::PalletRunningStateReply),
    handledBy<RecvRobotState>(Strategy::RobotState),
    handledBy<RecvUploadRespond>(Strategy::UploadRequestReply),
    handledBy<RecvUploadSuccess>(Strategy::UploadFinishedReply),
    handledBy<RecvAllJobFileNum>(Strategy::JobFileNumberReply),
    handledBy<RecvAllJobFileName>(Strategy::JobFileNameReply),
    handledBy<RecvAllJobFileNameFinsh>(Strategy::JobFileListFinished),
    handledBy<RecvDownloadFileData>(Strategy::DownloadData),
    handledBy<RecvDownloadRespond>(Strategy::DownloadRequestReply),
    handledBy<RecvDownloadFinish>(Strategy::DownloadFinished),
    handledBy<RecvConfigFileList>(Strategy::ConfigFileListReply),
};

constexpr std::size_t numberOfCodes = 0x10000;
constexpr std::uint8_t notRegistered = 0xFF;
static_assert(std::size(registrations) < notRegistered);

// Where the handler of each code stands among the registered ones: one look-up for every frame that arrives.
constexpr std::array<std::uint8_t, numberOfCodes> makePlaces() {
  std::array<std::uint8_t, numberOfCodes> places{};
  for (auto& place : places) place = notRegistered;
  std::uint8_t next = 0;
  for (const Registration& registration : registrations) {
    auto& place = places[static_cast<std::size_t>(registration.code)];
    if (place == notRegistered) place = next++;
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
  registered_.reserve(std::size(registrations));
  for (const Registration& registration : registrations) {
    const std::uint8_t place = placeOf(registration.code);
    if (place == registered_.size()) registered_.emplace_back();
    registered_[place] = registration.makeHandler();
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
