// Ground points from several images in arrays, with their status, residuals and covariance: points that the same images
// see go together, a vector of points at a time. What this cannot prove takes the long way of one point.

#include <algorithm>
#include <atomic>
#include <functional>
#include <numeric>
#include <vector>

#include "rpc/ground_solution.h"
#include "rpc/intersection/intersection_proven.h"

namespace SatCommonUtils {

namespace {

using rpc::kLaneBlock;
using rpc::THeight;

bool HaveSameImages(const TMeasuredPoints& points, std::size_t a, std::size_t b) {
  const std::size_t count = points.first[a + 1] - points.first[a];
  if (points.first[b + 1] - points.first[b] != count) return false;
  const TRPCCoordsDataItem *const of_a = points.items + points.first[a], *const of_b = points.items + points.first[b];
  for (std::size_t m = 0; m < count; ++m) {
    if (of_a[m].model != of_b[m].model) return false;
  }
  return true;
}

/// The order of points by their images, those with the same images side by side.
int CompareImages(const TMeasuredPoints& points, std::size_t a, std::size_t b) {
  const std::size_t count_a = points.first[a + 1] - points.first[a];
  const std::size_t count_b = points.first[b + 1] - points.first[b];
  if (count_a != count_b) return count_a < count_b ? -1 : 1;
  const std::less<> before;
  for (std::size_t m = 0; m < count_a; ++m) {
    const TRPC* const model_a = points.items[points.first[a] + m].model;
    const TRPC* const model_b = points.items[points.first[b] + m].model;
    if (model_a != model_b) return before(model_a, model_b) ? -1 : 1;
  }
  return 0;
}

/// The given heights of an array of points.
struct THeights {
  const double* values;  ///< null when heights are free
  double variance;
};

/// The array as its threads work on it.
template <THeight Height>
class TArraySolver {
 public:
  TArraySolver(const TMeasuredPoints& points, const THeights& heights, const TIntersectionOptions& options,
               TGroundIntersection* solutions)
      : points_(points), heights_(heights), options_(options), solutions_(solutions) {}

  /// Points [first, last). \return how many converged.
  std::size_t Solve(std::size_t first, std::size_t last) const {
    std::vector<std::size_t> order(last - first);
    std::iota(order.begin(), order.end(), first);
    std::size_t same = first + 1;
    while (same < last && HaveSameImages(points_, same - 1, same)) ++same;
    if (same < last) {
      std::stable_sort(order.begin(), order.end(),
                       [&](std::size_t a, std::size_t b) { return CompareImages(points_, a, b) < 0; });
    }
    std::size_t converged = 0;
    TScratch scratch;
    for (std::size_t start = 0; start < order.size();) {
      std::size_t end = same < last ? start + 1 : order.size();
      while (end < order.size() && HaveSameImages(points_, order[end - 1], order[end])) ++end;
      converged += SolveGroup(order.data() + start, end - start, &scratch);
      start = end;
    }
    return converged;
  }

 private:
  /// What the groups of a thread use again: to zero it for each costs more than a point.
  struct TScratch {
    std::vector<const TRPC*> models;
    std::vector<double> measured, work;
  };

  /// Points of the same images. A single one goes alone: a vector of points costs more.
  std::size_t SolveGroup(const std::size_t* indices, std::size_t count, TScratch* scratch) const {
    if (count == 1) return SolveOne(*indices) ? 1 : 0;
    std::vector<const TRPC*>& models = scratch->models;
    models.clear();
    for (std::size_t item = points_.first[indices[0]]; item < points_.first[indices[0] + 1]; ++item) {
      models.push_back(points_.items[item].model);
    }
    const rpc::TNewtonImages images(models.size(), models.data());
    const bool bad_variance = Height == THeight::Observed && !(heights_.variance > 0.0);
    std::size_t converged = 0;
    if (!images.AreFit() || bad_variance) {
      for (std::size_t i = 0; i < count; ++i) converged += SolveUnproven(indices[i]) ? 1 : 0;
      return converged;
    }
    using TBlock = rpc::TNewtonIntersectionBlock<Height>;
    const std::size_t numbers = models.size() * kLaneBlock;
    std::vector<double>&measured = scratch->measured, &work = scratch->work;
    if (measured.size() < 2 * numbers) measured.resize(2 * numbers);
    if (work.size() < TBlock::kWork * numbers) work.resize(TBlock::kWork * numbers);
    TBlock block;
    block.measured = measured.data();
    block.work = work.data();
    block.variance = heights_.variance;
    for (std::size_t start = 0; start < count; start += kLaneBlock) {
      block.count = std::min(kLaneBlock, count - start);
      converged += SolveBlock(images, indices + start, measured.data(), &block);
    }
    return converged;
  }

