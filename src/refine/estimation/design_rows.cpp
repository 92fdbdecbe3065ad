// Design rows of N/D: the derivatives of a quotient, vectorised over the points of a block, and sums of their products,
// vectorised over their columns. Elementary.

#include "refine/estimation/design_rows.h"

#include <algorithm>

#include "linalg/simd.h"
#include "rpc/polynomial_kernel.h"

namespace SatCommonUtils::estimation {

namespace {

const double* Observations(const TPointBlock& block, TOutput output) {
  return output == TOutput::Line ? block.line : block.sample;
}

struct TEvaluate {
  const TPointBlock& block;
  const double* observations;
  const TRational& rational;
  TOutputValues* out;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using TVector = typename simd::TLanes<Width>::TVector;
    for (std::size_t i = 0; i < TPointBlock::kSize; i += Width) {
      TVector terms[rpc::kTermCount];
      rpc::FormTerms(At<TVector>(block.P + i), At<TVector>(block.L + i), At<TVector>(block.H + i), terms);
      TVector numerator, denominator;
      rpc::PolynomialValue(rational.numerator, terms, numerator);
      rpc::PolynomialValue(rational.denominator, terms, denominator);
      At<TVector>(out->denominator + i) = denominator;
      At<TVector>(out->value + i) = numerator / denominator;
      At<TVector>(out->residual + i) = At<TVector>(out->value + i) - At<TVector>(observations + i);
    }
  }

  template <class TVector>
  [[gnu::always_inline]] static TVector& At(double* p) {
    return *reinterpret_cast<TVector*>(p);
  }
  template <class TVector>
  [[gnu::always_inline]] static const TVector& At(const double* p) {
    return *reinterpret_cast<const TVector*>(p);
  }
};

template <std::size_t Terms>
struct TFormRows {
  const TPointBlock& block;
  const TOutputValues& values;
  TDesignRows* rows;

  // In three passes over the block: a vector that is loaded right after its parts were stored would wait for them.
  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kUnknowns = 2 * Terms - 1;
    constexpr std::size_t kStride = (kUnknowns + 8) / 8 * 8;
    alignas(64) double terms[TPointBlock::kSize * kTerms];
    for (std::size_t i = 0; i < block.count; ++i)
      rpc::FormTerms(block.P[i], block.L[i], block.H[i], terms + i * kTerms);
    for (std::size_t i = 0; i < block.count; ++i) {
      double* const row = rows->values + i * kStride;
      for (std::size_t j = 0; j < Terms; ++j) row[j] = terms[i * kTerms + j] / values.denominator[i];
    }
    for (std::size_t i = 0; i < block.count; ++i) {
      double* const row = rows->values + i * kStride;
      for (std::size_t j = 1; j < Terms; ++j) row[Terms - 1 + j] = -values.value[i] * row[j];
      row[kUnknowns] = values.residual[i];
      for (std::size_t j = kUnknowns + 1; j < kStride; ++j) row[j] = 0.0;
    }
  }
};

template <std::size_t Terms>
void FormRows(const TPointBlock& block, const TOutputValues& values, TDesignRows* rows) {
  rows->SetUnknowns(2 * Terms - 1);
  rows->count = block.count;
  simd::Dispatch(TFormRows<Terms>{block, values, rows});
}

// Adds to `kRows` rows of the sums, in `Vectors` vectors of columns that stay in registers over the block.
struct TAddProducts {
  const TDesignRows& rows;
  double* sums;
  static constexpr std::size_t kRows = 4;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    // Registers: 4 x 5 sums of 8 lanes with 32 of them, 4 x 2 otherwise with 16.
    constexpr std::size_t kVectors = Width == 8 ? 5 : 2;
    for (std::size_t i = 0; i < rows.stride; i += kRows) {
      std::size_t column = i / Width * Width;
      while (column + kVectors * Width <= rows.stride) {
        Tile<Width, kVectors>(i, column);
        column += kVectors * Width;
      }
      const std::size_t left = (rows.stride - column) / Width;
      if (Width == 8 && left == 4) Tile<Width, 4>(i, column);
      if (Width == 8 && left == 3) Tile<Width, 3>(i, column);
      if (Width == 8 && left == 2) Tile<Width, 2>(i, column);
      if (left == 1) Tile<Width, 1>(i, column);
    }
  }

  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tile(std::size_t row, std::size_t column) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    TVector sum[kRows][Vectors];
    for (std::size_t i = 0; i < kRows; ++i) {
      for (std::size_t v = 0; v < Vectors; ++v) {
        sum[i][v] = *reinterpret_cast<const TVector*>(sums + (row + i) * rows.stride + column + v * Width);
      }
    }
    const double* values = rows.values;
    for (std::size_t k = 0; k < rows.count; ++k, values += rows.stride) {
      TVector right[Vectors];
      for (std::size_t v = 0; v < Vectors; ++v) {
        right[v] = *reinterpret_cast<const TVector*>(values + column + v * Width);
      }
      for (std::size_t i = 0; i < kRows; ++i) {
        const double left = values[row + i];
        for (std::size_t v = 0; v < Vectors; ++v) sum[i][v] = sum[i][v] + left * right[v];
      }
    }
    for (std::size_t i = 0; i < kRows; ++i) {
      for (std::size_t v = 0; v < Vectors; ++v) {
        *reinterpret_cast<TVector*>(sums + (row + i) * rows.stride + column + v * Width) = sum[i][v];
      }
    }
  }
};

}  // namespace

void EvaluateOutput(const TPointBlock& block, TOutput output, const TRational& rational, TOutputValues* values) {
  simd::Dispatch(TEvaluate{block, Observations(block, output), rational, values});
}

void FormDesignRows(const TPointBlock& block, const TOutputValues& values, std::size_t terms, TDesignRows* rows) {
  if (terms == 4) return FormRows<4>(block, values, rows);
  if (terms == 10) return FormRows<10>(block, values, rows);
  FormRows<kTerms>(block, values, rows);
}

void FormFirstOrderRows(const TPointBlock& block, TOutput output, TDesignRows* rows) {
  const double* const observations = Observations(block, output);
  rows->SetUnknowns(7);
  rows->count = block.count;
  for (std::size_t i = 0; i < block.count; ++i) {
    double* const row = rows->values + i * rows->stride;
    const double o = observations[i];
    const double P = block.P[i], L = block.L[i], H = block.H[i];
    const double values[] = {P, L, H, 1.0, -o * P, -o * L, -o * H, o};
    std::copy(std::begin(values), std::end(values), row);
  }
}

void AddNormalProducts(const TDesignRows& rows, TNormalSums* sums) {
  sums->stride = rows.stride;
  simd::Dispatch(TAddProducts{rows, sums->values});
}

}  // namespace SatCommonUtils::estimation
