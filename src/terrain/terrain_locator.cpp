// Image to ground on a height surface: lines of sight, their first crossing, and the way back to the model itself.

#include "terrain/terrain_locator.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <utility>

#include "rpc/blocks.h"
#include "rpc/ground_solution.h"
#include "terrain/sight_patches.h"
#include "terrain/simple_points.h"
#include "terrain/walk.h"

namespace SatCommonUtils {

using terrain::TScene;
using terrain::TSightBounds;
using terrain::TSightLine;
using terrain::TSightPatch;
using terrain::TSightPatches;
using terrain::TSightState;
using terrain::TSimplePoints;
using terrain::TSquarePlace;
using terrain::TTileCursor;
using terrain::TWalk;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

/// Lines of sight start and end this far outside the range of heights, metres.
constexpr double kRoom = 1.0;
/// A result of interpolated lines of sight that misses by more than this, pixels, is solved anew by the model.
constexpr double kWorthAStep = 1e-8;
/// A line of sight that one set of polynomials does not follow is halved up to this often.
constexpr int kDeepest = 6;
/// How far below a crossing, in metres of height, the search for the next one begins: past what the chords of the walk
/// and the interpolated base leave open of the crossing's place.
constexpr double kPastCrossing = 0.01;

/// One image point on its way.
struct TPoint {
  double line;
  double sample;
  TSightLine sight;
  double u;  ///< of the crossing
  TWalk walk;
  bool found = false;
};

TTerrainState StateWithout(const TWalk& walk) {
  return walk.voids || !walk.known ? TTerrainState::NoTerrain : TTerrainState::NoCrossing;
}

TTerrainSolution MakeSolution(TTerrainState state) {
  TTerrainSolution solution;
  solution.lat = solution.lon = solution.h = solution.residual = kNaN;
  solution.state = state;
  return solution;
}

}  // namespace

struct TTerrainLocator::TParts {
  TScene scene;
  TTerrainOptions options;
  THeightRange range;
  bool modelWorks = false;
  TSightPatches patches;

  /// Follows a line of sight between two u; on a hit `u` is the crossing to the surface's own precision.
  bool Walk(TTileCursor* cursor, const TSightLine& sight, double top, double bottom, TWalk* walk, double* u) const {
    if (cursor == nullptr) return terrain::WalkSurface(scene, sight, top, bottom, walk, u);
    return terrain::WalkGrid(*cursor, sight, top, bottom, walk, u);
  }

  /// Metres by which the base lies higher at `u` than the line's polynomial has it.
  double GetBaseOffset(const TSightLine& sight, double u) const {
    double lat, lon;
    scene.GetLatLon(sight, u, &lat, &lon);
    const double offset =
        scene.base->GetHeight(lat, lon) - (sight.GetHeight(u) - terrain::Evaluate(sight.c[terrain::kClearance], u));
    return std::isnan(offset) ? 0.0 : offset;
  }

  /// One point by inversions of its own line of sight, piece by piece where it bends much.
  /// \param lowest, highest heights between which it is followed. \return false when the model fails on the way.
  /// \param others null, or receives the heights of all further crossings from above.
  bool LocateBy(TTileCursor* cursor, TPoint* point, double lowest, double highest, int depth,
                std::vector<double>* others) const {
    const TSightState state =
        terrain::BuildSightLine(scene, point->line, point->sample, lowest, highest, &point->sight);
    const bool split = (state == TSightState::Coarse || state == TSightState::Void) && depth < kDeepest;
    if (state == TSightState::Failed) return false;
    if (split) {
      const double middle = 0.5 * (lowest + highest);
      return LocateBy(cursor, point, middle, highest, depth + 1, others) &&
             ((point->found && others == nullptr) || LocateBy(cursor, point, lowest, middle, depth + 1, others));
    }
    if (state == TSightState::Void) {
      point->walk.voids = true;
      point->walk.side = TWalk::TSide::Unknown;
      return true;
    }
    double top = 1.0;
    while (Walk(cursor, point->sight, top, -1.0, &point->walk, &point->u)) {
      top = point->u;
      if (cursor != nullptr) {
        const double offset = scene.base == nullptr ? 0.0 : GetBaseOffset(point->sight, point->u);
        point->u = terrain::PolishOnGrid(*cursor, point->sight, point->u, offset);
      }
      top = std::fmin(top, point->u) - kPastCrossing / point->sight.half;
      point->found = true;
      if (others == nullptr) return true;
      others->push_back(point->sight.GetHeight(point->u));
    }
    return true;
  }

