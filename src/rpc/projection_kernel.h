#pragma once
// Evaluation of an RPC model, for one point (the four polynomials in the lanes of a vector) and for a vector of points.
// Both run the same arithmetic of `polynomial_kernel.h`, so a point has the same bits either way.

#include <cstddef>

#include "linalg/simd.h"
#include "rpc/polynomial_kernel.h"

namespace SatCommonUtils::rpc {

/// The numbers of a model in the forms that the evaluation reads. Polynomials are in the order numerator of line,
/// denominator of line, numerator of sample, denominator of sample; offset and scale in the order `TCoordinate`.
struct TEvaluationView {
  const double* const* polynomials;  ///< four arrays of 20
  const double* terms;               ///< 20 x 4: the four coefficients of each term side by side
  const double* offset;
  const double* scale;
};

enum TCoordinate { kLine, kSample, kLatitude, kLongitude, kHeight };

/// Four numbers side by side, one of each polynomial, as two vectors of the base instruction set: compilers make poor
/// code of vectors wider than the machine's.
struct TFourLanes {
  using TPair = simd::TLanes<2>::TVector;
  TPair line, samp;

  [[gnu::always_inline]] friend TFourLanes operator+(const TFourLanes& a, const TFourLanes& b) {
    return {a.line + b.line, a.samp + b.samp};
  }
  [[gnu::always_inline]] friend TFourLanes operator*(const TFourLanes& a, double b) { return {a.line * b, a.samp * b}; }
};

/// The coefficients by term: element k holds the four of term k.
struct TTermRows {
  const double* terms;
  [[gnu::always_inline]] TFourLanes operator[](int k) const {
    const auto* const pairs = reinterpret_cast<const simd::TLanes<2>::TUnaligned*>(terms + std::ptrdiff_t{4} * k);
    return {pairs[0], pairs[1]};
  }
};

template <class T>
[[gnu::always_inline]] inline void Normalize(const TEvaluationView& model, TCoordinate which, const T& x, T& y) {
  y = (x - model.offset[which]) / model.scale[which];
}

template <class T>
[[gnu::always_inline]] inline void Denormalize(const TEvaluationView& model, TCoordinate which, const T& y, T& x) {
  x = model.scale[which] * y + model.offset[which];
}

/// Values of the four polynomials, or of a derivative of them.
template <class T>
struct TFour {
  T lineNum, lineDen, sampNum, sampDen;
};

/// Which derivatives an evaluation forms.
enum class TVariables { None, LatLon, LatLonHeight };

/// Values and derivatives of the four polynomials at one point or a vector of points.
template <class T>
struct TPolynomials {
  TFour<T> value;
  TFour<T> byVariable[3];  ///< by latitude, longitude, height; those that were asked for
};

/// Calls `sum(coefficients, result)` for each polynomial of a vector of points.
template <class T, class Function>
[[gnu::always_inline]] inline void ForEachPolynomial(const TEvaluationView& model, TFour<T>& result,
                                                     const Function& sum) {
  sum(model.polynomials[0], result.lineNum);
  sum(model.polynomials[1], result.lineDen);
  sum(model.polynomials[2], result.sampNum);
  sum(model.polynomials[3], result.sampDen);
}

/// For one point: the four polynomials at once.
template <class Function>
[[gnu::always_inline]] inline void ForEachPolynomial(const TEvaluationView& model, TFour<double>& result,
                                                     const Function& sum) {
  TFourLanes four;
  sum(TTermRows{model.terms}, four);
  result = {four.line[0], four.line[1], four.samp[0], four.samp[1]};
}

template <TVariables Variables, class T>
[[gnu::always_inline]] inline void EvaluatePolynomials(const TEvaluationView& model, const T& P, const T& L, const T& H,
                                                       TPolynomials<T>& result) {
  TMonomials<T> m;
  FormMonomials(P, L, H, m);
  ForEachPolynomial(
      model,
      result.value, [&m](const auto& c, auto& sum) __attribute__((always_inline)) { PolynomialValue(c, m, sum); });
  if constexpr (Variables != TVariables::None) {
    TTermDerivatives<T> d;
    FormTermDerivatives(m, d);
    ForEachPolynomial(
        model, result.byVariable[0], [&](const auto& c, auto& sum) __attribute__((always_inline)) {
          DerivativeByLatitude(c, m, d, sum);
        });
    ForEachPolynomial(
        model, result.byVariable[1], [&](const auto& c, auto& sum) __attribute__((always_inline)) {
          DerivativeByLongitude(c, m, d, sum);
        });
    if constexpr (Variables == TVariables::LatLonHeight) {
      ForEachPolynomial(
          model, result.byVariable[2], [&](const auto& c, auto& sum) __attribute__((always_inline)) {
            DerivativeByHeight(c, m, d, sum);
          });
    }
  }
}

/// Normalised line and sample.
template <class T>
[[gnu::always_inline]] inline void Quotients(const TFour<T>& value, T& lineN, T& sampleN) {
  lineN = value.lineNum / value.lineDen;
  sampleN = value.sampNum / value.sampDen;
}

/// Derivatives of normalised line and sample by one variable, `dx` being those of the polynomials.
template <class T>
[[gnu::always_inline]] inline void QuotientDerivatives(const TFour<T>& value, const TFour<T>& dx, T& dLineN,
                                                       T& dSampleN) {
  dLineN = (dx.lineNum * value.lineDen - value.lineNum * dx.lineDen) / (value.lineDen * value.lineDen);
  dSampleN = (dx.sampNum * value.sampDen - value.sampNum * dx.sampDen) / (value.sampDen * value.sampDen);
}

}  // namespace SatCommonUtils::rpc
