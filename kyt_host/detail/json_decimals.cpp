#include "kyt_host/detail/json_decimals.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "kyt_host/detail/classic_locale.h"

namespace kyt_host::detail {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

// Parts of a text as JsonCpp takes it apart, strings and comments without an end included. Each function gives the
// place behind the part that begins at `at`.

bool isDigit(char character) { return character >= '0' && character <= '9'; }

bool isOneOf(std::string_view characters, std::string_view text, std::size_t at) {
  return at < text.size() && characters.find(text[at]) != std::string_view::npos;
}

std::size_t afterString(std::string_view text, std::size_t at) {
  for (std::size_t quote = text.find('"', at + 1); quote != std::string_view::npos; quote = text.find('"', quote + 1)) {
    const std::size_t last = text.find_last_not_of('\\', quote - 1);  // at the latest the quote that it begins with
    const bool escaped = (quote - last) % 2 == 0;
    if (!escaped) return quote + 1;
  }
  return text.size();
}

std::size_t afterComment(std::string_view text, std::size_t at) {
  constexpr std::string_view end = "*/";
  if (isOneOf("/", text, at + 1)) return std::min(text.find_first_of("\r\n", at), text.size());
  if (!isOneOf("*", text, at + 1)) return at + 1;  // no comment, and no JSON
  const std::size_t found = text.find(end, at + 2);
  return found == std::string_view::npos ? text.size() : found + end.size();
}

std::size_t afterDigits(std::string_view text, std::size_t at) {
  while (at < text.size() && isDigit(text[at])) ++at;
  return at;
}

// JsonCpp's numbers are those of JSON, and "+1", "-.5", "1.", "1e" and "-".
std::size_t afterNumber(std::string_view text, std::size_t at) {
  at = afterDigits(text, at + 1);
  if (isOneOf(".", text, at)) at = afterDigits(text, at + 1);
  if (!isOneOf("eE", text, at)) return at;
  return afterDigits(text, isOneOf("+-", text, at + 1) ? at + 2 : at + 1);
}

template <class Integer>
bool fits(std::string_view number) {
  Integer value{};
  return std::from_chars(number.data(), number.data() + number.size(), value).ec != std::errc::result_out_of_range;
}

// Whether JsonCpp reads it as a decimal; so it does with integers that do not fit 64 bits.
bool isDecimal(std::string_view number) {
  constexpr std::size_t alwaysFits = 18;
  if (number.front() == '+') return true;
  if (std::any_of(number.begin(), number.end(), [](char c) { return c == '.' || c == 'e' || c == 'E'; })) return true;
  if (number.size() <= alwaysFits) return false;
  return !(number.front() == '-' ? fits<std::int64_t>(number) : fits<std::uint64_t>(number));
}

}  // namespace

JsonDecimals::JsonDecimals(std::string_view text) : original_(text) {
  std::size_t numbersEnd = text.size();
  for (std::size_t at = 0; at < text.size();) {
    const char character = text[at];
    if (character == '"') {
      at = afterString(text, at);
    } else if (character == '/') {
      at = afterComment(text, at);
    } else if (isDigit(character) || character == '-' || character == '+') {
      const std::string_view number = text.substr(at, afterNumber(text, at) - at);
      const bool joined = at == numbersEnd;  // to the number before it: an error, or behind the root; must stay apart
      if (!joined && isDecimal(number)) replace(number);
      at = numbersEnd = at + number.size();
    } else {
      ++at;
    }
  }
}

// With as many zeros; or, when no number comes of it, with what is no JSON. What follows must not belong to it then.
void JsonDecimals::replace(std::string_view number) {
  constexpr char noJson = '?';
  const std::string digits(number);
  char* end = nullptr;
  const double value = ::strtod_l(digits.c_str(), &end, classicLocale());
  const bool isNumber = end == digits.c_str() + digits.size() && std::isfinite(value);

  if (replaced_.empty()) replaced_ = original_;
  const auto at = static_cast<std::size_t>(number.data() - original_.data());
  replaced_.replace(at, number.size(), number.size(), isNumber ? '0' : noJson);
  if (isOneOf(".eE", original_, at + number.size())) replaced_[at + number.size()] = noJson;
  if (isNumber) decimals_.push_back({at, value});
}

void JsonDecimals::putInto(Json::Value& root) const {
  if (decimals_.empty()) return;
  if (root.isArray() || root.isObject()) {
    for (Json::Value& member : root) putInto(member);
  } else if (root.type() == Json::intValue) {
    const bool marked = original_.substr(0, byteOrderMark.size()) == byteOrderMark;  // JsonCpp counts from behind it
    const auto at = static_cast<std::size_t>(root.getOffsetStart()) + (marked ? byteOrderMark.size() : 0);
    const auto found = std::lower_bound(decimals_.begin(), decimals_.end(), at,
                                        [](const Decimal& decimal, std::size_t place) { return decimal.at < place; });
    if (found != decimals_.end() && found->at == at) root = found->value;
  }
}

}  // namespace kyt_host::detail
