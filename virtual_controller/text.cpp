#include "virtual_controller/text.h"

#include <cstddef>
#include <cstdio>

#include "virtual_controller/state.h"

namespace virtual_controller {

std::string hexText(Strategy code) {
  if (code == everyRequest) return "every request";
  char text[sizeof "0x12345678"];
  return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, "0x%04X", static_cast<unsigned>(code)))};
}

std::string printable(const std::string& text) {
  constexpr std::size_t longest = 500;
  std::string line = text.substr(0, longest);
  if (!line.empty() && line.back() == '\n') line.pop_back();
  for (auto& character : line) {
    const auto byte = static_cast<unsigned char>(character);
    if (byte < 0x20 || byte == 0x7F) character = '?';
  }
  return text.size() > longest ? line + "..." : line;
}

}  // namespace virtual_controller
