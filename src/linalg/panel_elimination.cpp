// Elimination with partial pivoting by panels of columns: G. H. Golub, C. F. Van Loan, Matrix Computations, 4th ed.,
// 2013, 3.4.7 (blocked form), with a look ahead at the next panel (J. Dongarra, P. Luszczek, A. Petitet, "The LINPACK
// benchmark: past, present and future", 2003, doi:10.1002/cpe.728). Every element takes its terms one by one in the
// order of the columns, as in the plain loops.

#include "linalg/panel_elimination.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <deque>
#include <exception>
#include <utility>
#include <vector>

#include "linalg/simd.h"
#include "linalg/team.h"
#include "linalg/tile_kernel.h"

namespace SatCommonUtils::kernels {

namespace {

// Columns that are eliminated one by one before others take their terms.
constexpr std::size_t kPieceColumns = 8;
static_assert(kStripColumns % kPieceColumns == 0 && kPieceColumns % kMostTileRows == 0);

// Columns of the panel with which the last `left` columns of the matrix begin. A wide one saves memory traffic; narrow
// ones keep what one thread has to do by itself small beside what all do.
std::size_t PanelColumns(std::size_t left) {
  const std::size_t strips = left > 1000 ? 4 : left > 400 ? 2 : 1;
  return std::min(strips * kStripColumns, left);
}

// The columns of a piece, one after the other, from its first row on; rows of zeros fill the last tile.
struct TPiece {
  double* values;
  std::size_t height;  // what one column takes

  double* Column(std::size_t place) const { return values + place * height; }
};

// Subtracts a row of a piece, times the row's factor, from every row below it.
struct TSubtractFromRows {
  TPiece piece;
  std::size_t place;     // of the eliminated column, and of the row
  double* b;             // from the first row on
  double* factors;       // of the first row and this column
  std::size_t distance;  // from those of a tile to those of the next one

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using TVec = typename simd::TLanes<Width>::TVector;
    using TMemory = typename simd::TLanes<Width>::TUnaligned;
    constexpr std::size_t kRows = TStaticShape<Width>::kRows;
    double upper[kPieceColumns];
    for (std::size_t j = 0; j < kPieceColumns; ++j) upper[j] = piece.Column(j)[place];
    const double divisor = upper[place], right = b[place];
    // Rows of the piece itself, of which some are above.
    for (std::size_t row = place + 1; row < kPieceColumns; ++row) {
      const double factor = piece.Column(place)[row] / divisor;
      factors[row / kRows * distance + row % kRows] = factor;
      for (std::size_t j = 0; j < kPieceColumns; ++j) piece.Column(j)[row] -= factor * upper[j];
      b[row] -= factor * right;
    }
    double* to = factors + kPieceColumns / kRows * distance;
    for (std::size_t tile = kPieceColumns; tile < piece.height; tile += kRows, to += distance) {
      // Where the next column's factors go: another thread may have the line that it held before.
      __builtin_prefetch(to + kRows, 1);
#pragma GCC unroll 2
      for (std::size_t row = tile; row < tile + kRows; row += Width) {
        TVec factor, value;
        simd::Load(piece.Column(place) + row, factor);
        factor /= divisor;
        *reinterpret_cast<TMemory*>(to + row - tile) = factor;
#pragma GCC unroll 8
        for (std::size_t j = 0; j < kPieceColumns; ++j) {
          simd::Load(piece.Column(j) + row, value);
          *reinterpret_cast<TMemory*>(piece.Column(j) + row) = value - factor * upper[j];
        }
        simd::Load(b + row, value);
        *reinterpret_cast<TMemory*>(b + row) = value - factor * right;
      }
    }
  }
};

// The element of a column with the largest magnitude from `first` up to `last`, the uppermost of equals; the first one
// where that is not a number.
struct TFindPivot {
  const double* column;
  std::size_t first;
  std::size_t last;
  std::size_t* pivot;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using TVec = typename simd::TLanes<Width>::TVector;
    *pivot = first;
    double largest = std::fabs(column[first]);
    if (std::isnan(largest)) return;
    TVec largest_of_lanes = largest - TVec{}, places = static_cast<double>(first) - TVec{}, place = places;
    for (int lane = 0; lane < Width; ++lane) place[lane] += lane;
    std::size_t row = first;
    for (; row + Width <= last; row += Width, place += static_cast<double>(Width)) {
      TVec value;
      simd::Load(column + row, value);
      value = value < 0.0 ? -value : value;
      places = value > largest_of_lanes ? place : places;
      largest_of_lanes = value > largest_of_lanes ? value : largest_of_lanes;
    }
    for (int lane = 0; lane < Width; ++lane) {
      const std::size_t candidate = static_cast<std::size_t>(places[lane]);
      const bool larger = largest_of_lanes[lane] > largest;
      if (larger || (largest_of_lanes[lane] == largest && candidate < *pivot)) *pivot = candidate;
      if (larger) largest = largest_of_lanes[lane];
    }
    for (; row < last; ++row) {
      if (std::fabs(column[row]) > largest) *pivot = row, largest = std::fabs(column[row]);
    }
  }
};

