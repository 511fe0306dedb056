#pragma once

#include <locale.h>

namespace kyt_host::detail {

/// The "C" locale, in which numbers go over the wire, whatever locale the application has.
inline locale_t classicLocale() {
  static const locale_t locale = ::newlocale(LC_ALL_MASK, "C", nullptr);
  return locale;
}

/// Puts this thread into the "C" locale while it lives.
class InClassicLocale {
 public:
  InClassicLocale() : before_(::uselocale(classicLocale())) {}
  ~InClassicLocale() { ::uselocale(before_); }
  InClassicLocale(const InClassicLocale&) = delete;
  InClassicLocale& operator=(const InClassicLocale&) = delete;

 private:
  locale_t before_;
};

}  // namespace kyt_host::detail
