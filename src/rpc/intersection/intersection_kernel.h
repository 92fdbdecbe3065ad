#pragma once
// Ground points from several images: normal equations over the images for a block of points at a time, a vector of
// points in lanes. Single points (`intersection_solver.h`) take the same operations in the same order, so a point has
// the same bits alone and in an array.

#include <cstddef>
#include <cstdint>

#include "linalg/simd.h"
#include "rpc/blocks.h"
#include "rpc/ground_state.h"
#include "rpc/linearized_point.h"

namespace SatCommonUtils::rpc {

/// Largest number of Gauss-Newton steps.
constexpr int kIntersectionSteps = 10;
/// The iteration ends when every component of a step is below this, degrees and metres.
constexpr double kIntersectionStop = 1e-10;

/// Points of a block that are under way, side by side: the last vector is filled up with copies of the last point.
template <THeight Height>
struct TPointsUnderWay {
  static constexpr int N = kUnknowns<Height>;
  /// The widest vector, to whose multiple places are filled up.
  static constexpr std::size_t kWidest = 8;
  static_assert(kLaneBlock % kWidest == 0, "whole vectors");

  alignas(64) double ground[3][kLaneBlock];                 ///< latitude, longitude, height
  alignas(64) double line[kLaneBlock], sample[kLaneBlock];  ///< projected
  alignas(64) double measuredLine[kLaneBlock], measuredSample[kLaneBlock];
  alignas(64) double dLine[3][kLaneBlock], dSample[3][kLaneBlock];
  alignas(64) double matrix[N][N][kLaneBlock], right[N][kLaneBlock];   ///< normal equations, upper triangle
  alignas(64) double height[kLaneBlock], variance[kLaneBlock];         ///< `THeightInput`
  alignas(64) std::int64_t singular[kLaneBlock], arrived[kLaneBlock];  ///< how the last step went: flags
  bool whole;                                                          ///< none of the block's points are missing yet
  std::size_t index[kLaneBlock];                                       ///< places in the block
};

/// Runs `kernel.Over<T>()` with the widest vectors of the processor.
template <class Kernel>
struct TOverVectors {
  const Kernel& kernel;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    kernel.template Over<typename simd::TLanes<Width>::TVector>();
  }
};

template <class Kernel>
void RunOver(const Kernel& kernel) {
  simd::Dispatch(TOverVectors<Kernel>{kernel});
}

/// Numbers side by side in a `T`.
template <class T>
constexpr std::size_t kLaneCount = sizeof(T) / sizeof(double);
template <>
inline constexpr std::size_t kLaneCount<double> = 1;

/// Vectors in memory at any address. By their types, not by std::memcpy: of vectors wider than the base instruction set
/// that copies halves, and a load of what was just stored in halves waits for both.
template <class T>
struct TInMemory {
  // Typedefs: GCC drops the attributes of an alias declaration that depends on a template argument.
  typedef double TNumbers __attribute__((vector_size(sizeof(T)), aligned(sizeof(double)), may_alias));
  typedef std::int64_t TBits __attribute__((vector_size(sizeof(T)), aligned(sizeof(double)), may_alias));
};

template <class T>
[[gnu::always_inline]] inline void ReadLanes(const double* from, T& x) {
  x = *reinterpret_cast<const typename TInMemory<T>::TNumbers*>(from);
}
template <class T>
[[gnu::always_inline]] inline void WriteLanes(const T& x, double* to) {
  *reinterpret_cast<typename TInMemory<T>::TNumbers*>(to) = x;
}
template <class T>
[[gnu::always_inline]] inline void WriteLanes(const T& x, std::int64_t* to) {
  *reinterpret_cast<typename TInMemory<T>::TBits*>(to) = x;
}

template <class Flags>
[[gnu::always_inline]] inline void ReadFlags(const std::int64_t* from, Flags& flags) {
  flags = *reinterpret_cast<const typename TInMemory<Flags>::TBits*>(from);
}

