// Degrees, minutes and seconds to degrees and back. Elementary.

#include "points/angle_text.h"

#include <cmath>
#include <cstring>

#include "frame/zxstd/number_text.h"
#include "report/fixed_digits.h"

namespace orbmath_tool {

namespace {

/// Takes a blank or one of the marks that stand behind a number off the front. \return whether there was one.
bool TakeMark(std::string_view* text) {
  for (const std::string_view mark :
       {" ", "\t", ":", "'", "\"", "d", "D", "\xC2\xB0", "\xE2\x80\xB2", "\xE2\x80\xB3"}) {
    if (text->substr(0, mark.size()) != mark) continue;
    text->remove_prefix(mark.size());
    return true;
  }
  return false;
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Digits, perhaps with a point, without a sign or an exponent: "5E" is five degrees east.
bool TakeNumber(std::string_view* text, double* value, bool* has_point) {
  std::size_t size = 0;
  *has_point = false;
  while (size < text->size() && (IsDigit((*text)[size]) || ((*text)[size] == '.' && !*has_point))) {
    *has_point = *has_point || (*text)[size] == '.';
    ++size;
  }
  if (size == 0 || !SatCommonUtils::ParseDouble(text->substr(0, size), value)) return false;
  text->remove_prefix(size);
  return true;
}

/// The sign that a letter stands for: 1, -1, or 0 when it is none.
int SignOfLetter(char c, const char* letters) {
  const char upper = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return upper == letters[0] ? 1 : upper == letters[1] ? -1 : 0;
}

void TrimBlanks(std::string_view* text) {
  while (!text->empty() && (text->front() == ' ' || text->front() == '\t')) text->remove_prefix(1);
  while (!text->empty() && (text->back() == ' ' || text->back() == '\t')) text->remove_suffix(1);
}

/// Takes sign and hemisphere off. \return the sign, 0 when there is one too many.
int TakeSign(std::string_view* text, const char* letters) {
  int sign = 0;
  const auto take = [&](int found) {
    sign = sign == 0 ? found : 2;
    TrimBlanks(text);
  };
  if (!text->empty() && (text->front() == '-' || text->front() == '+')) {
    const int found = text->front() == '-' ? -1 : 1;
    text->remove_prefix(1);
    take(found);
  } else if (!text->empty() && SignOfLetter(text->front(), letters) != 0) {
    const int found = SignOfLetter(text->front(), letters);
    text->remove_prefix(1);
    take(found);
  }
  if (!text->empty() && SignOfLetter(text->back(), letters) != 0) {
    const int found = SignOfLetter(text->back(), letters);
    text->remove_suffix(1);
    take(found);
  }
  return sign == 2 ? 0 : sign == 0 ? 1 : sign;
}

}  // namespace

bool ParseAngle(std::string_view text, const char* letters, double* degrees) {
  TrimBlanks(&text);
  const int sign = TakeSign(&text, letters);
  if (sign == 0) return false;
  double sum = 0.0;
  double unit = 1.0;
  bool fraction = false;
  for (int part = 0; part < 3 && !text.empty(); ++part, unit *= 60.0) {
    double value = 0.0;
    if (fraction || !TakeNumber(&text, &value, &fraction) || (part > 0 && value >= 60.0)) return false;
    sum += value / unit;
    bool marked = false;
    while (TakeMark(&text)) marked = true;
    if (!marked && !text.empty()) return false;
  }
  if (!text.empty() || unit == 1.0) return false;
  *degrees = sign * sum;
  return true;
}

char* PrintAngle(double degrees, const char* letters, int digits, char* to) {
  // Rounded as a whole number of the last digit's steps, so that no 60 stands among minutes and seconds.
  const double steps = std::pow(10.0, digits);
  double rest = std::nearbyint(std::fabs(degrees) * 3600.0 * steps);
  const double whole = std::floor(rest / (3600.0 * steps));
  rest -= whole * 3600.0 * steps;
  const double minutes = std::floor(rest / (60.0 * steps));
  const double seconds = (rest - minutes * 60.0 * steps) / steps;
  const auto padded = [&to](double value, int places) {
    if (value < 10.0) *to++ = '0';
    to = PrintFixed(value, places, to);
  };
  to = PrintFixed(whole, 0, to);
  *to++ = 'd';
  padded(minutes, 0);
  *to++ = '\'';
  padded(seconds, digits);
  *to++ = '"';
  *to++ = degrees < 0.0 ? letters[1] : letters[0];
  return to;
}

}  // namespace orbmath_tool
