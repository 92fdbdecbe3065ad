// From pixels of a map to image points. Elementary; the interpolation is Lagrange's of second degree.

#include "image_coordinates.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "frame/zxstd/threads.h"
#include "rpc/ground_solution.h"

namespace SatCommonUtils {

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Side of the squares in which the map projection is interpolated, pixels; their places are multiples of it, so that a
/// pixel's square does not depend on the rectangle that is asked for.
constexpr int kSquare = 128;
/// Squares of this side are not divided: their pixels are transformed one by one.
constexpr int kSmallest = 8;
/// Largest error of the interpolation at its check points, pixels of the image.
constexpr double kTolerance = 0.002;
/// Points worked on together: what they need stays in the processor's cache.
constexpr std::size_t kTogether = 2048;

/// Columns and rows of a grid stand as degrees for a grid without a plane of its own; so many to a degree that no
/// longitude is turned, and a power of two, so that nothing is rounded.
constexpr double kColumnsToDegree = 16777216.0;

/// The tiles of a grid that lives elsewhere.
class SameTiles final : public THeightTiles {
 public:
  explicit SameTiles(const THeightTiles& tiles) : tiles_(tiles) {}
  int GetTileSize() const noexcept override { return tiles_.GetTileSize(); }
  std::shared_ptr<const THeightTile> GetTile(int column, int row) const override { return tiles_.GetTile(column, row); }

 private:
  const THeightTiles& tiles_;
};

PixelRect Intersect(const PixelRect& a, const PixelRect& b) {
  PixelRect both;
  both.column = std::max(a.column, b.column);
  both.row = std::max(a.row, b.row);
  both.columns = std::max(0, std::min(a.column + a.columns, b.column + b.columns) - both.column);
  both.rows = std::max(0, std::min(a.row + a.rows, b.row + b.rows) - both.row);
  return both;
}

std::size_t OffsetIn(const PixelRect& rect, int column, int row) {
  return std::size_t(row - rect.row) * std::size_t(rect.columns) + std::size_t(column - rect.column);
}

/// The parabola a[0] + a[1] x + a[2] x^2 through values at x = 0, 1, 2.
void Through(double v0, double v1, double v2, double* a) {
  a[0] = v0;
  a[1] = 2.0 * (v1 - v0) - 0.5 * (v2 - v0);
  a[2] = 0.5 * (v2 - v0) - (v1 - v0);
}

double At(const double* a, double x) { return a[0] + x * (a[1] + x * a[2]); }

/// The parabola along columns at row y of 3 x 3 nodes, which stand row by row at distances of 1.
void AlongColumns(const double* nodes, double y, double* a) {
  double value[3];
  for (int i = 0; i < 3; ++i) {
    double alongRows[3];
    Through(nodes[i], nodes[3 + i], nodes[6 + i], alongRows);
    value[i] = At(alongRows, y);
  }
  Through(value[0], value[1], value[2], a);
}

}  // namespace

ImageCoordinates::ImageCoordinates(const TMapFrame& frame, const TRPC& model, const THeightSurface& surface, int width,
                                   int height)
    : frame_(frame), model_(model), surface_(surface), width_(width), height_(height) {}

bool ImageCoordinates::Prepare(std::string* error) {
  OGRSpatialReference system;
  if (system.SetFromUserInput(frame_.crs.c_str()) != OGRERR_NONE) {
    *error = "the map's reference system is not understood";
    return false;
  }
  const OGRSpatialReference plane = HorizontalPart(system);
  if (!IsWgs84(plane)) {
    toGround_ = PlaneTransformation::Make(plane, Wgs84());
    if (toGround_ == nullptr) {
      *error = "PROJ has no way from the map's reference system to WGS84";
      return false;
    }
  }
  FindChannels();
  FindFootprint();
  FindWeights();
  return true;
}

void ImageCoordinates::MaskHidden() { locator_ = std::make_unique<TTerrainLocator>(model_, surface_); }

