#pragma once
// The normal equations of the corrections after the ground points are eliminated.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "block/equations.h"
#include "block/network.h"
#include "block/pattern.h"

namespace SatCommonUtils::block {

/// What a ray brings to the reduced equations: one cache line.
struct alignas(64) TEliminatedRay {
  double f[6] = {};  ///< Weight times e L'^-1, L being the factor of the point's normal matrix; sample, then line.
  double u = 0.0;
  double v = 0.0;
};

/// A point's part in the elimination.
struct TEliminatedPoint {
  double factor[6] = {};  ///< L of `Factor3`.
  double y[3] = {};       ///< L^-1 times the right-hand side.
  bool used = false;
};

/// The equations, whatever the number of parameters of a group.
class TReducedSystem {
 public:
  /// For groups of up to that many parameters: 2, 4 or 6.
  static std::unique_ptr<TReducedSystem> Create(const TNetwork& network, int parameters);
  virtual ~TReducedSystem() = default;

  /// Eliminates the points from equations that were linearized. \param damping what the diagonals are increased by, as
  /// a share of themselves.
  void EliminatePoints(const TEquations& equations, double damping);
  /// Assembles the matrix of what was eliminated and factors it. \return false when it is not positive.
  virtual bool Factor(const TEquations& equations, double damping) = 0;
  /// The step of the corrections: six numbers a group.
  virtual std::vector<std::array<double, 6>> Solve(const TEquations& equations) const = 0;
  /// The step of a point that goes with the corrections' step, metres.
  std::array<double, 3> PointStep(std::size_t point, const std::vector<std::array<double, 6>>& step) const;
  /// Works out what `Covariance` gives, until the next factor is made.
  virtual void Invert() = 0;
  /// Covariance of the corrections of two groups, 6 x 6 by rows; 0 in rows and columns of parameters that a group does
  /// not have. \return false when no point links them.
  virtual bool Covariance(std::uint32_t a, std::uint32_t b, std::array<double, 36>* block) const = 0;
  virtual bool IsDense() const = 0;

  const TEliminatedRay& Ray(std::size_t ray) const { return rays_[ray]; }
  const TEliminatedPoint& Point(std::size_t point) const { return points_[point]; }

 protected:
  explicit TReducedSystem(const TNetwork& network)
      : network_(network), pattern_(network), rays_(network.rays.size()), points_(network.PointCount()) {}

  const TNetwork& network_;
  TPattern pattern_;
  std::vector<TEliminatedRay> rays_;
  std::vector<TEliminatedPoint> points_;
};

}  // namespace SatCommonUtils::block
