#include "kyt_host/detail/json_text.h"

#include <algorithm>
#include <cmath>
#include <memory>

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

// Both writers go by the rule of the one that has one.
void requireUtf8(std::string_view text) {
  const bool isAscii = std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
  if (!isAscii) static_cast<void>(nlohmann::json(text).dump());
}

void requireFinite(double number) {
  if (!std::isfinite(number)) throw NotFinite();
}

void requireWritable(const Json::Value& value) {
  if (value.type() == Json::realValue) {
    requireFinite(value.asDouble());
  } else if (value.type() == Json::stringValue) {
    const char* begin = nullptr;
    const char* end = nullptr;
    value.getString(&begin, &end);
    requireUtf8({begin, static_cast<std::size_t>(end - begin)});
  } else if (value.isArray() || value.isObject()) {
    for (const Json::Value& member : value) requireWritable(member);
  }
}

void requireFinite(const nlohmann::json& value) {
  if (value.is_number_float()) requireFinite(value.get<double>());
  if (value.is_structured()) {
    for (const nlohmann::json& member : value) requireFinite(member);
  }
}

}  // namespace

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

// The library calls its fast writer deprecated, and has nothing as fast in its place.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string writeWithLineFeed(const Json::Value& value) {
  requireWritable(value);
  const InClassicLocale classic;
  Json::FastWriter writer;
  return writer.write(value);
}
#pragma GCC diagnostic pop

std::string writeCompact(const nlohmann::json& value) {
  requireFinite(value);
  return value.dump();
}

}  // namespace kyt_host::detail