/// A grid in a plane of its own would need PROJ for each pixel: its columns and rows are interpolated too.
void ImageCoordinates::FindChannels() {
  const THeightGrid* grid = nullptr;
  const THeightSurface* base = nullptr;
  if (!surface_.Split(&grid, &base) || grid->GetFrame().mapping == nullptr) return;
  THeightGridFrame frame = grid->GetFrame();
  frame.mapping = nullptr;
  frame.pixelIsArea = false;
  const double transform[] = {0.0, 1.0 / kColumnsToDegree, 0.0, 0.0, 0.0, 1.0 / kColumnsToDegree};
  std::copy_n(transform, 6, frame.transform);
  byColumn_ = std::make_unique<THeightGrid>(frame, std::make_shared<SameTiles>(grid->GetTiles()));
  grid_ = grid;
  base_ = base;
  channels_ = 4;
}

/// The box of the image's ground at the lowest and the highest heights there, a tenth larger: beyond it polynomials may
/// come back into the image. None where some of the border cannot be brought to the ground.
void ImageCoordinates::FindFootprint() {
  constexpr int kSide = 17;
  const auto reach = [](double offset, double scale, double by) { return offset + by * std::fabs(scale); };
  const TTerrainBox around = {
      reach(model_.GetCenterLatitude(), model_.GetMaxLatitude() - model_.GetCenterLatitude(), -1.2),
      reach(model_.GetCenterLongitude(), model_.GetMaxLongitude() - model_.GetCenterLongitude(), -1.2),
      reach(model_.GetCenterLatitude(), model_.GetMaxLatitude() - model_.GetCenterLatitude(), 1.2),
      reach(model_.GetCenterLongitude(), model_.GetMaxLongitude() - model_.GetCenterLongitude(), 1.2)};
  const THeightRange range = surface_.GetRange(around);
  if (!range.IsKnown()) return;
  TTerrainBox box = {HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  for (const double h : {range.lowest, range.highest}) {
    for (int i = 0; i < kSide * kSide; ++i) {
      const int down = i / kSide;
      const int across = i % kSide;
      const double line = height_ * (double(down) / (kSide - 1)) - 0.5;
      const double sample = width_ * (double(across) / (kSide - 1)) - 0.5;
      const TGroundSolution ground = SolveLatLon(model_, line, sample, h);
      if (!ground) return;
      box = {std::min(box.south, ground.lat), std::min(box.west, ground.lon), std::max(box.north, ground.lat),
             std::max(box.east, ground.lon)};
    }
  }
  const double lat = 0.1 * (box.north - box.south);
  const double lon = 0.1 * (box.east - box.west);
  footprint_ = {box.south - lat, box.west - lon, box.north + lat, box.east + lon};
  hasFootprint_ = true;
}

void ImageCoordinates::FindWeights() {
  const double lat = model_.GetCenterLatitude();
  const double lon = model_.GetCenterLongitude();
  double line, sample, dLine[3], dSample[3];
  model_.CalculateLineSample(lat, lon, model_.GetAverageHeight(), &line, &sample, dLine, dSample);
  weights_[0] = std::hypot(dLine[0], dSample[0]);
  weights_[1] = std::hypot(dLine[1], dSample[1]);
  if (grid_ == nullptr) return;
  // A wrong place in the grid moves the image point by less than the place itself, unless the terrain rises by more
  // than the line of sight does.
  constexpr double kStep = 1e-4;
  const double lats[] = {lat, lat + kStep};
  const double lons[] = {lon, lon};
  double column[2], row[2];
  grid_->GetColumnsRows(2, lats, lons, column, row);
  const double posts = std::hypot(column[1] - column[0], row[1] - row[0]) / kStep;
  weights_[2] = weights_[3] = posts > 0.0 ? weights_[0] / posts : 0.0;
}

/// \param column, row of pixels, whole numbers at their centres. \param values as many arrays as there are channels.
void ImageCoordinates::Exact(std::size_t count, const double* column, const double* row, double* const* values) const {
  const double* t = frame_.transform;
  double* const lat = values[0];
  double* const lon = values[1];
  for (std::size_t i = 0; i < count; ++i) {
    const double c = column[i] + 0.5;
    const double r = row[i] + 0.5;
    lon[i] = t[0] + c * t[1] + r * t[2];
    lat[i] = t[3] + c * t[4] + r * t[5];
  }
  if (toGround_ != nullptr) toGround_->Run(count, lon, lat);
  // One turn for all, so that nothing jumps within a square.
  const double center = model_.GetCenterLongitude();
  for (std::size_t i = 0; i < count; ++i) lon[i] -= 360.0 * std::nearbyint((lon[i] - center) / 360.0);
  if (grid_ != nullptr) grid_->GetColumnsRows(count, lat, lon, values[2], values[3]);
}

/// What the nodes of a square say of the footprint. \param lat, lon nine nodes; between them the square reaches a
/// little further.
void ImageCoordinates::Look(const double* lat, const double* lon, Ground* ground) const {
  if (!hasFootprint_) return;
  const auto south = std::minmax_element(lat, lat + 9);
  const auto west = std::minmax_element(lon, lon + 9);
  const double reachLat = 0.25 * (*south.second - *south.first);
  const double reachLon = 0.25 * (*west.second - *west.first);
  const TTerrainBox box = {*south.first - reachLat, *west.first - reachLon, *south.second + reachLat,
                           *west.second + reachLon};
  const TTerrainBox& f = footprint_;
  ground->inside =
      ground->inside && box.south >= f.south && box.west >= f.west && box.north <= f.north && box.east <= f.east;
  ground->outside =
      ground->outside && (box.north < f.south || box.east < f.west || box.south > f.north || box.west > f.east);
}

void ImageCoordinates::FillExactly(const PixelRect& part, Ground* ground) const {
  ground->inside = ground->outside = false;
  std::vector<double> column(std::size_t(part.columns)), row(std::size_t(part.columns));
  for (int c = 0; c < part.columns; ++c) column[std::size_t(c)] = part.column + c;
  for (int r = 0; r < part.rows; ++r) {
    std::fill(row.begin(), row.end(), part.row + r);
    const std::size_t at = OffsetIn(ground->rect, part.column, part.row + r);
    double* values[kChannels];
    for (int k = 0; k < kChannels; ++k) values[k] = ground->values[k].data() + at;
    Exact(column.size(), column.data(), row.data(), values);
  }
}

/// Fills what of the square lies in the ground's rectangle. The third derivative's part in the error of a parabola
/// through three points at distances of 1 is s (s - 1) (s - 2) / 6, which at s = 1/2 and 3/2 has 97 % of its largest
/// value; of the four places, one has the errors along columns and rows with one sign.
void ImageCoordinates::Fill(int column, int row, int size, Ground* ground) const {
  constexpr int kNodes = 9;
  constexpr int kPoints = 13;
  const PixelRect part = Intersect({column, row, size, size}, ground->rect);
  if (part.Count() == 0) return;
  if (size <= kSmallest) return FillExactly(part, ground);
  const double half = 0.5 * size;
  double columns[kPoints], rows[kPoints], points[kChannels][kPoints];
  for (int i = 0; i < kNodes; ++i) {
    const int across = i % 3;
    const int down = i / 3;
    columns[i] = column + half * across;
    rows[i] = row + half * down;
  }
  for (int i = 0; i < 4; ++i) {
    const int across = i % 2;
    const int down = i / 2;
    columns[kNodes + i] = column + half * (0.5 + across);
    rows[kNodes + i] = row + half * (0.5 + down);
  }
  double* values[kChannels];
  for (int k = 0; k < kChannels; ++k) values[k] = points[k];
  Exact(kPoints, columns, rows, values);
  double worst = 0.0;
  for (int i = kNodes; i < kPoints; ++i) {
    double error = 0.0;
    for (int k = 0; k < channels_; ++k) {
      double parabola[3];
      AlongColumns(points[k], (rows[i] - row) / half, parabola);
      error += weights_[k] * std::fabs(At(parabola, (columns[i] - column) / half) - points[k][i]);
    }
    worst = error <= worst ? worst : error;  // a NaN stays
  }
  if (!(worst <= kTolerance)) {
    const int quarter = size / 2;
    for (int i = 0; i < 4; ++i) Fill(column + quarter * (i % 2), row + quarter * (i / 2), quarter, ground);
    return;
  }
  Look(points[0], points[1], ground);
  for (int k = 0; k < channels_; ++k) {
    for (int r = 0; r < part.rows; ++r) {
      double parabola[3];
      AlongColumns(points[k], (part.row + r - row) / half, parabola);
      double* const out = ground->values[k].data() + OffsetIn(ground->rect, part.column, part.row + r);
      for (int c = 0; c < part.columns; ++c) out[c] = At(parabola, (part.column + c - column) / half);
    }
  }
}

void ImageCoordinates::GetHeights(std::size_t start, std::size_t count, const Ground& ground, double* h) const {
  const double* const lat = ground.values[0].data() + start;
  const double* const lon = ground.values[1].data() + start;
  if (byColumn_ == nullptr) return surface_.GetHeights(count, lat, lon, h);
  double columns[kTogether] = {};
  double rows[kTogether] = {};
  for (std::size_t i = 0; i < count; ++i) {
    columns[i] = ground.values[2][start + i] / kColumnsToDegree;
    rows[i] = ground.values[3][start + i] / kColumnsToDegree;
  }
  byColumn_->GetHeights(count, rows, columns, h);
  if (base_ == nullptr) return;
  base_->GetHeights(count, lat, lon, rows);
  for (std::size_t i = 0; i < count; ++i) h[i] += rows[i];
}

/// Ground that is not seen for sure gets no image point.
void ImageCoordinates::Mask(std::size_t start, std::size_t count, const Ground& ground, const double* h, double* line,
                            double* sample, PixelCounts* counts) const {
  std::size_t chosen[kTogether];
  double lat[kTogether] = {};
  double lon[kTogether] = {};
  double height[kTogether] = {};
  TVisibility visibility[kTogether];
  std::size_t used = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (std::isnan(line[i])) continue;
    chosen[used] = i;
    lat[used] = ground.values[0][start + i];
    lon[used] = ground.values[1][start + i];
    height[used++] = h[i];
  }
  locator_->GetVisibilityArray(used, lat, lon, height, visibility);
  for (std::size_t i = 0; i < used; ++i) {
    if (visibility[i] == TVisibility::Visible || visibility[i] == TVisibility::VisibleVoid) continue;
    line[chosen[i]] = sample[chosen[i]] = kNaN;
    ++counts->hidden;
    --counts->filled;
  }
}

