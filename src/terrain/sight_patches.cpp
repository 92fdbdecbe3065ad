// Lines of sight of a whole image: cubic interpolation between inversions of the model on a lattice of line, sample and
// height. Elementary (tensor products of Lagrange's polynomials).

#include "terrain/sight_patches.h"

#include <algorithm>
#include <cmath>

#include "linalg/simd.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_boxes.h"
#include "terrain/crossing_bounds.h"
#include "terrain/sight_square.h"
#include "terrain/single_crossing.h"
#include "terrain/tile_cursor.h"

namespace SatCommonUtils::terrain {

namespace {

constexpr int kFewestPatches = 4;
constexpr int kMostPatches = 16;
/// Squares with bounds of their own along each side of the image.
constexpr int kSquares = 64;
/// The patches reach this part of the image's size over its edges.
constexpr double kMargin = 0.02;

/// Nodes of a patch in line and sample: those on its edges belong to the neighbours too.
constexpr double kImageNodes[kTerms] = {-1.0, -1.0 / 3.0, 1.0 / 3.0, 1.0};
/// Chebyshev's nodes of degree 4.
constexpr double kHeightNodes[kTerms] = {-0.92387953251128674, -0.38268343236508977, 0.38268343236508977,
                                         0.92387953251128674};

/// Image points and heights to invert, and what comes of them.
struct TNodes {
  std::vector<double> line, sample, h;
  std::vector<double> values[kComponents];

  void Add(double nodeLine, double nodeSample, double nodeH) {
    line.push_back(nodeLine);
    sample.push_back(nodeSample);
    h.push_back(nodeH);
  }

  /// Values are NaN where the model or the surface gives none.
  void Solve(const TScene& scene) {
    const std::size_t count = line.size();
    std::vector<TGroundSolution> solutions(count);
    SolveLatLonArray(*scene.model, count, line.data(), sample.data(), h.data(), solutions.data());
    for (std::vector<double>& component : values) component.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
      const bool solved = bool(solutions[i]);
      values[kLatitude][i] = solved ? solutions[i].lat : std::nan("");
      values[kLongitude][i] = solved ? solutions[i].lon : std::nan("");
    }
    scene.Place(count, values[kLatitude].data(), values[kLongitude].data(), values[kColumn].data(), values[kRow].data(),
                values[kClearance].data());
    for (std::size_t i = 0; i < count; ++i) values[kClearance][i] = h[i] - values[kClearance][i];
  }
};

/// Sums the coefficients of one point's sight line: four numbers, one component, to a vector.
struct TInterpolateKernel {
  std::size_t count;
  const TSightPatch* const* patches;
  const double* s;
  const double* t;
  int components;
  TSightLine* sights;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < count; ++i) {
      if (components == kComponents)
        One<kComponents>(i);
      else if (components == kLatitude)
        One<kLatitude>(i);
      else
        One<kClearance>(i);
    }
  }

 private:
  template <int Components>
  [[gnu::always_inline]] void One(std::size_t i) const {
    using TVector = typename simd::TLanes<kTerms>::TVector;
    using TUnaligned = typename simd::TLanes<kTerms>::TUnaligned;
    const double si = s[i];
    const double ti = t[i];
    const double powersS[kTerms] = {1.0, si, si * si, si * si * si};
    const double powersT[kTerms] = {1.0, ti, ti * ti, ti * ti * ti};
    const TSightPatch& patch = *patches[i];
    TVector sums[Components];
    for (int component = 0; component < Components; ++component) sums[component] = TVector{};
    for (int node = 0; node < TSightPatch::kNodes; ++node) {
      const double weight = powersS[node / kTerms] * powersT[node % kTerms];
      for (int component = 0; component < Components; ++component) {
        const TVector c = *reinterpret_cast<const TUnaligned*>(patch.c[node][component]);
        sums[component] += weight * c;
      }
    }
    for (int component = 0; component < Components; ++component) {
      *reinterpret_cast<TUnaligned*>(sights[i].c[component]) = sums[component];
    }
  }
};

}  // namespace

TSightPatches::TSightPatches(const TScene& scene, double lowest, double highest)
    : center_(0.5 * (lowest + highest)), half_(0.5 * (highest - lowest)) {
  for (int patches = kFewestPatches; patches <= kMostPatches; patches *= 2) {
    if (Build(scene, patches)) break;
  }
  if (scene.grid == nullptr || patches_ == 0) return;
  BuildSquares(scene);
  FindStarts(scene);
}

