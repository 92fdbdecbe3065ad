#pragma once
// Rows of the linearised fit of one output, output = N(P, L, H) / D(P, L, H), and the sums of their products.

#include <cstddef>

#include "refine/estimation/point_block.h"
#include "rpc/rpc_terms.h"

namespace SatCommonUtils::estimation {

constexpr std::size_t kTerms = kRPCTermCount;

/// Which output of a point a fit is for.
enum class TOutput { Line, Sample };

/// The two polynomials of an output; coefficients in the order of `TRPCData`, the constant of the denominator is 1.
struct TRational {
  double numerator[kTerms] = {};
  double denominator[kTerms] = {1.0};
};

/// A block of rows, row-major. The residual stands in the column behind the unknowns, zeros behind that.
struct TDesignRows {
  static constexpr std::size_t kMaxStride = 40;
  std::size_t count = 0;
  std::size_t unknowns = 0;
  std::size_t stride = 0;  ///< unknowns + 1, rounded up to a multiple of 8
  alignas(64) double values[TPointBlock::kSize * kMaxStride];

  void SetUnknowns(std::size_t number) {
    unknowns = number;
    stride = (number + 8) / 8 * 8;
  }
  /// Measures unknowns `first` and up in units of 1 / `weight`: their columns are divided by it.
  void DivideColumns(std::size_t first, double weight) {
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t j = first; j < unknowns; ++j) values[i * stride + j] /= weight;
    }
  }
};

/// Values of one output over a block.
struct TOutputValues {
  alignas(64) double denominator[TPointBlock::kSize];
  alignas(64) double value[TPointBlock::kSize];     ///< numerator / denominator
  alignas(64) double residual[TPointBlock::kSize];  ///< value - observation
};

/// Evaluates all lanes of the block.
void EvaluateOutput(const TPointBlock& block, TOutput output, const TRational& rational, TOutputValues* values);

/// Rows of the Gauss-Newton system with the first `terms` terms (4, 10 or 20: degree 1, 2, 3): term / D for each term,
/// then -value · term / D for each but the constant, then the residual.
void FormDesignRows(const TPointBlock& block, const TOutputValues& values, std::size_t terms, TDesignRows* rows);

/// Rows of the first-order system that is linear in its unknowns: P, L, H, 1, -o·P, -o·L, -o·H | o.
void FormFirstOrderRows(const TPointBlock& block, TOutput output, TDesignRows* rows);

/// The normal matrix of the rows so far with the right side in the column behind the unknowns and the sum of squared
/// residuals at the end of that column.
struct TNormalSums {
  std::size_t stride = 0;  ///< that of the rows
  alignas(64) double values[TDesignRows::kMaxStride * TDesignRows::kMaxStride] = {};

  /// Element (i, j) of the symmetric matrix, of which the upper triangle is kept.
  double At(std::size_t i, std::size_t j) const { return i <= j ? values[i * stride + j] : values[j * stride + i]; }
};

/// Adds the products of a block's rows: every sum goes on in the order of the rows.
void AddNormalProducts(const TDesignRows& rows, TNormalSums* sums);

}  // namespace SatCommonUtils::estimation