  /// Completes a point that was found at height `h`, by the model's own inversion.
  TTerrainSolution CompleteExactly(double line, double sample, double h, bool voids) const {
    const TGroundSolution ground = SolveLatLon(*scene.model, line, sample, h);
    if (!ground) return MakeSolution(TTerrainState::NoLine);
    TTerrainSolution solution;
    solution.lat = ground.lat;
    solution.lon = ground.lon;
    solution.h = h;
    solution.residual = ground.residual;
    solution.state = voids ? TTerrainState::FoundAfterVoid : TTerrainState::Found;
    return solution;
  }

  TTerrainSolution LocateSlowly(TTileCursor* cursor, double line, double sample) const {
    if (!modelWorks || !std::isfinite(line) || !std::isfinite(sample)) return MakeSolution(TTerrainState::NoLine);
    if (!range.IsKnown()) return MakeSolution(TTerrainState::NoTerrain);
    TPoint point = {line, sample, {}, 0.0, {}, false};
    if (!LocateBy(cursor, &point, range.lowest, range.highest, 0, nullptr)) return MakeSolution(TTerrainState::NoLine);
    if (!point.found) return MakeSolution(StateWithout(point.walk));
    return CompleteExactly(line, sample, point.sight.GetHeight(point.u), point.walk.voids);
  }

  struct TSimpleBlock;
  struct TBlock;
  // These return how many points are found.
  std::size_t LocateSimple(TTileCursor& cursor, const TSightBounds& bounds, TSimpleBlock* block,
                           TTerrainSolution* solutions) const;
  void WalkOne(TTileCursor& cursor, TBlock* block, std::size_t k) const;
  bool SolveOne(TTileCursor& cursor, TBlock* block, std::size_t k) const;
  void Complete(const TBlock& block, const double* line, const double* sample, TTerrainSolution* solutions) const;
  std::size_t LocateOthers(TTileCursor& cursor, std::size_t count, const std::size_t* index, const double* line,
                           const double* sample, TTerrainSolution* solutions) const;
  std::size_t LocateBlock(TTileCursor& cursor, std::size_t count, const double* line, const double* sample,
                          TTerrainSolution* solutions) const;
  std::size_t LocateRange(std::size_t count, const double* line, const double* sample,
                          TTerrainSolution* solutions) const;
  TVisibility Look(TTileCursor* cursor, double line, double sample, double h) const;
};

/// Points of a block in simple squares, and which those are that are not solved.
struct TTerrainLocator::TParts::TSimpleBlock {
  TSimplePoints points;
  std::size_t index[rpc::kLaneBlock];  ///< of the point in the caller's arrays
  std::size_t unsolvedCount = 0;
  std::size_t unsolved[rpc::kLaneBlock];
};

/// The other points of a block that have a patch, and what is found of them: arrays side by side.
struct TTerrainLocator::TParts::TBlock {
  std::size_t count = 0;
  std::size_t index[rpc::kLaneBlock];  ///< of the point in the caller's arrays
  const TSightPatch* patch[rpc::kLaneBlock] = {};
  const TSightBounds* bounds[rpc::kLaneBlock] = {};
  double s[rpc::kLaneBlock] = {};
  double t[rpc::kLaneBlock] = {};
  TSightLine sight[rpc::kLaneBlock];
  double u[rpc::kLaneBlock];
  bool voids[rpc::kLaneBlock];
  bool found[rpc::kLaneBlock];
  TTerrainState state[rpc::kLaneBlock];  ///< where nothing is found
};

void TTerrainLocator::TParts::WalkOne(TTileCursor& cursor, TBlock* block, std::size_t k) const {
  TPoint point = {0.0, 0.0, {}, 0.0, {}, false};
  block->found[k] = terrain::WalkGrid(cursor, block->sight[k], block->bounds[k]->top, block->bounds[k]->bottom,
                                      &point.walk, &block->u[k]);
  block->voids[k] = point.walk.voids;
  if (block->bounds[k]->voids && !block->found[k]) point.walk.voids = true;
  block->state[k] = StateWithout(point.walk);
  if (block->found[k]) {
    const double offset = scene.base == nullptr ? 0.0 : GetBaseOffset(block->sight[k], block->u[k]);
    block->u[k] = terrain::PolishOnGrid(cursor, block->sight[k], block->u[k], offset);
  }
}