void TSightPatches::BuildSquares(const TScene& scene) {
  squares_ = kSquares / patches_;
  side_ = squares_ * patches_;
  squaresPerLine_ = squares_ / lineSize_;
  squaresPerSample_ = squares_ / sampleSize_;
  lanes_ = CountSquareLanes(scene);
  termsSize_ = std::size_t(kSquareTerms) * lanes_;
  bounds_.resize(std::size_t(side_) * side_);
  terms_.resize(bounds_.size() * termsSize_);
  for (std::size_t i = 0; i < bounds_.size(); ++i) {
    const int row = static_cast<int>(i / side_);
    const int column = static_cast<int>(i % side_);
    const TSightPatch& patch = table_[std::size_t(row / squares_) * patches_ + column / squares_];
    if (!patch.usable) continue;
    const double s = (2.0 * (row % squares_) + 1.0) / squares_ - 1.0;
    const double t = (2.0 * (column % squares_) + 1.0) / squares_ - 1.0;
    bounds_[i] = Bound(scene, patch, s, t);
    bounds_[i].simple =
        bounds_[i].single && CutSquare(scene, patch, s, t, 1.0 / squares_, bounds_[i], &terms_[i * termsSize_]);
  }
}

void TSightPatches::FindStarts(const TScene& scene) {
  constexpr double kRough = 1.0;  // metres
  constexpr double kPlace = 0.7;
  constexpr double kPlaces[][2] = {{kPlace, kPlace}, {kPlace, -kPlace}, {-kPlace, kPlace}, {-kPlace, -kPlace}};
  constexpr std::size_t kCount = 4;
  TSightBatch batch;
  TSquarePlace places[TSightBatch::kMost];
  for (std::size_t next = 0; next < bounds_.size();) {
    // Squares over one tile.
    std::size_t count = 0;
    const TSightBounds* first = nullptr;
    for (; next < bounds_.size() && count + kCount <= TSightBatch::kMost; ++next) {
      const TSightBounds& bounds = bounds_[next];
      if (!bounds.simple) continue;
      if (first == nullptr) first = &bounds;
      if (!bounds.IsOverTileOf(*first)) break;
      for (const double(&place)[2] : kPlaces) places[count++] = {next, place[0], place[1]};
    }
    if (count == 0) continue;
    const std::size_t asked = count;
    while (count % TSightBatch::kLanes != 0) places[count++] = places[asked - 1];
    FillBatch(*this, count, places, &batch);
    const auto tile = scene.grid->GetTiles().GetTile(first->tileColumn, first->tileRow);
    if (tile == nullptr) continue;  // its file was readable a moment ago, when the squares were bounded
    SolveSingleCrossings(*tile, scene.grid->GetFrame().interpolation == THeightInterpolation::Bicubic, kRough, &batch);
    for (std::size_t i = 0; i < asked; i += kCount) {
      double sum = 0.0, byLine = 0.0, bySample = 0.0;
      bool met = true;
      for (std::size_t k = i; k < i + kCount; ++k) {
        met = met && std::fabs(batch.miss[k]) <= kRough;
        sum += batch.u[k];
        byLine += batch.u[k] * places[k].s;
        bySample += batch.u[k] * places[k].t;
      }
      if (!met) continue;
      TSightBounds& bounds = bounds_[places[i].number];
      bounds.start = bounds.GetMiddle() + sum / kCount;
      bounds.startByLine = byLine / (kCount * kPlace * kPlace);
      bounds.startBySample = bySample / (kCount * kPlace * kPlace);
    }
  }
}

