#pragma once

// Everything public. Most applications need nothing else.

#include "kyt_host/communication/asio_tcp_backend.h"
#include "kyt_host/communication/backend_base.h"
#include "kyt_host/communication/communication.h"
#include "kyt_host/communication/communication_manager.h"
#include "kyt_host/communication/connection_api.h"
#include "kyt_host/communication/message_base_strategy.h"
#include "kyt_host/communication/message_manager.h"
#include "kyt_host/communication/reply_handlers.h"
#include "kyt_host/communication/strategy.h"
#include "kyt_host/communication/wire_frame.h"
#include "kyt_host/interface/kyt_interface.h"
#include "kyt_host/program_line.h"
#include "kyt_host/types.h"
