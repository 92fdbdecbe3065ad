// Cholesky's factorisation by columns of blocks (T. Davis 2006, chapter 4), and the blocks of the inverse that belong
// to the factor's pattern by recursion from the last column (K. Takahashi, J. Fagan, M. Chin 1973; A. Erisman and W.
// Tinney 1975, doi:10.1145/360680.360704). Every block is the sum of its terms in the order of their columns, whichever
// thread adds them up.

#include "block/block_factor.h"

#include <algorithm>
#include <array>
#include <atomic>

#include "block/parallel.h"
#include "block/small_blocks.h"
#include "linalg/kernels.h"

namespace SatCommonUtils::block {
namespace {

/// Columns of a level that a thread takes at a time.
constexpr std::size_t kRun = 4;

/// The block of the matrix itself at row i and column j of the elimination order, i >= j, by rows.
template <int Q>
void EntriesOf(const TFactorPattern& order, const TPattern& pattern, const std::vector<double>& blocks, std::uint32_t j,
               std::uint32_t i, double* block) {
  const std::uint32_t a = std::min(order.order[i], order.order[j]);
  const std::uint32_t b = std::max(order.order[i], order.order[j]);
  const auto begin = pattern.column.begin() + static_cast<std::ptrdiff_t>(pattern.rowFirst[a]);
  const auto end = pattern.column.begin() + static_cast<std::ptrdiff_t>(pattern.rowFirst[a + 1]);
  const auto found = std::lower_bound(begin, end, b);
  if (found == end || *found != b) {
    std::fill(block, block + Q * Q, 0.0);
    return;
  }
  const double* const from = blocks.data() + (found - pattern.column.begin()) * Q * Q;
  if (order.order[i] == a) {
    std::copy(from, from + Q * Q, block);
  } else {
    Transpose<Q>(from, block);
  }
}

}  // namespace

template <int Q>
TBlockFactor<Q>::TBlockFactor(const TPattern& pattern)
    : pattern_(pattern), below_(pattern_.row.size() * kBlock), diagonal_(pattern_.dense * kBlock) {
  const std::size_t rest = (pattern_.Count() - pattern_.dense) * Q;
  if (rest == 0) return;
  rest_ = std::make_unique<WorkMatrix>(rest, rest);
  factor_ = std::make_unique<WorkMatrix>(rest, rest);
}

template <int Q>
bool TBlockFactor<Q>::Factor(const TPattern& pattern, const std::vector<double>& blocks) {
  std::atomic<bool> positive{true};
  for (const std::vector<std::uint32_t>& level : pattern_.levels) {
    ForRuns(level.size(), kRun, [&](std::size_t first, std::size_t last) {
      for (std::size_t n = first; n < last; ++n) {
        if (!FactorColumn(level[n], pattern, blocks)) positive = false;
      }
    });
    if (!positive) return false;
  }
  if (rest_ == nullptr) return true;
  MakeRest(pattern, blocks);
  const std::size_t n = (pattern_.Count() - pattern_.dense) * Q;
  return kernels::CholeskyFactor(rest_->GetRows(), n, nullptr, factor_->GetRows()) == kernels::TFactorState::Done;
}

template <int Q>
bool TBlockFactor<Q>::FactorColumn(std::uint32_t j, const TPattern& pattern, const std::vector<double>& blocks) {
  const std::size_t begin = pattern_.columnFirst[j];
  const std::size_t end = pattern_.columnFirst[j + 1];
  double* const diagonal = diagonal_.data() + j * kBlock;
  EntriesOf<Q>(pattern_, pattern, blocks, j, j, diagonal);
  for (std::size_t n = begin; n < end; ++n) {
    EntriesOf<Q>(pattern_, pattern, blocks, j, pattern_.row[n], below_.data() + n * kBlock);
  }
  for (std::size_t m = pattern_.rowFirst[j]; m < pattern_.rowFirst[j + 1]; ++m) {
    const std::size_t own = pattern_.left[m];
    double transposed[kBlock];
    Transpose<Q>(below_.data() + own * kBlock, transposed);
    SubtractProduct<Q>(below_.data() + own * kBlock, transposed, diagonal);
    // The rows below in that column are rows of this one, too.
    std::size_t n = begin;
    for (std::size_t k = own + 1; k < pattern_.columnFirst[pattern_.leftColumn[m] + 1]; ++k, ++n) {
      while (pattern_.row[n] != pattern_.row[k]) ++n;
      SubtractProduct<Q>(below_.data() + k * kBlock, transposed, below_.data() + n * kBlock);
    }
  }
  if (!FactorBlock<Q>(diagonal)) return false;
  for (std::size_t n = begin; n < end; ++n) DivideByTransposedLower<Q>(diagonal, below_.data() + n * kBlock);
  return true;
}

template <int Q>
void TBlockFactor<Q>::MakeRest(const TPattern& pattern, const std::vector<double>& blocks) {
  const std::size_t count = pattern_.Count();
  const std::size_t dense = pattern_.dense;
  double** const rows = rest_->GetRows();
  ForRuns(count - dense, 1, [&](std::size_t r, std::size_t) {
    const auto i = static_cast<std::uint32_t>(dense + r);
    std::vector<double> strip((count - i) * kBlock, 0.0);
    for (std::uint32_t j = i; j < count; ++j) {
      double block[kBlock];
      EntriesOf<Q>(pattern_, pattern, blocks, i, j, block);
      Transpose<Q>(block, strip.data() + (j - i) * kBlock);
    }
    for (std::size_t m = pattern_.rowFirst[i]; m < pattern_.rowFirst[i + 1]; ++m) {
      const std::size_t own = pattern_.left[m];
      for (std::size_t k = own; k < pattern_.columnFirst[pattern_.leftColumn[m] + 1]; ++k) {
        double transposed[kBlock];
        Transpose<Q>(below_.data() + k * kBlock, transposed);
        SubtractProduct<Q>(below_.data() + own * kBlock, transposed, strip.data() + (pattern_.row[k] - i) * kBlock);
      }
    }
    for (std::size_t j = 0; j < count - i; ++j) {
      for (std::size_t q = 0; q < Q; ++q) {
        std::copy_n(strip.data() + j * kBlock + q * Q, Q, rows[r * Q + q] + (r + j) * Q);
      }
    }
  });
}

template <int Q>
void TBlockFactor<Q>::Solve(std::vector<double>* right) const {
  const std::size_t count = pattern_.Count();
  const std::size_t dense = pattern_.dense;
  std::vector<double> x(count * Q);
  for (std::size_t p = 0; p < count; ++p) std::copy_n(right->data() + pattern_.order[p] * Q, Q, x.data() + p * Q);
  for (std::size_t j = 0; j < dense; ++j) {
    const double* const l = diagonal_.data() + j * kBlock;
    double* const own = x.data() + j * Q;
    for (int r = 0; r < Q; ++r) {
      for (int k = 0; k < r; ++k) own[r] -= l[r * Q + k] * own[k];
      own[r] /= l[r * Q + r];
    }
    for (std::size_t n = pattern_.columnFirst[j]; n < pattern_.columnFirst[j + 1]; ++n) {
      const double* const block = below_.data() + n * kBlock;
      double* const to = x.data() + pattern_.row[n] * Q;
      for (int r = 0; r < Q; ++r) {
        for (int k = 0; k < Q; ++k) to[r] -= block[r * Q + k] * own[k];
      }
    }
  }
  if (rest_ != nullptr) {
    const std::size_t n = (count - dense) * Q;
    const std::vector<double> b(x.end() - static_cast<std::ptrdiff_t>(n), x.end());
    std::vector<double> y(n);
    kernels::CholeskySolve(factor_->GetRows(), b.data(), n, nullptr, y.data(), x.data() + dense * Q);
  }
  for (std::size_t j = dense; j-- > 0;) {
    const double* const l = diagonal_.data() + j * kBlock;
    double* const own = x.data() + j * Q;
    for (std::size_t n = pattern_.columnFirst[j]; n < pattern_.columnFirst[j + 1]; ++n) {
      const double* const block = below_.data() + n * kBlock;
      const double* const from = x.data() + pattern_.row[n] * Q;
      for (int r = 0; r < Q; ++r) {
        for (int k = 0; k < Q; ++k) own[k] -= block[r * Q + k] * from[r];
      }
    }
    for (int r = Q - 1; r >= 0; --r) {
      for (int k = r + 1; k < Q; ++k) own[r] -= l[k * Q + r] * own[k];
      own[r] /= l[r * Q + r];
    }
  }
  for (std::size_t p = 0; p < count; ++p) std::copy_n(x.data() + p * Q, Q, right->data() + pattern_.order[p] * Q);
}

template <int Q>
void TBlockFactor<Q>::Invert() {
  inverseBelow_.resize(below_.size());
  inverseDiagonal_.resize(diagonal_.size());
  if (rest_ != nullptr) {
    InvertFactor((pattern_.Count() - pattern_.dense) * Q, factor_->GetRows(), rest_->GetRows());
  }
  for (const std::vector<std::uint32_t>& depth : pattern_.depths) {
    ForRuns(depth.size(), kRun, [&](std::size_t first, std::size_t last) {
      for (std::size_t n = first; n < last; ++n) InvertColumn(depth[n]);
    });
  }
}

template <int Q>
void TBlockFactor<Q>::InverseOf(std::uint32_t i, std::uint32_t k, std::size_t* hint, double* block) const {
  if (k >= pattern_.dense) {
    // The full inverse has its upper triangle.
    const std::size_t r = (k - pattern_.dense) * Q;
    const std::size_t c = (i - pattern_.dense) * Q;
    const double* const* const rows = rest_->GetRows();
    for (std::size_t p = 0; p < Q; ++p) {
      for (std::size_t q = 0; q < Q; ++q) {
        block[q * Q + p] = r + p <= c + q ? rows[r + p][c + q] : rows[c + q][r + p];
      }
    }
    return;
  }
  const double* from = inverseDiagonal_.data() + k * kBlock;
  if (i != k) {
    while (pattern_.row[*hint] != i) ++*hint;
    from = inverseBelow_.data() + *hint * kBlock;
  }
  std::copy(from, from + kBlock, block);
}

template <int Q>
void TBlockFactor<Q>::InvertColumn(std::uint32_t j) {
  const std::size_t begin = pattern_.columnFirst[j];
  const std::size_t count = pattern_.columnFirst[j + 1] - begin;
  const double* const l = diagonal_.data() + j * kBlock;
  double* const column = inverseBelow_.data() + begin * kBlock;
  std::vector<double> scaled(below_.begin() + static_cast<std::ptrdiff_t>(begin * kBlock),
                             below_.begin() + static_cast<std::ptrdiff_t>((begin + count) * kBlock));
  for (std::size_t n = 0; n < count; ++n) DivideByLower<Q>(l, scaled.data() + n * kBlock);
  std::fill(column, column + count * kBlock, 0.0);
  for (std::size_t a = 0; a < count; ++a) {
    const std::uint32_t k = pattern_.row[begin + a];
    std::size_t hint = k < pattern_.dense ? pattern_.columnFirst[k] : 0;
    for (std::size_t b = a; b < count; ++b) {
      double block[kBlock];
      InverseOf(pattern_.row[begin + b], k, &hint, block);
      SubtractProduct<Q>(block, scaled.data() + a * kBlock, column + b * kBlock);
      if (b != a) SubtractTransposedProduct<Q>(block, scaled.data() + b * kBlock, column + a * kBlock);
    }
  }
  double* const diagonal = inverseDiagonal_.data() + j * kBlock;
  InverseOfLower<Q>(l, diagonal);
  for (std::size_t n = 0; n < count; ++n) {
    SubtractTransposedProduct<Q>(scaled.data() + n * kBlock, column + n * kBlock, diagonal);
  }
}

template <int Q>
bool TBlockFactor<Q>::InverseBlock(std::uint32_t a, std::uint32_t b, double* block) const {
  const std::uint32_t p = pattern_.place[a];
  const std::uint32_t q = pattern_.place[b];
  const std::uint32_t low = std::min(p, q);
  const std::uint32_t high = std::max(p, q);
  std::size_t hint = 0;
  if (low < pattern_.dense && low != high) {
    const auto begin = pattern_.row.begin() + static_cast<std::ptrdiff_t>(pattern_.columnFirst[low]);
    const auto end = pattern_.row.begin() + static_cast<std::ptrdiff_t>(pattern_.columnFirst[low + 1]);
    const auto found = std::lower_bound(begin, end, high);
    if (found == end || *found != high) return false;
    hint = static_cast<std::size_t>(found - pattern_.row.begin());
  }
  double lower[kBlock];
  InverseOf(high, low, &hint, lower);
  if (p == high) {
    std::copy(lower, lower + kBlock, block);
  } else {
    Transpose<Q>(lower, block);
  }
  return true;
}

template class TBlockFactor<2>;
template class TBlockFactor<4>;
template class TBlockFactor<6>;

}  // namespace SatCommonUtils::block