bool TSightPatches::Build(const TScene& scene, int patches) {
  const TImageBox image = ImageBoxOf(*scene.model);
  const auto edges = std::minmax({image.line.Normalized2Initial(-1.0), image.line.Normalized2Initial(1.0)});
  const auto sides = std::minmax({image.sample.Normalized2Initial(-1.0), image.sample.Normalized2Initial(1.0)});
  firstLine_ = edges.first;
  firstSample_ = sides.first;
  const double lines = edges.second - edges.first;
  const double samples = sides.second - sides.first;
  patches_ = 0;
  table_.clear();
  if (!(lines > 0.0 && samples > 0.0 && std::isfinite(lines) && std::isfinite(samples))) return true;
  firstLine_ -= kMargin * lines;
  firstSample_ -= kMargin * samples;
  lineSize_ = (1.0 + 2.0 * kMargin) * lines / patches;
  sampleSize_ = (1.0 + 2.0 * kMargin) * samples / patches;

  TNodes nodes;
  const int side = (kTerms - 1) * patches + 1;
  for (int i = 0; i < side; ++i) {
    for (int j = 0; j < side; ++j) {
      for (const double u : kHeightNodes) {
        nodes.Add(firstLine_ + lineSize_ * i / (kTerms - 1), firstSample_ + sampleSize_ * j / (kTerms - 1),
                  center_ + half_ * u);
      }
    }
  }
  nodes.Solve(scene);
  patches_ = patches;
  table_.resize(std::size_t(patches) * patches);
  for (int row = 0; row < patches; ++row) {
    for (int column = 0; column < patches; ++column) {
      Fit(nodes.values, row, column, &table_[std::size_t(row) * patches + column]);
    }
  }
  Check(scene);
  return std::all_of(table_.begin(), table_.end(), [](const TSightPatch& patch) { return patch.usable; });
}

void TSightPatches::Fit(const std::vector<double>* values, int row, int column, TSightPatch* patch) const {
  static const TFourNodes inImage(kImageNodes);
  static const TFourNodes inHeight(kHeightNodes);
  const int side = (kTerms - 1) * patches_ + 1;
  patch->usable = true;
  for (int component = 0; component < kComponents; ++component) {
    // One direction after the other: height, sample, line.
    double f[kTerms][kTerms][kTerms], g[kTerms][kTerms][kTerms];
    for (int i = 0; i < kTerms; ++i) {
      for (int j = 0; j < kTerms; ++j) {
        const std::size_t node = std::size_t(row * (kTerms - 1) + i) * side + column * (kTerms - 1) + j;
        for (int k = 0; k < kTerms; ++k) {
          f[i][j][k] = 0.0;
          for (int n = 0; n < kTerms; ++n) f[i][j][k] += inHeight.m[k][n] * values[component][node * kTerms + n];
        }
      }
    }
    for (int i = 0; i < kTerms; ++i) {
      for (int j = 0; j < kTerms; ++j) {
        for (int k = 0; k < kTerms; ++k) {
          g[i][j][k] = 0.0;
          for (int n = 0; n < kTerms; ++n) g[i][j][k] += inImage.m[j][n] * f[i][n][k];
        }
      }
    }
    for (int i = 0; i < kTerms; ++i) {
      for (int j = 0; j < kTerms; ++j) {
        for (int k = 0; k < kTerms; ++k) {
          double c = 0.0;
          for (int n = 0; n < kTerms; ++n) c += inImage.m[i][n] * g[n][j][k];
          patch->c[i * kTerms + j][component][k] = c;
          patch->usable = patch->usable && std::isfinite(c);
        }
      }
    }
  }
  // Line's first power is node 4, sample's node 1; a unit of either is half the patch.
  const auto& byLine = patch->c[kTerms];
  const auto& bySample = patch->c[1];
  patch->latByLine = byLine[kLatitude][0] * 2.0 / lineSize_;
  patch->latBySample = bySample[kLatitude][0] * 2.0 / sampleSize_;
  patch->lonByLine = byLine[kLongitude][0] * 2.0 / lineSize_;
  patch->lonBySample = bySample[kLongitude][0] * 2.0 / sampleSize_;
}

