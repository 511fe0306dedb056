-- Frames between a PC and a robot controller, for Wireshark and tshark: docs/wireshark.md.
--
--   tshark -X lua_script:kyt.lua -r session.pcapng
--
-- Wireshark loads it by itself from its folder of personal Lua plugins (Help, About, Folders).

-- What the codes are called, and which reply answers which request: the library's own tables.
-- begin: written by scripts/check_dissector.py --fix
local names = {
  [0x2001] = "SetServoState",
  [0x2002] = "GetServoState",
  [0x2003] = "ServoStateReply",
  [0x2056] = "SetAxisSdo",
  [0x2101] = "SetCurrentMode",
  [0x2102] = "GetCurrentMode",
  [0x2103] = "CurrentModeReply",
  [0x2104] = "SetTeachType",
  [0x2105] = "GetTeachType",
  [0x2106] = "TeachTypeReply",
  [0x2201] = "SetCurrentCoord",
  [0x2202] = "GetCurrentCoord",
  [0x2203] = "CurrentCoordReply",
  [0x2301] = "SetServoPower",
  [0x2303] = "ServoPowerReply",
  [0x2304] = "SetHardEnablePort",
  [0x2305] = "GetHardEnablePort",
  [0x2306] = "HardEnablePortReply",
  [0x2401] = "PauseJob",
  [0x2501] = "RunJob",
  [0x2503] = "StopJob",
  [0x2601] = "SetSpeed",
  [0x2602] = "GetSpeed",
  [0x2603] = "SpeedReply",
  [0x2901] = "StartJogging",
  [0x2902] = "StopJogging",
  [0x2A04] = "GetMotorSpeed",
  [0x2A05] = "MotorSpeedReply",
  [0x2A06] = "GetMotorTorque",
  [0x2A07] = "MotorTorqueReply",
  [0x2A0A] = "GetMotorPayload",
  [0x2A0B] = "MotorPayloadReply",
  [0x2A12] = "TransformCoord",
  [0x2A13] = "TransformCoordReply",
  [0x2A22] = "GetLineAndJointSpeed",
  [0x2A23] = "LineAndJointSpeedReply",
  [0x2B03] = "ErrorMessage",
  [0x2B04] = "WarningMessage",
  [0x2C01] = "SetRemoteProgram",
  [0x2C02] = "GetRemoteProgram",
  [0x2C03] = "RemoteProgramReply",
  [0x2C04] = "SetRemoteParam",
  [0x2C05] = "GetRemoteParam",
  [0x2C06] = "RemoteParamReply",
  [0x2E02] = "GetRobotType",
  [0x2E03] = "RobotTypeReply",
  [0x2F01] = "SetRemoteFunction",
  [0x2F02] = "GetRemoteFunction",
  [0x2F03] = "RemoteFunctionReply",
  [0x2F07] = "GetCurrentPosition",
  [0x2F08] = "CurrentPositionReply",
  [0x2F0D] = "SetIoReset",
  [0x2F0E] = "GetIoReset",
  [0x2F0F] = "IoResetReply",
  [0x2F22] = "GetIoType",
  [0x2F23] = "IoTypeReply",
  [0x2F24] = "SetRemoteStatusTips",
  [0x2F25] = "GetRemoteStatusTips",
  [0x2F26] = "RemoteStatusTipsReply",
  [0x2F31] = "SetSafeIo",
  [0x2F32] = "GetSafeIo",
  [0x2F33] = "SafeIoReply",
  [0x2F41] = "SetDigitalInputMessage",
  [0x2F42] = "GetDigitalInputMessage",
  [0x2F43] = "DigitalInputMessageReply",
  [0x2F44] = "SetDigitalOutputMessage",
  [0x2F45] = "GetDigitalOutputMessage",
  [0x2F46] = "DigitalOutputMessageReply",
  [0x3002] = "GoHome",
  [0x3007] = "GoToResetPosition",
  [0x3111] = "DeleteJob",
  [0x3113] = "CreateJob",
  [0x3114] = "OpenJob",
  [0x3120] = "CreateJobFile",
  [0x3121] = "InsertJobCommand",
  [0x3123] = "DeleteJobCommand",
  [0x3124] = "InsertLocalPosition",
  [0x3125] = "SetLocalPosition",
  [0x3201] = "ClearError",
  [0x3301] = "SetAxisZeroPosition",
  [0x3303] = "AxisZeroPositionReply",
  [0x3309] = "GetSingleCycle",
  [0x330A] = "SingleCycleReply",
  [0x3503] = "GetJobLine",
  [0x3504] = "JobLineReply",
  [0x3601] = "SetDigitalOutput",
  [0x3602] = "GetDigitalOutput",
  [0x3603] = "DigitalOutputReply",
  [0x3605] = "GetDigitalInput",
  [0x3606] = "DigitalInputReply",
  [0x3607] = "SetAnalogOutput",
  [0x3608] = "GetAnalogOutput",
  [0x3609] = "AnalogOutputReply",
  [0x360A] = "GetAnalogInput",
  [0x360B] = "AnalogInputReply",
  [0x360C] = "SetForceDigitalInput",
  [0x360D] = "GetForceDigitalInput",
  [0x360E] = "ForceDigitalInputReply",
  [0x3801] = "CalculateToolHand7",
  [0x3802] = "RecordToolHand7Point",
  [0x3805] = "SetToolHandParam",
  [0x3806] = "GetToolHandParam",
  [0x3807] = "ToolHandParamReply",
  [0x380A] = "SetToolHandNumber",
  [0x380B] = "GetToolHandNumber",
  [0x380C] = "ToolHandNumberReply",
  [0x3817] = "ClearToolHand7Point",
  [0x3A02] = "GetRobotDhParam",
  [0x3A03] = "RobotDhParamReply",
  [0x3A04] = "GetCurrentJob",
  [0x3A05] = "CurrentJobReply",
  [0x3B02] = "GetRobotJointParam",
  [0x3B03] = "RobotJointParamReply",
  [0x3C01] = "CalculateUserCoordinate",
  [0x3C03] = "CalibrateUserCoordinate",
  [0x3C07] = "SetUserCoordPara",
  [0x3C08] = "GetUserCoordPara",
  [0x3C09] = "UserCoordParaReply",
  [0x3C0A] = "SetUserCoordNumber",
  [0x3C0B] = "GetUserCoordNumber",
  [0x3C0C] = "UserCoordNumberReply",
  [0x3D02] = "GetRunningState",
  [0x3D03] = "RunningStateReply",
  [0x3F05] = "GetVisionRange",
  [0x3F06] = "VisionRangeReply",
  [0x4007] = "SetWeldConfig",
  [0x4008] = "GetWeldConfig",
  [0x4009] = "WeldConfigReply",
  [0x400B] = "SetWaveWeldParam",
  [0x400C] = "GetWaveWeldParam",
  [0x400D] = "WaveWeldParamReply",
  [0x4015] = "GetWeldMonitor",
  [0x4016] = "WeldMonitorReply",
  [0x401A] = "OperateWelder",
  [0x401B] = "GetFeedWireStatus",
  [0x401C] = "FeedWireStatusReply",
  [0x4102] = "GetVisionParameter",
  [0x4103] = "VisionParameterReply",
  [0x4105] = "GetVisionPositionParameter",
  [0x4106] = "VisionPositionParameterReply",
  [0x4118] = "GetVisionCalibrateData",
  [0x4119] = "VisionCalibrateDataReply",
  [0x421C] = "PalletRunningStateReply",
  [0x4231] = "PalletCraftIdReply",
  [0x4501] = "MoveJ",
  [0x4502] = "MoveL",
  [0x4507] = "ExtraMoveJ",
  [0x4508] = "ExtraMoveL",
  [0x4560] = "GetPosReachable",
  [0x4561] = "PosReachableReply",
  [0x4803] = "ConveyorBasicReply",
  [0x4806] = "ConveyorIdentificationReply",
  [0x4817] = "ConveyorSensorReply",
  [0x4832] = "ConveyorTrackRangeReply",
  [0x483C] = "ConveyorWaitPointReply",
  [0x5001] = "SetRobotSwitch",
  [0x5002] = "GetRobotSwitch",
  [0x5003] = "RobotSwitchReply",
  [0x5011] = "SetJobRunTimes",
  [0x5013] = "JobRunTimesReply",
  [0x5052] = "GetControllerId",
  [0x5053] = "ControllerIdReply",
  [0x50B1] = "SetQueueMotionStatus",
  [0x50B2] = "GetQueueMotionStatus",
  [0x50B3] = "QueueMotionStatusReply",
  [0x50B4] = "SendQueueMotion",
  [0x50B5] = "GetQueueMotionLength",
  [0x50B6] = "QueueMotionLengthReply",
  [0x50B7] = "SuspendQueueMotion",
  [0x50B8] = "RestartQueueMotion",
  [0x50B9] = "StopQueueMotion",
  [0x50BA] = "StopQueueMotionKeepPower",
  [0x5501] = "UploadRequest",
  [0x5502] = "UploadRequestReply",
  [0x5504] = "DownloadRequest",
  [0x5505] = "DownloadRequestReply",
  [0x5507] = "ListConfigFiles",
  [0x5508] = "ConfigFileListReply",
  [0x5511] = "UploadData",
  [0x5512] = "UploadOver",
  [0x5513] = "UploadFinishedReply",
  [0x5521] = "DownloadData",
  [0x5522] = "DownloadFinished",
  [0x5523] = "DownloadOver",
  [0x5524] = "DownloadNext",
  [0x5532] = "ListJobFiles",
  [0x5533] = "JobFileNumberReply",
  [0x5534] = "JobFileNameReply",
  [0x5535] = "JobFileListFinished",
  [0x5604] = "SetGlobalPosition",
  [0x5605] = "GetGlobalPosition",
  [0x5606] = "GlobalPositionReply",
  [0x5607] = "SetGlobalVariant",
  [0x560B] = "GetGlobalVariant",
  [0x560C] = "GlobalVariantReply",
  [0x561A] = "SetGlobalSyncPosition",
  [0x561B] = "GetGlobalSyncPosition",
  [0x561C] = "GlobalSyncPositionReply",
  [0x5749] = "ModbusMasterStatusReply",
  [0x574B] = "ModbusReadReply",
  [0x7012] = "GetExtraPosition",
  [0x7013] = "ExtraPositionReply",
  [0x7101] = "CalculateToolHand2Or20",
  [0x7102] = "RecordToolHand2Or20Point",
  [0x7109] = "ClearToolHand2Or20Point",
  [0x7201] = "CalculateFourPoint",
  [0x7204] = "CalculateFourPointReply",
  [0x7205] = "SetResultForDh",
  [0x7206] = "ResultForDhReply",
  [0x7207] = "GetFourPoint",
  [0x7208] = "FourPointReply",
  [0x7409] = "SetCollisionPara",
  [0x7509] = "TrackRecordStatusReply",
  [0x750F] = "SetDragMode",
  [0x9104] = "SelectJobLine",
  [0x9107] = "EndJob",
  [0x9136] = "VfdState",
  [0x9303] = "SyncJobFile",
  [0x9305] = "GetTeachboxStatus",
  [0x9306] = "TeachboxStatusReply",
  [0x9307] = "GetJobTotalLines",
  [0x9308] = "JobTotalLinesReply",
  [0x9309] = "GetJobCommand",
  [0x930A] = "JobCommandReply",
  [0x930B] = "GetSensorData",
  [0x930C] = "SensorDataReply",
  [0x930D] = "GetStaticSearchPosition",
  [0x930E] = "StaticSearchPositionReply",
  [0x9513] = "RobotState",
  [0x95A1] = "EnableServoPositionMotionControl",
}
local reply_to = {
  [0x2001] = 0x2003,
  [0x2002] = 0x2003,
  [0x2102] = 0x2103,
  [0x2105] = 0x2106,
  [0x2202] = 0x2203,
  [0x2301] = 0x2303,
  [0x2305] = 0x2306,
  [0x2602] = 0x2603,
  [0x2A04] = 0x2A05,
  [0x2A06] = 0x2A07,
  [0x2A0A] = 0x2A0B,
  [0x2A12] = 0x2A13,
  [0x2A22] = 0x2A23,
  [0x2C02] = 0x2C03,
  [0x2C05] = 0x2C06,
  [0x2E02] = 0x2E03,
  [0x2F02] = 0x2F03,
  [0x2F07] = 0x2F08,
  [0x2F0E] = 0x2F0F,
  [0x2F22] = 0x2F23,
  [0x2F25] = 0x2F26,
  [0x2F32] = 0x2F33,
  [0x2F42] = 0x2F43,
  [0x2F45] = 0x2F46,
  [0x3301] = 0x3303,
  [0x3309] = 0x330A,
  [0x3503] = 0x3504,
  [0x3602] = 0x3603,
  [0x3605] = 0x3606,
  [0x3608] = 0x3609,
  [0x360A] = 0x360B,
  [0x360D] = 0x360E,
  [0x3806] = 0x3807,
  [0x380B] = 0x380C,
  [0x3A02] = 0x3A03,
  [0x3A04] = 0x3A05,
  [0x3B02] = 0x3B03,
  [0x3C08] = 0x3C09,
  [0x3C0B] = 0x3C0C,
  [0x3D02] = 0x3D03,
  [0x3F05] = 0x3F06,
  [0x4008] = 0x4009,
  [0x400C] = 0x400D,
  [0x4015] = 0x4016,
  [0x401B] = 0x401C,
  [0x4102] = 0x4103,
  [0x4105] = 0x4106,
  [0x4118] = 0x4119,
  [0x4560] = 0x4561,
  [0x5002] = 0x5003,
  [0x5011] = 0x5013,
  [0x5052] = 0x5053,
  [0x50B2] = 0x50B3,
  [0x50B5] = 0x50B6,
  [0x5605] = 0x5606,
  [0x560B] = 0x560C,
  [0x561B] = 0x561C,
  [0x7012] = 0x7013,
  [0x7201] = 0x7204,
  [0x7207] = 0x7208,
  [0x9305] = 0x9306,
  [0x9307] = 0x9308,
  [0x9309] = 0x930A,
  [0x930B] = 0x930C,
  [0x930D] = 0x930E,
}
-- end

