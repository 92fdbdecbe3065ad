#pragma once
// Ground points from several images: normal equations over the images for a block of points at a time. The single-point
// functions are a block of one.

#include <cmath>
#include <cstddef>

#include "rpc/blocks.h"
#include "rpc/ground_state.h"
#include "rpc/longitude_turns.h"
#include "rpc/rpc_model.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils::rpc {

/// Largest number of Gauss-Newton steps.
constexpr int kIntersectionSteps = 10;
/// The iteration ends when every component of a step is below this, degrees and metres.
constexpr double kIntersectionStop = 1e-10;

/// The unknowns of an intersection.
enum class THeight { Known, Free, Observed };

/// What is given about the height of one point.
struct THeightInput {
  double value = 0.0;     ///< the known or observed height, metres
  double variance = 1.0;  ///< of an observed height, square metres
};

template <THeight Height>
constexpr int kUnknowns = Height == THeight::Known ? 2 : 3;

/// Adds the two equations of one image's approximation for a point measured at (line, sample).
/// \param turns whole turns that bring the model's longitude offset near the reference longitude.
template <THeight Height, int N = kUnknowns<Height>>
void AddApproximateImage(const TRPC& model, double turns, double line, double sample, double h,
                         TNormalEquations<N, double>* equations) {
  double numerator[2][4];  // sample, line
  double denominator[2][4];
  if (!model.GetApproximation(numerator[1], denominator[1], numerator[0], denominator[0])) return;
  const double measured[2] = {sample, line};
  for (int image = 0; image < 2; ++image) {
    double c[4];
    for (int i = 0; i < 4; ++i) c[i] = numerator[image][i] - measured[image] * denominator[image][i];
    double row[N];
    for (int i = 0; i < N; ++i) row[i] = c[i];
    const double constant = Height == THeight::Known ? -c[3] - c[2] * h : -c[3];
    equations->Add(row, constant + 360.0 * turns * c[1]);
  }
}

/// Start of one point over images 0 .. `images` - 1; `measured(image)` gives the model and the measured line and
/// sample. \return false, `*ground` untouched, when an image has no model, or when the equations are fewer than two or
/// than the unknowns.
template <THeight Height, class Measured>
bool ApproximateIntersection(std::size_t images, const Measured& measured, const THeightInput& height,
                             double (*ground)[kUnknowns<Height>]) {
  constexpr int N = kUnknowns<Height>;
  for (std::size_t image = 0; image < images; ++image) {
    if (measured(image).model == nullptr) return false;
  }
  TNormalEquations<N, double> equations;
  int count = 0;
  const double reference = images == 0 ? 0.0 : measured(0).model->GetCenterLongitude();
  for (std::size_t image = 0; image < images; ++image) {
    const TRPCCoordsDataItem item = measured(image);
    if (!item.model->EnsureApproximation()) continue;
    const double turns = LongitudeTurns(reference, item.model->GetCenterLongitude());
    AddApproximateImage<Height>(*item.model, turns, item.line, item.sample, height.value, &equations);
    count += 2;
  }
  if (Height == THeight::Observed) {
    equations.AddLast(height.value, 1.0 / height.variance);
    ++count;
  }
  if (count < N) return false;
  SolveLeastSquares(equations, *ground);
  return true;
}

/// A block of points on its way to the solution. `Height` tells which of the coordinates are unknown, `Capacity` how
/// many points the block holds at most.
template <THeight Height, std::size_t Capacity>
class TIntersectionBlock {
 public:
  static constexpr int N = kUnknowns<Height>;

  std::size_t count = 0;           ///< points in the block
  double ground[3][Capacity];      ///< latitude, longitude, height: the starts, then the results
  THeightInput height[Capacity];   ///< of each point
  TGroundStatus status[Capacity];  ///< state `NotRun` marks the points that are solved
  double lastStep[Capacity][N];    ///< the step applied last

  /// Runs the iteration. `project(image, point indices, count, lat, lon, h, line, sample, dLine, dSample)` evaluates
  /// an image at `count` points; `measured(image, point)` gives the measured line and sample.
  template <class Project, class Measured>
  void Solve(std::size_t images, const Project& project, const Measured& measured) {
    std::size_t active[Capacity];
    std::size_t left = 0;
    for (std::size_t i = 0; i < count; ++i) {
      if (status[i].state == TGroundState::NotRun) active[left++] = i;
    }
    for (int step = 0; step < kIntersectionSteps && left > 0; ++step) {
      TNormalEquations<N, double> equations[Capacity];
      Form(images, project, measured, active, left, equations);
      std::size_t kept = 0;
      for (std::size_t i = 0; i < left; ++i) {
        const std::size_t point = active[i];
        ++status[point].iterations;
        status[point].state = Step(point, equations[i]);
        if (status[point].state == TGroundState::NotConverged) active[kept++] = point;
      }
      left = kept;
    }
  }

 private:
  template <class Project, class Measured>
  void Form(std::size_t images, const Project& project, const Measured& measured, const std::size_t* active,
            std::size_t left, TNormalEquations<N, double>* equations) const {
    double at[3][Capacity];
    double line[Capacity], sample[Capacity];
    double derivatives[6][Capacity];
    double* const dLine[3] = {derivatives[0], derivatives[1], derivatives[2]};
    double* const dSample[3] = {derivatives[3], derivatives[4], derivatives[5]};
    for (std::size_t i = 0; i < left; ++i) {
      for (int c = 0; c < 3; ++c) at[c][i] = ground[c][active[i]];
    }
    for (std::size_t image = 0; image < images; ++image) {
      project(image, left, at[0], at[1], at[2], line, sample, dLine, dSample);
      for (std::size_t i = 0; i < left; ++i) {
        const TRPCCoordsDataItem item = measured(image, active[i]);
        double lineRow[N], sampleRow[N];
        for (int c = 0; c < N; ++c) {
          lineRow[c] = dLine[c][i];
          sampleRow[c] = dSample[c][i];
        }
        equations[i].Add(sampleRow, item.sample - sample[i]);
        equations[i].Add(lineRow, item.line - line[i]);
      }
    }
    if (Height != THeight::Observed) return;
    for (std::size_t i = 0; i < left; ++i) {
      const THeightInput& observed = height[active[i]];
      equations[i].AddLast(observed.value - at[2][i], 1.0 / observed.variance);
    }
  }

  /// Solves and applies one step.
  TGroundState Step(std::size_t point, const TNormalEquations<N, double>& equations) {
    double step[N];
    double lowestPivot;
    SolveCholesky(equations, step, lowestPivot);
    if (lowestPivot <= kSmallestPivot) return TGroundState::Singular;
    bool small = true;
    for (int c = 0; c < N; ++c) {
      ground[c][point] += step[c];
      lastStep[point][c] = step[c];
      small = small && std::fabs(step[c]) < kIntersectionStop;
    }
    return small ? TGroundState::Converged : TGroundState::NotConverged;
  }
};

}  // namespace SatCommonUtils::rpc
