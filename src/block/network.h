#pragma once
// The problem as the adjustment works on it: its measurements in the order of points, what takes part, and which
// images share a correction.

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "block/block_options.h"
#include "block/block_problem.h"
#include "block/block_result.h"

namespace SatCommonUtils::block {

constexpr std::uint32_t kNobody = 0xffffffffu;

/// One measurement.
struct TRay {
  std::uint32_t image = 0;
  std::uint32_t measurement = 0;  ///< Its place in the problem.
  double line = 0.0;              ///< Pixels.
  double sample = 0.0;            ///< Pixels.
  double sigma = 0.0;             ///< Pixels.
};

/// Images that share a correction, mostly one.
struct TGroup {
  std::vector<std::uint32_t> images;
  TBlockCorrection kind = TBlockCorrection::None;
  double sigmaShift = 0.0;                              ///< Pixels.
  double sigmaDrift = 0.0;                              ///< Pixels.
  bool isOpen = false;                                  ///< The kind is to be chosen.
  TBlockCorrection richest = TBlockCorrection::Affine;  ///< An open one's points bear up to that.
};

/// Whether a kind has the terms 1, u and v.
inline std::array<bool, 3> TermsOf(TBlockCorrection kind) {
  const bool affine = kind == TBlockCorrection::Affine;
  return {kind != TBlockCorrection::None, affine, affine || kind == TBlockCorrection::Drift};
}

/// Number of parameters of a kind.
inline int ParametersOf(TBlockCorrection kind) {
  int count = 0;
  for (const bool term : TermsOf(kind)) count += term ? 2 : 0;
  return count;
}

/// What is known of a point's place.
struct TKnowledge {
  bool plane = false;   ///< Latitude and longitude.
  bool height = false;  ///< A height, stated or of the surface.
};

/// The network. Measurements that can never take part are not in it.
struct TNetwork {
  TNetwork(const TBlockProblem& problem, const TBlockOptions& options);

  const TBlockProblem& problem;
  const TBlockOptions& options;

  std::vector<TRay> rays;              ///< By point.
  std::vector<std::size_t> first;      ///< Rays of point j: from first[j] up to and without first[j + 1].
  std::vector<std::uint32_t> pointOf;  ///< Of each ray.
  std::vector<std::size_t> imageFirst;
  std::vector<std::uint32_t> imageRays;  ///< Rays of image k: those at imageFirst[k] and on, ascending.

  std::vector<std::uint32_t> groupOf;  ///< Of each image; `kNobody` for a fixed one or one without a part.
  std::vector<TGroup> groups;

  std::vector<TBlockImageState> imageState;
  std::vector<TBlockPointState> pointState;
  std::vector<TBlockMeasurementState> rayState;  ///< Of each ray.
  std::vector<TBlockMeasurementState> outside;   ///< Of each measurement of the problem that is no ray; else NotRun.
  std::vector<char> knownIsBad;                  ///< The point's known place, or the surface there, is left out.

  std::size_t PointCount() const { return first.size() - 1; }
  bool TakesPart(std::uint32_t image) const {
    return imageState[image] == TBlockImageState::Adjusted || imageState[image] == TBlockImageState::Fixed;
  }
  /// The ray counts in the equations, if its point does.
  bool IsUsed(std::size_t ray) const {
    return rayState[ray] == TBlockMeasurementState::Used && TakesPart(rays[ray].image);
  }
  bool IsCheck(std::size_t point) const { return problem.points[point].role == TBlockPointRole::Check; }
  /// What the adjustment may use; nothing of a check point.
  TKnowledge Known(std::size_t point) const;
  double SigmaHorizontal(std::size_t point) const;
  double SigmaVertical(std::size_t point) const;
  /// Rays of the point that are used.
  std::size_t UsedRays(std::size_t point) const;
  /// Rays that the position of the point needs.
  std::size_t NeededRays(std::size_t point) const;
  /// How many equations the points have to spare for each group.
  std::vector<double> Equations() const;
  /// Points without enough rays leave with `reason`, images whose points do not determine their correction leave too,
  /// until nobody more has to. \return whether somebody left.
  bool LeaveOut(TBlockPointState reason);

 private:
  void MakeGroups();
  void TakeMeasurements();
  bool PointsLeave(TBlockPointState reason);
  bool ImagesLeave();
};

}  // namespace SatCommonUtils::block
