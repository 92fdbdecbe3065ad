// Elimination with partial pivoting by panels of columns: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed.,
// 2013, 3.4.7 (blocked form), with a look ahead at the next panel (J. Dongarra, P. Luszczek, A. Petitet, "The LINPACK
// benchmark: past, present and future", 2003, doi:10.1002/cpe.728). Every element takes its terms one by one in the
// order of the columns, as in the plain loops.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <exception>
#include <utility>
#include <vector>

#include "linalg/aligned_buffer.h"
#include "linalg/elimination_strip.h"
#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/team.h"
#include "linalg/tile.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::kernels {

namespace {

// Columns that are eliminated one by one before others take their terms.
constexpr std::size_t kPieceColumns = 8;
// Columns that one thread takes at a time.
constexpr std::size_t kStripColumns = kWidestPanel;
static_assert(kStripColumns % kPieceColumns == 0 && kPieceColumns % kMostTileRows == 0);
// A system of so few columns is one piece.
constexpr std::size_t kSmallSystem = 64;

// Columns of the panel that is followed by `left` columns of the matrix, itself included. A wide one saves memory
// traffic; narrow ones keep what one thread has to do by itself small beside what all do.
std::size_t PanelColumns(std::size_t left) {
  return left > 500 ? 4 * kStripColumns : left > 200 ? 2 * kStripColumns : kStripColumns;
}

// The state of an elimination.
struct TSystem {
  double** a;
  double* b;
  std::size_t n;
  TPoll poll;
  TLeftColumns left_columns;
  double sign;
};

// The largest element of a column so far.
struct TPivot {
  std::size_t row;
  double magnitude;

  void Consider(std::size_t candidate, double element) {
    if (std::fabs(element) > magnitude) *this = {candidate, std::fabs(element)};
  }
};

// The element at or below `column` with the largest magnitude in that column, the uppermost of equals.
TPivot FindPivot(TConstRows a, std::size_t column, std::size_t n) {
  TPivot pivot{column, std::fabs(a[column][column])};
  for (std::size_t row = column + 1; row < n; ++row) pivot.Consider(row, a[row][column]);
  return pivot;
}

// Subtracts an upper row, times the row's factor, from every row below it, in the columns of the piece, and looks for
// the pivot of the next column meanwhile, if the piece has one.
struct TSubtractFromRows {
  const TSystem& system;
  TRange piece;
  std::size_t column;
  const TPackedFactors* factors;  // null where nobody needs them later
  TPivot* next;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    // Where nobody looks at them, columns left of the pivot and beyond the last may change: whole vectors are taken.
    const bool padded = system.left_columns == TLeftColumns::Skip;
    if (piece.last - piece.first == kPieceColumns || (padded && piece.last - piece.first < kPieceColumns)) {
      constexpr std::size_t kVectors = kPieceColumns / Width;
      using TVec = typename simd::TLanes<Width>::TVector;
      TVec upper[kVectors];
      double* const upper_row = system.a[column] + piece.first;
#pragma GCC unroll 4
      for (std::size_t v = 0; v < kVectors; ++v) simd::Load(upper_row + v * Width, upper[v]);
      Rows([&](double factor, double* lower) __attribute__((always_inline)) {
#pragma GCC unroll 4
        for (std::size_t v = 0; v < kVectors; ++v) {
          using TMemory = typename simd::TLanes<Width>::TUnaligned;
          double* const place = lower + piece.first + v * Width;
          TVec sum;
          simd::Load(place, sum);
          *reinterpret_cast<TMemory*>(place) = sum - factor * upper[v];
        }
      });
      return;
    }
    const TRange columns = padded ? TRange{(column + 1) / 8 * 8, WorkMatrix::Padded(piece.last)} : piece;
    const double* const upper = system.a[column];
    Rows([&](double factor, double* lower)
             __attribute__((always_inline)) { AddRow<Width, TTerm::Subtracted>(factor, upper, columns, lower); });
  }

  template <class Subtract>
  [[gnu::always_inline]] void Rows(const Subtract& subtract) const {
    const bool looks = column + 1 < piece.last;
    TPivot pivot{column + 1, -1.0};
    const double divisor = system.a[column][column];
    const double right = system.b[column];
    const std::size_t run = factors == nullptr ? system.n : factors->height;
    for (std::size_t row = column + 1; row < system.n;) {
      const std::size_t last = std::min((row / run + 1) * run, system.n);
      double* to = factors == nullptr ? nullptr : factors->Of(row) + (column - factors->first) * run;
      // Where the next column's factors go: another thread may have the line that it held before.
      if (to != nullptr) __builtin_prefetch(to + run, 1);
      for (; row < last; ++row) {
        double* const lower = system.a[row];
        const double factor = lower[column] / divisor;
        if (to != nullptr) *to++ = factor;
        subtract(factor, lower);
        system.b[row] -= factor * right;
        if (looks) {
          if (row == column + 1) {
            pivot.magnitude = std::fabs(lower[column + 1]);
          } else {
            pivot.Consider(row, lower[column + 1]);
          }
        }
      }
    }
    *next = pivot;
  }
};

