#pragma once
// The cubic polynomials of an RPC model: monomials, values and derivatives, written once for one point and for many.
//
// `T` is a double or a vector of doubles with one point in each lane; the coefficients are then doubles. For one point
// `T` is a double and the four polynomials fill the lanes of a vector of four: then the coefficients and sums are
// vectors. Whatever the types are, each polynomial's sum takes the same products in the same order (index order of the
// terms), so its bits are the same. The terms are written out because compilers do not vectorise across points through
// a loop over an array of twenty. Arguments go by reference: vectors wider than the base instruction set have no
// calling convention.

namespace SatCommonUtils::rpc {

/// The 20 terms but the constant, in RPC00B order (`TRPCData`), of normalised latitude P, longitude L and height H.
template <class T>
struct TMonomials {
  T L, P, H, LP, LH, PH, LL, PP, HH, PLH, LLL, LPP, LHH, LLP, PPP, PHH, LLH, PPH, HHH;
};

template <class T>
[[gnu::always_inline]] inline void FormMonomials(const T& P, const T& L, const T& H, TMonomials<T>& m) {
  m.L = L;
  m.P = P;
  m.H = H;
  m.LP = L * P;
  m.LH = L * H;
  m.PH = P * H;
  m.LL = L * L;
  m.PP = P * P;
  m.HH = H * H;
  m.PLH = m.LP * H;
  m.LLL = m.LL * L;
  m.LPP = L * m.PP;
  m.LHH = L * m.HH;
  m.LLP = m.LL * P;
  m.PPP = m.PP * P;
  m.PHH = P * m.HH;
  m.LLH = m.LL * H;
  m.PPH = m.PP * H;
  m.HHH = m.HH * H;
}

/// Σ c[k] · term k, k = 0..19.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void PolynomialValue(const Coefficients& c, const TMonomials<T>& m, Sum& value) {
  Sum s = c[0] + c[1] * m.L;
  s = s + c[2] * m.P;
  s = s + c[3] * m.H;
  s = s + c[4] * m.LP;
  s = s + c[5] * m.LH;
  s = s + c[6] * m.PH;
  s = s + c[7] * m.LL;
  s = s + c[8] * m.PP;
  s = s + c[9] * m.HH;
  s = s + c[10] * m.PLH;
  s = s + c[11] * m.LLL;
  s = s + c[12] * m.LPP;
  s = s + c[13] * m.LHH;
  s = s + c[14] * m.LLP;
  s = s + c[15] * m.PPP;
  s = s + c[16] * m.PHH;
  s = s + c[17] * m.LLH;
  s = s + c[18] * m.PPH;
  s = s + c[19] * m.HHH;
  value = s;
}

/// Derivatives of the terms that are no term themselves. Doubling by addition is exact.
template <class T>
struct TTermDerivatives {
  T L2, P2, H2, LP2, LH2, PH2, LL3, PP3, HH3;
};

template <class T>
[[gnu::always_inline]] inline void FormTermDerivatives(const TMonomials<T>& m, TTermDerivatives<T>& d) {
  d.L2 = m.L + m.L;
  d.P2 = m.P + m.P;
  d.H2 = m.H + m.H;
  d.LP2 = m.LP + m.LP;
  d.LH2 = m.LH + m.LH;
  d.PH2 = m.PH + m.PH;
  d.LL3 = 3.0 * m.LL;
  d.PP3 = 3.0 * m.PP;
  d.HH3 = 3.0 * m.HH;
}

/// ∂/∂P: Σ c[k] · ∂(term k)/∂P in index order.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void DerivativeByLatitude(const Coefficients& c, const TMonomials<T>& m,
                                                        const TTermDerivatives<T>& d, Sum& value) {
  Sum s = c[2] + c[4] * m.L;
  s = s + c[6] * m.H;
  s = s + c[8] * d.P2;
  s = s + c[10] * m.LH;
  s = s + c[12] * d.LP2;
  s = s + c[14] * m.LL;
  s = s + c[15] * d.PP3;
  s = s + c[16] * m.HH;
  s = s + c[18] * d.PH2;
  value = s;
}

/// ∂/∂L.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void DerivativeByLongitude(const Coefficients& c, const TMonomials<T>& m,
                                                         const TTermDerivatives<T>& d, Sum& value) {
  Sum s = c[1] + c[4] * m.P;
  s = s + c[5] * m.H;
  s = s + c[7] * d.L2;
  s = s + c[10] * m.PH;
  s = s + c[11] * d.LL3;
  s = s + c[12] * m.PP;
  s = s + c[13] * m.HH;
  s = s + c[14] * d.LP2;
  s = s + c[17] * d.LH2;
  value = s;
}

/// ∂/∂H.
template <class Coefficients, class T, class Sum>
[[gnu::always_inline]] inline void DerivativeByHeight(const Coefficients& c, const TMonomials<T>& m,
                                                      const TTermDerivatives<T>& d, Sum& value) {
  Sum s = c[3] + c[5] * m.L;
  s = s + c[6] * m.P;
  s = s + c[9] * d.H2;
  s = s + c[10] * m.LP;
  s = s + c[13] * d.LH2;
  s = s + c[16] * d.PH2;
  s = s + c[17] * m.LL;
  s = s + c[18] * m.PP;
  s = s + c[19] * d.HH3;
  value = s;
}

}  // namespace SatCommonUtils::rpc
