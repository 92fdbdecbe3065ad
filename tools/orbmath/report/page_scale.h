#pragma once
/// \file
/// The scales of plots: round steps, classes of histograms, graticules, and which of many points are drawn.

#include <cstddef>
#include <string>
#include <vector>

namespace orbmath_tool {

/// The smallest step of 1, 2 or 5 times a power of ten of which at most `most` (at least 1) fit into `range`; 1 for a
/// range that is not above 0 or not finite.
double RoundStep(double range, int most);
/// The largest length of 1, 2 or 5 times a power of ten that is not above `limit`; 1 as above.
double RoundLength(double limit);
/// Digits behind the point that tell multiples of a step apart.
int DigitsOfStep(double step);
/// A multiple of a step as an axis shows it: fixed digits, or a power of ten where they would be many.
std::string AxisLabel(double value, double step);
/// The multiples of `step` from `from` to `to`, ends included; none when they would be more than a thousand.
std::vector<double> Multiples(double from, double to, double step);

/// The value at share `share`, 0 to 1, of sorted values, interpolated. NaN of none.
double Quantile(const std::vector<double>& sorted, double share);

/// Classes of equal width whose borders are multiples of it. Values outside are counted by `Below` and `Above`.
struct HistogramClasses {
  double start = 0.0;
  double width = 1.0;
  std::size_t count = 0;

  double Border(std::size_t i) const { return start + static_cast<double>(i) * width; }
};

/// Classes for series that are drawn above each other.
///
/// The width is that of Freedman and Diaconis ("On the histogram as a density estimator: L2 theory", 1981,
/// doi:10.1007/BF01025868), twice the interquartile range by the cube root of the number, or that of Sturges ("The
/// choice of a class interval", 1926, doi:10.1080/01621459.1926.10502161) where it is less, as with few values in two
/// heaps; that of the narrowest series, rounded up to a round step. Values of a series farther from its quartiles than
/// four of its interquartile ranges stay out of the classes, so that one blunder does not press all others into one
/// bar. Values that are not finite do not count.
HistogramClasses ClassesOf(const std::vector<std::vector<double>>& series);

/// How many values of a series each class has.
struct HistogramCounts {
  std::vector<std::size_t> inside;  ///< by class; the last one has its upper border too
  std::size_t below = 0;
  std::size_t above = 0;
};
HistogramCounts CountsOf(const std::vector<double>& values, const HistogramClasses& classes);

/// Parallels and meridians over a part of the ground.
struct Graticule {
  double lat_step = 1.0;  ///< degrees
  double lon_step = 1.0;  ///< degrees
  std::vector<double> lats;
  std::vector<double> lons;  ///< in the turn of the range that was asked for: 181 is 179 west
};

/// Steps of 1, 2 and 5 times a power of ten degrees up to 10, then 15, 30, 45 and 90.
/// \param most lines in each direction.
Graticule GraticuleOf(double south, double north, double west, double east, int most);

/// "47.30° N", "0°"; digits as the step needs.
std::string LatitudeLabel(double lat, double step);
/// "8.5° E", "180°", "179.5° W"; any turn.
std::string LongitudeLabel(double lon, double step);

/// Longitudes in such turns that each lies within half a turn of the first: a scene across the antimeridian hangs
/// together.
void HangTogether(std::vector<double>* lons);

/// Places of some of many points: those with the largest values, and of the others a sample evenly spread over their
/// order. All of them when they are no more than `worst` and `sample` together. In rising order.
std::vector<std::size_t> WorstAndSample(const std::vector<double>& values, std::size_t worst, std::size_t sample);

}  // namespace orbmath_tool
