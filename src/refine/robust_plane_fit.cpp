// Start: least median of squares over small subsets; P. Rousseeuw, "Least median of squares regression", Journal of the
// American Statistical Association 79 (1984), doi:10.1080/01621459.1984.10477105. From there residuals are tested in
// the way of outlier tests in geodesy ("data snooping"), a tie inside against a variance estimated without it.

#include "refine/robust_plane_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <numeric>
#include <random>
#include <utility>

#include "linalg/simd.h"
#include "refine/estimation/bad_points.h"
#include "refine/estimation/portable_math.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils::refine {
namespace {

using TIndices = std::vector<std::size_t>;

constexpr std::size_t kMostSubsets = 500;
/// Ties that judge a subset's map; more say the same.
constexpr std::size_t kMostJudges = 4096;

/// Median of the squared length of a plane vector of two standard normal coordinates.
constexpr double kMedianOfSquares = 1.3862943611198906;  // 2 ln 2

std::size_t LeastTies(TRPCRefinementTransformType type) { return FindRefinementKind(type)->leastPoints; }

/// Calls `visit` with subsets of `size` ties: all of them when they are few, otherwise random ones of a fixed seed.
template <class Visit>
void ForEachSubset(std::size_t count, std::size_t size, const Visit& visit) {
  double combinations = 1.0;
  for (std::size_t i = 0; i < size; ++i) combinations *= static_cast<double>(count - i) / static_cast<double>(i + 1);
  if (combinations <= static_cast<double>(kMostSubsets)) {
    std::vector<bool> mask(count, false);
    std::fill_n(mask.begin(), size, true);
    do {
      TIndices subset;
      for (std::size_t i = 0; i < count; ++i) {
        if (mask[i]) subset.push_back(i);
      }
      visit(subset);
    } while (std::prev_permutation(mask.begin(), mask.end()));
    return;
  }
  std::mt19937_64 engine(20051120);
  for (std::size_t trial = 0; trial < kMostSubsets; ++trial) {
    TIndices subset;
    while (subset.size() < size) {
      const std::size_t candidate = static_cast<std::size_t>(engine() % count);
      if (std::find(subset.begin(), subset.end(), candidate) == subset.end()) subset.push_back(candidate);
    }
    visit(subset);
  }
}

/// Ties that judge maps, one array for each of their numbers, in whole vectors: behind the last one it is repeated.
class TJudges {
 public:
  explicit TJudges(const std::vector<TPlaneTie>& ties) {
    const std::size_t stride = (ties.size() + kMostJudges - 1) / kMostJudges;
    count_ = (ties.size() + stride - 1) / stride;
    const std::size_t padded = (count_ + kChunk - 1) / kChunk * kChunk;
    for (std::vector<double>& values : values_) values.resize(padded);
    squares_.resize(padded);
    for (std::size_t i = 0; i < padded; ++i) {
      const TPlaneTie& tie = ties[std::min(i, count_ - 1) * stride];
      const double values[] = {tie.from[0], tie.from[1], tie.to[0], tie.to[1], tie.root_weight};
      for (std::size_t k = 0; k < values_.size(); ++k) values_[k][i] = values[k];
    }
  }

  std::size_t Count() const { return count_; }

  /// The squared residual of the given rank under a map; anything not below `least` where it cannot be: too many are
  /// not, which is seen early of most maps.
  double SquareOfRank(const TPlaneMap& map, std::size_t rank, double least) {
    std::size_t not_below = 0;
    const TSquares squares{map, values_, count_, least, count_ - rank, squares_.data(), &not_below};
    map[6] == 0.0 && map[7] == 0.0 ? simd::Dispatch(squares) : simd::Dispatch(TPerspectiveSquares{squares});
    if (not_below + rank >= count_) return least;
    // Only those below can have the rank.
    const auto end = std::remove_if(squares_.begin(), squares_.begin() + static_cast<std::ptrdiff_t>(count_),
                                    [least](double square) { return !(square < least); });
    const auto at_rank = squares_.begin() + static_cast<std::ptrdiff_t>(rank);
    std::nth_element(squares_.begin(), at_rank, end);
    return *at_rank;
  }