/// A line that crosses once. \return false when it is not solved.
bool TTerrainLocator::TParts::SolveOne(TTileCursor& cursor, TBlock* block, std::size_t k) const {
  double u = block->bounds[k]->start;
  // The base is taken where the line stands: once more where it came to.
  for (int pass = 0; pass < (scene.base == nullptr ? 1 : 2); ++pass) {
    const double offset = scene.base == nullptr ? 0.0 : GetBaseOffset(block->sight[k], u);
    bool met = false;
    u = terrain::PolishOnGrid(cursor, block->sight[k], u, offset, &met);
    if (!met || !(u <= block->bounds[k]->top && u >= block->bounds[k]->bottom)) return false;
  }
  block->u[k] = u;
  block->found[k] = true;
  block->voids[k] = false;
  return true;
}

/// Points in squares over one tile. \param bounds those of one of the squares.
std::size_t TTerrainLocator::TParts::LocateSimple(TTileCursor& cursor, const TSightBounds& bounds, TSimpleBlock* block,
                                                  TTerrainSolution* solutions) const {
  TSimplePoints& points = block->points;
  const THeightTile* const tile = cursor.GetTile(bounds.tileColumn, bounds.tileRow);
  if (tile != nullptr) terrain::SolveSimplePoints(scene, patches, *tile, &points);
  std::size_t found = 0;
  for (std::size_t k = 0; k < points.count; ++k) {
    TTerrainSolution& solution = solutions[block->index[k]];
    if (tile == nullptr || !(std::fabs(points.miss[k]) <= terrain::kCloseToTerrain)) {
      block->unsolved[block->unsolvedCount++] = block->index[k];
    } else if (points.residual[k] <= kWorthAStep) {
      solution = {points.lat[k], points.lon[k], points.h[k], points.residual[k], TTerrainState::Found};
      ++found;
    } else {
      solution = CompleteExactly(points.line[k], points.sample[k], points.h[k], false);
      found += solution ? 1 : 0;
    }
  }
  points.count = 0;
  return found;
}

/// Points over a grid, most of them by squares and patches: every step of a block of points, then the next step.
std::size_t TTerrainLocator::TParts::LocateBlock(TTileCursor& cursor, std::size_t count, const double* line,
                                                 const double* sample, TTerrainSolution* solutions) const {
  TSimpleBlock simple;
  TSquarePlace places[rpc::kLaneBlock];
  std::size_t waiting[rpc::kLaneBlock];
  std::size_t waitingCount = 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (patches.FindSquare(line[i], sample[i], &places[i])) {
      waiting[waitingCount++] = i;
      patches.Prefetch(places[i].number);
    } else {
      simple.unsolved[simple.unsolvedCount++] = i;
    }
  }
  std::size_t found = 0;
  while (waitingCount > 0) {
    TSimplePoints& points = simple.points;
    std::size_t left = 0;
    const TSightBounds* first = nullptr;
    for (std::size_t k = 0; k < waitingCount; ++k) {
      const std::size_t i = waiting[k];
      const TSightBounds& bounds = patches.GetBounds(places[i].number);
      if (!bounds.simple) {
        simple.unsolved[simple.unsolvedCount++] = i;
        continue;
      }
      if (first == nullptr) first = &bounds;
      // Squares over another tile have a turn of their own.
      if (!bounds.IsOverTileOf(*first)) {
        waiting[left++] = i;
        continue;
      }
      points.places[points.count] = places[i];
      points.line[points.count] = line[i];
      points.sample[points.count] = sample[i];
      simple.index[points.count++] = i;
    }
    waitingCount = left;
    if (first != nullptr) found += LocateSimple(cursor, *first, &simple, solutions);
  }
  if (simple.unsolvedCount == 0) return found;
  return found + LocateOthers(cursor, simple.unsolvedCount, simple.unsolved, line, sample, solutions);
}

/// Points by their own lines of sight. \param index which of the caller's points they are.
std::size_t TTerrainLocator::TParts::LocateOthers(TTileCursor& cursor, std::size_t count, const std::size_t* index,
                                                  const double* line, const double* sample,
                                                  TTerrainSolution* solutions) const {
  TBlock block;
  for (std::size_t k = 0; k < count; ++k) {
    const std::size_t i = index[k];
    double s, t;
    const TSightBounds* bounds;
    const TSightPatch* patch = patches.Find(line[i], sample[i], &s, &t, &bounds);
    if (patch == nullptr) {
      solutions[i] = LocateSlowly(&cursor, line[i], sample[i]);
      continue;
    }
    block.index[block.count] = i;
    block.patch[block.count] = patch;
    block.bounds[block.count] = bounds;
    block.s[block.count] = s;
    block.t[block.count++] = t;
  }
  patches.Interpolate(block.count, block.patch, block.s, block.t, scene.CountComponents(), block.sight);
  for (std::size_t k = 0; k < block.count; ++k) {
    if (!block.bounds[k]->single || !SolveOne(cursor, &block, k)) WalkOne(cursor, &block, k);
  }
  Complete(block, line, sample, solutions);
  return std::count_if(index, index + count, [&](std::size_t i) { return bool(solutions[i]); });
}

