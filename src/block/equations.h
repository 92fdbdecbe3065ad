#pragma once
// The equations of a block at a state of its unknowns: residuals and derivatives of every measurement, and of what is
// known of the ground.

#include <array>
#include <cstddef>
#include <vector>

#include "block/network.h"

namespace SatCommonUtils::block {

/// The unknowns.
struct TUnknowns {
  std::vector<std::array<double, 6>> correction;  ///< Of each group: b0, b1, b2, a0, a1, a2, pixels.
  std::vector<double> lat;                        ///< Of each point, degrees.
  std::vector<double> lon;                        ///< Degrees.
  std::vector<double> height;                     ///< Metres.
};

/// One measurement's equations, sample first: residual = e * (east, north, up) + (1, u, v) * correction.
struct TRayEquations {
  double residual[2] = {};  ///< Measured minus corrected projection, pixels.
  double e[6] = {};         ///< Pixels per metre: sample by east, north, up, then line.
  double u = 0.0;
  double v = 0.0;
};

/// Upper triangle of a symmetric 3 x 3 matrix: 00, 01, 02, 11, 12, 22.
using TSymmetric3 = std::array<double, 6>;

/// Equations of one point alone: from its measurements or from what is known of it.
struct TPointEquations {
  TSymmetric3 normal{};
  std::array<double, 3> right{};

  /// Adds row * (east, north, up) = value with a weight.
  void Add(const double* row, double value, double weight) {
    const double w[3] = {weight * row[0], weight * row[1], weight * row[2]};
    normal[0] += w[0] * row[0];
    normal[1] += w[0] * row[1];
    normal[2] += w[0] * row[2];
    normal[3] += w[1] * row[1];
    normal[4] += w[1] * row[2];
    normal[5] += w[2] * row[2];
    for (int c = 0; c < 3; ++c) right[c] += w[c] * value;
  }
  void Add(const TRayEquations& ray, double weight) {
    Add(ray.e, ray.residual[0], weight);
    Add(ray.e + 3, ray.residual[1], weight);
  }
};

/// One known coordinate of a point, or that of the surface: row * (east, north, up) = value.
struct TKnownEquation {
  double row[3];
  double value;   ///< Metres.
  double weight;  ///< 1 / variance.
};

/// The equations.
class TEquations {
 public:
  /// Starts from corrections of zero. The ground points are for the caller to set, then `SetFrames`.
  explicit TEquations(const TNetwork& network);

  TUnknowns unknowns;
  std::vector<TRayEquations> rays;  ///< In the network's order.
  /// Share of each ray's weight that counts, 0 to 1.
  std::vector<double> weight;

  /// Takes the local metres of every point from where it is now.
  void SetFrames();
  /// Residuals and derivatives of all rays of images that take part.
  void Linearize();
  /// Weighted square sum of what is used at the last linearization.
  double Cost() const;
  /// Used measurements, known coordinates and a-priori knowledge: weight of a ray, 0 where it is not used.
  double Weight(std::size_t ray) const;
  /// Number of known equations of a point, at most 3, written to `equations`.
  int Known(std::size_t point, TKnownEquation* equations) const;
  /// Metres east, north and up from the point's stated place to where it is.
  std::array<double, 3> FromStated(std::size_t point) const;
  /// 1 / variance of a parameter of a group: index 0 to 5.
  double PriorWeight(std::size_t group, int parameter) const;
  /// Moves a point by metres.
  void Move(std::size_t point, const double* metres);

 private:
  void LinearizeRun(std::uint32_t image, std::size_t first, std::size_t last);
  void MeetSurface();

  const TNetwork& network_;
  std::vector<double> metresPerLat_;  ///< Of each point.
  std::vector<double> metresPerLon_;
  std::vector<std::array<double, 3>> surface_;  ///< Height above the point, slopes towards east and north; or empty.
};

/// Cholesky factor of a 3 x 3 normal matrix, lower triangle by rows: 00, 10, 11, 20, 21, 22.
/// \return false when it is not safely positive.
bool Factor3(const TSymmetric3& normal, double* factor);
/// Solves L L' x = b in place.
void Solve3(const double* factor, double* b);
/// Solves L y = b in place.
void SolveLower3(const double* factor, double* b);
/// Solves L' x = y in place.
void SolveUpper3(const double* factor, double* y);

}  // namespace SatCommonUtils::block
