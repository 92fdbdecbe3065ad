#pragma once
/// \file
/// The seven-parameter similarity of points in closed form, right for every rotation.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "seven_params.h"

namespace SatCommonUtils {

/// What became of `Fit7Params`.
enum class T7ParamsFitState : std::int32_t {
  NotRun,
  Done,
  TooFewPoints,  ///< Fewer than three.
  NotFinite,     ///< A coordinate is, or its square would be, infinite or NaN.
  /// Many rotations fit alike: the points of one system lie on one line or in one place, or the targets are mirrored.
  Undetermined,
};

/// Many rotations count as fitting alike when the two best differ by less than this share in the sum that the rotation
/// makes largest. Points that lie on one line up to a millionth of its length do.
inline constexpr double kSmallestRotationGap = 1e-12;

/// A similarity and how it fits.
struct T7ParamsFit {
  T7ParamsFitState state = T7ParamsFitState::NotRun;  ///< how the fit ended
  /// R = Rz(Gamma)·Ry(Beta)·Rx(Alpha), as `T7ParamsTransform` reads it; Beta in [-π/2, π/2], the others in [-π, π].
  T7Params params;
  double rms = 0.0;      ///< Root of the mean squared distance of the images from the targets, unit of the targets.
  double largest = 0.0;  ///< The largest such distance.
  std::size_t largest_at = 0;  ///< Index of the point that has it: the first suspect when it stands out.
  std::string sentence = "The fit has not been run.";  ///< The state in words.

  /// True when the parameters and the misfit have a meaning.
  explicit operator bool() const noexcept { return state == T7ParamsFitState::Done; }
};

/// The least-squares similarity target = m·R·source + T of points known in both systems, without iteration: the
/// rotation as the eigenvector of the largest eigenvalue of a 4 x 4 matrix (B. K. P. Horn, Closed-form solution of
/// absolute orientation using unit quaternions, 1987, doi:10.1364/JOSAA.4.000629). Changed against it: the scale factor
/// is the one that minimises the distances in the target system, not the one that is symmetric in both.
///
/// It minimises the same sum as `Calculate7Params`, and both agree where that converges (see there); here no rotation
/// is too large, coordinates are taken against their means, and the misfit comes along. A fit of wrong points is no
/// failure: look at `rms`. All points weigh the same.
/// \return the result; its state says why when there is none.
ORBMATH_API T7ParamsFit Fit7Params(const std::vector<T7ParamsSourceDataItem>& points);

}  // namespace SatCommonUtils
