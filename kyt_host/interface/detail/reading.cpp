#include "kyt_host/interface/detail/reading.h"

#include <cstring>

const Json::Value* find(const Json::Value& object, const char* key) { return object.find(key, key + std::strlen(key)); }

const Json::Value& array(const Json::Value& value) {
  if (!value.isArray()) throw std::invalid_argument("an array was expected in the reply");
  return value;
}
