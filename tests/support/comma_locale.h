#pragma once
// A process locale with a decimal comma, such as a host may have set.

#include <clocale>
#include <cstdio>
#include <string>

namespace orbmath_test {

/// Sets a locale with a decimal comma for as long as it lives; false, and a line in the log, when none is installed.
class CommaLocale {
 public:
  CommaLocale() : before_(std::setlocale(LC_ALL, nullptr)) {
    for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8", "ru_RU.UTF-8"}) {
      // Some C libraries take any name and keep their point.
      set_ = set_ || (std::setlocale(LC_ALL, name) != nullptr && *std::localeconv()->decimal_point == ',');
    }
    if (!set_) std::puts("[ LEFT OUT ] decimal commas: no locale that has them is installed");
  }
  CommaLocale(const CommaLocale&) = delete;
  CommaLocale& operator=(const CommaLocale&) = delete;
  ~CommaLocale() { std::setlocale(LC_ALL, before_.c_str()); }
  explicit operator bool() const { return set_; }

 private:
  std::string before_;
  bool set_ = false;
};

}  // namespace orbmath_test
