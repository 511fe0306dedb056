#include "kyt_host/program_line.h"

#include <json/value.h>

Command::~Command() = default;

void Command::fromJson(const Json::Value& /*json*/) {}  // lines are only ever written
