#include "kyt_host/detail/plain_json.h"

#include <charconv>
#include <cstddef>

namespace kyt_host::detail {

namespace {

// Each function takes its part off the front of the text. At the first thing that it does not know the text ends.
class PlainReader {
 public:
  explicit PlainReader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}

  bool readAll(Json::Value& root) {
    constexpr int deepest = 32;
    Json::Value value = readValue(deepest);
    skipBlanks();
    if (unknown_ || at_ != end_) return false;
    root.swapPayload(value);
    return true;
  }

 private:
  Json::Value readValue(int levels) {
    skipBlanks();
    switch (at_ == end_ ? '\0' : *at_) {
      case '{':
        return readObject(levels - 1);
      case '[':
        return readArray(levels - 1);
      case '"': {
        const std::string_view text = readText();
        return {text.data(), text.data() + text.size()};
      }
      case 't':
        return readWord("true", true);
      case 'f':
        return readWord("false", false);
      case 'n':
        return readWord("null", Json::Value());
      default:
        return readNumber();
    }
  }

  Json::Value readObject(int levels) {
    Json::Value object(Json::objectValue);
    ++at_;
    require(levels >= 0);
    if (takeAfterBlanks('}')) return object;
    do {
      skipBlanks();
      const std::string_view key = readText();
      require(takeAfterBlanks(':'));
      if (unknown_) break;
      Json::Value value = readValue(levels);
      object.demand(key.data(), key.data() + key.size())->swapPayload(value);
    } while (takeAfterBlanks(','));
    require(take('}'));
    return object;
  }

  Json::Value readArray(int levels) {
    Json::Value array(Json::arrayValue);
    ++at_;
    require(levels >= 0);
    if (takeAfterBlanks(']')) return array;
    do {
      if (unknown_) break;
      array.append(readValue(levels));
    } while (takeAfterBlanks(','));
    require(take(']'));
    return array;
  }

  std::string_view readText() {
    require(take('"'));
    const char* const begin = at_;
    while (at_ != end_ && *at_ != '"' && *at_ != '\\') ++at_;
    const auto size = static_cast<std::size_t>(at_ - begin);
    require(take('"'));
    return {begin, size};
  }

  Json::Value readWord(std::string_view word, Json::Value value) {
    for (const char character : word) require(take(character));
    return value;
  }

  Json::Value readNumber() {
    constexpr std::ptrdiff_t alwaysFits = 18;
    const char* const begin = at_;
    take('-');
    const char* const digits = at_;
    if (!take('0')) skipDigits();
    const char* const digitsEnd = at_;
    if (take('.')) skipDigits();
    if (take('e') || take('E')) {
      if (!take('+')) take('-');
      skipDigits();
    }
    if (at_ == digitsEnd) {
      Json::Value::Int64 number = 0;
      std::from_chars(begin, at_, number);
      require(at_ - digits <= alwaysFits);
      return number;
    }
    double number = 0;
    require(std::from_chars(begin, at_, number).ec == std::errc());
    return number;
  }

  // At least one.
  void skipDigits() {
    const char* const begin = at_;
    while (at_ != end_ && *at_ >= '0' && *at_ <= '9') ++at_;
    require(at_ != begin);
  }

  void skipBlanks() {
    while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\r' || *at_ == '\t')) ++at_;
  }

  bool takeAfterBlanks(char character) {
    skipBlanks();
    return take(character);
  }

  bool take(char character) {
    if (at_ == end_ || *at_ != character) return false;
    ++at_;
    return true;
  }

  void require(bool known) {
    if (known) return;
    unknown_ = true;
    at_ = end_;
  }

  const char* at_;
  const char* end_;
  bool unknown_ = false;
};

}  // namespace

bool readPlainJson(std::string_view text, Json::Value& root) { return PlainReader(text).readAll(root); }

}  // namespace kyt_host::detail
