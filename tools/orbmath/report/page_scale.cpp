// Scales of plots. The round numbers are those of P. S. Heckbert, "Nice numbers for graph labels", Graphics Gems, 1990.

#include "report/page_scale.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <numeric>

#include "report/fixed_digits.h"

namespace orbmath_tool {

namespace {

/// What a quotient of rounded numbers may be off before it counts as a step more.
constexpr double kSlack = 1e-9;
constexpr double kMostMultiples = 1000.0;
constexpr double kMostClasses = 36.0;

bool IsPositive(double value) { return value > 0.0 && std::isfinite(value); }

/// Ten to a whole power, correctly rounded: a quotient where the power is negative, since 0.1 has no exact double.
double PowerOfTen(int exponent) { return exponent >= 0 ? std::pow(10.0, exponent) : 1.0 / std::pow(10.0, -exponent); }

std::string DegreesLabel(double magnitude, double step, const char* side) {
  const std::string digits = Fixed(magnitude, DigitsOfStep(step)) + "\u00b0";
  return *side == '\0' ? digits : digits + "\u00a0" + side;
}

/// Smallest step of `steps` that leaves at most `most` in `range`.
double DegreeStep(double range, int most) {
  const double step = RoundStep(range, most);
  if (step <= 10.0) return step;
  for (const double wide : {15.0, 30.0, 45.0}) {
    if (range <= wide * most * (1.0 + kSlack)) return wide;
  }
  return 90.0;
}

}  // namespace

double RoundStep(double range, int most) {
  if (!IsPositive(range)) return 1.0;
  const double least = range / most;
  const int exponent = static_cast<int>(std::floor(std::log10(least)));
  for (const double mantissa : {1.0, 2.0, 5.0}) {
    const double step = mantissa * PowerOfTen(exponent);
    if (least <= step * (1.0 + kSlack)) return step;
  }
  return PowerOfTen(exponent + 1);
}

double RoundLength(double limit) {
  if (!IsPositive(limit)) return 1.0;
  const int exponent = static_cast<int>(std::floor(std::log10(limit)));
  for (const double mantissa : {10.0, 5.0, 2.0}) {
    const double length = mantissa * PowerOfTen(exponent);
    if (length <= limit * (1.0 + kSlack)) return length;
  }
  return PowerOfTen(exponent);
}

int DigitsOfStep(double step) {
  if (!IsPositive(step)) return 0;
  return std::clamp(-static_cast<int>(std::floor(std::log10(step) + kSlack)), 0, 12);
}

std::string AxisLabel(double value, double step) {
  constexpr int kMostDigitsOfAxis = 4;
  const int digits = DigitsOfStep(step);
  if (digits <= kMostDigitsOfAxis && std::abs(value) < 1e7) return Fixed(value, digits);
  if (value == 0.0) return "0";
  char text[32];
  return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, 3).ptr};
}

std::vector<double> Multiples(double from, double to, double step) {
  std::vector<double> multiples;
  if (!IsPositive(step) || !((to - from) / step <= kMostMultiples)) return multiples;
  const double last = std::floor(to / step + kSlack);
  for (double k = std::ceil(from / step - kSlack); k <= last; ++k) {
    multiples.push_back(k * step + 0.0);  // no minus zero
  }
  return multiples;
}

double Quantile(const std::vector<double>& sorted, double share) {
  if (sorted.empty()) return std::numeric_limits<double>::quiet_NaN();
  const double place = share * static_cast<double>(sorted.size() - 1);
  const auto at = static_cast<std::size_t>(place);
  if (at + 1 >= sorted.size()) return sorted.back();
  return sorted[at] + (place - static_cast<double>(at)) * (sorted[at + 1] - sorted[at]);
}