bool ImageCoordinates::IsNear(double lat, double lon) const {
  return lat >= footprint_.south && lat <= footprint_.north && lon >= footprint_.west && lon <= footprint_.east;
}

/// Heights and image points of the ground; `line` and `sample` stand row by row as the ground does.
void ImageCoordinates::Project(const Ground& ground, double* line, double* sample, PixelCounts* counts) const {
  const std::size_t all = ground.rect.Count();
  double h[kTogether];
  const bool free = !hasFootprint_ || ground.inside;
  counts->filled += std::int64_t(all);
  for (std::size_t start = 0; start < all; start += kTogether) {
    const std::size_t count = std::min(kTogether, all - start);
    const double* const lat = ground.values[0].data() + start;
    const double* const lon = ground.values[1].data() + start;
    GetHeights(start, count, ground, h);
    model_.CalculateLineSampleArray(count, lat, lon, h, line + start, sample + start, nullptr, nullptr);
    const double lastLine = height_ - 0.5;
    const double lastSample = width_ - 0.5;
    for (std::size_t i = 0; i < count; ++i) {
      double& l = line[start + i];
      double& s = sample[start + i];
      if (l >= -0.5 && l < lastLine && s >= -0.5 && s < lastSample && (free || IsNear(lat[i], lon[i]))) continue;
      ++(std::isnan(h[i]) ? counts->noHeight : counts->outside);
      --counts->filled;
      l = s = kNaN;
    }
    if (locator_ != nullptr) Mask(start, count, ground, h, line + start, sample + start, counts);
  }
}

