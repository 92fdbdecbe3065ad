#pragma once
// Evaluation of an RPC model, for one point (the four polynomials in the lanes of a vector) and for a vector of points.
// Both run the same arithmetic of `polynomial_kernel.h`, so a point has the same bits either way.

#include <cstddef>

#include "linalg/simd.h"
#include "rpc/polynomial_kernel.h"
#include "rpc/rpc_prepared.h"

namespace SatCommonUtils::rpc {

/// Four numbers side by side, one of each polynomial, as two vectors of the base instruction set: compilers make poor
/// code of vectors wider than the machine's.
struct TFourLanes {
  using TPair = simd::TLanes<2>::TVector;
  TPair line, samp;

  [[gnu::always_inline]] friend TFourLanes operator+(const TFourLanes& a, const TFourLanes& b) {
    return {a.line + b.line, a.samp + b.samp};
  }
  [[gnu::always_inline]] friend TFourLanes operator*(const TFourLanes& a, double b) { return {a.line * b, a.samp * b}; }
  [[gnu::always_inline]] friend TFourLanes operator*(double a, const TFourLanes& b) { return {a * b.line, a * b.samp}; }
};

/// The coefficients by term, aligned to a vector: element k holds the four of term k, in lanes.
struct TLaneRows {
  const double* terms;
  [[gnu::always_inline]] TFourLanes operator[](int k) const {
    const auto* const pairs = reinterpret_cast<const TFourLanes::TPair*>(terms + std::ptrdiff_t{4} * k);
    return {pairs[0], pairs[1]};
  }
};

/// One number in four lanes: every term of one point beside the four coefficients that belong to it. Formed from
/// latitude, longitude and height in four lanes, terms cost no more instructions than as plain numbers, and none to
/// spread them.
struct TSpread {
  using TVector = simd::TLanes<4>::TVector;
  TVector x;

  TSpread() = default;
  [[gnu::always_inline]] explicit TSpread(double number) : x{number, number, number, number} {}
  [[gnu::always_inline]] explicit TSpread(const TVector& lanes) : x(lanes) {}

  [[gnu::always_inline]] friend TSpread operator+(const TSpread& a, const TSpread& b) { return TSpread(a.x + b.x); }
  [[gnu::always_inline]] friend TSpread operator+(const TSpread& a, double b) { return TSpread(a.x + b); }
  [[gnu::always_inline]] friend TSpread operator*(const TSpread& a, const TSpread& b) { return TSpread(a.x * b.x); }
  [[gnu::always_inline]] friend TSpread operator*(double a, const TSpread& b) { return TSpread(a * b.x); }
};

/// As `TLaneRows`, for processors whose vectors hold four numbers.
struct TSpreadRows {
  const double* terms;
  [[gnu::always_inline]] TSpread operator[](int k) const {
    return TSpread(*reinterpret_cast<const TSpread::TVector*>(terms + std::ptrdiff_t{4} * k));
  }
};

/// What one point is computed with at a vector width: plain numbers where vectors hold two of them.
template <int Width>
struct TPoint {
  using TNumber = TSpread;
};
template <>
struct TPoint<2> {
  using TNumber = double;
};

/// Values of the four polynomials, or of a derivative of them.
template <class T>
struct TFour {
  T lineNum, lineDen, sampNum, sampDen;
};

template <class T>
[[gnu::always_inline]] inline TFour<T> operator+(const TFour<T>& a, const TFour<T>& b) {
  return {a.lineNum + b.lineNum, a.lineDen + b.lineDen, a.sampNum + b.sampNum, a.sampDen + b.sampDen};
}

/// The coefficients by term: element k holds the four of term k, for vectors of points.
struct TTermRows {
  struct TRow {
    const double* c;

    template <class T>
    [[gnu::always_inline]] friend TFour<T> operator*(const TRow& row, const T& x) {
      return {row.c[0] * x, row.c[1] * x, row.c[2] * x, row.c[3] * x};
    }
    template <class T>
    [[gnu::always_inline]] friend TFour<T> operator+(const TRow& row, const TFour<T>& x) {
      return {row.c[0] + x.lineNum, row.c[1] + x.lineDen, row.c[2] + x.sampNum, row.c[3] + x.sampDen};
    }
  };

