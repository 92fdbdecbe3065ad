#pragma once
// Counting how many simulated errors keep what was stated.

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>

#include "accuracy/ground_uncertainty.h"
#include "rpc/ground_solution.h"

namespace orbmath_test {

/// Ten thousand points: 90 % of them scatter by 0.3 %, 95 % by 0.2 %.
constexpr std::size_t kPoints = 10000;

/// An error of a ground point, metres.
struct GroundError {
  double east = 0.0;
  double north = 0.0;
  double up = 0.0;
};

inline GroundError ErrorOf(double lat, double lon, double h, double true_lat, double true_lon, double true_h) {
  const SatCommonUtils::TGroundScale scale = SatCommonUtils::GroundScaleAt(true_lat, true_h);
  return {(lon - true_lon) * scale.east, (lat - true_lat) * scale.north, h - true_h};
}

/// Shares of errors inside of what was stated for them.
class Coverage {
 public:
  void Add(const GroundError& error, const SatCommonUtils::TCircularErrors& circles, double le90) {
    const double length = std::hypot(error.east, error.north);
    circle90_ += length <= circles.ce90 ? 1 : 0;
    circle95_ += length <= circles.ce95 ? 1 : 0;
    height90_ += std::fabs(error.up) <= le90 ? 1 : 0;
    ++count_;
  }
  void Add(const GroundError& error, const SatCommonUtils::TGroundUncertainty& stated) {
    ASSERT_TRUE(stated) << SatCommonUtils::DescribeUncertaintyState(stated.state);
    Add(error, {stated.ce90, stated.ce95}, stated.le90);
  }

  std::size_t Count() const { return count_; }
  /// \param height whether heights were uncertain at all.
  void Expect(bool height) const {
    EXPECT_TRUE(Within(circle90_, 0.88, 0.92)) << circle90_ << " of " << count_ << " in CE90";
    EXPECT_TRUE(Within(circle95_, 0.935, 0.965)) << circle95_ << " of " << count_ << " in CE95";
    EXPECT_TRUE(!height || Within(height90_, 0.88, 0.92)) << height90_ << " of " << count_ << " in LE90";
  }

 private:
  bool Within(std::size_t inside, double least, double most) const {
    const double share = static_cast<double>(inside) / static_cast<double>(count_);
    return share >= least && share <= most;
  }

  std::size_t circle90_ = 0;
  std::size_t circle95_ = 0;
  std::size_t height90_ = 0;
  std::size_t count_ = 0;
};

}  // namespace orbmath_test
