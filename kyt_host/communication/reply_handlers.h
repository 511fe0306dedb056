#pragma once

#include <atomic>
#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "kyt_host/communication/listener.h"
#include "kyt_host/communication/message_base_strategy.h"
#include "kyt_host/export.h"
#include "kyt_host/records/system_message.h"

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

// The reply handlers by class. A caller that waits for a reply checks the class of the handler that it gets; most
// classes are nothing but that name. Those that do more come first and last.

/// The robot state that the controller pushes: awaited like any reply, and handed to a callback of its own.
class KYT_HOST_API RecvRobotState : public MessageBaseStrategy {
 public:
  using Callback = void (*)(const char* text);

  /// Installs the callback; null switches it off.
  void setCallback(Callback callback) { callback_ = callback; }

  /// Called beside it.
  Listener<const std::string&> listener;

  bool wantsCallBack() const override { return callback_.load() != nullptr || listener.installed(); }
  void callBack(const char* data) override;

  /// Hears every state that arrives as long as it stands, of whichever robot: several may arrive at once.
  class KYT_HOST_API Follower {
   public:
    explicit Follower(RecvRobotState& handler);
    ~Follower();
    Follower(const Follower&) = delete;
    Follower& operator=(const Follower&) = delete;

    /// The texts that have arrived since the last call; of many the last `mostKept`.
    std::vector<std::string> takeTexts();

   private:
    friend class RecvRobotState;
    static constexpr std::size_t mostKept = 32;

    RecvRobotState& handler_;
    std::vector<std::string> texts_;
  };

  bool wantsEveryText() const override { return following_ > 0 || MessageBaseStrategy::wantsEveryText(); }

 protected:
  void onStored() override;

 private:
  std::atomic<Callback> callback_{nullptr};
  std::atomic<unsigned int> following_{0};
  std::vector<Follower*> followers_;
};

/// Errors and warnings that the controller pushes: handed to the callbacks, and the latest are kept. Nobody can wait
/// for them.
class KYT_HOST_API ReceiveSystemMessage : public MessageBaseStrategy {
 public:
  using Callback = void (*)(int kind, const char* data, int code);

  /// Installs the callback; null switches it off.
  void setCallback(Callback callback) { callback_ = callback; }

  /// Called beside it.
  Listener<int, const std::string&, int> listener;

  void store(std::string_view data) override;
  bool wantsEveryText() const override { return true; }
  bool wantsCallBack() const override { return callback_.load() != nullptr || listener.installed(); }

  /// Calls both with the members "kind", "data" and "code"; a text that lacks one of them is ignored.
  void callBack(const char* data) override;

  /// Adds those that are kept and have come after the one with this number, oldest first; no others than `callBack`
  /// takes.
  void addMessagesAfter(int number, std::vector<SystemMessage>& messages) const;

  /// The number of the latest message of the process.
  static int latestNumber();

 private:
  static constexpr std::size_t mostKept = 256;
  static constexpr std::size_t mostKeptBytes = 256 * 1024;

  struct Kept {
    int number;
    double time;
    std::string text;
  };

  std::atomic<Callback> callback_{nullptr};
  std::deque<Kept> kept_;
  std::size_t keptBytes_ = 0;
};

/// The end of a download.
class KYT_HOST_API RecvDownloadFinish : public MessageBaseStrategy {
 public:
  bool finished() const;

 protected:
  void onStored() override { finished_ = true; }

 private:
  bool finished_ = false;
};

/// The names of the controller's job files, which may come in several texts.
class KYT_HOST_API RecvAllJobFileName : public MessageBaseStrategy {
 public:
  /// How many bytes of texts are kept until they are taken; further ones are dropped.
  static constexpr std::size_t maxKept = 1024 * 1024;

  /// The names in the last text.
  std::vector<std::string> jobFileNames() const;

  /// The texts that have arrived since they were last taken.
  std::vector<std::string> takeTexts();

