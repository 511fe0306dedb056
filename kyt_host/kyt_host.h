#pragma once

// Everything public. Most applications need nothing else.
// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.

#include "kyt_host/command/command_to_json.h"
#include "kyt_host/communication/asio_tcp_backend.h"
#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/communication.h"
#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/connection_api.h"
#include "kyt_host/communication/message_base_strategy.h"
#include "kyt_host/communication/message_manager.h"
#include "kyt_host/communication/motion_queue.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/craft/kyt_craft_vision.h"
#include "kyt_host/craft/kyt_craft_weld.h"
#include "kyt_host/file/file_transfers.h"
#include "kyt_host/interface/kyt_interface.h"
#include "kyt_host/interface/kyt_io.h"
#include "kyt_host/interface/kyt_job_operate.h"
#include "kyt_host/interface/kyt_queue_operate.h"
#include "kyt_host/names.h"
#include "kyt_host/records/position.h"
#include "kyt_host/types.h"
