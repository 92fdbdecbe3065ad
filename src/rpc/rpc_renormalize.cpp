// A record expressed with other offsets and scales: a linear substitution in its polynomials. Elementary.

#include "rpc/rpc_renormalize.h"

#include <algorithm>
#include <cmath>

#include "rpc/rpc_axes.h"
#include "rpc/rpc_terms.h"

namespace SatCommonUtils {

namespace {

constexpr double kBinomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};

// A denominator whose constant is below this share of its largest coefficient has no usable origin.
constexpr double kLeastConstant = 1e-9;

// The old normalised value as a function of the new one: old = factor · new + shift.
struct TChange {
  double factor;
  double shift;
};

TChange ChangeOf(const TLinearNormalization& from, const TLinearNormalization& to) {
  return {to.GetScale() / from.GetScale(), (to.GetOffset() - from.GetOffset()) / from.GetScale()};
}

// The exponent of one variable in a term.
using TPower = int TRPCTermPowers::*;
constexpr TPower kVariables[] = {&TRPCTermPowers::lat, &TRPCTermPowers::lon, &TRPCTermPowers::h};

// Substitutes one variable: x^e = Σ binomial(e, f) · factor^f · shift^(e - f) · x^f.
void Substitute(const TChange& change, TPower variable, double* coefficients) {
  double result[kRPCTermCount] = {};
  for (int from = 0; from < kRPCTermCount; ++from) {
    for (int to = 0; to < kRPCTermCount; ++to) {
      bool others_equal = true;
      for (const TPower other : kVariables) {
        others_equal = others_equal && (other == variable || kRPCTermPowers[from].*other == kRPCTermPowers[to].*other);
      }
      const int e = kRPCTermPowers[from].*variable;
      const int f = kRPCTermPowers[to].*variable;
      if (!others_equal || f > e) continue;
      double product = coefficients[from] * kBinomial[e][f];
      for (int i = 0; i < f; ++i) product *= change.factor;
      for (int i = f; i < e; ++i) product *= change.shift;
      result[to] += product;
    }
  }
  std::copy_n(result, kRPCTermCount, coefficients);
}

// new = (old scale · N + (old offset - new offset) · D) / (new scale · D), in the new variables.
bool ConvertOutput(const TChange (&variables)[3], const TChange& output, const double* numerator,
                   const double* denominator, double* new_numerator, double* new_denominator) {
  double n[kRPCTermCount], d[kRPCTermCount];
  std::copy_n(numerator, kRPCTermCount, n);
  std::copy_n(denominator, kRPCTermCount, d);
  for (int variable = 0; variable < 3; ++variable) {
    Substitute(variables[variable], kVariables[variable], n);
    Substitute(variables[variable], kVariables[variable], d);
  }
  double largest = 0.0;
  for (const double value : d) largest = std::max(largest, std::fabs(value));
  const double constant = d[0];
  if (!(std::fabs(constant) > kLeastConstant * largest)) return false;
  bool finite = true;
  for (int k = 0; k < kRPCTermCount; ++k) {
    new_numerator[k] = (n[k] - output.shift * d[k]) / output.factor / constant;
    new_denominator[k] = d[k] / constant;
    finite = finite && std::isfinite(new_numerator[k]) && std::isfinite(new_denominator[k]);
  }
  return finite;
}

}  // namespace

bool RenormalizeRPC(const TRPCData& from, TRPCData* to) {
  const TRPCNormalization old_axes(from);
  const TRPCNormalization new_axes(*to);
  if (!old_axes.IsUsable() || !new_axes.IsUsable()) return false;
  const TChange variables[3] = {ChangeOf(old_axes.latitude, new_axes.latitude),
                                ChangeOf(old_axes.longitude, new_axes.longitude),
                                ChangeOf(old_axes.height, new_axes.height)};
  const TChange line = ChangeOf(old_axes.line, new_axes.line);
  const TChange sample = ChangeOf(old_axes.sample, new_axes.sample);
  TRPCData result = *to;
  if (!ConvertOutput(variables, line, from.lineNumCoef, from.lineDenCoef, result.lineNumCoef, result.lineDenCoef) ||
      !ConvertOutput(variables, sample, from.sampNumCoef, from.sampDenCoef, result.sampNumCoef, result.sampDenCoef)) {
    return false;
  }
  *to = result;
  return true;
}

}  // namespace SatCommonUtils