// Eliminates the columns of a piece. Returns whether the elimination goes on: every column has a pivot and the poll
// does not stop. \param done columns that are eliminated so far.
bool EliminatePiece(TSystem* system, TRange piece, const TPackedFactors* factors, std::size_t* done) {
  if (piece.first + 1 >= system->n) return true;
  TPivot pivot = FindPivot(system->a, piece.first, system->n);
  for (std::size_t column = piece.first; column < piece.last && column + 1 < system->n; ++column) {
    if (system->a[pivot.row][column] == 0.0) return false;
    if (pivot.row != column) {
      std::swap(system->a[pivot.row], system->a[column]);
      std::swap(system->b[pivot.row], system->b[column]);
      for (std::size_t c = factors == nullptr ? column : factors->first; c < column; ++c) {
        const std::size_t place = (c - factors->first) * factors->height;
        std::swap(factors->Of(pivot.row)[place], factors->Of(column)[place]);
      }
      system->sign = -system->sign;
    }
    simd::Dispatch(TSubtractFromRows{*system, piece, column, factors, &pivot});
    *done = column + 1;
    if (Stops(system->poll)) return false;
  }
  return true;
}

// Eliminates columns by panels. While one thread eliminates a panel, the others do what the panel before calls for in
// other columns, which are independent of each other. Wherever it ends, all columns are then as far as the loops that
// take one column at a time.
class TElimination {
 public:
  TElimination(TSystem* system, std::size_t team)
      : system_(system), team_(team), steps_{TStep(system->n), TStep(system->n)} {
    packed_.reserve(team);
    for (std::size_t i = 0; i < team; ++i) packed_.emplace_back(PanelColumns(system->n) * kStripColumns);
  }

  // Returns false when a column has no pivot or the poll stops.
  bool Run() {
    OnTeamOrAlone(team_, [&](std::size_t thread, std::size_t threads) { Work(thread, threads); });
    if (of_poll_ != nullptr) std::rethrow_exception(of_poll_);
    return !steps_[0].stopped && !steps_[1].stopped;
  }

 private:
  // A panel, and what other columns need when they take its terms: the rows go on being exchanged meanwhile.
  struct TStep {
    explicit TStep(std::size_t n)
        : rows(n),
          height((n + shape.rows - 1) / shape.rows * shape.rows),
          values(height * PanelColumns(n)),
          factors{values.Get(), shape.rows, PanelColumns(n), 0},
          taken((n + kStripColumns - 1) / kStripColumns) {
      // Tiles at the end of the matrix are whole ones.
      std::fill(factors.Of(height - shape.rows), values.Get() + height * factors.terms, 0.0);
    }

    const TShape shape = ShapeOfLevel();
    std::vector<double*> rows;
    std::size_t height;
    TAlignedBuffer values;
    TPackedFactors factors;
    TRange panel{0, 0};
    std::size_t done = 0;  // the column that its elimination came to
    bool stopped = false;
    std::vector<std::atomic<bool>> taken;  // which strips threads have set about
  };

  void Work(std::size_t thread, std::size_t threads) {
    if (thread == 0) Eliminate(&steps_[0], {0, std::min(PanelColumns(system_->n), system_->n)}, nullptr);
    for (std::size_t number = 0;; ++number) {
      TStep& step = steps_[number % 2];
      meeting_.Wait(threads);
      const TRange next = NextPanel(step);
      const bool is_last = next.first == next.last;
      if (thread == 0 && !is_last) Eliminate(&steps_[(number + 1) % 2], next, &step);
      TakeStrips(&step, next.last, thread, threads);
      if (is_last) return;
    }
  }

  // Empty where the elimination ends.
  TRange NextPanel(const TStep& step) const {
    const std::size_t first = step.panel.last, n = system_->n;
    return {first, step.stopped ? first : std::min(first + PanelColumns(n - first), n)};
  }

  // Eliminates the columns of a panel. \param before the panel on its left, whose terms it takes first.
  void Eliminate(TStep* step, TRange panel, TStep* before) {
    for (std::size_t j = panel.first; before != nullptr && j < panel.last; j += kStripColumns) {
      TakeTerms(*before, {before->panel.first, before->done}, {j, std::min(j + kStripColumns, panel.last)}, 0);
    }
    step->panel = panel;
    step->factors.first = panel.first;
    for (std::atomic<bool>& strip : step->taken) strip.store(false, std::memory_order_relaxed);
    step->done = panel.first;
    for (std::size_t first = panel.first; first < panel.last; first += kStripColumns) {
      EliminateStripOf(step, {first, std::min(first + kStripColumns, panel.last)});
    }
    std::copy_n(system_->a, system_->n, step->rows.begin());
  }

