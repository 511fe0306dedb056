#include "kyt_host/interface/detail/reading.h"

#include <algorithm>
#include <cstring>

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
