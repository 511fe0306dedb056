#include "kyt_host/communication/detail/json_text.h"

#include <memory>

#include <json/reader.h>
#include <json/writer.h>

namespace {

std::unique_ptr<Json::CharReader> makeReader() {
  Json::CharReaderBuilder builder;
  builder["collectComments"] = false;  // allowed, but nobody reads them
  builder["allowTrailingCommas"] = false;
  return std::unique_ptr<Json::CharReader>(builder.newCharReader());
}

}  // namespace

bool parseJson(std::string_view text, Json::Value& root) {
  thread_local const std::unique_ptr<Json::CharReader> reader = makeReader();  // kept: making one costs a query's time
  return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
}

// The library calls its fast writer deprecated, and has nothing as fast in its place.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
std::string writeLine(const Json::Value& value) {
  Json::FastWriter writer;
  return writer.write(value);
}
#pragma GCC diagnostic pop
