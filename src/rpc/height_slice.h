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

#include <cstddef>

#include "rpc/projection_kernel.h"

namespace SatCommonUtils::rpc {

/// One of the four polynomials in rows of coefficients.
struct TOnePolynomial {
  const double* first;
  [[gnu::always_inline]] double operator[](int k) const { return first[std::ptrdiff_t{4} * k]; }
};

/// Σ a[i] L^i + P Σ b[i] L^i + P² Σ c[i] L^i + d P³, P being the normalised latitude, L the longitude.
template <class T>
struct TSliceCubic {
  T a[4], b[3], c[2], d;
};

/// Collapses a polynomial of 20 coefficients (order of `TRPCData`), or several side by side, at the normalised height
/// `H`.
template <class Coefficients, class T, class Result>
[[gnu::always_inline]] inline void CollapseAtHeight(const Coefficients& k, const T& H, TSliceCubic<Result>& cubic) {
  const Result zero = {};
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

/// The terms of the second order.
template <class T>
[[gnu::always_inline]] inline void SliceQuadratic(const TSliceCubic<T>& k, const T& P, const T& L, T& value) {
  value = L * (L * k.a[2] + P * k.b[1]) + P * P * k.c[0];
}

/// A value and its derivatives by P and L.
template <class T>
struct TSliceSlope {
  T value, byP, byL;
};

/// The inner sums of Horner's scheme serve all three.
template <class T>
[[gnu::always_inline]] inline void SliceSlope(const TSliceCubic<T>& k, const T& P, const T& L, TSliceSlope<T>& slope) {
  const T a3 = L * k.a[3], a2 = k.a[2] + a3, a1 = k.a[1] + L * a2;
  const T b2 = L * k.b[2], b1 = k.b[1] + b2, b0 = k.b[0] + L * b1;
  const T d = P * k.d, c = k.c[0] + L * k.c[1] + d;
  slope.value = k.a[0] + L * a1 + P * (b0 + P * c);
  slope.byP = b0 + P * (c + c + d);
  slope.byL = a1 + L * (a2 + a3) + P * (b1 + b2 + P * k.c[1]);
}

/// A vector of points on their way from image to ground, each at its height.
template <class T>
struct TSliceAim {
  TSliceCubic<T> line, sample;        ///< zero at the ground point
  TSliceCubic<T> lineDen, sampleDen;  ///< the denominators
};

/// \param terms rows of coefficients as in `TRPCPrepared`.
/// \param lineN, sampleN, H normalised.
template <class T>
[[gnu::always_inline]] inline void TakeAim(const double* terms, const T& lineN, const T& sampleN, const T& H,
                                           TSliceAim<T>& aim) {
  TSliceCubic<T> num;
  CollapseAtHeight(TOnePolynomial{terms + 1}, H, aim.lineDen);
  CollapseAtHeight(TOnePolynomial{terms + 3}, H, aim.sampleDen);
  CollapseAtHeight(TOnePolynomial{terms}, H, num);
  AimAt(num, aim.lineDen, lineN, aim.line);
  CollapseAtHeight(TOnePolynomial{terms + 2}, H, num);
  AimAt(num, aim.sampleDen, sampleN, aim.sample);
}

template <class T>
[[gnu::always_inline]] inline void AimSlopesAtCenter(const TSliceAim<T>& aim, TSliceSlope<T>& line,
                                                     TSliceSlope<T>& sample) {
  line = {aim.line.a[0], aim.line.b[0], aim.line.a[1]};
  sample = {aim.sample.a[0], aim.sample.b[0], aim.sample.a[1]};
}

/// The terms of the second order.
template <class T>
[[gnu::always_inline]] inline void AimQuadratics(const TSliceAim<T>& aim, const T& P, const T& L, T& line, T& sample) {
  SliceQuadratic(aim.line, P, L, line);
  SliceQuadratic(aim.sample, P, L, sample);
}

template <class T>
[[gnu::always_inline]] inline void AimValues(const TSliceAim<T>& aim, const T& P, const T& L, T& line, T& sample) {
  SliceValue(aim.line, P, L, line);
  SliceValue(aim.sample, P, L, sample);
}

template <class T>
[[gnu::always_inline]] inline void AimSlopes(const TSliceAim<T>& aim, const T& P, const T& L, TSliceSlope<T>& line,
                                             TSliceSlope<T>& sample) {
  SliceSlope(aim.line, P, L, line);
  SliceSlope(aim.sample, P, L, sample);
}

/// How far the projection of (P, L) misses the aim, normalised.
template <class T>
[[gnu::always_inline]] inline void MissOfAim(const TSliceAim<T>& aim, const T& P, const T& L, T& line, T& sample) {
  T lineDen, sampleDen;
  AimValues(aim, P, L, line, sample);
  SliceValue(aim.lineDen, P, L, lineDen);
  SliceValue(aim.sampleDen, P, L, sampleDen);
  line = line / lineDen;
  sample = sample / sampleDen;
}

/// One point on its way, line and sample in the lanes of a vector: the same operations as for many, so the same bits.
struct TPointAim {
  using TPair = TFourLanes::TPair;
  TSliceCubic<TPair> image;  ///< zero at the ground point
  TSliceCubic<TPair> den;    ///< the denominators
};

/// Arguments as above.
[[gnu::always_inline]] inline void TakeAim(const double* terms, double lineN, double sampleN, double H,
                                           TPointAim& aim) {
  using TPair = TPointAim::TPair;
  TSliceCubic<TFourLanes> all;
  TSliceCubic<TPair> num;
  CollapseAtHeight(TLaneRows{terms}, H, all);
  const auto part = [&](const TFourLanes& from, TPair& ofNum, TPair& ofDen) {
    ofNum = TPair{from.line[0], from.samp[0]};
    ofDen = TPair{from.line[1], from.samp[1]};
  };
  for (int i = 0; i < 4; ++i) part(all.a[i], num.a[i], aim.den.a[i]);
  for (int i = 0; i < 3; ++i) part(all.b[i], num.b[i], aim.den.b[i]);
  for (int i = 0; i < 2; ++i) part(all.c[i], num.c[i], aim.den.c[i]);
  part(all.d, num.d, aim.den.d);
  AimAt(num, aim.den, TPair{lineN, sampleN}, aim.image);
}

[[gnu::always_inline]] inline void AimSlopesAtCenter(const TPointAim& aim, TSliceSlope<double>& line,
                                                     TSliceSlope<double>& sample) {
  line = {aim.image.a[0][0], aim.image.b[0][0], aim.image.a[1][0]};
  sample = {aim.image.a[0][1], aim.image.b[0][1], aim.image.a[1][1]};
}

[[gnu::always_inline]] inline void AimQuadratics(const TPointAim& aim, double P, double L, double& line,
                                                 double& sample) {
  TPointAim::TPair value;
  SliceQuadratic(aim.image, TPointAim::TPair{P, P}, TPointAim::TPair{L, L}, value);
  line = value[0];
  sample = value[1];
}

[[gnu::always_inline]] inline void AimValues(const TPointAim& aim, double P, double L, double& line, double& sample) {
  TPointAim::TPair value;
  SliceValue(aim.image, TPointAim::TPair{P, P}, TPointAim::TPair{L, L}, value);
  line = value[0];
  sample = value[1];
}

[[gnu::always_inline]] inline void AimSlopes(const TPointAim& aim, double P, double L, TSliceSlope<double>& line,
                                             TSliceSlope<double>& sample) {
  TSliceSlope<TPointAim::TPair> slope;
  SliceSlope(aim.image, TPointAim::TPair{P, P}, TPointAim::TPair{L, L}, slope);
  line = {slope.value[0], slope.byP[0], slope.byL[0]};
  sample = {slope.value[1], slope.byP[1], slope.byL[1]};
}

[[gnu::always_inline]] inline void MissOfAim(const TPointAim& aim, double P, double L, double& line, double& sample) {
  TPointAim::TPair num, den;
  SliceValue(aim.image, TPointAim::TPair{P, P}, TPointAim::TPair{L, L}, num);
  SliceValue(aim.den, TPointAim::TPair{P, P}, TPointAim::TPair{L, L}, den);
  const TPointAim::TPair miss = num / den;
  line = miss[0];
  sample = miss[1];
}

/// The inverse of the derivatives of both cubics: a miss of (line, sample) is a miss of (P, L).
template <class T>
struct TSliceInverse {
  T pp, pl, lp, ll;
};

template <class T>
[[gnu::always_inline]] inline void InvertSlopes(const TSliceSlope<T>& line, const TSliceSlope<T>& sample,
                                                TSliceInverse<T>& inverse) {
  const T one = T{} + 1.0;
  const T scale = one / (line.byP * sample.byL - line.byL * sample.byP);
  inverse = {sample.byL * scale, line.byL * scale, sample.byP * scale, line.byP * scale};
}

template <class T>
[[gnu::always_inline]] inline void Correct(const TSliceInverse<T>& inverse, const T& line, const T& sample, T& P,
                                           T& L) {
  P = P + (inverse.pl * sample - inverse.pp * line);
  L = L + (inverse.lp * line - inverse.ll * sample);
}

/// Latitude and longitude from the centre of the slice by the linear terms, corrected for those of the second order,
/// which are taken where the correction before has led: a step of Newton's method from there tells the rest.
/// \param aim `TSliceAim<T>`, or `TPointAim` where `T` is a double.
template <class Aim, class T>
[[gnu::always_inline]] inline void StartFromCenter(const Aim& aim, T& P, T& L) {
  constexpr int kCorrections = 2;
  TSliceSlope<T> center[2];
  TSliceInverse<T> inverse;
  AimSlopesAtCenter(aim, center[0], center[1]);
  InvertSlopes(center[0], center[1], inverse);
  T linearP = {}, linearL = {};
  Correct(inverse, center[0].value, center[1].value, linearP, linearL);
  P = linearP;
  L = linearL;
  for (int i = 0; i < kCorrections; ++i) {
    T line, sample;
    AimQuadratics(aim, P, L, line, sample);
    P = linearP;
    L = linearL;
    Correct(inverse, line, sample, P, L);
  }
}

/// Newton's step, and a second with the same derivatives: convergence of the third order for little more than one step
/// (J. F. Traub, "Iterative Methods for the Solution of Equations", 1964).
template <class Aim, class T>
[[gnu::always_inline]] inline void StepTwice(const Aim& aim, T& P, T& L) {
  TSliceSlope<T> here[2];
  TSliceInverse<T> inverse;
  AimSlopes(aim, P, L, here[0], here[1]);
  InvertSlopes(here[0], here[1], inverse);
  Correct(inverse, here[0].value, here[1].value, P, L);
  T line, sample;
  AimValues(aim, P, L, line, sample);
  Correct(inverse, line, sample, P, L);
}

}  // namespace SatCommonUtils::rpc
