#include "tool/command_names.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iterator>

namespace tool {
namespace {

struct Named {
  int code;
  const char* name;
};

constexpr Named codes[] = {
#include "command_names.inc"
};

}  // namespace

std::string commandName(int code) {
  const auto* found =
      std::find_if(std::begin(codes), std::end(codes), [&](const Named& one) { return one.code == code; });
  if (found != std::end(codes)) return found->name;
  char text[16];
  std::snprintf(text, sizeof text, "0x%04X", static_cast<unsigned int>(code));
  return text;
}

int commandCode(const std::string& text) {
  const auto* found =
      std::find_if(std::begin(codes), std::end(codes), [&](const Named& one) { return one.name == text; });
  if (found != std::end(codes)) return found->code;
  try {
    std::size_t end = 0;
    const int code = std::stoi(text, &end, 0);
    return end == text.size() && code >= 0 && code <= 0xFFFF ? code : -1;
  } catch (const std::exception&) {  // no number
    return -1;
  }
}

}  // namespace tool