void TSightPatches::Check(const TScene& scene) {
  // Between the nodes, where the error of interpolation is near its largest.
  constexpr double kPlaces[][3] = {{0.0, 0.0, 0.0},   {0.7, 0.7, 0.7}, {0.7, -0.7, -0.7}, {-0.7, 0.7, -0.7},
                                   {-0.7, -0.7, 0.7}, {0.0, 0.7, 1.0}, {0.7, 0.0, -1.0},  {0.0, 0.0, 0.7}};
  constexpr std::size_t kCount = sizeof(kPlaces) / sizeof(kPlaces[0]);
  TNodes nodes;
  for (int row = 0; row < patches_; ++row) {
    for (int column = 0; column < patches_; ++column) {
      for (const double(&place)[3] : kPlaces) {
        nodes.Add(firstLine_ + lineSize_ * (row + 0.5 + 0.5 * place[0]),
                  firstSample_ + sampleSize_ * (column + 0.5 + 0.5 * place[1]), center_ + half_ * place[2]);
      }
    }
  }
  nodes.Solve(scene);
  for (std::size_t p = 0; p < table_.size(); ++p) {
    TSightPatch& patch = table_[p];
    for (std::size_t i = 0; i < kCount && patch.usable; ++i) {
      const TSightPatch* at = &patch;
      TSightLine sight;
      Interpolate(1, &at, &kPlaces[i][0], &kPlaces[i][1], kComponents, &sight);
      double exact[kComponents], fitted[kComponents];
      for (int component = 0; component < kComponents; ++component) {
        exact[component] = nodes.values[component][p * kCount + i];
        fitted[component] = Evaluate(sight.c[component], kPlaces[i][2]);
      }
      patch.usable = GetMiss(scene, exact, fitted) <= kSightTolerance;
    }
  }
}

namespace {

/// \param c coefficients at the square's centre. \param change by how much each can differ in the square.
TReach GetReach(const double* c, const double* change, const TSpan& u) {
  // |u| is at most 1: the powers of u leave the derivative's terms at their coefficients.
  const double bend = 2.0 * (std::fabs(c[2]) + change[2]) + 3.0 * (std::fabs(c[3]) + change[3]) + change[1];
  const double middle = 0.5 * (u.low + u.high);
  return {middle, Evaluate(c, middle), change[0] + change[1] + change[2] + change[3], {c[1] - bend, c[1] + bend}};
}

/// A rectangle of cells.
struct TCells {
  int firstColumn, lastColumn, firstRow, lastRow;
};

TCells GetCells(const TSpan& column, const TSpan& row) {
  const auto whole = [](double x) { return static_cast<int>(std::floor(std::clamp(x, -kFarOut, kFarOut))); };
  return {whole(column.low), whole(column.high), whole(row.low), whole(row.high)};
}

/// Whether all cells that lines between two u can be over, and their neighbours, lie in one tile.
bool LieInOneTile(const THeightGrid& grid, const TBundle& bundle, const TSpan& u, TSightBounds* bounds) {
  // Of a grid around the Earth, what does not reach its seam.
  const int columnsOfPosts = grid.GetPeriod() > 0 ? grid.GetPeriod() : grid.GetFrame().columns;
  const int size = grid.GetTiles().GetTileSize();
  const TSpan columns = bundle.column.Over(u);
  const TSpan rows = bundle.row.Over(u);
  const TCells cells = GetCells({columns.low - kEdge, columns.high + kEdge}, {rows.low - kEdge, rows.high + kEdge});
  if (cells.firstColumn < 1 || cells.firstRow < 1 || cells.lastColumn > columnsOfPosts - 3 ||
      cells.lastRow > grid.GetFrame().rows - 3) {
    return false;
  }
  bounds->tileColumn = cells.firstColumn / size;
  bounds->tileRow = cells.firstRow / size;
  return bounds->tileColumn == cells.lastColumn / size && bounds->tileRow == cells.lastRow / size;
}

}  // namespace