// Eliminates columns by panels on a team. Every panel has an owner, in whose cache it stays: the thread that makes it
// take the terms of the others, and, where no poll asks for the caller's thread, eliminates it as well. That comes
// first, before the owner's other panels take the terms of the one before, so that nobody has to wait for it.
class TElimination {
 public:
  TElimination(const TPanelSystem& system, double** a_rows, TStripMatrix* matrix)
      : system_(system),
        a_rows_(a_rows),
        matrix_(matrix),
        b_(matrix->Rows().size()),
        panels_(Panels(system.n)),
        finished_(std::min(SolverTeamSize(system.n), panels_.size())) {  // one without a panel would only wait
    ChooseOwners();
    std::copy_n(system.b, system.n, b_.begin());
    for (std::size_t i = 0; i < std::min(kSteps, panels_.size()); ++i) {
      steps_.emplace_back(matrix->Rows().size(), PanelColumns(system.n));
    }
    for (std::size_t i = 0; i < finished_.size(); ++i) {
      packed_.emplace_back(PanelColumns(system.n) * kStripColumns);
      pieces_.emplace_back(kPieceColumns * b_.size());
    }
  }

  bool Run(double* sign) {
    // Taken before anything changes: when there is no memory the caller's system is as it was.
    const std::vector<double*> rows(a_rows_, a_rows_ + (a_rows_ == nullptr ? 0 : system_.n));
    OnTeamOrAlone(finished_.size(), [&](std::size_t thread, std::size_t threads) { Work(thread, threads); });
    *sign *= sign_.value;
    std::copy_n(b_.begin(), system_.n, system_.b);
    for (std::size_t i = 0; i < rows.size(); ++i) a_rows_[i] = rows[matrix_->Rows()[i] / kStripColumns];
    if (of_poll_ != nullptr) std::rethrow_exception(of_poll_);
    return !stopped_;
  }

 private:
  // The latest panels that are eliminated, for threads that are not through with them.
  static constexpr std::size_t kSteps = 3;

  // A counter that threads wait for, in a cache line of its own.
  struct alignas(64) TCount {
    std::atomic<std::size_t> value{0};

    void Set(std::size_t count) { value.store(count, std::memory_order_release); }
    void WaitFor(std::size_t count) const {
      WaitUntil([&] { return value.load(std::memory_order_acquire) >= count; });
    }
  };

  struct TPanel {
    explicit TPanel(TRange range) : columns(range) {}
    TRange columns;
    std::size_t owner = 0;
    TCount taken;  // 1 once it is copied, one more for each panel whose terms it has taken
  };

  // An eliminated panel, and what others need when they take its terms: the rows go on being exchanged meanwhile.
  struct alignas(64) TStep {
    TStep(std::size_t height, std::size_t columns)
        : rows(height), values(height * columns), factors{values.Get(), ShapeOfLevel().rows, columns, 0} {
      std::fill_n(factors.Of(height - kMostTileRows), kMostTileRows * columns, 0.0);
    }

