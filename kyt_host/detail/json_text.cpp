#include "kyt_host/detail/json_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <memory>
#include <utility>

#include <json/reader.h>
#include <json/writer.h>
#include <nlohmann/json.hpp>

#include "kyt_host/detail/classic_locale.h"
#include "kyt_host/detail/json_decimals.h"
#include "kyt_host/detail/plain_json.h"

namespace kyt_host::detail {

namespace {

std::unique_ptr<Json::CharReader> makeReader() {
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;  // allowed, but nobody reads them
  builder["allowTrailingCommas"] = false;
  return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

bool parseWith(Json::CharReader& reader, std::string_view text, Json::Value& root) {
  return reader.parse(text.data(), text.data() + text.size(), &root, nullptr);
}

// Each thread keeps a reader, since making one costs a query's time. A thread that ends, and the main thread while the
// program does, may still ask when its reader is gone; a bool is there to the last.
thread_local bool readerGone = false;

struct ReaderOfThread {
  std::unique_ptr<Json::CharReader> reader = makeReader();
  ~ReaderOfThread() { readerGone = true; }
};

bool parseWithKeptReader(std::string_view text, Json::Value& root) {
  if (readerGone) return parseWith(*makeReader(), text, root);
  thread_local const ReaderOfThread kept;
  return parseWith(*kept.reader, text, root);
}

void requireFinite(double number) {
  if (!std::isfinite(number)) throw NotFinite();
}

// The library calls its fast writer deprecated, and has nothing that writes the same in its place.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string writeWithEscapes(const Json::Value& text) {
  Json::FastWriter writer;
  writer.omitEndingLineFeed();
  return writer.write(text);
}
#pragma GCC diagnostic pop

// Writes what JsonCpp's fast writer does, at a third of the cost.
class LineWriter {
 public:
  std::string write(const Json::Value& line) {
    add(line);
    text_ += '\n';
    return std::move(text_);
  }

 private:
  void add(const Json::Value& value) {
    switch (value.type()) {
      case Json::nullValue:
        text_ += "null";
        break;
      case Json::booleanValue:
        text_ += value.asBool() ? "true" : "false";
        break;
      case Json::intValue:
        addNumber(value.asInt64());
        break;
      case Json::uintValue:
        addNumber(value.asUInt64());
        break;
      case Json::realValue:
        addDecimal(value.asDouble());
        break;
      case Json::stringValue: {
        const char* begin = nullptr;
        const char* end = nullptr;
        value.getString(&begin, &end);
        addText(begin, end);
        break;
      }
      case Json::arrayValue:
        addArray(value);
        break;
      case Json::objectValue:
        addObject(value);
        break;
    }
  }

  void addObject(const Json::Value& object) {
    char before = '{';
    const auto last = object.end();
    for (auto member = object.begin(); member != last; ++member) {
      text_ += std::exchange(before, ',');
      const char* nameEnd = nullptr;
      const char* const name = member.memberName(&nameEnd);
      addText(name, nameEnd);
      text_ += ':';
      add(*member);
    }
    text_ += before == '{' ? "{}" : "}";
  }

  // What was never set in an array is not in it, and null.
  void addArray(const Json::Value& array) {
    Json::ArrayIndex size = 0;
    text_ += '[';
    const auto last = array.end();
    for (auto element = array.begin(); element != last; ++element, ++size) {
      if (size > 0) text_ += ',';
      for (const Json::ArrayIndex index = element.index(); size < index; ++size) text_ += "null,";
      add(*element);
    }
    text_ += ']';
  }

  void addText(const char* begin, const char* end) {
    const bool isPlain = std::all_of(begin, end, [](char c) { return c >= ' ' && c <= '~' && c != '"' && c != '\\'; });
    if (isPlain) {
      ((text_ += '"').append(begin, end)) += '"';
    } else {
      requireUtf8({begin, static_cast<std::size_t>(end - begin)});
      text_ += writeWithEscapes(Json::Value(begin, end));
    }
  }

  template <class... Format>
  void addNumber(Format... numberAndFormat) {
    char digits[32];
    text_.append(digits, std::to_chars(std::begin(digits), std::end(digits), numberAndFormat...).ptr);
  }

  void addDecimal(double number) {
    requireFinite(number);
    const std::size_t begin = text_.size();
    addNumber(number, std::chars_format::general, int{Json::Value::defaultRealPrecision});
    if (text_.find_first_of(".e", begin) == std::string::npos) text_ += ".0";
  }

  std::string text_;
};

void requireFinite(const nlohmann::json& value) {
  if (value.is_number_float()) requireFinite(value.get<double>());
  if (value.is_structured()) {
    for (const nlohmann::json& member : value) requireFinite(member);
  }
}

}  // namespace

// Both writers go by the rule of the one that has one.
void requireUtf8(std::string_view text) {
  const bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
  if (!isAscii) static_cast<void>(nlohmann::json(text).dump());
}

bool parseJson(std::string_view text, Json::Value& root) {
  if (readPlainJson(text, root)) return true;
  const JsonDecimals decimals(text);
  if (!parseWithKeptReader(decimals.text(), root)) return false;
  decimals.putInto(root);
  return true;
}

std::string textOf(const Json::Value& value) {
  const InClassicLocale classic;
  return value.asString();
}

std::string writeWithLineFeed(const Json::Value& value) { return LineWriter().write(value); }

std::string writeCompact(const nlohmann::json& value) {
  requireFinite(value);
  return value.dump();
}

}  // namespace kyt_host::detail