// One number as one lane.
[[gnu::always_inline]] inline void ReadLanes(const double* from, double& x) { x = *from; }
[[gnu::always_inline]] inline void WriteLanes(const double& x, double* to) { *to = x; }
[[gnu::always_inline]] inline void WriteLanes(const std::int64_t& x, std::int64_t* to) { *to = x; }
[[gnu::always_inline]] inline void ReadFlags(const std::int64_t* from, std::int64_t& flags) { flags = *from; }

// Loops over unknowns are written out: what compilers leave a loop, they leave in memory.

/// \param points have arrays of numbers `matrix[N][N]`, whose upper triangle is read, and `right[N]`
template <class T, int N, class Points>
[[gnu::always_inline]] inline void ReadEquations(const Points& points, std::size_t i,
                                                 TNormalEquations<N, T>& equations) {
#pragma GCC unroll 3
  for (int r = 0; r < N; ++r) {
#pragma GCC unroll 3
    for (int c = r; c < N; ++c) ReadLanes(points.matrix[r][c] + i, equations.matrix[r][c]);
    ReadLanes(points.right[r] + i, equations.right[r]);
  }
}

template <class T, int N, class Points>
[[gnu::always_inline]] inline void WriteEquations(const TNormalEquations<N, T>& equations, std::size_t i,
                                                  Points& points) {
#pragma GCC unroll 3
  for (int r = 0; r < N; ++r) {
#pragma GCC unroll 3
    for (int c = r; c < N; ++c) WriteLanes(equations.matrix[r][c], points.matrix[r][c] + i);
    WriteLanes(equations.right[r], points.right[r] + i);
  }
}

/// Adds the two equations of one image to those of the points; the first image begins them.
template <THeight Height>
struct TAddImage {
  static constexpr int N = kUnknowns<Height>;
  TPointsUnderWay<Height>& points;
  std::size_t count;
  bool first;

  template <class T>
  [[gnu::always_inline]] void Over() const {
    for (std::size_t i = 0; i < count; i += sizeof(T) / sizeof(double)) {
      TNormalEquations<N, T> equations;
      if (!first) ReadEquations(points, i, equations);
      T row[N], measured, projected;
#pragma GCC unroll 3
      for (int c = 0; c < N; ++c) ReadLanes(points.dSample[c] + i, row[c]);
      ReadLanes(points.measuredSample + i, measured);
      ReadLanes(points.sample + i, projected);
      equations.Add(row, measured - projected);
#pragma GCC unroll 3
      for (int c = 0; c < N; ++c) ReadLanes(points.dLine[c] + i, row[c]);
      ReadLanes(points.measuredLine + i, measured);
      ReadLanes(points.line + i, projected);
      equations.Add(row, measured - projected);
      WriteEquations(equations, i, points);
    }
  }
};

/// Solves the equations of the lanes that begin at `i` and applies the steps.
template <THeight Height, class T>
[[gnu::always_inline]] inline void TakeSteps(std::size_t i, TNormalEquations<kUnknowns<Height>, T>& equations,
                                             TPointsUnderWay<Height>& points) {
  constexpr int N = kUnknowns<Height>;
  T at[N];
#pragma GCC unroll 3
  for (int c = 0; c < N; ++c) ReadLanes(points.ground[c] + i, at[c]);
  if constexpr (Height == THeight::Observed) {
    T height, variance;
    ReadLanes(points.height + i, height);
    ReadLanes(points.variance + i, variance);
    equations.AddLast(height - at[N - 1], 1.0 / variance);
  }
  T step[N], lowestPivot;
  SolveCholesky(equations, step, lowestPivot);
  TFlags<T> singular, arrived, small;
  FlagNotAbove(lowestPivot, kSmallestPivot, singular);
  arrived = ~singular;
#pragma GCC unroll 3
  for (int c = 0; c < N; ++c) {
    FlagBelow(step[c], kIntersectionStop, small);
    arrived = arrived & small;
    AssignWhere(TFlags<T>(~singular), T(at[c] + step[c]), at[c]);
    WriteLanes(at[c], points.ground[c] + i);
  }
  WriteLanes(singular, points.singular + i);
  WriteLanes(arrived, points.arrived + i);
}