    std::vector<std::size_t> rows;
    TAlignedBuffer values;
    TPackedFactors factors;
    std::size_t done = 0;  // the column that the elimination came to
    bool stopped = false;
  };

  static std::deque<TPanel> Panels(std::size_t n) {
    std::deque<TPanel> panels;
    for (std::size_t first = 0; first < n; first += PanelColumns(n - first)) {
      panels.emplace_back(TRange{first, first + PanelColumns(n - first)});
    }
    return panels;
  }

  // Shares the work evenly, that on the last panels first: towards the end fewer and fewer are left to work on.
  void ChooseOwners() {
    std::vector<double> loads(finished_.size());
    if (system_.poll != nullptr) {
      for (const TPanel& panel : panels_) loads[0] += TimeToEliminate(panel.columns);
    }
    for (auto panel = panels_.rbegin(); panel != panels_.rend(); ++panel) {
      panel->owner = static_cast<std::size_t>(std::min_element(loads.begin(), loads.end()) - loads.begin());
      loads[panel->owner] += TimeToTakeAll(panel->columns);
      if (system_.poll == nullptr) loads[panel->owner] += TimeToEliminate(panel->columns);
    }
  }

  // The processor's cycles at the widest vectors, about: what the columns take one by one, and in tiles.
  double TimeToEliminate(TRange columns) const {
    return 7.0 * static_cast<double>((columns.last - columns.first) * (system_.n - columns.first));
  }
  double TimeToTakeAll(TRange columns) const {
    const std::size_t n = system_.n, steps = system_.left_columns == TLeftColumns::Skip ? columns.first : n;
    return 0.07 * static_cast<double>((columns.last - columns.first) * steps * (2 * n - steps));
  }

  // The team may be smaller than it was asked to be.
  bool Owns(std::size_t thread, std::size_t number, std::size_t threads) const {
    return panels_[number].owner % threads == thread;
  }
  bool IsToEliminate(std::size_t thread, std::size_t number, std::size_t threads) const {
    return system_.poll == nullptr ? Owns(thread, number, threads) : thread == 0;
  }
  TStep& StepOf(std::size_t number) { return steps_[number % kSteps]; }

  void Work(std::size_t thread, std::size_t threads) {
    const bool is_first = IsToEliminate(thread, 0, threads);
    if (is_first) {
      Copy(0, 1, [](std::size_t) { return true; });
      Eliminate(0, thread, threads);
    }
    Copy(1, panels_.size(), [&](std::size_t number) { return Owns(thread, number, threads); });
    for (std::size_t number = 0;; ++number) {
      eliminated_.WaitFor(number + 1);
      const bool is_last = TakeStep(number, thread, threads);
      finished_[thread].Set(number + 1);
      if (!is_last) continue;
      if (a_rows_ == nullptr) return;
      for (std::size_t i = 0; i < threads; ++i) finished_[i].WaitFor(number + 1);
      return Store(StaticShare(system_.n, thread, threads));
    }
  }

  // Copies those of some panels that the thread owns, so that they come into its cache.
  template <class Owned>
  void Copy(std::size_t first, std::size_t last, const Owned& owned) {
    ForRows({0, system_.n}, [&](TRange rows) {
      for (std::size_t i = first; i < last; ++i) {
        if (!owned(i)) continue;
        ForStrips(panels_[i].columns,
                  [&](TRange strip) { matrix_->Load(strip.first / kStripColumns, rows, system_.a); });
      }
    });
    for (std::size_t i = first; i < last; ++i) {
      if (owned(i)) panels_[i].taken.Set(1);
    }
  }

  void Store(TRange share) {
    ForRows(share, [&](TRange rows) {
      ForStrips({0, system_.n}, [&](TRange strip) { matrix_->Store(strip.first / kStripColumns, rows, a_rows_); });
    });
  }

