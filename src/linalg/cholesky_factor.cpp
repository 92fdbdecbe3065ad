// Cholesky's factorisation of large matrices by strips of columns: G. H. Golub, C. F. Van Loan, Matrix Computations,
// 4th ed., 2013, 4.2.9 (blocked forms). Every sum keeps the index order of the plain loops.

#include "linalg/cholesky_factor.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <deque>
#include <exception>
#include <vector>

#include "linalg/aligned_buffer.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/team.h"
#include "linalg/tile_kernel.h"

namespace SatCommonUtils::kernels {

namespace {

// The factor as tiles read it: strips of as many columns as a panel has, one row after the other down to the diagonal.
class TPackedFactor {
 public:
  TPackedFactor(std::size_t n, std::size_t panel)
      : panel_(panel), values_(panel * panel * Triangle((n + panel - 1) / panel)) {}

  // Element (0, column) of a strip; `panel` further is that of the next row.
  double* Column(std::size_t column) const {
    const std::size_t strip = column / panel_;
    return values_.Get() + panel_ * panel_ * Triangle(strip) + column % panel_;
  }

 private:
  static std::size_t Triangle(std::size_t count) { return count * (count + 1) / 2; }

  std::size_t panel_;
  TAlignedBuffer values_;
};

// Rows of the factor, or of the sums towards them, in the columns of one strip.
struct TTiles {
  TConstRows a;
  std::size_t n;
  const TPackedFactor& packed;
  TRows u;
  TRange columns;          // of the strip
  TRange rows;             // begins and ends with a tile, or with the matrix
  std::size_t first_term;  // of the sums: those before it are in `u`
  std::size_t terms;       // up to which the sums go, or `kUpToRow`
  bool solve;              // the rows get their values, from sums that are whole

  static constexpr std::size_t kUpToRow = static_cast<std::size_t>(-1);

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    for (std::size_t row = rows.first; row < rows.last; row += kRows) {
      // From the vector on that holds the diagonal.
      const std::size_t skipped = row > columns.first ? (row - columns.first) / Width * Width : 0;
      const std::size_t vectors = (columns.last - columns.first - skipped + Width - 1) / Width;
      static_assert(TStaticShape<Width>::kVectors <= 3);
      if (vectors == 1) Tile<Width, 1>(row, columns.first + skipped);
      if (vectors == 2) Tile<Width, 2>(row, columns.first + skipped);
      if constexpr (TStaticShape<Width>::kVectors == 3) {
        if (vectors == 3) Tile<Width, 3>(row, columns.first + skipped);
      }
    }
  }

  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tile(std::size_t row, std::size_t column) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    const std::size_t inner = std::min(row, terms) - first_term;
    const double* const x = packed.Column(row) + first_term * kPanel;
    double* const y = packed.Column(column) + first_term * kPanel;
    double unused[kPanel];  // what stands for rows beyond the last
    double* c[kRows];
    for (std::size_t r = 0; r < kRows; ++r) c[r] = row + r < n ? u[row + r] + column : unused;
    TSums<Width, Vectors> sums{};
    if (first_term != 0) LoadSums<Width, Vectors>(c, 0, sums);
    TakeTerms<TTerm::Plain, kPanel, Width, Vectors>(x, y, inner, sums);
    if (solve) {
      Solve<Width, Vectors>(row, column, x + inner * kPanel, sums);
      PackSums<Width, Vectors>(sums, y + inner * kPanel);
    }
    StoreSums<Width, Vectors>(sums, 0, c);
  }

  // \param x the factors of the tile's own rows.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Solve(std::size_t row, std::size_t column, const double* x,
                                    TSums<Width, Vectors>& sums) const {
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    double at_end[kRows][kPanel] = {};
    const double* from[kRows];
    const bool whole = column + Vectors * Width <= n;
    for (std::size_t r = 0; r < kRows; ++r) {
      from[r] = whole ? a[row + r] + column : at_end[r];
      if (!whole) std::copy_n(a[row + r] + column, n - column, at_end[r]);
    }
#pragma GCC unroll 8
    for (std::size_t k = 0; k < kRows; ++k) {
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) {
        typename simd::TLanes<Width>::TVector value;
        simd::Load(from[k] + v * Width, value);
        sums[k][v] = (value - sums[k][v]) / x[k * kPanel + k];
      }
      TakeOwnTerm<TTerm::Plain, kPanel, Width, Vectors>(x, k, sums);
    }
  }
};