 private:
  static constexpr std::size_t kChunk = 64;
  using TValues = std::array<std::vector<double>, 5>;

  /// `SquaredResidual` of the ties; without a perspective its denominator is exactly 1. Ends behind a chunk when as
  /// many as `enough` are not below `least`.
  struct TSquares {
    const TPlaneMap& map;
    const TValues& values;
    std::size_t count;
    double least;
    std::size_t enough;
    double* squares;
    std::size_t* not_below;

    template <int Width>
    [[gnu::always_inline]] void Run() const {
      Squares<Width, false>();
    }
    template <int Width, bool Perspective>
    [[gnu::always_inline]] void Squares() const {
      std::size_t above = 0;
      for (std::size_t first = 0; first < count && above < enough; first += kChunk) {
        for (std::size_t i = first; i < first + kChunk; i += Width) Vector<Width, Perspective>(i);
        for (std::size_t i = first; i < std::min(first + kChunk, count); ++i) above += squares[i] < least ? 0 : 1;
      }
      *not_below = above;
    }
    template <int Width, bool Perspective>
    [[gnu::always_inline]] void Vector(std::size_t i) const {
      using TVector = typename simd::TLanes<Width>::TVector;
      TVector x, y, to_x, to_y, root_weight;
      simd::Load(values[0].data() + i, x);
      simd::Load(values[1].data() + i, y);
      simd::Load(values[2].data() + i, to_x);
      simd::Load(values[3].data() + i, to_y);
      simd::Load(values[4].data() + i, root_weight);
      TVector mapped_x = map[0] * x + map[1] * y + map[2], mapped_y = map[3] * x + map[4] * y + map[5];
      if constexpr (Perspective) {
        const TVector w = map[6] * x + map[7] * y + 1.0;
        mapped_x = mapped_x / w, mapped_y = mapped_y / w;
      }
      const TVector dx = (to_x - mapped_x) * root_weight, dy = (to_y - mapped_y) * root_weight;
      const TVector square = dx * dx + dy * dy;
      std::memcpy(squares + i, &square, sizeof square);
    }
  };
  struct TPerspectiveSquares {
    const TSquares& squares;

    template <int Width>
    [[gnu::always_inline]] void Run() const {
      squares.template Squares<Width, true>();
    }
  };

  std::size_t count_;
  TValues values_;  ///< from, to, root of the weight
  std::vector<double> squares_;
};

/// The map whose median of squared residuals is least, and that median (a little above the half, as befits a map that
/// fits `subset size` ties exactly).
bool FindStart(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, TPlaneMap* start,
               double* least_median) {
  const std::size_t subset_size = LeastTies(type);
  TJudges judges(ties);
  const std::size_t middle = std::min((judges.Count() + subset_size + 1) / 2, judges.Count()) - 1;
  *least_median = std::numeric_limits<double>::infinity();
  ForEachSubset(ties.size(), subset_size, [&](const TIndices& subset) {
    TPlaneMap map;
    if (!PassPlaneMap(type, ties, subset, &map)) return;
    const double median = judges.SquareOfRank(map, middle, *least_median);
    if (!(median < *least_median)) return;
    *least_median = median;
    *start = map;
  });
  return std::isfinite(*least_median);
}

/// The ties that lie near the start, in units of the spread that its median says.
TIndices NearStart(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, double noise,
                   const TPlaneMap& start, double median) {
  constexpr double level = 9.210340371976184;  // squared length that one good tie in a hundred exceeds: -2 ln 0.01
  const double spare = static_cast<double>(ties.size() - LeastTies(type));
  const double small_sample = 1.0 + 5.0 / spare;
  const double variance = median / kMedianOfSquares * small_sample * small_sample + noise * noise;
  TIndices near;
  near.reserve(ties.size());
  for (std::size_t i = 0; i < ties.size(); ++i) {
    if (SquaredResidual(start, ties[i]) <= std::max(level * variance, median)) near.push_back(i);
  }
  return near;
}

/// A squared residual against its variance: F with 2 and `freedom` degrees of freedom is half of `square`.
struct TTest {
  double square = 0.0;
  double freedom = 0.0;
};

TTest TestTie(TRPCRefinementTransformType type, const TRobustPlaneFit& current, const TPlaneTie& tie, bool is_inside,
              double noise) {
  constexpr double kUntestable = 1e-6;  // share of its own residual that a tie has to leave visible
  const double square = SquaredResidual(current.fit.map, tie);
  const double leverage = tie.root_weight * tie.root_weight * current.fit.VarianceAt(type, tie.from[0], tie.from[1]);
  const double freedom = 2.0 * static_cast<double>(current.inside.size()) - static_cast<double>(FreeParameters(type));
  if (!is_inside) return {square / ((1.0 + leverage) * (current.variance + noise * noise)), freedom};
  const double visible = 1.0 - leverage;
  if (freedom <= 2.0 || visible < kUntestable) return {};
  const double variance = std::max(0.0, current.fit.sum_of_squares - square / visible) / (freedom - 2.0);
  return {square / (visible * (variance + noise * noise)), freedom - 2.0};
}

}  // namespace