  // Some rows at a time: the processor reads ahead in as many.
  template <class Work>
  static void ForRows(TRange rows, const Work& work) {
    constexpr std::size_t kRowsTogether = 8;
    for (std::size_t first = rows.first; first < rows.last; first += kRowsTogether) {
      work(TRange{first, std::min(first + kRowsTogether, rows.last)});
    }
  }

  template <class Work>
  static void ForStrips(TRange columns, const Work& work) {
    for (std::size_t first = columns.first; first < columns.last; first += kStripColumns) {
      work(TRange{first, std::min(first + kStripColumns, columns.last)});
    }
  }

  // What an eliminated panel calls for in a thread's panels. Returns whether it is the last one.
  bool TakeStep(std::size_t number, std::size_t thread, std::size_t threads) {
    std::size_t right = number + 1;
    const bool is_last = StepOf(number).stopped || right == panels_.size();
    if (!is_last) {
      if (IsToEliminate(thread, right, threads)) Eliminate(right, thread, threads);
      ++right;
    }
    for (std::size_t i = right; i < panels_.size(); ++i) {
      if (Owns(thread, i, threads)) TakeStep(number, &panels_[i], thread);
    }
    for (std::size_t i = 0; i <= number && system_.left_columns == TLeftColumns::Eliminate; ++i) {
      if (Owns(thread, i, threads)) TakeStep(number, &panels_[i], thread);
    }
    return is_last;
  }

  void TakeStep(std::size_t number, TPanel* panel, std::size_t thread) {
    const TStep& step = StepOf(number);
    ForStrips(panel->columns, [&](TRange strip) {
      if (panel == &panels_[number]) {
        TakeLaterTerms(step, strip, thread);
      } else {
        TakeTerms(step, step.rows, {step.factors.first, step.done}, strip, thread);
      }
    });
    panel->taken.Set(number + 2);
  }

  // A strip of the eliminated panel itself, of which each piece has taken the terms up to its own.
  void TakeLaterTerms(const TStep& step, TRange strip, std::size_t thread) {
    const std::size_t end = std::min(strip.last, step.done);
    for (std::size_t first = strip.first; first < end; first += kPieceColumns) {
      const std::size_t last = std::min(first + kPieceColumns, strip.last);
      TakeTerms(step, step.rows, {last, end}, {first, last}, thread);
    }
    TakeTerms(step, step.rows, {strip.last, step.done}, strip, thread);
  }

  void TakeTerms(const TStep& step, const std::vector<std::size_t>& rows, TRange done, TRange columns,
                 std::size_t thread) {
    const std::size_t strip = columns.first / kStripColumns, first = strip * kStripColumns;
    TakeEliminated({matrix_->Strip(strip), rows.data(), rows.size(), step.factors, done,
                    TRange{columns.first - first, columns.last - first}, packed_[thread].Get()});
  }

  // Eliminates the columns of a panel after it has taken the terms of the one before.
  void Eliminate(std::size_t number, std::size_t thread, std::size_t threads) {
    TPanel& panel = panels_[number];
    TStep& step = StepOf(number);
    if (number > 0) {
      panel.taken.WaitFor(number);
      TakeStep(number - 1, &panel, thread);
    }
    for (std::size_t i = 0; i < threads && number >= kSteps; ++i) {
      if (i != thread) finished_[i].WaitFor(number - kSteps + 1);
    }
    step.factors.first = step.done = panel.columns.first;
    ForStrips(panel.columns, [&](TRange strip) { EliminateStrip(&step, strip, thread); });
    step.rows = matrix_->Rows();
    stopped_ = step.stopped;
    eliminated_.Set(number + 1);
  }

