// Least squares by normal equations; elementary.

#include "poly/interpolation.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

#include "linalg/matrix.h"
#include "linalg/raw_arrays.h"
#include "linalg/vector.h"

namespace SatCommonUtils {
namespace {

/// Orders whose sums have a loop of their own, with all sums in registers.
constexpr std::size_t kUnrolledOrders = 8;

/// Adds the samples to the sums S[k] of x^k for k up to 2 m and T[k] of y x^k for k up to m, in their order.
inline void AddSamplesOfOrder(std::size_t m, std::size_t count, const double* x, const double* y, double* S,
                              double* T) {
  for (std::size_t i = 0; i < count; ++i) {
    double power = 1.0;
    for (std::size_t k = 0; k <= 2 * m; ++k) {
      S[k] += power;
      if (k <= m) T[k] += y[i] * power;
      power *= x[i];
    }
  }
}

/// The same with an order that the compiler knows, hence the same bits.
template <std::size_t m>
void AddSamplesUnrolled(std::size_t count, const double* x, const double* y, double* S, double* T) {
  double s[2 * m + 1] = {};
  double t[m + 1] = {};
  AddSamplesOfOrder(m, count, x, y, s, t);
  std::copy(s, s + 2 * m + 1, S);
  std::copy(t, t + m + 1, T);
}

using AddSamples = void (*)(std::size_t, const double*, const double*, double*, double*);

template <std::size_t... m>
constexpr std::array<AddSamples, sizeof...(m)> UnrolledLoops(std::index_sequence<m...>) {
  return {AddSamplesUnrolled<m>...};
}

constexpr auto kUnrolledLoops = UnrolledLoops(std::make_index_sequence<kUnrolledOrders + 1>());

/// The sums over all samples.
struct PowerSums {
  PowerSums(std::size_t order, std::size_t count, const double* x, const double* y)
      : S(2 * order + 1, 0.0), T(order + 1, 0.0) {
    if (order <= kUnrolledOrders) {
      kUnrolledLoops[order](count, x, y, S.data(), T.data());
    } else {
      AddSamplesOfOrder(order, count, x, y, S.data(), T.data());
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
