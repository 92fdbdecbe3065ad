// The sky: azimuthal equidistant, so that equal steps of incidence are equally far apart.

#include <algorithm>
#include <cmath>

#include "report/fixed_digits.h"
#include "report/page_plots.h"
#include "report/page_scale.h"

namespace orbmath_tool {

namespace {

constexpr double kWidth = 440.0;
constexpr double kRadius = 160.0;
constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
constexpr SvgPoint kMiddle{0.5 * kWidth, 56.0 + kRadius};

SvgPoint PlaceOf(double azimuth, double incidence, double horizon) {
  const double radius = kRadius * incidence / horizon;
  return {kMiddle.x + radius * std::sin(azimuth * kRadiansPerDegree),
          kMiddle.y - radius * std::cos(azimuth * kRadiansPerDegree)};
}

}  // namespace

PageFigure SkyFigure(const std::string& title, const std::string& caption, const std::vector<SkyMark>& marks,
                     const ToneNames& names) {
  constexpr double kLeastHorizon = 10.0;
  double largest = 0.0;
  for (const SkyMark& mark : marks) {
    if (std::isfinite(mark.incidence)) largest = std::max(largest, std::min(mark.incidence, 90.0));
  }
  const double step = RoundStep(std::max(largest, kLeastHorizon), 4);
  const double horizon = step * std::ceil(std::max(largest, kLeastHorizon) / step - 1e-9);

  Svg svg;
  const double more = svg.Key({}, names, {24.0, 22.0}, kWidth);
  svg.BeginShift(more);
  for (const double azimuth : {0.0, 45.0, 90.0, 135.0}) {
    svg.Line("grid", PlaceOf(azimuth, horizon, horizon), PlaceOf(azimuth + 180.0, horizon, horizon));
  }
  for (const double incidence : Multiples(step, horizon, step)) {
    svg.Circle(incidence < horizon ? "grid" : "frame", kMiddle, kRadius * incidence / horizon);
  }
  for (const SkyMark& mark : marks) {
    if (!std::isfinite(mark.azimuth) || !std::isfinite(mark.incidence)) continue;
    svg.Mark(
        mark.tone, PlaceOf(mark.azimuth, std::min(mark.incidence, horizon), horizon), marks.size() > 300 ? 1.8 : 3.0,
        mark.name + ": azimuth " + Fixed(mark.azimuth, 1) + "\u00b0, incidence " + Fixed(mark.incidence, 1) + "\u00b0");
  }
  // Between the spokes, where fewest marks are expected to hide them.
  for (const double incidence : Multiples(step, horizon, step)) {
    const SvgPoint at = PlaceOf(22.5, incidence, horizon);
    svg.Text("halo middle", {at.x, at.y + 4.0}, AxisLabel(incidence, step) + "\u00b0");
  }
  svg.Text("strong middle", {kMiddle.x, kMiddle.y - kRadius - 8.0}, "N");
  svg.Text("strong middle", {kMiddle.x, kMiddle.y + kRadius + 18.0}, "S");
  svg.Text("strong end", {kMiddle.x - kRadius - 8.0, kMiddle.y + 4.0}, "W");
  svg.Text("strong", {kMiddle.x + kRadius + 8.0, kMiddle.y + 4.0}, "E");
  svg.EndShift();

  PageFigure figure{title, {}, caption, {}};
  figure.drawing = {
      kWidth, kMiddle.y + kRadius + 32.0 + more, title,
      PageCount(marks.size()) + " directions in the sky, up to " + Fixed(largest, 1) + " degrees from the vertical.",
      svg.Take()};
  return figure;
}

}  // namespace orbmath_tool