TSightBounds TSightPatches::Bound(const TScene& scene, const TSightPatch& patch, double s, double t) const {
  TSightLine sight;
  const TSightPatch* at = &patch;
  Interpolate(1, &at, &s, &t, kLatitude, &sight);
  // |line| and |sample| are at most 1: their derivatives are at most the sum of what the powers give.
  double change[kLatitude][kTerms] = {};
  for (int node = 0; node < TSightPatch::kNodes; ++node) {
    const int powers = node / kTerms + node % kTerms;
    for (int component = 0; component < kLatitude; ++component) {
      for (int k = 0; k < kTerms; ++k) {
        change[component][k] += powers * std::fabs(patch.c[node][component][k]) / squares_;
      }
    }
  }
  TSightBounds bounds;
  const auto reach = [&](int component, const TSpan& u) { return GetReach(sight.c[component], change[component], u); };
  const auto rangeOver = [&](double bottom, double top) {
    const TSpan u = {bottom, top};
    const TCells cells = GetCells(reach(kColumn, u).Over(u), reach(kRow, u).Over(u));
    return scene.grid->GetCellRange(cells.firstColumn, cells.lastColumn, cells.firstRow, cells.lastRow);
  };
  // Height above the base, whose first power of u is nearly all there is of it; the rest is room on both sides.
  const double first = sight.c[kClearance][1];
  if (!(reach(kClearance, {-1.0, 1.0}).GetSlope().low > 0.0)) return bounds;
  const double rest = change[kClearance][0] + change[kClearance][1] + std::fabs(sight.c[kClearance][2]) +
                      std::fabs(sight.c[kClearance][3]) + change[kClearance][2] + change[kClearance][3] + kBaseRoom;
  const auto above = [&](double h) { return (h - sight.c[kClearance][0] + rest) / first; };
  const auto below = [&](double h) { return (h - sight.c[kClearance][0] - rest) / first; };
  // Narrower heights show less ground, whose bounds are narrower again.
  constexpr int kPasses = 4;
  constexpr double kWorthAPass = 0.75;
  for (int pass = 0; pass < kPasses; ++pass) {
    const THeightRange range = rangeOver(bounds.bottom, bounds.top);
    if (pass == 0) bounds.voids = range.voids;
    if (!range.IsKnown()) return bounds;
    const double before = bounds.top - bounds.bottom;
    if (!range.voids) {
      bounds.top = std::min(bounds.top, above(range.highest));
    } else {
      // What the lines pass over before they meet terrain is told, so that the top comes down only over known heights.
      const double slice = 0.125 * (bounds.top - bounds.bottom);
      for (int i = 0; i < 6; ++i) {
        const double next = bounds.top - slice;
        const THeightRange over = rangeOver(next, bounds.top);
        if (over.voids || !over.IsKnown() || above(over.highest) >= next) break;
        bounds.top = next;
      }
    }
    bounds.bottom = std::max(bounds.bottom, std::min(below(range.lowest), bounds.top));
    if (pass > 0 && bounds.top - bounds.bottom > kWorthAPass * before) break;
  }
  TSpan u = {bounds.bottom, bounds.top};
  const TBundle bundle = {reach(kColumn, u), reach(kRow, u), reach(kClearance, u)};
  if (LieInOneTile(*scene.grid, bundle, u, &bounds)) {
    const auto tile = scene.grid->GetTiles().GetTile(bounds.tileColumn, bounds.tileRow);
    const bool bicubic = scene.grid->GetFrame().interpolation == THeightInterpolation::Bicubic;
    bounds.single = tile != nullptr && MeetOnce(*tile, bicubic, bundle, &u);
  }
  bounds.top = u.high;
  bounds.bottom = u.low;
  bounds.start = bounds.GetMiddle();
  return bounds;
}

const TSightPatch* TSightPatches::Find(double line, double sample, double* s, double* t,
                                       const TSightBounds** bounds) const {
  const double i = (line - firstLine_) / lineSize_;
  const double j = (sample - firstSample_) / sampleSize_;
  if (!(i >= 0.0 && i < patches_ && j >= 0.0 && j < patches_)) return nullptr;
  const int row = static_cast<int>(i);
  const int column = static_cast<int>(j);
  const std::size_t number = std::size_t(row) * patches_ + column;
  const int squareRow = static_cast<int>((i - row) * squares_);
  const int squareColumn = static_cast<int>((j - column) * squares_);
  *s = 2.0 * (i - row) - 1.0;
  *t = 2.0 * (j - column) - 1.0;
  *bounds = &bounds_[(std::size_t(row) * squares_ + squareRow) * side_ + column * squares_ + squareColumn];
  return table_[number].usable ? &table_[number] : nullptr;
}

void TSightPatches::Interpolate(std::size_t count, const TSightPatch* const* patches, const double* s, const double* t,
                                int components, TSightLine* sights) const {
  simd::Dispatch(TInterpolateKernel{count, patches, s, t, components, sights});
  for (std::size_t i = 0; i < count; ++i) {
    TSightLine& sight = sights[i];
    sight.center = center_;
    sight.half = half_;
    if (components > kClearance) continue;
    const double clearance[kTerms] = {center_, half_, 0.0, 0.0};
    std::copy_n(clearance, kTerms, sight.c[kClearance]);
  }
}

}  // namespace SatCommonUtils::terrain