local code_of = {}
for code, name in pairs(names) do code_of[name] = code end

-- Of transfers of files, whose exchanges have more than two frames.
for request, reply in pairs({
  UploadRequest = "UploadRequestReply", UploadOver = "UploadFinishedReply",
  DownloadRequest = "DownloadRequestReply", DownloadNext = "DownloadData",
  ListConfigFiles = "ConfigFileListReply", ListJobFiles = "JobFileListFinished",
}) do
  reply_to[code_of[request]] = code_of[reply]
end
local instead_of = { [code_of.DownloadFinished] = code_of.DownloadData }

local from_controller = {}
for code, name in pairs(names) do from_controller[code] = name:match("Reply$") ~= nil end
for _, name in ipairs({ "ErrorMessage", "WarningMessage", "VfdState", "RobotState",
                        "DownloadData", "DownloadFinished", "JobFileListFinished" }) do
  from_controller[code_of[name]] = true
end

-- --- the protocol ---

local header_size, crc_size, magic = 6, 4, 0x4E66

local kyt = Proto("kyt", "Robot controller")
local f = {
  magic = ProtoField.uint16("kyt.magic", "Magic", base.HEX),
  length = ProtoField.uint16("kyt.length", "Length of the payload", base.DEC),
  code = ProtoField.uint16("kyt.code", "Code", base.HEX, names),
  text = ProtoField.string("kyt.text", "Text", base.UNICODE),
  data = ProtoField.bytes("kyt.data", "Data"),
  last = ProtoField.bytes("kyt.last", "Byte that controllers add"),
  crc = ProtoField.uint32("kyt.crc", "CRC-32", base.HEX),
  crc_wanted = ProtoField.uint32("kyt.crc.wanted", "CRC-32 of what has come", base.HEX),
  request_in = ProtoField.framenum("kyt.request_in", "Request in", base.NONE, frametype.REQUEST),
  reply_in = ProtoField.framenum("kyt.reply_in", "Reply in", base.NONE, frametype.RESPONSE),
  time = ProtoField.relative_time("kyt.time", "Time since the request"),
  file = ProtoField.string("kyt.file", "File"),
  offset = ProtoField.uint32("kyt.file.offset", "Begins at byte", base.DEC),
  size = ProtoField.uint32("kyt.file.size", "Size that was announced", base.DEC),
}
kyt.fields = f
local e = {
  crc = ProtoExpert.new("kyt.crc.bad", "The CRC is wrong: the library drops this frame", expert.group.CHECKSUM,
                        expert.severity.ERROR),
  magic = ProtoExpert.new("kyt.magic.bad", "No magic: this may be no frame at all", expert.group.PROTOCOL,
                          expert.severity.WARN),
  unknown = ProtoExpert.new("kyt.code.unknown", "A code that the library does not list", expert.group.UNDECODED,
                            expert.severity.NOTE),
  unanswered = ProtoExpert.new("kyt.unanswered", "No reply in this capture", expert.group.SEQUENCE,
                               expert.severity.NOTE),
  short = ProtoExpert.new("kyt.file.short", "The file ends before the size that was announced", expert.group.SEQUENCE,
                          expert.severity.WARN),
  raised = ProtoExpert.new("kyt.raised", "The controller has raised something", expert.group.RESPONSE_CODE,
                           expert.severity.NOTE),
}
kyt.experts = { e.crc, e.magic, e.unknown, e.unanswered, e.short, e.raised }
kyt.prefs.ports = Pref.range("TCP ports", "5000,6001,7000", "Ports of controllers; others are recognised by their frames",
                             65535)