  const double* terms;
  [[gnu::always_inline]] TRow operator[](int k) const { return {terms + std::ptrdiff_t{4} * k}; }
};

// The maps of `TLinearNormalization`, bit for bit, of one number or a vector of them.

template <class T>
[[gnu::always_inline]] inline void Normalize(const TLinearNormalization& axis, const T& x, T& y) {
  y = (x - axis.GetOffset()) / axis.GetScale();
}

template <class T>
[[gnu::always_inline]] inline void Denormalize(const TLinearNormalization& axis, const T& y, T& x) {
  x = axis.GetScale() * y + axis.GetOffset();
}

/// What the four polynomials are summed with and in: vectors of points side by side, or one point in lanes.
template <class T>
struct TSums {
  using TRows = TTermRows;
  using TSum = TFour<T>;
};
template <>
struct TSums<double> {
  using TRows = TLaneRows;
  using TSum = TFourLanes;
};
template <>
struct TSums<TSpread> {
  using TRows = TSpreadRows;
  using TSum = TSpread;
};

template <class T>
[[gnu::always_inline]] inline void TakeApart(const TFour<T>& sum, TFour<T>& four) {
  four = sum;
}
[[gnu::always_inline]] inline void TakeApart(const TFourLanes& sum, TFour<double>& four) {
  four = {sum.line[0], sum.line[1], sum.samp[0], sum.samp[1]};
}
[[gnu::always_inline]] inline void TakeApart(const TSpread& sum, TFour<double>& four) {
  four = {sum.x[0], sum.x[1], sum.x[2], sum.x[3]};
}

/// Derivatives of the four polynomials, `f` being the terms and their derivatives.
template <class T, class Result>
[[gnu::always_inline]] inline void DerivePolynomials(const TRPCPrepared& model, const TDerivative& derivative,
                                                     const T* f, TFour<Result>& result) {
  typename TSums<T>::TSum sum;
  PolynomialDerivative(typename TSums<T>::TRows{model.Terms()}, derivative, f, sum);
  TakeApart(sum, result);
}

/// Values and derivatives of the four polynomials at one point or a vector of points.
template <class T>
struct TPolynomials {
  TFour<T> value;
  TFour<T> byVariable[3];  ///< by latitude, longitude, height; those that were asked for
};

template <bool Derivatives, class T, class Result>
[[gnu::always_inline]] inline void EvaluatePolynomials(const TRPCPrepared& model, const T& P, const T& L, const T& H,
                                                       TPolynomials<Result>& result) {
  T f[kFactorCount];
  FormTerms(P, L, H, f);
  typename TSums<T>::TSum sum;
  PolynomialValue(typename TSums<T>::TRows{model.Terms()}, f, sum);
  TakeApart(sum, result.value);
  if constexpr (Derivatives) {
    FormTermDerivatives(f);
#pragma GCC unroll 3
    for (int i = 0; i < 3; ++i) DerivePolynomials(model, kDerivatives[i], f, result.byVariable[i]);
  }
}

/// Normalised line and sample.
template <class T>
[[gnu::always_inline]] inline void Quotients(const TFour<T>& value, T& lineN, T& sampleN) {
  lineN = value.lineNum / value.lineDen;
  sampleN = value.sampNum / value.sampDen;
}

/// Derivative of numerator / denominator, `dNum` and `dDen` being those of the two.
template <class T>
[[gnu::always_inline]] inline void QuotientDerivative(const T& num, const T& den, const T& dNum, const T& dDen,
                                                      T& derivative) {
  derivative = (dNum * den - num * dDen) / (den * den);
}

/// Derivatives of normalised line and sample by one variable, `dx` being those of the polynomials.
template <class T>
[[gnu::always_inline]] inline void QuotientDerivatives(const TFour<T>& value, const TFour<T>& dx, T& dLineN,
                                                       T& dSampleN) {
  QuotientDerivative(value.lineNum, value.lineDen, dx.lineNum, dx.lineDen, dLineN);
  QuotientDerivative(value.sampNum, value.sampDen, dx.sampNum, dx.sampDen, dSampleN);
}

}  // namespace SatCommonUtils::rpc