/// Solves the equations that are stored and applies the steps.
template <THeight Height>
struct TTakeSteps {
  static constexpr int N = kUnknowns<Height>;
  TPointsUnderWay<Height>& points;
  std::size_t count;

  template <class T>
  [[gnu::always_inline]] void Over() const {
    for (std::size_t i = 0; i < count; i += sizeof(T) / sizeof(double)) {
      TNormalEquations<N, T> equations;
      ReadEquations(points, i, equations);
      TakeSteps<Height>(i, equations, points);
    }
  }
};

/// A block of points on its way to the solution. `Height` tells which of the coordinates are unknown.
template <THeight Height>
class TIntersectionBlock {
 public:
  static constexpr int N = kUnknowns<Height>;

  std::size_t count = 0;         ///< points in the block
  double ground[3][kLaneBlock];  ///< latitude, longitude, height: the starts, then the results
  double height[kLaneBlock];     ///< what is given about the heights, as in `THeightInput`
  double variance[kLaneBlock];
  TGroundStatus status[kLaneBlock];  ///< state `NotRun` marks the points that are solved

  /// Runs the iteration. `step(count, points)` takes a step of `count` points.
  template <class Step>
  void Solve(const Step& step) {
    TPointsUnderWay<Height> points;
    std::size_t left = Gather(&points);
    for (int steps = 1; steps <= kIntersectionSteps && left > 0; ++steps) {
      step(FillUp(left, &points), points);
      left = TakeOut(steps, left, &points);
    }
  }

 private:
  using TPoints = TPointsUnderWay<Height>;

  std::size_t Gather(TPoints* points) const {
    std::size_t left = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (status[i].state != TGroundState::NotRun) continue;
      for (int c = 0; c < 3; ++c) points->ground[c][left] = ground[c][i];
      points->height[left] = height[i];
      points->variance[left] = variance[i];
      points->index[left++] = i;
    }
    points->whole = left == count;
    return left;
  }

  static void Move(std::size_t from, std::size_t to, TPoints* points) {
    for (int c = 0; c < 3; ++c) points->ground[c][to] = points->ground[c][from];
    points->height[to] = points->height[from];
    points->variance[to] = points->variance[from];
    points->index[to] = points->index[from];
  }

  static std::size_t FillUp(std::size_t left, TPoints* points) {
    const std::size_t filled = (left + TPoints::kWidest - 1) / TPoints::kWidest * TPoints::kWidest;
    for (std::size_t i = left; i < filled; ++i) Move(left - 1, i, points);
    return filled;
  }

  /// Writes back the points that have ended with this step, or have to. \return how many are left.
  std::size_t TakeOut(int step, std::size_t left, TPoints* points) {
    std::int64_t any = step == kIntersectionSteps ? 1 : 0;
    for (std::size_t i = 0; i < left; ++i) any |= points->singular[i] | points->arrived[i];
    if (any == 0) return left;
    points->whole = false;
    std::size_t kept = 0;
    for (std::size_t i = 0; i < left; ++i) {
      const bool singular = points->singular[i] != 0;
      const bool arrived = points->arrived[i] != 0;
      if (!singular && !arrived && step < kIntersectionSteps) {
        if (kept != i) Move(i, kept, points);
        ++kept;
        continue;
      }
      const std::size_t point = points->index[i];
      for (int c = 0; c < N; ++c) ground[c][point] = points->ground[c][i];
      status[point].iterations = step;
      status[point].state = singular  ? TGroundState::Singular
                            : arrived ? TGroundState::Converged
                                      : TGroundState::NotConverged;
    }
    return kept;
  }
};

}  // namespace SatCommonUtils::rpc
