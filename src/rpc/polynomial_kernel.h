#pragma once
// The cubic polynomials of an RPC model: terms, values and derivatives, written once for one point and for many.
//
// `T` is a double or a vector of doubles with one point in each lane. `coefficients[k]` times a `T` gives the `Sum`, of
// one polynomial or of several side by side. Whatever the types are, each polynomial's sum takes the same products in
// the same order (index order of the terms), so its bits are the same.
//
// Arguments go by reference: vectors wider than the base instruction set have no calling convention.

#include <cstddef>

namespace SatCommonUtils::rpc {

/// The 20 terms in RPC00B order (`TRPCData`) of normalised latitude P, longitude L and height H, and behind them the
/// derivatives of terms that are no term themselves (`kLP2` is twice LP, `kLL3` three times LL).
// clang-format off
enum TFactor : unsigned char {
  kOne, kL, kP, kH, kLP, kLH, kPH, kLL, kPP, kHH, kPLH, kLLL, kLPP, kLHH, kLLP, kPPP, kPHH, kLLH, kPPH, kHHH,
  kTermCount,
  kL2 = kTermCount, kP2, kH2, kLP2, kLH2, kPH2, kLL3, kPP3, kHH3,
  kFactorCount
};
// clang-format on

template <class T>
[[gnu::always_inline]] inline void FormTerms(const T& P, const T& L, const T& H, T* f) {
  f[kOne] = T{} + 1.0;
  f[kL] = L;
  f[kP] = P;
  f[kH] = H;
  const T LP = L * P, LL = L * L, PP = P * P, HH = H * H;
  f[kLP] = LP;
  f[kLH] = L * H;
  f[kPH] = P * H;
  f[kLL] = LL;
  f[kPP] = PP;
  f[kHH] = HH;
  f[kPLH] = LP * H;
  f[kLLL] = LL * L;
  f[kLPP] = L * PP;
  f[kLHH] = L * HH;
  f[kLLP] = LL * P;
  f[kPPP] = PP * P;
  f[kPHH] = P * HH;
  f[kLLH] = LL * H;
  f[kPPH] = PP * H;
  f[kHHH] = HH * H;
}

/// The factors behind the terms. Doubling by addition is exact.
template <class T>
[[gnu::always_inline]] inline void FormTermDerivatives(T* f) {
  f[kL2] = f[kL] + f[kL];
  f[kP2] = f[kP] + f[kP];
  f[kH2] = f[kH] + f[kH];
  f[kLP2] = f[kLP] + f[kLP];
  f[kLH2] = f[kLH] + f[kLH];
  f[kPH2] = f[kPH] + f[kPH];
  f[kLL3] = 3.0 * f[kLL];
  f[kPP3] = 3.0 * f[kPP];
  f[kHH3] = 3.0 * f[kHH];
}

/// Adds coefficients[k] · term k, k = `first` .. `last` - 1. Written out for one point, whose four sums are one. For
/// vectors of points a loop: written out, fetching the long instructions would take more time than the arithmetic.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void AddTerms(const Coefficients& coefficients, const T* f, int first, int last,
                                            Sum& sum) {
  if constexpr (sizeof(T) == sizeof(double) || sizeof(T) == sizeof(Sum)) {
#pragma GCC unroll 20
    for (int k = first; k < last; ++k) sum = sum + coefficients[k] * f[k];
  } else {
    for (int k = first; k < last; ++k) sum = sum + coefficients[k] * f[k];
  }
}

/// Σ coefficients[k] · term k, k = 0..19.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void PolynomialValue(const Coefficients& coefficients, const T* f, Sum& value) {
  Sum sum = coefficients[0] + coefficients[1] * f[1];
  AddTerms(coefficients, f, 2, kTermCount, sum);
  value = sum;
}

/// One product of a derivative.
struct TDerivativeTerm {
  unsigned char coefficient;
  TFactor factor;
};

/// A derivative of the polynomial but its first element, which is a coefficient alone, in index order.
struct TDerivative {
  unsigned char first;
  TDerivativeTerm terms[9];
};

/// By latitude, longitude, height.
constexpr TDerivative kDerivatives[3] = {
    {2, {{4, kL}, {6, kH}, {8, kP2}, {10, kLH}, {12, kLP2}, {14, kLL}, {15, kPP3}, {16, kHH}, {18, kPH2}}},
    {1, {{4, kP}, {5, kH}, {7, kL2}, {10, kPH}, {11, kLL3}, {12, kPP}, {13, kHH}, {14, kLP2}, {17, kLH2}}},
    {3, {{5, kL}, {6, kP}, {9, kH2}, {10, kLP}, {13, kLH2}, {16, kPH2}, {17, kLL}, {18, kPP}, {19, kHH3}}}};

/// Σ c[k] · ∂(term k)/∂(variable) in index order; `f` holds the terms and their derivatives.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void PolynomialDerivative(const Coefficients& coefficients, const TDerivative& derivative,
                                                        const T* f, Sum& value) {
  const TDerivativeTerm* const terms = derivative.terms;
  Sum sum = coefficients[derivative.first] + coefficients[terms[0].coefficient] * f[terms[0].factor];
#pragma GCC unroll 9
  for (int i = 1; i < 9; ++i) sum = sum + coefficients[terms[i].coefficient] * f[terms[i].factor];
  value = sum;
}

}  // namespace SatCommonUtils::rpc
