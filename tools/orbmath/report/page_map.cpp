// The map: an equirectangular projection about the middle of what is shown, true to scale there along both axes.
// Radii of curvature of the WGS84 ellipsoid: e.g. J. P. Snyder, "Map projections: a working manual", 1987,
// doi:10.3133/pp1395, equations 4-19 and 4-21.

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>

#include "report/fixed_digits.h"
#include "report/page_plots.h"
#include "report/page_scale.h"

namespace orbmath_tool {

namespace {

constexpr double kWidth = 440.0;
constexpr double kLeft = 70.0;
constexpr double kRight = 30.0;
constexpr double kTop = 34.0;
constexpr double kBottom = 58.0;
constexpr double kInner = kWidth - kLeft - kRight;
constexpr double kLeastHeight = 170.0;
constexpr double kMostHeight = 360.0;
constexpr int kMostLines = 4;
/// Outlines that are named on the map: more names would lie on each other.
constexpr std::size_t kMostNames = 8;

constexpr double kRadiansPerDegree = 3.14159265358979323846 / 180.0;
constexpr double kEquatorRadius = 6378137.0;         // metres
constexpr double kEccentricity2 = 0.00669437999014;  // squared

struct Range {
  double from = std::numeric_limits<double>::infinity();
  double to = -std::numeric_limits<double>::infinity();

  void Take(double value) {
    if (!std::isfinite(value)) return;
    from = std::min(from, value);
    to = std::max(to, value);
  }
  double Size() const { return to - from; }
  double Middle() const { return from + 0.5 * Size(); }
  /// Grows on both sides to `size`.
  void Grow(double size) {
    const double middle = Middle();
    from = middle - 0.5 * size;
    to = middle + 0.5 * size;
  }
};

/// Where things lie on the paper.
class Projection {
 public:
  Projection(Range lats, Range lons) : lats_(lats), lons_(lons) {
    // Near a pole a degree of longitude has no length; the map is then wider than it should be.
    const double lat = std::clamp(lats.Middle(), -89.0, 89.0) * kRadiansPerDegree;
    const double root = std::sqrt(1.0 - kEccentricity2 * std::sin(lat) * std::sin(lat));
    lat_metres_ = kRadiansPerDegree * kEquatorRadius * (1.0 - kEccentricity2) / (root * root * root);
    lon_metres_ = kRadiansPerDegree * kEquatorRadius * std::cos(lat) / root;
    // A single point gets a kilometre around it; everything gets a twelfth of its size as a rim.
    constexpr double kLeastMetres = 1000.0;
    constexpr double kRim = 7.0 / 6.0;
    const double across = std::max(kRim * lons.Size() * lon_metres_, kLeastMetres);
    const double up = std::max(kRim * lats.Size() * lat_metres_, kLeastMetres);
    height_ = std::clamp(kInner * up / across, kLeastHeight, kMostHeight);
    metres_ = std::max(across / kInner, up / height_);
    lons_.Grow(metres_ * kInner / lon_metres_);
    lats_.Grow(metres_ * height_ / lat_metres_);
  }

  SvgPoint Place(double lat, double lon) const {
    return {kLeft + (lon - lons_.from) * lon_metres_ / metres_, kTop + (lats_.to - lat) * lat_metres_ / metres_};
  }
  const Range& Lats() const { return lats_; }
  const Range& Lons() const { return lons_; }
  double Height() const { return height_; }
  /// Metres that a unit of the drawing is.
  double Metres() const { return metres_; }

