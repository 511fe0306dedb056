#include "tool/output.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iostream>
#include <map>
#include <sstream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace tool {
namespace {

const std::map<std::string, std::string> units = {{"speed", " %"}, {"joints", " degrees"}, {"pose", " mm, degrees"}};

bool isPlain(const Value& value) { return !value.is_object() && (!value.is_array() || value.empty()); }

// Few members, and nothing inside them: to be read on one line.
bool isShort(const Value& object) {
  return object.is_object() && object.size() <= 4 && std::all_of(object.begin(), object.end(), isPlain);
}

std::string threeDigits(double value) {
  char text[512];
  std::snprintf(text, sizeof text, "%.3f", value);
  return std::strcmp(text, "-0.000") == 0 ? "0.000" : text;
}

std::string clockTime(double time) {
  const auto seconds = static_cast<std::time_t>(time);
  std::tm local{};
  char text[32];
  std::strftime(text, sizeof text, "%T", localtime_r(&seconds, &local));
  return text + threeDigits(time - static_cast<double>(seconds)).substr(1);
}

std::string textOf(const std::string& key, const Value& value) {
  if (key == "content") return value.dump(-1, ' ', false, Value::error_handler_t::replace);  // as it came
  if (value.is_null() || (value.is_array() && value.empty())) return "none";
  if (value.is_string()) return value.get<std::string>();
  if (value.is_object()) return lineOf(value);
  if (value.is_number_float()) return key == "time" ? clockTime(value.get<double>()) : threeDigits(value.get<double>());
  if (!value.is_array()) return value.dump() + (units.count(key) != 0 ? units.at(key) : "");
  std::string text;
  for (const Value& element : value) text += (text.empty() ? "" : " ") + textOf("", element);
  return text + (units.count(key) != 0 ? units.at(key) : "");
}

void addTable(std::string& table, const Value& values, const std::string& indent) {
  std::size_t width = 0;
  for (const auto& [key, value] : values.items()) width = std::max(width, key.size());
  for (const auto& [key, value] : values.items()) {
    const std::string name = indent + key + std::string(width - key.size() + 2, ' ');
    if (value.is_array() && !value.empty() && value.front().is_string()) {  // texts stand below each other
      for (const Value& text : value)
        table += (&text == &value.front() ? name : std::string(name.size(), ' ')) + textOf("", text) + "\n";
      continue;
    }
    if (!value.is_array() || value.empty() || !value.front().is_object()) {
      table += name + textOf(key, value) + "\n";
      continue;
    }
    for (const Value& element : value) {
      if (isShort(element)) {
        table += name + lineOf(element) + "\n";
        continue;
      }
      Value rest = element;
      const auto first = rest.begin();
      table += indent + first.key() + " " + textOf(first.key(), first.value()) + "\n";
      rest.erase(first);
      addTable(table, rest, indent + "  ");
    }
  }
}

}  // namespace

std::string tableOf(const Value& values) {
  std::string table;
  addTable(table, values, "");
  return table;
}

std::string lineOf(const Value& values) {
  std::string line;
  for (const auto& [key, value] : values.items()) line += (line.empty() ? "" : ", ") + key + " " + textOf(key, value);
  return line;
}

std::string jsonOf(const Value& values) { return values.dump(-1, ' ', false, Value::error_handler_t::replace); }

void Output::show(const Value& values) const {
  std::cout << (json_ ? jsonOf(values) + "\n" : tableOf(values)) << std::flush;
}

void Output::line(const Value& values) const {
  json_ ? show(values) : void(std::cout << lineOf(values) + "\n" << std::flush);
}

// Line by line over what is there, so that nothing flickers; no more of it than the screen holds.
void Output::redraw(const Value& values) {
  if (json_ || isatty(STDOUT_FILENO) == 0) return line(values);
  winsize size{};
  ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
  const std::size_t width = size.ws_col > 0 ? size.ws_col : 1000;
  const int height = size.ws_row > 1 ? size.ws_row - 1 : 1000;
  std::string text = drawn_ > 0 ? "\x1b[" + std::to_string(drawn_) + "A" : "";
  std::istringstream table(tableOf(values));
  drawn_ = 0;
  for (std::string row; drawn_ < height && std::getline(table, row); ++drawn_)
    text += row.substr(0, width) + "\x1b[K\n";
  std::cout << text << "\x1b[J" << std::flush;
}

void Output::progress(const std::string& what, long long done, long long total) {
  if (json_ || isatty(STDERR_FILENO) == 0) return;
  constexpr long long width = 40;
  const auto filled = static_cast<std::size_t>(total > 0 ? width * std::clamp(done, 0LL, total) / total : width);
  std::cerr << "\r[" << std::string(filled, '#') << std::string(width - filled, ' ') << "] " << what << "\x1b[K"
            << (done >= total ? "\n" : "") << std::flush;
}

double now() { return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count(); }

}  // namespace tool
