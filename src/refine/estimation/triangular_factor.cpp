// Householder reflections that take up rows block by block, and pivoted Cholesky of sums; sources in the header.

#include "refine/estimation/triangular_factor.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "linalg/simd.h"

namespace SatCommonUtils::estimation {

namespace {

// One reflection for each column: it maps the column's part in the block, below the diagonal element of the factor, to
// zero. While the rows take it, the products of the next column with those to its right are summed, so that the block
// is read and written once a column. Each sum is one of the even rows and one of the odd ones, so that additions need
// not wait for each other.
struct TReflect {
  static constexpr std::size_t kNone = TDesignRows::kMaxStride;
  TDesignRows* rows;
  TTriangularFactor* factor;

  struct TColumns {
    alignas(64) double now[TPointBlock::kSize];             ///< the present column of the block
    alignas(64) double next[TPointBlock::kSize];            ///< the one to its right
    alignas(64) double product[TDesignRows::kMaxStride];    ///< what a row takes, times its element of `now`
    alignas(64) double sums[TDesignRows::kMaxStride] = {};  ///< of the products of the present column with the others
  };

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const std::size_t width = factor->columns + 1;
    TColumns columns;
    TakeColumn(0, columns.next);
    Strips<Width, false>(0, &columns);
    for (std::size_t j = 0; j < width; ++j) {
      std::copy_n(columns.next, rows->count, columns.now);
      const double squares = columns.sums[j];
      if (squares == 0.0) {
        if (j + 1 == width) return;
        TakeColumn(j + 1, columns.next);
        Strips<Width, false>(j + 1, &columns);
        continue;
      }
      double* const top = factor->Row(j);
      const double norm = std::sqrt(top[j] * top[j] + squares);
      const double head = top[j] > 0.0 ? top[j] + norm : top[j] - norm;
      const double factor_of_product = 2.0 / (head * head + squares);
      std::fill_n(columns.product, rows->stride, 0.0);
      for (std::size_t c = j; c < width; ++c) {
        columns.product[c] = factor_of_product * (columns.sums[c] + head * top[c]);
        top[c] -= head * columns.product[c];
      }
      if (j + 1 == width) return;
      columns.product[j] = 1.0;  // what is left of the column is nothing, not its rounding
      Strips<Width, true>(j + 1, &columns);
    }
  }

  void TakeColumn(std::size_t column, double* elements) const {
    for (std::size_t k = 0; k < rows->count; ++k) elements[k] = rows->values[k * rows->stride + column];
  }

  // Reflects the rows, if asked, which yields `next`, the column `next_column`, and sums its products with the columns
  // of its vector and those to the right.
  template <int Width, bool Reflects>
  [[gnu::always_inline]] void Strips(std::size_t next_column, TColumns* columns) const {
    // Registers: what the rows take and two sums, 32 of them with 8 lanes, 16 otherwise.
    constexpr std::size_t kVectors = Width == 8 ? 5 : 4;
    std::size_t first = next_column / Width * Width;
    bool has_next = Reflects;
    while (first < rows->stride) {
      const std::size_t vectors = std::min((rows->stride - first) / Width, kVectors);
      if (vectors == kVectors) Strip<Width, kVectors, Reflects>(first, next_column, has_next, columns);
      if (Width == 8 && vectors == 4) Strip<Width, 4, Reflects>(first, next_column, has_next, columns);
      if (vectors == 3) Strip<Width, 3, Reflects>(first, next_column, has_next, columns);
      if (vectors == 2) Strip<Width, 2, Reflects>(first, next_column, has_next, columns);
      if (vectors == 1) Strip<Width, 1, Reflects>(first, next_column, has_next, columns);
      has_next = false;
      first += vectors * Width;
    }
  }

  template <int Width, std::size_t Vectors, bool Reflects>
  [[gnu::always_inline]] void Strip(std::size_t first, std::size_t next_column, bool has_next,
                                    TColumns* columns) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    TVector product[Vectors], even[Vectors] = {}, odd[Vectors] = {};
    for (std::size_t v = 0; v < Vectors; ++v) {
      product[v] = *reinterpret_cast<const TVector*>(columns->product + first + v * Width);
    }
    std::size_t k = 0;
    for (; k + 1 < rows->count; k += 2) {
      Row<Width, Vectors, Reflects>(k, first, has_next ? next_column : kNone, product, columns, even);
      Row<Width, Vectors, Reflects>(k + 1, first, has_next ? next_column : kNone, product, columns, odd);
    }
    if (k < rows->count)
      Row<Width, Vectors, Reflects>(k, first, has_next ? next_column : kNone, product, columns, even);
    for (std::size_t v = 0; v < Vectors; ++v) {
      *reinterpret_cast<TVector*>(columns->sums + first + v * Width) = even[v] + odd[v];
    }
  }

  template <int Width, std::size_t Vectors, bool Reflects, class TVector>
  [[gnu::always_inline]] void Row(std::size_t k, std::size_t first, std::size_t next_column, const TVector* product,
                                  TColumns* columns, TVector* sums) const {
    double* const row = rows->values + k * rows->stride;
    TVector values[Vectors];
    for (std::size_t v = 0; v < Vectors; ++v) {
      TVector& in_row = *reinterpret_cast<TVector*>(row + first + v * Width);
      values[v] = in_row;
      if constexpr (Reflects) in_row = values[v] = values[v] - columns->now[k] * product[v];
    }
    if (next_column != kNone) columns->next[k] = row[next_column];
    const double element = columns->next[k];
    for (std::size_t v = 0; v < Vectors; ++v) sums[v] = sums[v] + element * values[v];
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
