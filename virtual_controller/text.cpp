#include "virtual_controller/text.h"

#include <cstddef>
#include <iomanip>
#include <sstream>

namespace virtual_controller {

std::string hexText(Strategy code) {
  std::ostringstream text;
  text << "0x" << std::uppercase << std::hex << std::setw(4) << std::setfill('0') << static_cast<unsigned>(code);
  return text.str();
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