// The rows of a tile on the diagonal, which hold the sums over those above the tile, within its strip.
struct TDiagonalRows {
  TConstRows a;
  const TPackedFactor& packed;
  TRows u;
  TRange rows;
  TRange columns;     // of the strip
  std::size_t* made;  // rows, up to one whose pivot fails

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    constexpr std::size_t kPanel = TStaticShape<Width>::kPanel;
    // Whole vectors: what they compute left of the diagonal and beyond the end is not looked at.
    const std::size_t last = (columns.last + Width - 1) / Width * Width;
    for (std::size_t i = rows.first; i < rows.last; ++i) {
      const std::size_t first = i / Width * Width;
      double factors[kMostTileRows] = {};
      for (std::size_t k = rows.first; k < i; ++k) factors[k - rows.first] = u[k][i];
      double* const row = u[i];
      CombineRows<Width, TTerm::Plain>(factors, u + rows.first, i - rows.first, {first, last}, row);
      const double pivot = a[i][i] - row[i];
      if (pivot <= kSmallestCholeskyPivot) return;
      row[i] = std::sqrt(pivot);
      SubtractAndDivide<Width>(a[i], row[i], {i + 1, columns.last}, row);
      std::copy(row + first, row + last, packed.Column(first) + i * kPanel);
      ++*made;
    }
  }
};

// The sums of the forward pass in the columns of a strip take the terms of some rows above it.
struct TForwardTerms {
  const TPackedFactor& packed;
  TRange columns;
  TRange rows;
  double* y;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    // Of a strip at the end no more is there.
    const std::size_t vectors = (columns.last - columns.first + Width - 1) / Width;
    if (vectors == 1) Sum<Width, 1>();
    if (vectors == 2) Sum<Width, 2>();
    if (vectors == 3) Sum<Width, 3>();
  }

  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Sum() const {
    using TVec = typename simd::TLanes<Width>::TVector;
    double whole[Vectors * Width] = {};
    std::copy(y + columns.first, y + columns.last, whole);
    TVec sums[Vectors];
    for (std::size_t v = 0; v < Vectors; ++v) simd::Load(whole + v * Width, sums[v]);
    const double* u = packed.Column(columns.first) + rows.first * TStaticShape<Width>::kPanel;
    for (std::size_t k = rows.first; k < rows.last; ++k, u += TStaticShape<Width>::kPanel) {
#pragma GCC unroll 4
      for (std::size_t v = 0; v < Vectors; ++v) {
        TVec row;
        simd::Load(u + v * Width, row);
        sums[v] += y[k] * row;
      }
    }
    for (std::size_t v = 0; v < Vectors; ++v) std::memcpy(whole + v * Width, &sums[v], sizeof sums[v]);
    std::copy_n(whole, columns.last - columns.first, y + columns.first);
  }
};

// The columns of the factor in blocks, which the threads of a team take in turn. A block follows those on its left row
// by row; only its last rows have to wait for the block before it, and of these only the last terms.
class TFactorisation {
 public:
  TFactorisation(TConstRows a, std::size_t n, TPoll poll, TRows u, const double* b, double* y)
      : a_(a), n_(n), poll_(poll), u_(u), b_(b), y_(y), packed_(n, shape_.panel), early_(Blocks()) {}

  TFactorState Run() {
    OnTeamOrAlone(team_, [&](std::size_t thread, std::size_t) { Work(thread == 0); });
    if (of_poll_ == nullptr && !cancelled_) PollUpTo(made_);
    if (of_poll_ != nullptr) std::rethrow_exception(of_poll_);
    if (cancelled_) return TFactorState::Cancelled;
    return made_ < n_ ? TFactorState::NotPositive : TFactorState::Done;
  }

 private:
  std::size_t Blocks() const { return (n_ + width_ - 1) / width_; }

  void Work(bool polls) {
    for (;;) {
      const std::size_t block = taken_.fetch_add(1, std::memory_order_relaxed);
      if (block >= Blocks() || !Make(block)) return;
      if (polls) PollUpTo(std::min(ready_.load(std::memory_order_acquire) * width_, n_));
    }
  }

  // The caller's thread. Rows are polled for in their order once a block that ends with them is there.
  void PollUpTo(std::size_t rows) {
    try {
      for (; polled_ < rows && !cancelled_; ++polled_) cancelled_ = Stops(poll_);
    } catch (...) {
      of_poll_ = std::current_exception();
    }
    if (cancelled_ || of_poll_ != nullptr) ended_.store(true, std::memory_order_release);
  }

  // Returns whether there are so many blocks, or the work has come to an end instead.
  bool WaitForBlocks(std::size_t count) const {
    WaitUntil(
        [&] { return ready_.load(std::memory_order_acquire) >= count || ended_.load(std::memory_order_acquire); });
    return !ended_.load(std::memory_order_acquire);
  }