/// Brings points from the interpolated lines of sight to the model itself: one step with the patch's derivatives, then
/// the residual that is left.
void TTerrainLocator::TParts::Complete(const TBlock& block, const double* line, const double* sample,
                                       TTerrainSolution* solutions) const {
  double lat[rpc::kLaneBlock], lon[rpc::kLaneBlock], h[rpc::kLaneBlock];
  double missLine[rpc::kLaneBlock], missSample[rpc::kLaneBlock];
  const auto project = [&] {
    scene.model->CalculateLineSampleArray(block.count, lat, lon, h, missLine, missSample, nullptr, nullptr);
    for (std::size_t k = 0; k < block.count; ++k) {
      missLine[k] = line[block.index[k]] - missLine[k];
      missSample[k] = sample[block.index[k]] - missSample[k];
    }
  };
  for (std::size_t k = 0; k < block.count; ++k) {
    const double u = block.found[k] ? block.u[k] : 0.0;
    scene.GetLatLon(block.sight[k], u, &lat[k], &lon[k]);
    h[k] = block.sight[k].GetHeight(u);
  }
  project();
  for (std::size_t k = 0; k < block.count; ++k) {
    const TSightPatch& patch = *block.patch[k];
    lat[k] += patch.latByLine * missLine[k] + patch.latBySample * missSample[k];
    lon[k] += patch.lonByLine * missLine[k] + patch.lonBySample * missSample[k];
  }
  project();
  for (std::size_t k = 0; k < block.count; ++k) {
    TTerrainSolution& solution = solutions[block.index[k]];
    if (!block.found[k]) {
      solution = MakeSolution(block.state[k]);
      continue;
    }
    const double residual = std::sqrt(missLine[k] * missLine[k] + missSample[k] * missSample[k]);
    if (residual <= kWorthAStep) {
      solution.lat = lat[k];
      solution.lon = lon[k];
      solution.h = h[k];
      solution.residual = residual;
      solution.state = block.voids[k] ? TTerrainState::FoundAfterVoid : TTerrainState::Found;
    } else {
      solution = CompleteExactly(line[block.index[k]], sample[block.index[k]], h[k], block.voids[k]);
    }
  }
}

std::size_t TTerrainLocator::TParts::LocateRange(std::size_t count, const double* line, const double* sample,
                                                 TTerrainSolution* solutions) const {
  std::size_t found = 0;
  if (scene.grid == nullptr) {
    for (std::size_t i = 0; i < count; ++i) {
      solutions[i] = LocateSlowly(nullptr, line[i], sample[i]);
      found += solutions[i] ? 1 : 0;
    }
  } else {
    TTileCursor cursor(*scene.grid);
    for (std::size_t start = 0; start < count; start += rpc::kLaneBlock) {
      const std::size_t part = std::min(rpc::kLaneBlock, count - start);
      found += LocateBlock(cursor, part, line + start, sample + start, solutions + start);
    }
  }
  return found;
}

TTerrainLocator::TTerrainLocator(const TRPC& model, const THeightSurface& surface, const TTerrainOptions& options)
    : parts_(std::make_unique<TParts>()) {
  parts_->scene = terrain::MakeScene(model, surface);
  parts_->options = options;
  TTerrainBox box;
  parts_->modelWorks = model.EnsureApproximation() && terrain::GetGroundBox(model, &box);
  if (!parts_->modelWorks) return;
  parts_->range = surface.GetRange(box);
  if (!parts_->range.IsKnown()) return;
  parts_->range.lowest -= kRoom;
  // Voids above the terrain's highest known point count up to where the model expects terrain.
  parts_->range.highest =
      std::fmax(parts_->range.highest + kRoom, std::fmax(model.GetMinHeight(), model.GetMaxHeight()));
  if (parts_->scene.grid != nullptr) {
    parts_->patches = TSightPatches(parts_->scene, parts_->range.lowest, parts_->range.highest);
  }
}

TTerrainLocator::TTerrainLocator(TTerrainLocator&& other) noexcept = default;
TTerrainLocator& TTerrainLocator::operator=(TTerrainLocator&& other) noexcept = default;
TTerrainLocator::~TTerrainLocator() = default;