std::vector<std::size_t> AllPlaces(std::size_t count) {
  std::vector<std::size_t> all(count);
  std::iota(all.begin(), all.end(), std::size_t{0});
  return all;
}

bool FitRobustly(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, double noise,
                 TRobustPlaneFit* result) {
  constexpr int kMostRounds = 30;
  result->inside = AllPlaces(ties.size());
  result->standardized.assign(ties.size(), 0.0);
  if (ties.size() > LeastTies(type)) {
    TPlaneMap start;
    double median;
    if (!FindStart(type, ties, &start, &median)) return false;
    result->inside = NearStart(type, ties, noise, start, median);
  }
  for (int round = 0; round < kMostRounds; ++round) {
    if (!FitPlaneMap(type, ties, result->inside, &result->fit)) return false;
    const double freedom = 2.0 * static_cast<double>(result->inside.size()) - static_cast<double>(FreeParameters(type));
    result->variance = freedom > 0.0 ? result->fit.sum_of_squares / freedom : 0.0;
    // What a good tie hardly ever gets to.
    const double limit_inside = estimation::SquareBeyondChance(ties.size(), freedom - 2.0);
    const double limit_outside = estimation::SquareBeyondChance(ties.size(), freedom);
    TIndices next;
    next.reserve(ties.size());
    auto inside = result->inside.cbegin();
    for (std::size_t i = 0; i < ties.size(); ++i) {
      const bool is_inside = inside != result->inside.cend() && *inside == i;
      if (is_inside) ++inside;
      const TTest test = TestTie(type, *result, ties[i], is_inside, noise);
      result->standardized[i] = std::sqrt(test.square);
      const bool cannot_tell = !(test.freedom > 0.0);
      const bool rejected = test.square > (is_inside ? limit_inside : limit_outside);
      if (cannot_tell ? is_inside : !rejected) next.push_back(i);
    }
    if (next == result->inside || next.size() < LeastTies(type)) break;
    if (round + 1 < kMostRounds) result->inside = std::move(next);
  }
  return true;
}

double FDistributionTail(std::size_t numerator, std::size_t denominator, double value) {
  // The regularized incomplete beta function I_t(a, b) with whole b is a finite sum.
  const double a = 0.5 * static_cast<double>(denominator);
  const double t = 1.0 / (1.0 + static_cast<double>(numerator) * value / static_cast<double>(denominator));
  double term = estimation::PortablePow(t, a);
  double sum = term;
  for (std::size_t k = 1; k < numerator / 2; ++k) {
    term *= (a + static_cast<double>(k) - 1.0) / static_cast<double>(k) * (1.0 - t);
    sum += term;
  }
  return sum;
}

}  // namespace SatCommonUtils::refine