  // Eliminates a strip of the panel, or does what is done so far calls for in it.
  void EliminateStripOf(TStep* step, TRange strip) {
    const TRange before{step->panel.first, std::min(step->done, strip.first)};
    TakeLiveTerms(*step, before, strip);
    for (std::size_t first = strip.first; first < strip.last; first += kPieceColumns) {
      const TRange piece{first, std::min(first + kPieceColumns, strip.last)};
      TakeLiveTerms(*step, {strip.first, step->done}, piece);
      if (step->stopped) continue;
      try {
        step->stopped = !EliminatePiece(system_, piece, &step->factors, &step->done);
      } catch (...) {
        of_poll_ = std::current_exception();
        step->stopped = true;
      }
    }
  }

  // Columns of the panel at work.
  void TakeLiveTerms(const TStep& step, TRange done, TRange columns) {
    EliminateStrip({system_->a, system_->n, step.factors, done, columns, IsPadded(), packed_[0].Get()});
  }

  void TakeTerms(const TStep& step, TRange done, TRange columns, std::size_t thread) {
    EliminateStrip({step.rows.data(), system_->n, step.factors, done, columns, IsPadded(), packed_[thread].Get()});
  }

  // Takes strips right of `next_last` and those left of there as far as somebody looks at them, until all are taken.
  // The first thread begins beside the panel, where it will work next, the others elsewhere: every one mostly finds the
  // strips that it had before, which are in its cache.
  void TakeStrips(TStep* step, std::size_t next_last, std::size_t thread, std::size_t threads) {
    const bool left = system_->left_columns == TLeftColumns::Eliminate;
    const std::size_t n = system_->n;
    const std::size_t right_strips = (n - next_last + kStripColumns - 1) / kStripColumns;
    const std::size_t left_strips = left ? (step->panel.last + kStripColumns - 1) / kStripColumns : 0;
    const std::size_t count = right_strips + left_strips;
    const std::size_t start = thread == 0 ? 0 : (thread - 1) * count / threads;
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t place = thread == 0 ? i : count - 1 - (start + i) % count;
      const bool is_right = place < right_strips;
      const std::size_t first = is_right ? next_last + place * kStripColumns : (count - 1 - place) * kStripColumns;
      if (step->taken[first / kStripColumns].exchange(true, std::memory_order_relaxed)) continue;
      const TRange columns{first, std::min(first + kStripColumns, is_right ? n : step->panel.last)};
      if (is_right || first < step->panel.first) {
        TakeTerms(*step, {step->panel.first, step->done}, columns, thread);
      } else {
        TakeLaterTerms(*step, columns, thread);
      }
    }
  }

  // Columns of the panel itself: each piece has taken the terms up to its own.
  void TakeLaterTerms(const TStep& step, TRange strip, std::size_t thread) {
    const std::size_t end = std::min(strip.last, step.done);
    for (std::size_t first = strip.first; first < end; first += kPieceColumns) {
      const TRange piece{first, std::min(first + kPieceColumns, strip.last)};
      TakeTerms(step, {piece.last, end}, piece, thread);
    }
    TakeTerms(step, {strip.last, step.done}, strip, thread);
  }

  bool IsPadded() const { return system_->left_columns == TLeftColumns::Skip; }

  TSystem* system_;
  std::size_t team_;
  TStep steps_[2];
  std::vector<TAlignedBuffer> packed_;  // of each thread
  TMeeting meeting_;
  std::exception_ptr of_poll_;
};

bool EliminateAll(TSystem* system) {
  if (system->n > kSmallSystem) return TElimination(system, SolverTeamSize(system->n)).Run();
  std::size_t done = 0;
  return EliminatePiece(system, {0, system->n}, nullptr, &done);
}

}  // namespace

double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll, TLeftColumns left_columns) {
  TSystem system{a, b, n, poll, left_columns, 1.0};
  if (!EliminateAll(&system)) return 0.0;
  double determinant = system.sign;
  for (std::size_t i = 0; i < n; ++i) determinant *= a[i][i];
  if (Stops(poll)) return 0.0;
  if (determinant == 0.0) return determinant;
  if (Stops(poll)) return 0.0;
  for (std::size_t i = n; i-- > 0;) {
    x[i] = (b[i] - Dot(a[i] + i + 1, x + i + 1, n - i - 1)) / a[i][i];
    if (i + 1 < n && Stops(poll)) return 0.0;
  }
  return determinant;
}

}  // namespace SatCommonUtils::kernels