 private:
  Range lats_;
  Range lons_;
  double lat_metres_ = 1.0;  ///< of a degree
  double lon_metres_ = 1.0;
  double height_ = 0.0;
  double metres_ = 1.0;
};

/// The longitude around which all others lie closest: opposite the middle of the widest gap between them.
double MiddleLongitude(std::vector<double> lons) {
  lons.erase(std::remove_if(lons.begin(), lons.end(), [](double lon) { return !std::isfinite(lon); }), lons.end());
  for (double& lon : lons) lon = std::remainder(lon, 360.0);
  std::sort(lons.begin(), lons.end());
  double gap = lons.front() + 360.0 - lons.back();
  double middle = lons.front() + 0.5 * (360.0 - gap);
  for (std::size_t i = 1; i < lons.size(); ++i) {
    if (lons[i] - lons[i - 1] <= gap) continue;
    gap = lons[i] - lons[i - 1];
    middle = lons[i] + 0.5 * (360.0 - gap);
  }
  return std::remainder(middle, 360.0);
}

/// All longitudes in one turn.
GroundMap InOneTurn(GroundMap map) {
  std::vector<double> lons;
  for (const GroundOutline& outline : map.outlines) lons.insert(lons.end(), outline.lons.begin(), outline.lons.end());
  for (const GroundMark& mark : map.marks) lons.push_back(mark.lon);
  const auto finite = std::find_if(lons.begin(), lons.end(), [](double lon) { return std::isfinite(lon); });
  if (finite == lons.end()) return map;
  lons.insert(lons.begin(), MiddleLongitude(lons));
  HangTogether(&lons);
  auto from = std::next(lons.begin());
  for (GroundOutline& outline : map.outlines) {
    std::copy_n(from, outline.lons.size(), outline.lons.begin());
    std::advance(from, outline.lons.size());
  }
  for (GroundMark& mark : map.marks) mark.lon = *from++;
  return map;
}

void DrawGraticule(const Projection& projection, Svg* svg) {
  const Range& lats = projection.Lats();
  const Range& lons = projection.Lons();
  const Graticule graticule = GraticuleOf(lats.from, lats.to, lons.from, lons.to, kMostLines);
  const double bottom = kTop + projection.Height();
  for (const double lat : graticule.lats) {
    const double y = projection.Place(lat, lons.from).y;
    svg->Line("grid", {kLeft, y}, {kWidth - kRight, y});
    svg->Text("end", {kLeft - 6.0, y + 4.0}, LatitudeLabel(lat, graticule.lat_step));
  }
  for (const double lon : graticule.lons) {
    const double x = projection.Place(lats.to, lon).x;
    svg->Line("grid", {x, kTop}, {x, bottom});
    svg->Text("middle", {x, bottom + 16.0}, LongitudeLabel(lon, graticule.lon_step));
  }
}

void DrawScaleBar(const Projection& projection, Svg* svg) {
  const double metres = RoundLength(0.3 * kInner * projection.Metres());
  const double length = metres / projection.Metres();
  const double y = kTop + projection.Height() + 38.0;
  svg->Line("scale", {kLeft, y}, {kLeft + length, y});
  svg->Line("scale", {kLeft, y - 4.0}, {kLeft, y + 4.0});
  svg->Line("scale", {kLeft + length, y - 4.0}, {kLeft + length, y + 4.0});
  const bool far = metres >= 1000.0;
  svg->Text("strong", {kLeft + length + 8.0, y + 4.0},
            far ? Fixed(metres / 1000.0, 0) + " km" : AxisLabel(metres, metres) + " m");
}

/// The corners of the outline when there is one only.
PageTable Corners(const GroundMap& map) {
  PageTable table;
  if (map.outlines.size() != 1) return table;
  const GroundOutline& outline = map.outlines.front();
  table.caption = outline.name + ", corner by corner";
  table.columns = {{"corner", "", PageColumn::Kind::Text}, {"latitude", "\u00b0"}, {"longitude", "\u00b0"}};
  for (std::size_t i = 0; i < outline.lats.size(); ++i) {
    table.rows.push_back({{std::to_string(i + 1), PageNumber(outline.lats[i], 6), PageNumber(outline.lons[i], 6)}});
  }
  return table;
}

/// The place of a name on the map.
struct NamePlace {
  std::string text;
  SvgPoint middle;
  double half = 0.0;  ///< of its width
};

/// Draws the names that fit into the map and lie on no other: of two that meet neither could be told to which outline
/// it belongs.
void DrawNames(const std::vector<NamePlace>& names, Svg* svg) {
  constexpr double kLine = 16.0;
  for (const NamePlace& name : names) {
    const bool fits = name.middle.x - name.half >= kLeft && name.middle.x + name.half <= kWidth - kRight;
    const auto meets = [&](const NamePlace& other) {
      return &other != &name && std::abs(other.middle.y - name.middle.y) < kLine &&
             std::abs(other.middle.x - name.middle.x) < name.half + other.half;
    };
    if (!fits || std::any_of(names.begin(), names.end(), meets)) continue;
    svg->Text("strong middle halo", {name.middle.x, name.middle.y + 4.0}, name.text);
  }
}

void DrawOutlines(const GroundMap& map, const Projection& projection, Svg* svg) {
  constexpr double kSpeck = 6.0;
  std::vector<NamePlace> names;
  for (const GroundOutline& outline : map.outlines) {
    std::vector<SvgPoint> corners;
    Range x;
    Range y;
    for (std::size_t i = 0; i < outline.lats.size(); ++i) {
      if (!std::isfinite(outline.lats[i]) || !std::isfinite(outline.lons[i])) continue;
      corners.push_back(projection.Place(outline.lats[i], outline.lons[i]));
      x.Take(corners.back().x);
      y.Take(corners.back().y);
    }
    if (corners.empty()) continue;
    const SvgPoint middle{x.Middle(), y.Middle()};
    const bool is_speck = x.Size() < kSpeck && y.Size() < kSpeck;
    svg->Polygon(std::string("outline") + ToneSuffix(outline.tone), corners, outline.name);
    // Scenes all over a continent are specks, which marks show.
    if (is_speck) svg->Mark(outline.tone, middle, 2.5, outline.name);
    constexpr double kHalfLetter = 3.8;
    names.push_back({outline.name,
                     {middle.x, is_speck ? middle.y - 12.0 : middle.y},
                     kHalfLetter * static_cast<double>(outline.name.size())});
  }
  if (map.labels && map.outlines.size() <= kMostNames) DrawNames(names, svg);
}

}  // namespace

GroundOutline OutlineOf(const std::string& name, const SatCommonUtils::TPolygon& ring, PageTone tone) {
  GroundOutline outline{name, {}, {}, tone};
  for (const SatCommonUtils::xy_d& vertex : ring.GetVertices()) {
    outline.lats.push_back(vertex.y);
    outline.lons.push_back(vertex.x);
  }
  return outline;
}

PageFigure MapFigure(const std::string& title, const std::string& caption, const GroundMap& given) {
  PageFigure figure{title, {}, caption, Corners(given)};
  const GroundMap map = InOneTurn(given);
  Range lats;
  Range lons;
  const auto take = [&](double lat, double lon) {
    if (!std::isfinite(lat) || !std::isfinite(lon)) return;
    lats.Take(lat);
    lons.Take(lon);
  };
  for (const GroundOutline& outline : map.outlines) {
    for (std::size_t i = 0; i < outline.lats.size(); ++i) take(outline.lats[i], outline.lons[i]);
  }
  for (const GroundMark& mark : map.marks) take(mark.lat, mark.lon);
  PageDrawing& drawing = figure.drawing;
  drawing.title = title;
  drawing.width = kWidth;
  if (!(lats.from <= lats.to) || !(lons.from <= lons.to)) {
    drawing.height = 60.0;
    drawing.description = "There is nothing to draw.";
    Svg svg;
    svg.Text("strong", {16.0, 34.0}, drawing.description);
    drawing.svg = svg.Take();
    return figure;
  }
  const Projection projection(lats, lons);
  drawing.height = kTop + projection.Height() + kBottom;
  drawing.description = "Map from latitude " + Fixed(lats.from, 4) + " to " + Fixed(lats.to, 4) + " and longitude " +
                        Fixed(lons.from, 4) + " to " + Fixed(lons.to, 4) +
                        " degrees: " + PageCount(map.outlines.size()) +
                        (map.outlines.size() == 1 ? " outline, " : " outlines, ") + PageCount(map.marks.size()) +
                        (map.marks.size() == 1 ? " point." : " points.");
  Svg svg;
  const double more = svg.Key(map.outline_names, map.names, {kLeft, 22.0}, kWidth);
  drawing.height += more;
  svg.BeginShift(more);
  DrawGraticule(projection, &svg);
  DrawOutlines(map, projection, &svg);
  const double size = map.marks.size() > 300 ? 1.8 : 3.0;
  for (const GroundMark& mark : map.marks) {
    if (std::isfinite(mark.lat) && std::isfinite(mark.lon)) {
      svg.Mark(mark.tone, projection.Place(mark.lat, mark.lon), size, mark.name);
    }
  }
  svg.Rectangle("frame", {kLeft, kTop}, kInner, projection.Height());
  DrawScaleBar(projection, &svg);
  svg.EndShift();
  drawing.svg = svg.Take();
  return figure;
}

}  // namespace orbmath_tool
