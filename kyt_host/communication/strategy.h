#pragma once

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

/// The command code of a frame: the high byte names a functional group, the low byte the operation.
///
/// A request carries the name of its operation and its reply stands beside it. The pair is fixed for each operation;
/// no rule computes it. This enum is the one place where codes are written as numbers.
enum class Strategy : unsigned int {
  // clang-format off

  // servo
  SetServoState = 0x2001,                GetServoState = 0x2002,          ServoStateReply = 0x2003,
  SetRobotsParallel = SetServoState,     // one code for two commands; the keys tell them apart
  SetAxisSdo = 0x2056,
  SetServoPower = 0x2301,                ServoPowerReply = 0x2303,
  SetHardEnablePort = 0x2304,            GetHardEnablePort = 0x2305,      HardEnablePortReply = 0x2306,
  ClearError = 0x3201,

  // operating mode, coordinate system, speed, states
  SetCurrentMode = 0x2101,               GetCurrentMode = 0x2102,         CurrentModeReply = 0x2103,
  SetTeachType = 0x2104,                 GetTeachType = 0x2105,           TeachTypeReply = 0x2106,
  SetCurrentCoord = 0x2201,              GetCurrentCoord = 0x2202,        CurrentCoordReply = 0x2203,
  SetSpeed = 0x2601,                     GetSpeed = 0x2602,               SpeedReply = 0x2603,
  GetRobotType = 0x2E02,                 RobotTypeReply = 0x2E03,
  GetRunningState = 0x3D02,              RunningStateReply = 0x3D03,
  SetRobotSwitch = 0x5001,               GetRobotSwitch = 0x5002,         RobotSwitchReply = 0x5003,
  GetControllerId = 0x5052,              ControllerIdReply = 0x5053,
  SetCollisionPara = 0x7409,
  SetDragMode = 0x750F,
  GetTeachboxStatus = 0x9305,            TeachboxStatusReply = 0x9306,

  // motion
  StartJogging = 0x2901,                 StopJogging = 0x2902,
  GoHome = 0x3002,                       GoToResetPosition = 0x3007,
  MoveJ = 0x4501,                        MoveL = 0x4502,
  ExtraMoveJ = 0x4507,                   ExtraMoveL = 0x4508,
  EnableServoPositionMotionControl = 0x95A1,

  // pushed by the controller, unsolicited
  ErrorMessage = 0x2B03,                 WarningMessage = 0x2B04,
  VfdState = 0x9136,
  RobotState = 0x9513,

  // positions and motor data
  GetMotorSpeed = 0x2A04,                MotorSpeedReply = 0x2A05,
  GetMotorTorque = 0x2A06,               MotorTorqueReply = 0x2A07,
  GetMotorPayload = 0x2A0A,              MotorPayloadReply = 0x2A0B,
  TransformCoord = 0x2A12,               TransformCoordReply = 0x2A13,
  GetLineAndJointSpeed = 0x2A22,         LineAndJointSpeedReply = 0x2A23,
  GetCurrentPosition = 0x2F07,           CurrentPositionReply = 0x2F08,
  SetAxisZeroPosition = 0x3301,          AxisZeroPositionReply = 0x3303,
  GetSingleCycle = 0x3309,               SingleCycleReply = 0x330A,
  GetRobotDhParam = 0x3A02,              RobotDhParamReply = 0x3A03,
  GetRobotJointParam = 0x3B02,           RobotJointParamReply = 0x3B03,
  GetPosReachable = 0x4560,              PosReachableReply = 0x4561,
  GetExtraPosition = 0x7012,             ExtraPositionReply = 0x7013,
  GetSensorData = 0x930B,                SensorDataReply = 0x930C,
  GetStaticSearchPosition = 0x930D,      StaticSearchPositionReply = 0x930E,

  // global variables and positions
  SetGlobalPosition = 0x5604,            GetGlobalPosition = 0x5605,  GlobalPositionReply = 0x5606,
  SetGlobalVariant = 0x5607,             GetGlobalVariant = 0x560B,   GlobalVariantReply = 0x560C,
  SetGlobalSyncPosition = 0x561A,        GetGlobalSyncPosition = 0x561B, GlobalSyncPositionReply = 0x561C,

  // tools, user coordinates, calibration
  SetToolHandParam = 0x3805,             GetToolHandParam = 0x3806,       ToolHandParamReply = 0x3807,
  SetToolHandNumber = 0x380A,            GetToolHandNumber = 0x380B,      ToolHandNumberReply = 0x380C,
  CalculateToolHand7 = 0x3801,           RecordToolHand7Point = 0x3802,   ClearToolHand7Point = 0x3817,
  CalculateToolHand2Or20 = 0x7101,       RecordToolHand2Or20Point = 0x7102, ClearToolHand2Or20Point = 0x7109,
  CalculateUserCoordinate = 0x3C01,      CalibrateUserCoordinate = 0x3C03,
  SetUserCoordPara = 0x3C07,             GetUserCoordPara = 0x3C08,       UserCoordParaReply = 0x3C09,
  SetUserCoordNumber = 0x3C0A,           GetUserCoordNumber = 0x3C0B,     UserCoordNumberReply = 0x3C0C,
  CalculateFourPoint = 0x7201,           CalculateFourPointReply = 0x7204,
  SetResultForDh = 0x7205,               ResultForDhReply = 0x7206,
  GetFourPoint = 0x7207,                 FourPointReply = 0x7208,

