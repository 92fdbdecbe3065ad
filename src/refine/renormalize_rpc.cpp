#include <algorithm>
#include <cmath>
#include <cstddef>

#include "refine/estimation/design_rows.h"
#include "refine/robust_fit.h"

namespace SatCommonUtils {

namespace {

using estimation::kTerms;

// Powers of (P, L, H) of each term, in the order of `TRPCData`.
constexpr int kPowers[kTerms][3] = {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}, {1, 1, 0}, {0, 1, 1}, {1, 0, 1},
                                    {0, 2, 0}, {2, 0, 0}, {0, 0, 2}, {1, 1, 1}, {0, 3, 0}, {2, 1, 0}, {0, 1, 2},
                                    {1, 2, 0}, {3, 0, 0}, {1, 0, 2}, {0, 2, 1}, {2, 0, 1}, {0, 0, 3}};
constexpr double kBinomial[4][4] = {{1, 0, 0, 0}, {1, 1, 0, 0}, {1, 2, 1, 0}, {1, 3, 3, 1}};

// A denominator whose constant is below this share of its largest coefficient has no usable origin.
constexpr double kLeastConstant = 1e-9;

// The old normalised value as a function of the new one: old = factor · new + shift.
struct TChange {
  double factor;
  double shift;
};

TChange ChangeOf(double old_offset, double old_scale, double new_offset, double new_scale) {
  return {new_scale / old_scale, (new_offset - old_offset) / old_scale};
}

// Substitutes one variable: x^e = Σ binomial(e, f) · factor^f · shift^(e - f) · x^f.
void Substitute(const TChange& change, int variable, double* coefficients) {
  double result[kTerms] = {};
  for (std::size_t from = 0; from < kTerms; ++from) {
    for (std::size_t to = 0; to < kTerms; ++to) {
      bool others_equal = true;
      for (int other = 0; other < 3; ++other) {
        others_equal = others_equal && (other == variable || kPowers[from][other] == kPowers[to][other]);
      }
      const int e = kPowers[from][variable];
      const int f = kPowers[to][variable];
      if (!others_equal || f > e) continue;
      double product = coefficients[from] * kBinomial[e][f];
      for (int i = 0; i < f; ++i) product *= change.factor;
      for (int i = f; i < e; ++i) product *= change.shift;
      result[to] += product;
    }
  }
  std::copy_n(result, kTerms, coefficients);
}

// new = (old scale · N + (old offset - new offset) · D) / (new scale · D), in the new variables.
bool ConvertOutput(const TChange (&variables)[3], const TChange& output, const double* numerator,
                   const double* denominator, double* new_numerator, double* new_denominator) {
  double n[kTerms], d[kTerms];
  std::copy_n(numerator, kTerms, n);
  std::copy_n(denominator, kTerms, d);
  for (int variable = 0; variable < 3; ++variable) {
    Substitute(variables[variable], variable, n);
    Substitute(variables[variable], variable, d);
  }
  double largest = 0.0;
  for (const double value : d) largest = std::max(largest, std::fabs(value));
  const double constant = d[0];
  if (!(std::fabs(constant) > kLeastConstant * largest)) return false;
  bool finite = true;
  for (std::size_t k = 0; k < kTerms; ++k) {
    new_numerator[k] = (n[k] - output.shift * d[k]) / output.factor / constant;
    new_denominator[k] = d[k] / constant;
    finite = finite && std::isfinite(new_numerator[k]) && std::isfinite(new_denominator[k]);
  }
  return finite;
}

}  // namespace

bool RenormalizeRPC(const TRPCData& from, TRPCData* to) {
  if (!estimation::HasUsableNormalization(from) || !estimation::HasUsableNormalization(*to)) return false;
  const TChange variables[3] = {ChangeOf(from.latOffset, from.latScale, to->latOffset, to->latScale),
                                ChangeOf(from.longOffset, from.longScale, to->longOffset, to->longScale),
                                ChangeOf(from.heightOffset, from.heightScale, to->heightOffset, to->heightScale)};
  const TChange line = ChangeOf(from.lineOffset, from.lineScale, to->lineOffset, to->lineScale);
  const TChange sample = ChangeOf(from.sampOffset, from.sampScale, to->sampOffset, to->sampScale);
  TRPCData result = *to;
  if (!ConvertOutput(variables, line, from.lineNumCoef, from.lineDenCoef, result.lineNumCoef, result.lineDenCoef) ||
      !ConvertOutput(variables, sample, from.sampNumCoef, from.sampDenCoef, result.sampNumCoef, result.sampDenCoef)) {
    return false;
  }
  *to = result;
  return true;
}

}  // namespace SatCommonUtils