  bool Make(std::size_t block) {
    const std::size_t first = block * width_, last = std::min(first + width_, n_);
    const std::size_t before = first - std::min(first, width_), two_before = before - std::min(before, width_);
    for (std::size_t i = 1; i < block; ++i) {
      if (!WaitForBlocks(i)) return false;
      ForStrips({first, last}, [&](TRange strip) { Tiles(strip, {(i - 1) * width_, i * width_}, 0, true); });
    }
    std::size_t summed_before = 0, summed_own = 0;
    if (team_ > 1) {
      early_[block].store(true, std::memory_order_release);
      if (block > 0) {
        WaitUntil([&] {
          return early_[block - 1].load(std::memory_order_acquire) || ended_.load(std::memory_order_acquire);
        });
        // Otherwise its first rows may still be written.
        if (ended_.load(std::memory_order_acquire)) return false;
      }
      summed_before = two_before;
      summed_own = before;
      ForStrips({first, last}, [&](TRange strip) {
        if (summed_before > 0) Tiles(strip, {before, first}, 0, false, summed_before);
        if (summed_own > 0) Tiles(strip, {first, strip.last}, 0, false, summed_own);
      });
    }
    ForStrips({first, last}, [&](TRange strip) { BeginForwardPass(strip, before); });
    if (!WaitForBlocks(block)) return false;
    for (std::size_t j = first; j < last; j += shape_.panel) {
      const TRange strip{j, std::min(j + shape_.panel, last)};
      Tiles(strip, {before, first}, summed_before, true);
      Tiles(strip, {first, j}, summed_own, true);
      if (!MakeDiagonal(strip, summed_own)) {
        ended_.store(true, std::memory_order_release);
        return false;
      }
      EndForwardPass(strip, before);
    }
    ready_.store(block + 1, std::memory_order_release);
    return true;
  }

  bool MakeDiagonal(TRange strip, std::size_t first_term) {
    for (std::size_t row = strip.first; row < strip.last; row += shape_.rows) {
      const TRange rows{row, std::min(row + shape_.rows, strip.last)};
      Tiles(strip, rows, first_term, false);
      std::size_t made = 0;
      simd::Dispatch(TDiagonalRows{a_, packed_, u_, rows, strip, &made});
      made_ += made;
      if (made < rows.last - rows.first) return false;
    }
    return true;
  }

  // What the rows up to `known` call for, whose y is known.
  void BeginForwardPass(TRange strip, std::size_t known) const {
    if (b_ == nullptr) return;
    std::fill(y_ + strip.first, y_ + strip.last, 0.0);
    simd::Dispatch(TForwardTerms{packed_, strip, {0, known}, y_});
  }

  void EndForwardPass(TRange strip, std::size_t known) const {
    if (b_ == nullptr) return;
    simd::Dispatch(TForwardTerms{packed_, strip, {known, strip.first}, y_});
    for (std::size_t i = strip.first; i < strip.last; ++i) {
      y_[i] = (b_[i] - y_[i]) / u_[i][i];
      for (std::size_t j = i + 1; j < strip.last; ++j) y_[j] += y_[i] * u_[i][j];
    }
  }

  void Tiles(TRange strip, TRange rows, std::size_t first_term, bool solve,
             std::size_t terms = TTiles::kUpToRow) const {
    if (rows.first < rows.last) simd::Dispatch(TTiles{a_, n_, packed_, u_, strip, rows, first_term, terms, solve});
  }

  template <class Work>
  void ForStrips(TRange columns, const Work& work) const {
    for (std::size_t first = columns.first; first < columns.last; first += shape_.panel) {
      work(TRange{first, std::min(first + shape_.panel, columns.last)});
    }
  }

  TConstRows a_;
  std::size_t n_;
  TPoll poll_;
  TRows u_;
  const double* b_;
  double* y_;
  const TShape shape_ = ShapeOfLevel();
  // Columns of a block: of wide ones fewer come along for the rows above, and more have to wait for each other.
  const std::size_t width_ = n_ > 600 ? 2 * kWidestPanel : kWidestPanel;
  const std::size_t team_ = std::min(SolverTeamSize(n_), Blocks());  // one without a block would only wait
  TPackedFactor packed_;
  std::deque<std::atomic<bool>> early_;  // blocks of which all but the last rows are made
  std::atomic<std::size_t> taken_{0};    // blocks that threads have set about
  std::atomic<std::size_t> ready_{0};    // blocks that are made
  std::atomic<bool> ended_{false};
  std::size_t made_ = 0;  // rows; only the thread that has the next block in order counts
  std::size_t polled_ = 0;
  bool cancelled_ = false;
  std::exception_ptr of_poll_;
};

}  // namespace

TFactorState FactorByStrips(TConstRows a, std::size_t n, TPoll poll, TRows u, const double* b, double* y) {
  return TFactorisation(a, n, poll, u, b, y).Run();
}

}  // namespace SatCommonUtils::kernels
