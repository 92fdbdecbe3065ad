#pragma once
// The "C" locale for the calling thread, so that number texts do not depend on the process.

#if !defined(_WIN32)
#include <locale.h>
#endif

namespace SatCommonUtils {

#if defined(_WIN32)

class ScopedCLocale {};

#else

/// While it lives, the calling thread formats and parses numbers with a decimal point.
class ScopedCLocale {
 public:
  ScopedCLocale() : previous_(uselocale(CLocale())) {}
  ScopedCLocale(const ScopedCLocale&) = delete;
  ScopedCLocale& operator=(const ScopedCLocale&) = delete;
  ~ScopedCLocale() { uselocale(previous_); }

 private:
  static locale_t CLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
  }

  locale_t previous_;
};

#endif

}  // namespace SatCommonUtils
