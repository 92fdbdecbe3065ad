// Householder reflections that take up rows block by block, and pivoted Cholesky of sums; sources in the header.

#include "refine/estimation/triangular_factor.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "linalg/simd.h"

namespace SatCommonUtils::estimation {

namespace {

// One reflection for each column: it maps the column's part in the block, below the diagonal element of the factor, to
// zero. Vectorised across the columns to the right; sums run down the rows.
struct TReflect {
  TDesignRows* rows;
  TTriangularFactor* factor;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const std::size_t width = factor->columns + 1;
    const std::size_t stride = rows->stride;
    for (std::size_t j = 0; j < width; ++j) {
      double* const top = factor->Row(j);
      double squares = 0.0;
      for (std::size_t k = 0; k < rows->count; ++k) {
        const double value = rows->values[k * stride + j];
        squares += value * value;
      }
      if (squares == 0.0) continue;
      const double norm = std::sqrt(top[j] * top[j] + squares);
      const double head = top[j] > 0.0 ? top[j] + norm : top[j] - norm;
      const double factor_of_product = 2.0 / (head * head + squares);

      double product[TTriangularFactor::kStride];
      for (std::size_t c = j; c < width; ++c) product[c] = head * top[c];
      for (std::size_t k = 0; k < rows->count; ++k) {
        const double* const row = rows->values + k * stride;
        const double element = row[j];
        for (std::size_t c = j; c < width; ++c) product[c] += element * row[c];
      }
      for (std::size_t c = j; c < width; ++c) {
        product[c] *= factor_of_product;
        top[c] -= head * product[c];
      }
      for (std::size_t k = 0; k < rows->count; ++k) {
        double* const row = rows->values + k * stride;
        const double element = row[j];
        for (std::size_t c = j + 1; c < width; ++c) row[c] -= element * product[c];
      }
    }
  }
};

}  // namespace

double TTriangularFactor::ResidualSquares() const {
  double sum = 0.0;
  for (std::size_t i = 0; i <= columns; ++i) sum += Row(i)[columns] * Row(i)[columns];
  return sum;
}

void TTriangularFactor::DivideColumns(std::size_t first, double weight) {
  for (std::size_t i = 0; i < columns; ++i) {
    for (std::size_t j = first; j < columns; ++j) Row(i)[j] /= weight;
  }
}

void TakeUpRows(TDesignRows* rows, TTriangularFactor* factor) {
  factor->columns = rows->unknowns;
  factor->rank = rows->unknowns;
  simd::Dispatch(TReflect{rows, factor});
}

TTriangularFactor FactorOfNormalSums(const TNormalSums& sums, std::size_t unknowns) {
  const std::size_t width = unknowns + 1;
  constexpr std::size_t kStride = TTriangularFactor::kStride;
  double left[kStride][kStride] = {};  // what is still to be factored
  double largest = 0.0;
  for (std::size_t i = 0; i < width; ++i) {
    for (std::size_t j = 0; j < width; ++j) left[i][j] = sums.At(i, j);
    if (i < unknowns) largest = std::max(largest, left[i][i]);
  }
  const double rounding = largest * static_cast<double>(unknowns) * std::numeric_limits<double>::epsilon();

  TTriangularFactor factor;
  factor.columns = unknowns;
  bool done[kStride] = {};
  for (; factor.rank < unknowns; ++factor.rank) {
    std::size_t pivot = unknowns;
    double largest_left = rounding;
    for (std::size_t i = 0; i < unknowns; ++i) {
      if (done[i] || !(left[i][i] > largest_left)) continue;
      pivot = i;
      largest_left = left[i][i];
    }
    if (pivot == unknowns) break;
    double* const row = factor.Row(factor.rank);
    const double root = std::sqrt(largest_left);
    for (std::size_t j = 0; j < width; ++j) row[j] = done[j] ? 0.0 : left[pivot][j] / root;
    done[pivot] = true;
    for (std::size_t i = 0; i < width; ++i) {
      for (std::size_t j = 0; j < width; ++j) left[i][j] -= row[i] * row[j];
    }
  }
  factor.Row(unknowns)[unknowns] = std::sqrt(std::max(left[unknowns][unknowns], 0.0));
  return factor;
}

}  // namespace SatCommonUtils::estimation