HistogramClasses ClassesOf(const std::vector<std::vector<double>>& series) {
  HistogramClasses classes;
  double least = std::numeric_limits<double>::infinity();
  double most = -least;
  double width = 0.0;
  for (const std::vector<double>& given : series) {
    std::vector<double> values;
    std::copy_if(given.begin(), given.end(), std::back_inserter(values), [](double v) { return std::isfinite(v); });
    if (values.empty()) continue;
    std::sort(values.begin(), values.end());
    const double quartile1 = Quantile(values, 0.25);
    const double quartile3 = Quantile(values, 0.75);
    const double between = quartile3 - quartile1;
    double first = values.front();
    double last = values.back();
    if (between > 0.0) {
      first = *std::lower_bound(values.begin(), values.end(), quartile1 - 4.0 * between);
      last = *std::prev(std::upper_bound(values.begin(), values.end(), quartile3 + 4.0 * between));
    }
    const auto number = static_cast<double>(values.size());
    const double own = std::min(2.0 * between / std::cbrt(number), (last - first) / (1.0 + std::log2(number)));
    if (own > 0.0) width = width > 0.0 ? std::min(width, own) : own;
    least = std::min(least, first);
    most = std::max(most, last);
  }
  if (!(most >= least)) return classes;
  const double range = most - least;
  // Values that are all the same have no width of their own; neither have those that differ by rounding only.
  const double size = std::max(std::abs(least), std::abs(most));
  if (!(range > 1e-12 * size)) {
    classes.width = RoundLength(size);
  } else {
    classes.width = RoundStep(std::max(width, range / kMostClasses), 1);
  }
  const double first = std::floor(least / classes.width + kSlack);
  const double last = std::max(first + 1.0, std::ceil(most / classes.width - kSlack));
  classes.start = first * classes.width;
  classes.count = static_cast<std::size_t>(last - first);
  return classes;
}

HistogramCounts CountsOf(const std::vector<double>& values, const HistogramClasses& classes) {
  HistogramCounts counts;
  counts.inside.assign(classes.count, 0);
  const auto count = static_cast<double>(classes.count);
  for (const double value : values) {
    if (!std::isfinite(value)) continue;
    const double place = (value - classes.start) / classes.width;
    if (place < -kSlack) {
      ++counts.below;
    } else if (place > count + kSlack || classes.count == 0) {
      ++counts.above;
    } else {
      const double inside = std::clamp(std::floor(place + kSlack), 0.0, count - 1.0);
      ++counts.inside[static_cast<std::size_t>(inside)];
    }
  }
  return counts;
}

Graticule GraticuleOf(double south, double north, double west, double east, int most) {
  Graticule graticule;
  graticule.lat_step = DegreeStep(north - south, most);
  graticule.lon_step = DegreeStep(east - west, most);
  graticule.lats = Multiples(std::max(south, -90.0), std::min(north, 90.0), graticule.lat_step);
  graticule.lons = Multiples(west, east, graticule.lon_step);
  return graticule;
}

std::string LatitudeLabel(double lat, double step) {
  const char* const side = lat > 0.0 ? "N" : lat < 0.0 ? "S" : "";
  return DegreesLabel(std::abs(lat), step, side);
}

std::string LongitudeLabel(double lon, double step) {
  const double turned = std::remainder(lon, 360.0);
  // A multiple of the step may have come out a little beside the meridians that have no side.
  const double off = kSlack * step;
  if (std::abs(turned) < off) return DegreesLabel(0.0, step, "");
  if (std::abs(std::abs(turned) - 180.0) < std::max(off, kSlack)) return DegreesLabel(180.0, step, "");
  return DegreesLabel(std::abs(turned), step, turned > 0.0 ? "E" : "W");
}

void HangTogether(std::vector<double>* lons) {
  for (double& lon : *lons) lon = lons->front() + std::remainder(lon - lons->front(), 360.0);
}

std::vector<std::size_t> WorstAndSample(const std::vector<double>& values, std::size_t worst, std::size_t sample) {
  std::vector<std::size_t> places(values.size());
  std::iota(places.begin(), places.end(), std::size_t{0});
  if (places.size() <= worst + sample) return places;
  // A NaN is worse than any number, which keeps the order strict.
  const auto is_worse = [&](std::size_t a, std::size_t b) {
    const bool a_nan = std::isnan(values[a]);
    const bool b_nan = std::isnan(values[b]);
    if (a_nan || b_nan) return a_nan != b_nan ? a_nan : a < b;
    return values[a] != values[b] ? values[a] > values[b] : a < b;
  };
  const auto others = places.begin() + static_cast<std::ptrdiff_t>(worst);
  std::nth_element(places.begin(), others, places.end(), is_worse);
  std::sort(others, places.end());
  const std::size_t rest = places.size() - worst;
  for (std::size_t i = 0; i < sample; ++i) places[worst + i] = places[worst + i * rest / sample];
  places.resize(worst + sample);
  std::sort(places.begin(), places.end());
  return places;
}

}  // namespace orbmath_tool