local json = Dissector.get("json")
local stream_field = Field.new("tcp.stream")

-- --- what is known of each connection, and of each frame ---

local streams, frames = {}, {}

function kyt.init() streams, frames = {}, {} end

local function state_of_stream()
  local number = stream_field().value
  streams[number] = streams[number] or { waiting = {} }
  return streams[number]
end

-- --- CRC ---

local bits = bit32 or bit
local crc_table = {}
for byte = 0, 255 do
  local value = byte
  for _ = 1, 8 do
    value = bits.bxor(bits.rshift(value, 1), value % 2 == 1 and 0xEDB88320 or 0) % 0x100000000
  end
  crc_table[byte] = value
end

local function crc32(bytes)
  local crc = 0xFFFFFFFF
  for i = 1, #bytes do
    crc = bits.bxor(bits.rshift(crc, 8), crc_table[bits.band(bits.bxor(crc, bytes:byte(i)), 0xFF)])
  end
  return bits.bxor(crc, 0xFFFFFFFF) % 0x100000000
end

-- --- one frame ---

-- A request waits for its reply, in the row of those with the same; a reply answers the first of them.
local function follow_exchange(known, stream, code, pinfo)
  local row = instead_of[code] or code
  local waiting = stream.waiting[row]
  if reply_to[code] then
    local wanted = reply_to[code]
    stream.waiting[wanted] = stream.waiting[wanted] or {}
    table.insert(stream.waiting[wanted], { number = pinfo.number, time = pinfo.rel_ts, frame = known })
  elseif waiting and waiting[1] then
    local request = table.remove(waiting, 1)
    known.request_in, known.seconds = request.number, pinfo.rel_ts - request.time
    request.frame.reply_in = pinfo.number
  end
