#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <json/value.h>

namespace kyt_host::detail {

/// The decimals of a JSON text that is not plain, read apart from the rest of it.
///
/// JsonCpp reads them through a stream, in the application's locale (and slowly). So it gets a text with zeros in their
/// places, and into what it has made of that they are put back.
class JsonDecimals {
 public:
  /// @param text  outlives this object
  explicit JsonDecimals(std::string_view text);

  /// What JsonCpp is to parse. It takes this text if, and only if, it takes the original one in the "C" locale.
  std::string_view text() const { return replaced_.empty() ? original_ : std::string_view(replaced_); }

  /// Puts the decimals into what `text()` has been parsed to.
  void putInto(Json::Value& root) const;

 private:
  struct Decimal {
    std::size_t at;  // its place in the text
    double value;
  };

  void replace(std::string_view number);

  std::string_view original_;
  std::string replaced_;           // empty without decimals
  std::vector<Decimal> decimals_;  // in the order of the text
};

}  // namespace kyt_host::detail
