#pragma once
// The "C" locale for the calling thread, so that number texts do not depend on the process.

#include <locale.h>
#if defined(_WIN32)
#include <string>
#endif

namespace SatCommonUtils {

#if defined(_WIN32)

/// While it lives, the calling thread formats and parses numbers with a decimal point.
class ScopedCLocale {
 public:
  ScopedCLocale()
      : previous_scope_(_configthreadlocale(_ENABLE_PER_THREAD_LOCALE)), previous_(setlocale(LC_ALL, nullptr)) {
    setlocale(LC_ALL, "C");
  }
  ScopedCLocale(const ScopedCLocale&) = delete;
  ScopedCLocale& operator=(const ScopedCLocale&) = delete;
  ~ScopedCLocale() {
    setlocale(LC_ALL, previous_.c_str());
    _configthreadlocale(previous_scope_);
  }

 private:
  int previous_scope_;
  std::string previous_;
};

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