end

local function follow_file(known, stream, name, text, size)
  if name == "UploadRequest" or name == "DownloadRequest" then
    stream.file = { name = text:match('"name"%s*:%s*"(.-)"') or "", done = 0, size = tonumber(text:match('"size"%s*:%s*(%d+)')) }
    known.file, known.size = stream.file.name, stream.file.size
  elseif stream.file == nil then
    return
  elseif name == "DownloadRequestReply" then
    stream.file.size = tonumber(text:match('"size"%s*:%s*(%d+)'))
    known.file, known.size = stream.file.name, stream.file.size
  elseif name == "UploadData" or name == "DownloadData" then
    known.file, known.size, known.offset, known.bytes = stream.file.name, stream.file.size, stream.file.done, size
    stream.file.done = stream.file.done + size
  elseif name == "UploadOver" or name == "DownloadFinished" then
    known.file, known.size, known.done = stream.file.name, stream.file.size, stream.file.done
  end
end

local function time_text(seconds)
  return seconds < 1 and string.format("%.2f ms", seconds * 1000) or string.format("%.2f s", seconds)
end

local function dissect_frame(tvb, pinfo, root)
  local length, code = tvb(2, 2):uint(), tvb(4, 2):uint()
  local name = names[code] or string.format("0x%04X", code)
  local comes = from_controller[code]
  if comes == nil then comes = pinfo.src_port < pinfo.dst_port end
  local tree = root:add(kyt, tvb(), "Robot controller, " .. name)

  local magic_item = tree:add(f.magic, tvb(0, 2))
  if tvb(0, 2):uint() ~= magic then magic_item:add_proto_expert_info(e.magic) end
  tree:add(f.length, tvb(2, 2))
  local code_item = tree:add(f.code, tvb(4, 2))
  if not names[code] then code_item:add_proto_expert_info(e.unknown) end
  if name == "ErrorMessage" or name == "WarningMessage" then code_item:add_proto_expert_info(e.raised) end

  -- The payload: text, or a piece of a file, which a download begins with two bytes of its own.
  local is_data = name == "UploadData" or name == "DownloadData"
  local added = comes and length > 0 and 1 or 0
  local size = length - added
  local before = name == "DownloadData" and math.min(2, size) or 0
  local text = is_data and "" or tvb:raw(header_size, size)
  if size > 0 then
    local payload = tvb(header_size, size)
    tree:add(is_data and f.data or f.text, payload)
    -- {robot:1} is what stands for no text at all, and is not JSON.
    if json and text:match("^%s*[{%[]") and text ~= "{robot:1}" then json:call(payload:tvb(), pinfo, tree) end
  end
  if added > 0 then tree:add(f.last, tvb(header_size + size, 1)) end

  local crc_item = tree:add(f.crc, tvb(header_size + length, crc_size))
  local computed = crc32(tvb:raw(2, header_size - 2 + length))
  local intact = length == 0 or computed == tvb(header_size + length, crc_size):uint()
  if not intact then
    tree:add(f.crc_wanted, computed):set_generated()
    crc_item:add_proto_expert_info(e.crc)
  end

  local key = pinfo.number .. "," .. tvb:offset() .. "," .. tvb:reported_len()
  local first = frames[key] == nil -- not every first pass of tshark is told as one
  local known = frames[key] or {}
  frames[key] = known
  if first then
    if intact then
      local stream = state_of_stream()
      follow_exchange(known, stream, code, pinfo)
      follow_file(known, stream, name, text, size - before)
    end
  end

  local info = name
  if known.file then
    tree:add(f.file, known.file):set_generated()
    if known.size then tree:add(f.size, known.size):set_generated() end
    info = info .. " " .. known.file
    if known.offset then
      tree:add(f.offset, known.offset):set_generated()
      info = info .. string.format(", bytes %d to %d", known.offset, known.offset + known.bytes)
      if known.size then info = info .. " of " .. known.size end
    elseif known.done then
      info = info .. ", " .. known.done .. " bytes"
      if known.size and known.done < known.size then tree:add_proto_expert_info(e.short) end
    end
  elseif text ~= "" and text ~= "{robot:1}" then
    info = info .. " " .. text:gsub("[%c\127]", "")
  end
  if known.request_in then
    tree:add(f.request_in, known.request_in):set_generated()
    tree:add(f.time, NSTime.new(math.floor(known.seconds), known.seconds % 1 * 1e9)):set_generated()
    info = info .. "  [" .. time_text(known.seconds) .. "]"
  elseif known.reply_in then
    tree:add(f.reply_in, known.reply_in):set_generated()
  elseif reply_to[code] and not first then
    code_item:add_proto_expert_info(e.unanswered)
  end
  if not intact then info = info .. "  [CRC WRONG]" end

  -- What has been said of this packet stays; the dissector of JSON has said something, too.
  pinfo.cols.protocol:set("KYT")
  pinfo.cols.info:set(info .. "  ")
  pinfo.cols.info:fence()