  std::size_t SolveBlock(const rpc::TNewtonImages& images, const std::size_t* indices, double* measured,
                         rpc::TNewtonIntersectionBlock<Height>* block) const {
    constexpr std::size_t kWidest = 8;
    const std::size_t filled = (block->count + kWidest - 1) / kWidest * kWidest;
    for (std::size_t i = 0; i < filled; ++i) {
      const std::size_t point = indices[std::min(i, block->count - 1)];
      const TRPCCoordsDataItem* const items = points_.items + points_.first[point];
      for (std::size_t m = 0; m < images.All().size(); ++m) {
        measured[2 * m * kLaneBlock + i] = items[m].line;
        measured[(2 * m + 1) * kLaneBlock + i] = items[m].sample;
      }
      block->height[i] = heights_.values == nullptr ? 0.0 : heights_.values[point];
    }
    rpc::IntersectNewton(images, block);
    std::size_t converged = 0;
    for (std::size_t i = 0; i < block->count; ++i) {
      FetchAhead(solutions_ + indices[std::min(i + kAhead, block->count - 1)]);
      const TRPCCoordsDataItem* const items = points_.items + points_.first[indices[i]];
      const bool proven = rpc::TakeProven(images, *block, i, items, options_, solutions_ + indices[i]);
      converged += proven || SolveUnproven(indices[i]) ? 1 : 0;
    }
    return converged;
  }

  /// Solutions are written far apart from each other, and each waits for its place in memory.
  static constexpr std::size_t kAhead = 12;
  static void FetchAhead(const TGroundIntersection* solution) {
    constexpr std::size_t kCacheLine = 64;
    const char* const bytes = reinterpret_cast<const char*>(solution);
    for (std::size_t i = 0; i < sizeof *solution; i += kCacheLine) __builtin_prefetch(bytes + i, 1);
  }

  /// The short way of one point, or the long one. \return whether it converged.
  bool SolveOne(std::size_t point) const {
    const std::size_t first = points_.first[point], count = points_.first[point + 1] - first;
    const double height = heights_.values == nullptr ? 0.0 : heights_.values[point];
    return rpc::SolveShort<Height>(points_.items + first, count, {height, heights_.variance}, options_,
                                   solutions_ + point) ||
           SolveUnproven(point);
  }

  /// The long way. \return whether it converged.
  bool SolveUnproven(std::size_t point) const {
    const TRPCCoordsDataItem* const items = points_.items + points_.first[point];
    const double height = heights_.values == nullptr ? 0.0 : heights_.values[point];
    solutions_[point] = rpc::SolveUnproven<Height>({items, points_.items + points_.first[point + 1]},
                                                   {height, heights_.variance}, options_);
    return static_cast<bool>(solutions_[point]);
  }

  const TMeasuredPoints& points_;
  const THeights heights_;
  const TIntersectionOptions options_;
  TGroundIntersection* const solutions_;
};

template <THeight Height>
std::size_t SolveArray(const TMeasuredPoints& points, const THeights& heights, const TIntersectionOptions& options,
                       TGroundIntersection* solutions) {
  const TArraySolver<Height> solver(points, heights, options, solutions);
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(points.count, [&](std::size_t first, std::size_t last) { converged += solver.Solve(first, last); });
  return converged;
}

}  // namespace

std::size_t SolveLatLonArray(const TMeasuredPoints& points, const double* h, TGroundIntersection* solutions,
                             const TIntersectionOptions& options) {
  return SolveArray<THeight::Known>(points, {h, 1.0}, options, solutions);
}

std::size_t SolveLatLonHArray(const TMeasuredPoints& points, TGroundIntersection* solutions,
                              const TIntersectionOptions& options) {
  return SolveArray<THeight::Free>(points, {nullptr, 1.0}, options, solutions);
}

std::size_t SolveLatLonHArray(const TMeasuredPoints& points, const double* hObs, double hVar,
                              TGroundIntersection* solutions, const TIntersectionOptions& options) {
  return SolveArray<THeight::Observed>(points, {hObs, hVar}, options, solutions);
}

}  // namespace SatCommonUtils
