#pragma once

#include "kyt_host/records/line_records.h"  // where they stand now

// The conventions of all operations (status codes, missing values, time limits, units): docs/conventions.md.
