// Least squares by normal equations; elementary.

#include "poly/interpolation.h"

#include <vector>

#include "linalg/matrix.h"
#include "linalg/raw_arrays.h"
#include "linalg/vector.h"

namespace SatCommonUtils {
namespace {

/// Sums over the samples: S[k] of x^k for k up to 2 m, T[k] of y x^k for k up to m.
struct PowerSums {
  PowerSums(std::size_t order, std::size_t count, const double* x, const double* y)
      : S(2 * order + 1, 0.0), T(order + 1, 0.0) {
    std::vector<double> powers(S.size());
    for (std::size_t i = 0; i < count; ++i) {
      double power = 1.0;
      for (double& p : powers) {
        p = power;
        power *= x[i];
      }
      for (std::size_t k = 0; k < S.size(); ++k) S[k] += powers[k];
      for (std::size_t k = 0; k < T.size(); ++k) T[k] += y[i] * powers[k];
    }
  }

  std::vector<double> S;
  std::vector<double> T;
};

}  // namespace

TInterpolation::~TInterpolation() = default;

TLeastSquaresPolynomialApproximation::TLeastSquaresPolynomialApproximation(int order) : polynome_(order, nullptr) {}

bool TLeastSquaresPolynomialApproximation::Build(std::size_t count, double* x, double* y) {
  const auto order = static_cast<std::size_t>(polynome_.GetOrder());
  const PowerSums sums(order, count, x, y);
  TMatrix matrix(order + 1, order + 1);
  TVector right_hand_side(order + 1);
  for (std::size_t r = 0; r <= order; ++r) {
    // An even power, so that the scale is no difference of large numbers; S[0] is the count.
    const double scale = sums.S[(order + r) / 2 * 2];
    // No sample, or every x is 0.
    if (scale == 0.0) throw 0.0;
    for (std::size_t c = 0; c <= order; ++c) matrix.SetElement(c, r, sums.S[r + c] / scale);
    right_hand_side[r] = sums.T[r] / scale;
  }
  TVector solution(order + 1);
  const double determinant = Gauss(matrix, right_hand_side, solution);
  if (determinant == 0.0) throw determinant;
  return polynome_.Initialize(polynome_.GetOrder(), solution.GetData());
}

void TLeastSquaresPolynomialApproximation::Destroy() {}

double TLeastSquaresPolynomialApproximation::GetValue(double x) const { return polynome_.GetValue(x); }

}  // namespace SatCommonUtils