TTerrainSolution TTerrainLocator::Locate(double line, double sample) const {
  TTerrainSolution solution;
  LocateArray(1, &line, &sample, &solution);
  return solution;
}

std::size_t TTerrainLocator::LocateArray(std::size_t count, const double* line, const double* sample,
                                         TTerrainSolution* solutions) const {
  std::atomic<std::size_t> found{0};
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    found += parts_->LocateRange(last - first, line + first, sample + first, solutions + first);
  });
  return found;
}

std::vector<TTerrainSolution> TTerrainLocator::LocateAll(double line, double sample) const {
  std::vector<TTerrainSolution> solutions = {Locate(line, sample)};
  if (!solutions[0]) return solutions;
  const TScene& scene = parts_->scene;
  std::unique_ptr<TTileCursor> cursor;
  if (scene.grid != nullptr) cursor = std::make_unique<TTileCursor>(*scene.grid);
  std::vector<double> heights;
  TPoint point = {line, sample, {}, 0.0, {}, false};
  if (!parts_->LocateBy(cursor.get(), &point, parts_->range.lowest, parts_->range.highest, 0, &heights)) {
    return solutions;
  }
  point.walk.voids = solutions[0].state == TTerrainState::FoundAfterVoid;
  // The first of them is the one that is known already.
  for (std::size_t i = 1; i < heights.size(); ++i) {
    const TTerrainSolution hidden = parts_->CompleteExactly(line, sample, heights[i], point.walk.voids);
    if (hidden) solutions.push_back(hidden);
  }
  return solutions;
}

TVisibility TTerrainLocator::TParts::Look(TTileCursor* cursor, double line, double sample, double h) const {
  if (!modelWorks || !std::isfinite(line) || !std::isfinite(sample) || !std::isfinite(h)) return TVisibility::NoLine;
  if (!range.IsKnown()) return TVisibility::VisibleVoid;
  const double bottom = std::fmax(h + options.visibilityTolerance, range.lowest);
  if (bottom >= range.highest) return TVisibility::Visible;
  TPoint point = {line, sample, {}, 0.0, {}, false};
  double s, t;
  const TSightBounds* bounds = nullptr;
  const TSightPatch* patch = cursor == nullptr ? nullptr : patches.Find(line, sample, &s, &t, &bounds);
  if (patch != nullptr) {
    patches.Interpolate(1, &patch, &s, &t, scene.CountComponents(), &point.sight);
    point.found = terrain::WalkGrid(*cursor, point.sight, bounds->top,
                                    std::fmax(bounds->bottom, point.sight.GetU(bottom)), &point.walk, &point.u);
  } else if (!LocateBy(cursor, &point, bottom, range.highest, 0, nullptr)) {
    return TVisibility::NoLine;
  }
  if (point.found || point.walk.side == TWalk::TSide::Below) return TVisibility::Hidden;
  return point.walk.voids ? TVisibility::VisibleVoid : TVisibility::Visible;
}

TVisibility TTerrainLocator::GetVisibility(double lat, double lon, double h) const {
  TVisibility visibility = TVisibility::NotRun;
  GetVisibilityArray(1, &lat, &lon, &h, &visibility);
  return visibility;
}

std::size_t TTerrainLocator::GetVisibilityArray(std::size_t count, const double* lat, const double* lon,
                                                const double* h, TVisibility* visibility) const {
  std::atomic<std::size_t> seen{0};
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    const TScene& scene = parts_->scene;
    std::unique_ptr<TTileCursor> cursor;
    if (scene.grid != nullptr) cursor = std::make_unique<TTileCursor>(*scene.grid);
    std::size_t seenHere = 0;
    double line[rpc::kLaneBlock], sample[rpc::kLaneBlock];
    for (std::size_t start = first; start < last; start += rpc::kLaneBlock) {
      const std::size_t part = std::min(rpc::kLaneBlock, last - start);
      scene.model->CalculateLineSampleArray(part, lat + start, lon + start, h + start, line, sample, nullptr, nullptr);
      for (std::size_t i = 0; i < part; ++i) {
        const TVisibility one = parts_->Look(cursor.get(), line[i], sample[i], h[start + i]);
        visibility[start + i] = one;
        seenHere += one == TVisibility::Visible || one == TVisibility::VisibleVoid ? 1 : 0;
      }
    }
    seen += seenHere;
  });
  return seen;
}

const THeightRange& TTerrainLocator::GetHeightRange() const noexcept { return parts_->range; }

}  // namespace SatCommonUtils