void ImageCoordinates::Compute(const PixelRect& rect, double* line, double* sample, PixelCounts* counts) const {
  // Callers have threads of their own.
  const TZxThreadsScope one(1);
  Ground ground;
  std::vector<double> lines, samples;
  const int endColumn = rect.column + rect.columns;
  const int endRow = rect.row + rect.rows;
  for (int row = rect.row - rect.row % kSquare; row < endRow; row += kSquare) {
    for (int column = rect.column - rect.column % kSquare; column < endColumn; column += kSquare) {
      ground.rect = Intersect({column, row, kSquare, kSquare}, rect);
      const std::size_t count = ground.rect.Count();
      for (int k = 0; k < channels_; ++k) ground.values[k].resize(count);
      lines.resize(count);
      samples.resize(count);
      ground.inside = true;
      ground.outside = hasFootprint_;
      Fill(column, row, kSquare, &ground);
      if (ground.outside) {
        std::fill(lines.begin(), lines.end(), kNaN);
        std::fill(samples.begin(), samples.end(), kNaN);
        counts->outside += std::int64_t(count);
      } else {
        Project(ground, lines.data(), samples.data(), counts);
      }
      for (int r = 0; r < ground.rect.rows; ++r) {
        const std::size_t from = std::size_t(r) * std::size_t(ground.rect.columns);
        const std::size_t to = OffsetIn(rect, ground.rect.column, ground.rect.row + r);
        std::copy_n(lines.data() + from, ground.rect.columns, line + to);
        std::copy_n(samples.data() + from, ground.rect.columns, sample + to);
      }
    }
  }
}

