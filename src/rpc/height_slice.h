#pragma once
// An RPC model at one height: its twenty terms collapse to the ten of a cubic in latitude and longitude, and with the
// measured line or sample put in, a quotient to one such cubic whose zero is sought. For one point (`T` is a double) or
// a vector of points with heights of their own. A line of sight that is asked at many heights collapses once a height
// and then takes steps that cost a third of a projection with its derivatives.
//
// Everything here is exact algebra in another order of operations than the projection's, so values agree with it to
// rounding, not bit for bit. Source: elementary.
//
// Arguments go by reference: vectors wider than the base instruction set have no calling convention.

namespace SatCommonUtils::rpc {

/// Σ a[i] L^i + P Σ b[i] L^i + P² Σ c[i] L^i + d P³, P being the normalised latitude, L the longitude.
template <class T>
struct TSliceCubic {
  T a[4], b[3], c[2], d;
};

/// Collapses a polynomial of 20 coefficients (order of `TRPCData`) at the normalised height `H`.
template <class T>
[[gnu::always_inline]] inline void CollapseAtHeight(const double* k, const T& H, TSliceCubic<T>& cubic) {
  const T zero = {};
  cubic.a[0] = k[0] + H * (k[3] + H * (k[9] + H * k[19]));
  cubic.a[1] = k[1] + H * (k[5] + H * k[13]);
  cubic.a[2] = k[7] + H * k[17];
  cubic.a[3] = zero + k[11];
  cubic.b[0] = k[2] + H * (k[6] + H * k[16]);
  cubic.b[1] = k[4] + H * k[10];
  cubic.b[2] = zero + k[14];
  cubic.c[0] = k[8] + H * k[18];
  cubic.c[1] = zero + k[12];
  cubic.d = zero + k[15];
}

/// The cubic num - target · den: it is zero where num / den is `target`.
template <class T>
[[gnu::always_inline]] inline void AimAt(const TSliceCubic<T>& num, const TSliceCubic<T>& den, const T& target,
                                         TSliceCubic<T>& aimed) {
  for (int i = 0; i < 4; ++i) aimed.a[i] = num.a[i] - target * den.a[i];
  for (int i = 0; i < 3; ++i) aimed.b[i] = num.b[i] - target * den.b[i];
  for (int i = 0; i < 2; ++i) aimed.c[i] = num.c[i] - target * den.c[i];
  aimed.d = num.d - target * den.d;
}

template <class T>
[[gnu::always_inline]] inline void SliceValue(const TSliceCubic<T>& k, const T& P, const T& L, T& value) {
  const T a = k.a[0] + L * (k.a[1] + L * (k.a[2] + L * k.a[3]));
  const T b = k.b[0] + L * (k.b[1] + L * k.b[2]);
  const T c = k.c[0] + L * k.c[1];
  value = a + P * (b + P * (c + P * k.d));
}

/// Value and derivatives; the inner sums of Horner's scheme serve all three.
template <class T>
[[gnu::always_inline]] inline void SliceSlope(const TSliceCubic<T>& k, const T& P, const T& L, T& value, T& byP,
                                              T& byL) {
  const T a3 = L * k.a[3], a2 = k.a[2] + a3, a1 = k.a[1] + L * a2;
  const T b2 = L * k.b[2], b1 = k.b[1] + b2, b0 = k.b[0] + L * b1;
  const T d = P * k.d, c = k.c[0] + L * k.c[1] + d;
  value = k.a[0] + L * a1 + P * (b0 + P * c);
  byP = b0 + P * (c + c + d);
  byL = a1 + L * (a2 + a3) + P * (b1 + b2 + P * k.c[1]);
}

/// One point's or one vector's way from image to ground at a height.
template <class T>
struct TSliceAim {
  TSliceCubic<T> line, sample;        ///< zero at the ground point
  TSliceCubic<T> lineDen, sampleDen;  ///< the denominators
};

/// \param polynomials four arrays of 20: numerator and denominator of line, numerator and denominator of sample.
/// \param lineN, sampleN, H normalised.
template <class T>
[[gnu::always_inline]] inline void TakeAim(const double* const* polynomials, const T& lineN, const T& sampleN,
                                           const T& H, TSliceAim<T>& aim) {
  TSliceCubic<T> num;
  CollapseAtHeight(polynomials[1], H, aim.lineDen);
  CollapseAtHeight(polynomials[3], H, aim.sampleDen);
  CollapseAtHeight(polynomials[0], H, num);
  AimAt(num, aim.lineDen, lineN, aim.line);
  CollapseAtHeight(polynomials[2], H, num);
  AimAt(num, aim.sampleDen, sampleN, aim.sample);
}

/// The inverse of the derivatives of both cubics: a miss of (line, sample) is a miss of (P, L).
template <class T>
struct TSliceInverse {
  T pp, pl, lp, ll;
};

template <class T>
[[gnu::always_inline]] inline void InvertSlopes(const T& lineP, const T& lineL, const T& sampleP, const T& sampleL,
                                                TSliceInverse<T>& inverse) {
  const T one = T{} + 1.0;
  const T scale = one / (lineP * sampleL - lineL * sampleP);
  inverse = {sampleL * scale, lineL * scale, sampleP * scale, lineP * scale};
}

template <class T>
[[gnu::always_inline]] inline void Correct(const TSliceInverse<T>& inverse, const T& line, const T& sample, T& P,
                                           T& L) {
  P = P + (inverse.pl * sample - inverse.pp * line);
  L = L + (inverse.lp * line - inverse.ll * sample);
}

/// The terms of the second order.
template <class T>
[[gnu::always_inline]] inline void SliceQuadratic(const TSliceCubic<T>& k, const T& P, const T& L, T& value) {
  value = L * (L * k.a[2] + P * k.b[1]) + P * P * k.c[0];
}

/// Latitude and longitude from the centre of the slice by the linear terms, corrected for those of the second order,
/// which are taken where the correction before has led: a step of Newton's method from there tells the rest.
template <class T>
[[gnu::always_inline]] inline void StartFromCenter(const TSliceAim<T>& aim, T& P, T& L) {
  constexpr int kCorrections = 2;
  TSliceInverse<T> inverse;
  InvertSlopes(aim.line.b[0], aim.line.a[1], aim.sample.b[0], aim.sample.a[1], inverse);
  T linearP = {}, linearL = {};
  Correct(inverse, aim.line.a[0], aim.sample.a[0], linearP, linearL);
  P = linearP;
  L = linearL;
  for (int i = 0; i < kCorrections; ++i) {
    T line, sample;
    SliceQuadratic(aim.line, P, L, line);
    SliceQuadratic(aim.sample, P, L, sample);
    P = linearP;
    L = linearL;
    Correct(inverse, line, sample, P, L);
  }
}

/// Newton's step, and a second with the same derivatives: convergence of the third order for little more than one step
/// (J. F. Traub, "Iterative Methods for the Solution of Equations", 1964).
template <class T>
[[gnu::always_inline]] inline void StepTwice(const TSliceAim<T>& aim, T& P, T& L) {
  T line, lineP, lineL, sample, sampleP, sampleL;
  SliceSlope(aim.line, P, L, line, lineP, lineL);
  SliceSlope(aim.sample, P, L, sample, sampleP, sampleL);
  TSliceInverse<T> inverse;
  InvertSlopes(lineP, lineL, sampleP, sampleL, inverse);
  Correct(inverse, line, sample, P, L);
  SliceValue(aim.line, P, L, line);
  SliceValue(aim.sample, P, L, sample);
  Correct(inverse, line, sample, P, L);
}

/// How far the projection of (P, L) misses the aim, normalised.
template <class T>
[[gnu::always_inline]] inline void MissOfAim(const TSliceAim<T>& aim, const T& P, const T& L, T& line, T& sample) {
  T num, den;
  SliceValue(aim.line, P, L, num);
  SliceValue(aim.lineDen, P, L, den);
  line = num / den;
  SliceValue(aim.sample, P, L, num);
  SliceValue(aim.sampleDen, P, L, den);
  sample = num / den;
}

}  // namespace SatCommonUtils::rpc
