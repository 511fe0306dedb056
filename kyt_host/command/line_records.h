#pragma once

#include "kyt_host/records/line_records.h"  // where they stand now