/// The place of the image's centre in the map, which may lie outside it; the map's middle where it is unknown.
void ImageCoordinates::FindCenter(double* column, double* row) const {
  *column = 0.5 * frame_.columns;
  *row = 0.5 * frame_.rows;
  const TGroundSolution center = SolveLatLon(model_, 0.5 * height_, 0.5 * width_, model_.GetAverageHeight());
  if (!center) return;
  double x = center.lon;
  double y = center.lat;
  if (toGround_ != nullptr) {
    OGRSpatialReference system;
    system.SetFromUserInput(frame_.crs.c_str());
    const auto toPlane = PlaneTransformation::Make(Wgs84(), HorizontalPart(system));
    if (toPlane == nullptr) return;
    toPlane->Run(1, &x, &y);
  }
  const double* t = frame_.transform;
  const double area = t[1] * t[5] - t[2] * t[4];
  const double c = (t[5] * (x - t[0]) - t[2] * (y - t[3])) / area;
  const double r = (t[1] * (y - t[3]) - t[4] * (x - t[0])) / area;
  if (!std::isfinite(c) || !std::isfinite(r)) return;
  *column = c;
  *row = r;
}

void ImageCoordinates::GetRatios(double* alongLines, double* alongSamples) const {
  *alongLines = *alongSamples = 1.0;
  // Steps of one pixel from the image's centre: maps of different bounds then get the same kernel, and polynomials
  // are not asked far from the image.
  double c, r;
  FindCenter(&c, &r);
  const double columns[] = {c, c + 1.0, c};
  const double rows[] = {r, r, r + 1.0};
  double points[kChannels][3];
  double* values[kChannels];
  for (int k = 0; k < kChannels; ++k) values[k] = points[k];
  Exact(3, columns, rows, values);
  double h = surface_.GetHeight(points[0][0], points[1][0]);
  if (std::isnan(h)) h = model_.GetAverageHeight();
  double line[3], sample[3];
  for (int i = 0; i < 3; ++i) {
    model_.CalculateLineSample(points[0][i], points[1][i], h, &line[i], &sample[i], nullptr, nullptr);
  }
  const double lines = std::hypot(line[1] - line[0], line[2] - line[0]);
  const double samples = std::hypot(sample[1] - sample[0], sample[2] - sample[0]);
  if (std::isfinite(lines) && lines > 0.0) *alongLines = lines;
  if (std::isfinite(samples) && samples > 0.0) *alongSamples = samples;
}

}  // namespace SatCommonUtils
