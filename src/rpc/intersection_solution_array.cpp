// Ground points from several images in arrays, with their status, residuals and covariance: points that the same images
// see go together, a vector of points at a time. What is not plain (no convergence, a minimum outside the box in which
// a model is known to be sound) is left to the function of one point, whose bits all points have.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <numeric>
#include <unordered_map>
#include <vector>

#include "rpc/branch.h"
#include "rpc/ground_solution.h"
#include "rpc/intersection_arrays.h"
#include "rpc/intersection_proven.h"
#include "rpc/intersection_solver.h"
#include "rpc/solution_flags.h"

namespace SatCommonUtils {

namespace {

using rpc::kLaneBlock;
using rpc::THeight;
using TBranches = std::unordered_map<const TRPC*, rpc::TBranch>;

/// Fewer points than this that the same images see are solved one by one: the images' preparation costs as much.
constexpr std::size_t kSmallestGroup = 4;

/// What is known of all models before threads share them. Null models stay out.
TBranches BranchesOf(const TMeasuredPoints& points) {
  TBranches branches;
  std::vector<const TRPC*> before;  // of the point before: most points have the same
  for (std::size_t i = 0; i < points.count; ++i) {
    const std::size_t images = points.first[i + 1] - points.first[i];
    before.resize(std::max(before.size(), images), nullptr);
    for (std::size_t m = 0; m < images; ++m) {
      const TRPC* const model = points.items[points.first[i] + m].model;
      if (model == before[m] || model == nullptr) continue;
      before[m] = model;
      if (!branches.try_emplace(model, *model).second) continue;
      model->EnsureApproximation();
    }
  }
  return branches;
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

/// The inverses of normal matrices.
template <THeight Height>
struct TInvert {
  static constexpr int N = rpc::kUnknowns<Height>;
  const rpc::TPointsUnderWay<Height>& points;
  std::size_t count;
  double (&inverse)[N][N][kLaneBlock];
  std::int64_t (&singular)[kLaneBlock];

  template <class T>
  [[gnu::always_inline]] void Over() const {
    for (std::size_t i = 0; i < count; i += sizeof(T) / sizeof(double)) {
      rpc::TNormalEquations<N, T> equations;
      rpc::ReadEquations(points, i, equations);
      if constexpr (Height == THeight::Observed) {
        T variance;
        rpc::ReadLanes(points.variance + i, variance);
        equations.AddLast(T{}, 1.0 / variance);
      }
      T x[N], lowestPivot;
      for (int column = 0; column < N; ++column) {
        for (int row = 0; row < N; ++row) equations.right[row] = T{} + (row == column ? 1.0 : 0.0);
        rpc::SolveCholesky(equations, x, lowestPivot);
        for (int row = 0; row < N; ++row) rpc::WriteLanes(x[row], inverse[row][column] + i);
      }
      rpc::TFlags<T> flags;
      rpc::FlagNotAbove(lowestPivot, rpc::kSmallestPivot, flags);
      rpc::WriteLanes(flags, singular + i);
    }
  }
};

/// The given heights of an array of points.
struct THeights {
  const double* values;  ///< null when heights are free
  double variance;
};

template <THeight Height>
TGroundIntersection SolveOne(const std::vector<TRPCCoordsDataItem>& items, double height, double variance,
                             const TIntersectionOptions& options) {
  if constexpr (Height == THeight::Known) return SolveLatLon(items, height, options);
  if constexpr (Height == THeight::Free) return SolveLatLonH(items, options);
  return SolveLatLonH(items, height, variance, options);
}

/// The array as its threads work on it.
template <THeight Height>
class TArraySolver {
 public:
  TArraySolver(const TMeasuredPoints& points, const THeights& heights, const TIntersectionOptions& options,
               TGroundIntersection* solutions)
      : points_(points), heights_(heights), options_(options), solutions_(solutions), branches_(BranchesOf(points)) {}

  /// Points [first, last). \return how many converged.
  std::size_t Solve(std::size_t first, std::size_t last) const {
    std::vector<std::size_t> order(last - first);
    std::iota(order.begin(), order.end(), first);
    const auto before = [&](std::size_t a, std::size_t b) { return CompareImages(points_, a, b) < 0; };
    if (!std::is_sorted(order.begin(), order.end(), before)) std::stable_sort(order.begin(), order.end(), before);
    for (std::size_t start = 0; start < order.size();) {
      std::size_t end = start + 1;
      while (end < order.size() && CompareImages(points_, order[start], order[end]) == 0) ++end;
      SolveGroup(order.data() + start, end - start);
      start = end;
    }
    std::size_t converged = 0;
    for (std::size_t i = first; i < last; ++i) converged += solutions_[i] ? 1 : 0;
    return converged;
  }

 private:
  static constexpr int N = rpc::kUnknowns<Height>;

  /// The images of a group, and room for a block of its points.
  struct TGroup {
    TGroup(const TMeasuredPoints& points, std::size_t point, const TBranches& branches) {
      const TRPCCoordsDataItem* const items = points.items + points.first[point];
      const std::size_t images = points.first[point + 1] - points.first[point];
      for (std::size_t m = 0; m < images; ++m) {
        models.push_back(items[m].model);
        if (items[m].model != nullptr) soundness.push_back(&branches.at(items[m].model));
      }
      line.resize(images * kLaneBlock);
      sample.resize(images * kLaneBlock);
      lineMiss.resize(images * kLaneBlock);
      sampleMiss.resize(images * kLaneBlock);
      for (std::size_t m = 0; m < images; ++m) {
        lines.push_back(line.data() + m * kLaneBlock);
        samples.push_back(sample.data() + m * kLaneBlock);
      }
    }

    std::vector<const TRPC*> models;
    std::vector<const rpc::TBranch*> soundness;
    std::vector<double> line, sample;  ///< measured: a block of points for each image
    std::vector<double> lineMiss, sampleMiss;
    std::vector<const double*> lines, samples;
  };

  /// Block of a group after its iteration, at the solutions.
  struct TEnd {
    rpc::TPointsUnderWay<Height> at;
    double squares[kLaneBlock] = {};  ///< sums of squared residuals
    bool sound[kLaneBlock];           ///< in every image's free box
    double covariance[N][N][kLaneBlock];
    std::int64_t singular[kLaneBlock];
  };

  void SolveSingle(std::size_t point) const {
    const std::vector<TRPCCoordsDataItem> items(points_.items + points_.first[point],
                                                points_.items + points_.first[point + 1]);
    const double height = heights_.values == nullptr ? 0.0 : heights_.values[point];
    solutions_[point] = SolveOne<Height>(items, height, heights_.variance, options_);
  }

  void SolveSingles(const std::size_t* indices, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i) SolveSingle(indices[i]);
  }

  void SolveGroup(const std::size_t* indices, std::size_t count) const {
    const bool bad_variance = Height == THeight::Observed && !(heights_.variance > 0.0);
    if (count < kSmallestGroup || bad_variance) return SolveSingles(indices, count);
    if (SolveProven(indices, count)) return;
    TGroup group(points_, indices[0], branches_);
    const rpc::TStartImages images(group.models.size(), group.models.data());
    if (images.State<Height>() != TGroundState::NotRun) return SolveSingles(indices, count);
    for (std::size_t start = 0; start < count; start += kLaneBlock) {
      SolveBlock(images, indices + start, std::min(kLaneBlock, count - start), &group);
    }
  }

  /// The short way. \return false when the images are not fit for it.
  bool SolveProven(const std::size_t* indices, std::size_t count) const {
    using TBlock = rpc::TNewtonIntersectionBlock<Height>;
    std::vector<const TRPC*> models;
    for (std::size_t item = points_.first[indices[0]]; item < points_.first[indices[0] + 1]; ++item) {
      models.push_back(points_.items[item].model);
    }
    const rpc::TNewtonImages images(models.size(), models.data());
    if (!images.AreFit()) return false;
    std::vector<double> numbers(models.size() * kLaneBlock * (2 + TBlock::kWork));
    TBlock block;
    block.measured = numbers.data();
    block.work = numbers.data() + models.size() * kLaneBlock * 2;
    block.variance = heights_.variance;
    for (std::size_t start = 0; start < count; start += kLaneBlock) {
      block.count = std::min(kLaneBlock, count - start);
      SolveProvenBlock(images, indices + start, numbers.data(), &block);
    }
    return true;
  }

  void SolveProvenBlock(const rpc::TNewtonImages& images, const std::size_t* indices, double* measured,
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
    for (std::size_t i = 0; i < block->count; ++i) {
      const TRPCCoordsDataItem* const items = points_.items + points_.first[indices[i]];
      TGroundIntersection* const solution = solutions_ + indices[i];
      if (rpc::TakeProven(images, *block, i, items, options_, solution)) continue;
      *solution = rpc::SolveUnproven<Height>({items, items + images.All().size()},
                                             {block->height[i], heights_.variance}, options_);
    }
  }

  void SolveBlock(const rpc::TStartImages& images, const std::size_t* indices, std::size_t count, TGroup* group) const {
    rpc::TIntersectionBlock<Height> block;
    for (std::size_t i = 0; i < count; ++i) {
      const TRPCCoordsDataItem* const items = points_.items + points_.first[indices[i]];
      for (std::size_t m = 0; m < group->models.size(); ++m) {
        group->line[m * kLaneBlock + i] = items[m].line;
        group->sample[m * kLaneBlock + i] = items[m].sample;
      }
      block.height[i] = heights_.values == nullptr ? 0.0 : heights_.values[indices[i]];
      block.variance[i] = heights_.variance;
    }
    const TImageArrays arrays = {group->models.size(), group->models.data(), count, group->lines.data(),
                                 group->samples.data()};
    rpc::IntersectBlock(images, arrays, 0, count, &block);
    TEnd end;
    LookAtEnd(block, group, &end);
    for (std::size_t i = 0; i < count; ++i) {
      if (!Write(block, *group, end, i, indices[i])) SolveSingle(indices[i]);
    }
  }

  /// Residuals, soundness and covariance at the points where the iteration has ended.
  void LookAtEnd(const rpc::TIntersectionBlock<Height>& block, TGroup* group, TEnd* end) const {
    constexpr std::size_t kWidest = rpc::TPointsUnderWay<Height>::kWidest;
    const std::size_t filled = (block.count + kWidest - 1) / kWidest * kWidest;
    rpc::TPointsUnderWay<Height>& at = end->at;
    for (std::size_t i = 0; i < filled; ++i) {
      const std::size_t point = std::min(i, block.count - 1);
      for (int c = 0; c < 3; ++c) at.ground[c][i] = block.ground[c][point];
      at.variance[i] = block.variance[point];
      at.index[i] = point;
      end->sound[i] = true;
    }
    double* const byLine[3] = {at.dLine[0], at.dLine[1], at.dLine[2]};
    double* const bySample[3] = {at.dSample[0], at.dSample[1], at.dSample[2]};
    for (std::size_t m = 0; m < group->models.size(); ++m) {
      group->models[m]->CalculateLineSampleArray(filled, at.ground[0], at.ground[1], at.ground[2], at.line, at.sample,
                                                 byLine, bySample);
      for (std::size_t i = 0; i < filled; ++i) {
        at.measuredLine[i] = group->lines[m][at.index[i]];
        at.measuredSample[i] = group->samples[m][at.index[i]];
        const double line = at.measuredLine[i] - at.line[i];
        const double sample = at.measuredSample[i] - at.sample[i];
        group->lineMiss[m * kLaneBlock + i] = line;
        group->sampleMiss[m * kLaneBlock + i] = sample;
        end->squares[i] += line * line + sample * sample;
      }
      rpc::RunOver(rpc::TAddImage<Height>{at, filled, m == 0});
      for (std::size_t i = 0; i < block.count; ++i) {
        double ground[3];
        // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): groups without starts never come here
        group->soundness[m]->Normalize(at.ground[0][i], at.ground[1][i], at.ground[2][i], ground);
        end->sound[i] = end->sound[i] && group->soundness[m]->IsFree(ground);
      }
    }
    rpc::RunOver(TInvert<Height>{at, filled, end->covariance, end->singular});
  }

  /// Writes the solution of point `i` of the block. \return false when it has to be looked at alone.
  bool Write(const rpc::TIntersectionBlock<Height>& block, const TGroup& group, const TEnd& end, std::size_t i,
             std::size_t point) const {
    const TGroundStatus& status = block.status[i];
    const bool arrived = status.state == TGroundState::Converged ||
                         (status.state == TGroundState::NotConverged && rpc::IsRounding(block.lastStep[i]));
    const double residual = std::sqrt(end.squares[i] / static_cast<double>(group.models.size()));
    // In the free boxes of all models a point is neither folded nor far out nor at a far height.
    if (!arrived || !end.sound[i] || !std::isfinite(residual) || end.singular[i] != 0 ||
        !(residual <= options_.largestRms) || !rpc::IsOnGlobe(block.ground[0][i], block.ground[1][i])) {
      return false;
    }
    TGroundIntersection& solution = solutions_[point];
    static_cast<TGroundSolution&>(solution) = {};
    solution.lat = block.ground[0][i];
    solution.lon = block.ground[1][i];
    solution.h = block.ground[2][i];
    solution.status = {TGroundState::Converged, status.iterations};
    solution.residual = residual;
    solution.residuals.resize(group.models.size());
    for (std::size_t m = 0; m < group.models.size(); ++m) {
      solution.residuals[m] = {group.lineMiss[m * kLaneBlock + i], group.sampleMiss[m * kLaneBlock + i]};
      rpc::SetFlags(points_.items[points_.first[point] + m], &solution);
    }
    std::fill(std::begin(solution.covariance), std::end(solution.covariance), 0.0);
    for (int row = 0; row < N; ++row) {
      for (int column = 0; column < N; ++column) {
        solution.covariance[3 * row + column] = end.covariance[row][column][i];
      }
    }
    return true;
  }

  const TMeasuredPoints& points_;
  const THeights heights_;
  const TIntersectionOptions options_;
  TGroundIntersection* const solutions_;
  const TBranches branches_;
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