end

-- --- the stream ---

-- What has begun and is not all there waits for more. (dissect_tcp_pdus does that where a port is known, and not where a
-- connection is only being recognised.)
local function dissect_frames(tvb, pinfo, root)
  local offset = 0
  while offset < tvb:len() do
    local left = tvb:len() - offset
    local size = left < header_size and header_size or header_size + tvb(offset + 2, 2):uint() + crc_size
    if left < size then
      pinfo.desegment_offset = offset
      pinfo.desegment_len = left < header_size and DESEGMENT_ONE_MORE_SEGMENT or size - left
      return
    end
    dissect_frame(tvb(offset, size):tvb(), pinfo, root)
    offset = offset + size
  end
end

local function has_magic(tvb) return tvb:len() < 2 or tvb(0, 2):uint() == magic end

function kyt.dissector(tvb, pinfo, root)
  local stream = state_of_stream()
  if not stream.ours and not has_magic(tvb) then return 0 end -- another one uses this port
  stream.ours = true
  dissect_frames(tvb, pinfo, root)
  return tvb:len()
end

local function looks_like_frame(tvb, pinfo, root)
  if tvb:len() < header_size + crc_size or not has_magic(tvb) or not names[tvb(4, 2):uint()] then return false end
  kyt.dissector(tvb, pinfo, root)
  pinfo.conversation = kyt
  return true
end

local ports
local function listen_on_ports()
  local tcp = DissectorTable.get("tcp.port")
  if ports then tcp:remove(ports, kyt) end
  ports = tostring(kyt.prefs.ports)
  if ports ~= "" then tcp:add(ports, kyt) end
end

kyt.prefs_changed = listen_on_ports
listen_on_ports()
kyt:register_heuristic("tcp", looks_like_frame)