  bool wantsEveryText() const override { return true; }

 protected:
  void onStored() override;

 private:
  void getAllJobFileName();

  std::vector<std::string> jobFileNames_;
  std::vector<std::string> texts_;
  std::size_t textsSize_ = 0;
};

// clang-format off
class KYT_HOST_API RecvAppendModeStatus : public MessageBaseStrategy {};
class KYT_HOST_API RecvTeachboxStatus : public MessageBaseStrategy {};
class KYT_HOST_API RecvTotalLines : public MessageBaseStrategy {};
class KYT_HOST_API RecvCommandByLines : public MessageBaseStrategy {};
class KYT_HOST_API RecvSensorData : public MessageBaseStrategy {};
class KYT_HOST_API RecvServoStatus : public MessageBaseStrategy {};
class KYT_HOST_API RecvOperationMode : public MessageBaseStrategy {};
class KYT_HOST_API RecvCoordination : public MessageBaseStrategy {};
class KYT_HOST_API RecvDeadmanStatus : public MessageBaseStrategy {};
class KYT_HOST_API RecvSpeed : public MessageBaseStrategy {};
class KYT_HOST_API RecvPosition : public MessageBaseStrategy {};
class KYT_HOST_API RecvRobotRunStatus : public MessageBaseStrategy {};
class KYT_HOST_API RecvGlobalPosition : public MessageBaseStrategy {};
class KYT_HOST_API RecvGlobalVariant : public MessageBaseStrategy {};
class KYT_HOST_API RecvDin : public MessageBaseStrategy {};
class KYT_HOST_API RecvDout : public MessageBaseStrategy {};
class KYT_HOST_API RecvToolCoordNumber : public MessageBaseStrategy {};
class KYT_HOST_API RecvUserCoordNumber : public MessageBaseStrategy {};
class KYT_HOST_API RecvUserCoordPara : public MessageBaseStrategy {};
class KYT_HOST_API RecvQueueMotionStatus : public MessageBaseStrategy {};
class KYT_HOST_API RecvCycleIndex : public MessageBaseStrategy {};
class KYT_HOST_API RecvCountSuccessedFor : public MessageBaseStrategy {};
class KYT_HOST_API Receive4Point : public MessageBaseStrategy {};
class KYT_HOST_API RecvResultForDH : public MessageBaseStrategy {};
class KYT_HOST_API ReceiveCurEXPosition : public MessageBaseStrategy {};
class KYT_HOST_API RecvAout : public MessageBaseStrategy {};
class KYT_HOST_API RecvAin : public MessageBaseStrategy {};
class KYT_HOST_API RecvForceDin : public MessageBaseStrategy {};
class KYT_HOST_API SetZeroSuccess : public MessageBaseStrategy {};
class KYT_HOST_API RecvSingleCycle : public MessageBaseStrategy {};
class KYT_HOST_API RecvCurJob : public MessageBaseStrategy {};
class KYT_HOST_API RecvWeldConfig : public MessageBaseStrategy {};
class KYT_HOST_API RecvCurrentHandleOperate : public MessageBaseStrategy {};
class KYT_HOST_API RecvTransCoordPos : public MessageBaseStrategy {};
class KYT_HOST_API RecvToolCoordPara : public MessageBaseStrategy {};
class KYT_HOST_API ReceivedWaveweldData : public MessageBaseStrategy {};
class KYT_HOST_API ReceiveWeldMonitor : public MessageBaseStrategy {};
class KYT_HOST_API RecvJobfileLine : public MessageBaseStrategy {};
class KYT_HOST_API RecvGlobalExternPosition : public MessageBaseStrategy {};
class KYT_HOST_API RecvVisionParameter : public MessageBaseStrategy {};
class KYT_HOST_API RecvVisionRange : public MessageBaseStrategy {};
class KYT_HOST_API RecvVisionPositionParam : public MessageBaseStrategy {};
class KYT_HOST_API RecvVisioCalibrateData : public MessageBaseStrategy {};
class KYT_HOST_API RecvHardDeadmanMode : public MessageBaseStrategy {};
class KYT_HOST_API RecvSafeIO : public MessageBaseStrategy {};
class KYT_HOST_API RecvControllerID : public MessageBaseStrategy {};
class KYT_HOST_API RecvResetIO : public MessageBaseStrategy {};
class KYT_HOST_API RecvDigitalInputMsg : public MessageBaseStrategy {};
class KYT_HOST_API RecvDigitalOutputMsg : public MessageBaseStrategy {};
class KYT_HOST_API RecvRemotePara : public MessageBaseStrategy {};
class KYT_HOST_API RecvRemoteProgram : public MessageBaseStrategy {};
class KYT_HOST_API RecvTrackRecordOnOff : public MessageBaseStrategy {};
class KYT_HOST_API RecvTeachType : public MessageBaseStrategy {};
class KYT_HOST_API RecvConveyorIdentificationParamter : public MessageBaseStrategy {};
class KYT_HOST_API RecvConveyorSensorParams : public MessageBaseStrategy {};
class KYT_HOST_API RecvConveyorTrackRangeParams : public MessageBaseStrategy {};
class KYT_HOST_API RecvConveyorWaitPointParams : public MessageBaseStrategy {};
class KYT_HOST_API RecvRobotType : public MessageBaseStrategy {};
class KYT_HOST_API RecvStaticSearchData : public MessageBaseStrategy {};
class KYT_HOST_API RecvMotorSpeed : public MessageBaseStrategy {};
class KYT_HOST_API RecvMotorTorque : public MessageBaseStrategy {};
class KYT_HOST_API RecvMotorPayload : public MessageBaseStrategy {};
class KYT_HOST_API RecvLineSpeedAndJointSpeed : public MessageBaseStrategy {};
class KYT_HOST_API RecvQueuelen : public MessageBaseStrategy {};
class KYT_HOST_API RecvVFDstate : public MessageBaseStrategy {};
class KYT_HOST_API RecvUploadRespond : public MessageBaseStrategy {};
class KYT_HOST_API RecvUploadSuccess : public MessageBaseStrategy {};
class KYT_HOST_API RecvAllJobFileNum : public MessageBaseStrategy {};
class KYT_HOST_API RecvAllJobFileNameFinsh : public MessageBaseStrategy {};
class KYT_HOST_API RecvDownloadFileData : public MessageBaseStrategy {};
class KYT_HOST_API RecvDownloadRespond : public MessageBaseStrategy {};
class KYT_HOST_API RecvConfigFileList : public MessageBaseStrategy {};
// clang-format on

// Those that also decode their last text, as the exported decoder of their reply does: 0, or -5 when it cannot be read.

struct IOtype;
struct RemoteControl;
struct RemoteProgram;
struct RobotDHParam;
struct RobotJointParam;

class KYT_HOST_API RecvDhParaState : public MessageBaseStrategy {
 public:
  int recvDHpara(int robotType, RobotDHParam& param) const;
};

class KYT_HOST_API RecvJointPara : public MessageBaseStrategy {
 public:
  int recvJointparam(RobotJointParam& param) const;
};

class KYT_HOST_API RecvIoControl : public MessageBaseStrategy {
 public:
  int receiveIoControl(int& num, int& time, RemoteControl& control, std::vector<RemoteProgram>& programs) const;
};

class KYT_HOST_API RecvIoRemoteTips : public MessageBaseStrategy {
 public:
  int receiveIoRemoteTips(int& num, int& outagerecover, int& outagerecoverValue,
                          std::vector<RemoteProgram>& outputs) const;
};

class KYT_HOST_API RecvIOtype : public MessageBaseStrategy {
 public:
  int getIOtype(IOtype& io) const;
};