  // jobs and the motion queue
  PauseJob = 0x2401,                     // also before a step: "type" tells them apart
  RunJob = 0x2501,                       StopJob = 0x2503,                EndJob = 0x9107,
  SelectJobLine = 0x9104,
  DeleteJob = 0x3111,                    CreateJob = 0x3113,              CreateJobFile = 0x3120,
  OpenJob = 0x3114,
  InsertJobCommand = 0x3121,             DeleteJobCommand = 0x3123,
  InsertLocalPosition = 0x3124,          SetLocalPosition = 0x3125,
  SyncJobFile = 0x9303,
  GetJobLine = 0x3503,                   JobLineReply = 0x3504,
  GetCurrentJob = 0x3A04,                CurrentJobReply = 0x3A05,
  SetJobRunTimes = 0x5011,               JobRunTimesReply = 0x5013,
  SetQueueMotionStatus = 0x50B1,         GetQueueMotionStatus = 0x50B2,   QueueMotionStatusReply = 0x50B3,
  SendQueueMotion = 0x50B4,              GetQueueMotionLength = 0x50B5,   QueueMotionLengthReply = 0x50B6,
  SuspendQueueMotion = 0x50B7,           RestartQueueMotion = 0x50B8,
  StopQueueMotion = 0x50B9,              StopQueueMotionKeepPower = 0x50BA,
  GetJobTotalLines = 0x9307,             JobTotalLinesReply = 0x9308,
  GetJobCommand = 0x9309,                JobCommandReply = 0x930A,

  // IO, remote control, safety
  SetRemoteProgram = 0x2C01,             GetRemoteProgram = 0x2C02,       RemoteProgramReply = 0x2C03,
  SetRemoteParam = 0x2C04,               GetRemoteParam = 0x2C05,         RemoteParamReply = 0x2C06,
  SetRemoteFunction = 0x2F01,            GetRemoteFunction = 0x2F02,      RemoteFunctionReply = 0x2F03,
  SetIoReset = 0x2F0D,                   GetIoReset = 0x2F0E,             IoResetReply = 0x2F0F,
  GetIoType = 0x2F22,                    IoTypeReply = 0x2F23,
  SetRemoteStatusTips = 0x2F24,          GetRemoteStatusTips = 0x2F25,    RemoteStatusTipsReply = 0x2F26,
  SetSafeIo = 0x2F31,                    GetSafeIo = 0x2F32,              SafeIoReply = 0x2F33,
  SetDigitalInputMessage = 0x2F41,       GetDigitalInputMessage = 0x2F42, DigitalInputMessageReply = 0x2F43,
  SetDigitalOutputMessage = 0x2F44,      GetDigitalOutputMessage = 0x2F45, DigitalOutputMessageReply = 0x2F46,
  SetDigitalOutput = 0x3601,             GetDigitalOutput = 0x3602,       DigitalOutputReply = 0x3603,
  GetDigitalInput = 0x3605,              DigitalInputReply = 0x3606,
  SetAnalogOutput = 0x3607,              GetAnalogOutput = 0x3608,        AnalogOutputReply = 0x3609,
  GetAnalogInput = 0x360A,               AnalogInputReply = 0x360B,
  SetForceDigitalInput = 0x360C,         GetForceDigitalInput = 0x360D,   ForceDigitalInputReply = 0x360E,

  // welding, vision, conveyor, pallet, track recording, Modbus master
  SetWeldConfig = 0x4007,                GetWeldConfig = 0x4008,          WeldConfigReply = 0x4009,
  SetWaveWeldParam = 0x400B,             GetWaveWeldParam = 0x400C,       WaveWeldParamReply = 0x400D,
  OperateWelder = 0x401A,
  GetWeldMonitor = 0x4015,               WeldMonitorReply = 0x4016,
  GetFeedWireStatus = 0x401B,            FeedWireStatusReply = 0x401C,
  GetVisionRange = 0x3F05,               VisionRangeReply = 0x3F06,
  GetVisionParameter = 0x4102,           VisionParameterReply = 0x4103,
  GetVisionPositionParameter = 0x4105,   VisionPositionParameterReply = 0x4106,
  GetVisionCalibrateData = 0x4118,       VisionCalibrateDataReply = 0x4119,
  ConveyorBasicReply = 0x4803,
  ConveyorIdentificationReply = 0x4806,
  ConveyorSensorReply = 0x4817,
  ConveyorTrackRangeReply = 0x4832,
  ConveyorWaitPointReply = 0x483C,
  PalletRunningStateReply = 0x421C,
  PalletCraftIdReply = 0x4231,
  ModbusMasterStatusReply = 0x5749,
  ModbusReadReply = 0x574B,
  TrackRecordStatusReply = 0x7509,

  // file transfer
  UploadRequest = 0x5501,                UploadRequestReply = 0x5502,
  DownloadRequest = 0x5504,              DownloadRequestReply = 0x5505,
  ListConfigFiles = 0x5507,              ConfigFileListReply = 0x5508,
  UploadData = 0x5511,                   UploadOver = 0x5512,             UploadFinishedReply = 0x5513,
  DownloadNext = 0x5524,                 DownloadData = 0x5521,           DownloadFinished = 0x5522,
  DownloadOver = 0x5523,
  ListJobFiles = 0x5532,                 JobFileNumberReply = 0x5533,
  JobFileNameReply = 0x5534,
  JobFileListFinished = 0x5535,

  // clang-format on
};
