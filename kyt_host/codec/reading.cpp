#include "kyt_host/codec/reading.h"

#include <algorithm>
#include <cstring>

#include "kyt_host/detail/json_text.h"
#include "kyt_host/types.h"

namespace kyt_host::detail {

const Json::Value* find(const Json::Value& object, const char* key) { return object.find(key, key + std::strlen(key)); }

const Json::Value& array(const Json::Value& value) {
  if (!value.isArray()) throw std::invalid_argument("an array was expected in the reply");
  return value;
}

bool haveArrays(const Json::Value& object, std::initializer_list<const char*> keys) {
  return std::all_of(keys.begin(), keys.end(), [&object](const char* key) {
    const Json::Value* const value = find(object, key);
    return value == nullptr || value->isArray();
  });
}

int decodeAndRead(const std::string& text, const ReadReply& read) {
  try {
    Json::Value root;
    if (!parseJson(text, root)) return EXCEPTION;
    read(root);
    return SUCCESS;
  } catch (const std::exception&) {
    return EXCEPTION;
  }
}

}  // namespace kyt_host::detail