  // Eliminates a strip of the panel, or, once it is stopped, does what it calls for there.
  void EliminateStrip(TStep* step, TRange strip, std::size_t thread) {
    TakeTerms(*step, matrix_->Rows(), {step->factors.first, std::min(step->done, strip.first)}, strip, thread);
    for (std::size_t first = strip.first; first < strip.last; first += kPieceColumns) {
      const TRange piece{first, std::min(first + kPieceColumns, strip.last)};
      TakeTerms(*step, matrix_->Rows(), {strip.first, step->done}, piece, thread);
      if (step->stopped) continue;
      step->stopped = !EliminatePiece(step, piece, pieces_[thread].Get());
    }
  }

  // Returns whether the elimination goes on: every column has a pivot and the poll does not stop.
  bool EliminatePiece(TStep* step, TRange columns, double* room) {
    const TPiece piece{room, matrix_->Rows().size() - columns.first};
    CopyPiece<true>(columns.first, piece);
    bool goes_on = false;
    try {
      goes_on = EliminateColumns(step, columns, piece);
    } catch (...) {
      of_poll_ = std::current_exception();
    }
    CopyPiece<false>(columns.first, piece);
    return goes_on;
  }

  // To the piece, or from it.
  template <bool To>
  void CopyPiece(std::size_t first, const TPiece& piece) {
    double* const strip = matrix_->Strip(first / kStripColumns) + first % kStripColumns;
    for (std::size_t i = 0; i < piece.height; ++i) {
      double* const row = strip + matrix_->Rows()[first + i];
      for (std::size_t j = 0; j < kPieceColumns; ++j) {
        if constexpr (To) {
          piece.Column(j)[i] = row[j];
        } else {
          row[j] = piece.Column(j)[i];
        }
      }
    }
  }

  bool EliminateColumns(TStep* step, TRange columns, const TPiece& piece) {
    const TPackedFactors& factors = step->factors;
    for (std::size_t column = columns.first; column < columns.last && column + 1 < system_.n; ++column) {
      const std::size_t place = column - columns.first;
      std::size_t pivot = place;
      simd::Dispatch(TFindPivot{piece.Column(place), place, system_.n - columns.first, &pivot});
      if (piece.Column(place)[pivot] == 0.0) return false;
      if (pivot != place) {
        for (std::size_t j = 0; j < kPieceColumns; ++j) std::swap(piece.Column(j)[pivot], piece.Column(j)[place]);
        Exchange(factors, column, columns.first + pivot);
      }
      double* const to = factors.Of(columns.first) + (column - factors.first) * factors.height;
      const std::size_t distance = factors.height * factors.terms;
      simd::Dispatch(TSubtractFromRows{piece, place, b_.data() + columns.first, to, distance});
      step->done = column + 1;
      if (Stops(system_.poll)) return false;
    }
    return true;
  }

  void Exchange(const TPackedFactors& factors, std::size_t column, std::size_t pivot) {
    std::swap(matrix_->Rows()[pivot], matrix_->Rows()[column]);
    std::swap(b_[pivot], b_[column]);
    double *upper = factors.Of(column), *lower = factors.Of(pivot);
    for (std::size_t i = factors.first; i < column; ++i, upper += factors.height, lower += factors.height) {
      std::swap(*upper, *lower);
    }
    sign_.value = -sign_.value;
  }

  TPanelSystem system_;
  double** a_rows_;
  TStripMatrix* matrix_;
  struct alignas(64) {
    double value = 1.0;
  } sign_;                 // of the exchanges: it changes while others read what is around it
  std::vector<double> b_;  // with zeros for the rows that fill the last tile
  std::deque<TPanel> panels_;
  std::deque<TStep> steps_;
  std::vector<TAlignedBuffer> packed_, pieces_;  // of each thread
  std::vector<TCount> finished_;                 // panels that each thread is through with
  TCount eliminated_;                            // panels
  bool stopped_ = false;
  std::exception_ptr of_poll_;
};

}  // namespace

bool EliminateByPanels(const TPanelSystem& system, double** a_rows, TStripMatrix* matrix, double* sign) {
  return TElimination(system, a_rows, matrix).Run(sign);
}

}  // namespace SatCommonUtils::kernels
