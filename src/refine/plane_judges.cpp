// Squared residuals of many ties by vectors. Elementary, but for the bound of rounding errors: N. Higham, "Accuracy and
// Stability of Numerical Algorithms" (2002), section 3.1.

#include "refine/plane_judges.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "linalg/simd.h"

namespace SatCommonUtils::refine {
namespace {

/// More ties than these say the same.
constexpr std::size_t kMostJudges = 4096;
/// Ties between two looks at what is known.
constexpr std::size_t kChunk = 64;

/// The ties of one vector and where a map puts them, before the division by `w`.
template <int Width>
struct TMapped {
  using TVector = typename simd::TLanes<Width>::TVector;

  [[gnu::always_inline]] TMapped(const double* const* values, std::size_t i, const TPlaneMap& map) {
    TVector x, y;
    simd::Load(values[0] + i, x);
    simd::Load(values[1] + i, y);
    simd::Load(values[2] + i, to_x);
    simd::Load(values[3] + i, to_y);
    simd::Load(values[4] + i, root_weight);
    mapped_x = map[0] * x + map[1] * y + map[2], mapped_y = map[3] * x + map[4] * y + map[5];
    w = map[6] * x + map[7] * y + 1.0;
  }

  TVector to_x, to_y, root_weight, mapped_x, mapped_y, w;
};

/// Squared residuals by the operations of `SquaredResidual`.
template <int Width, bool Perspective>
[[gnu::always_inline]] inline void FormSquares(const TMapped<Width>& at, typename TMapped<Width>::TVector& squares) {
  typename TMapped<Width>::TVector x = at.mapped_x, y = at.mapped_y;
  if constexpr (Perspective) x = x / at.w, y = y / at.w;
  const auto dx = (at.to_x - x) * at.root_weight, dy = (at.to_y - y) * at.root_weight;
  squares = dx * dx + dy * dy;
}

/// All squared residuals.
template <bool Perspective>
struct TAllSquares {
  const double* const* values;
  std::size_t count;
  const TPlaneMap& map;
  double* squares;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < count; i += Width) {
      typename TMapped<Width>::TVector square;
      FormSquares<Width, Perspective>(TMapped<Width>(values, i, map), square);
      std::memcpy(squares + i, &square, sizeof square);
    }
  }
};

/// How many squared residuals are below `least`; ends behind a chunk when more than `spare` are not.
///
/// With a perspective the divisions would take most of the time. Without them d = (to w - mapped) times the root of the
/// weight is compared with the root of `least` times w. Each coordinate of d is off by at most
/// e = eps (|to w| + |mapped|) root_weight. By (a + e)^2 <= (1 + t) a^2 + (1 + 1/t) e^2 with t = `kBand`, squares that
/// differ by that share and `slack` = 4 e^2 / t compare as those by division do; a chunk with closer ones is divided.
template <bool Perspective>
struct TCountBelow {
  static constexpr double kBand = 1e-6;

  const double* const* values;
  std::size_t count;
  TPlaneMap map;
  double least;
  double slack;
  std::size_t spare;
  std::size_t* below;
  std::size_t* seen;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    std::size_t sum = 0, first = 0;
    for (; first < count && first - sum <= spare; first += kChunk) sum += OfChunk<Width>(first);
    *below = sum;
    *seen = first;
  }

 private:
  template <int Width>
  [[gnu::always_inline]] std::size_t OfChunk(std::size_t first) const {
    using TVector = typename TMapped<Width>::TVector;
    using TMask = decltype(TVector() < TVector());
    TMask sum = {};
    bool divides = true;
    if constexpr (Perspective) {
      TMask close = {};
      for (std::size_t i = first; i < first + kChunk; i += Width) {
        const TMapped<Width> at(values, i, map);
        const TVector dx = (at.to_x * at.w - at.mapped_x) * at.root_weight;
        const TVector dy = (at.to_y * at.w - at.mapped_y) * at.root_weight;
        const TVector square = dx * dx + dy * dy, limit = least * (at.w * at.w);
        const TMask is_below = square * (1.0 + kBand) + slack < limit;
        close |= ~(is_below | (square > limit * (1.0 + kBand) + slack));
        sum -= is_below;
      }
      divides = Total<Width>(close) != 0;
    }
    if (divides) {
      sum = TMask{};
      for (std::size_t i = first; i < first + kChunk; i += Width) {
        TVector square;
        FormSquares<Width, Perspective>(TMapped<Width>(values, i, map), square);
        sum -= square < least;
      }
    }
    return static_cast<std::size_t>(Total<Width>(sum));
  }

  template <int Width, class TMask>
  [[gnu::always_inline]] static long long Total(const TMask& mask) {
    long long sum = 0;
    for (int lane = 0; lane < Width; ++lane) sum += mask[lane];
    return sum;
  }
};

/// The value of a rank among squares, of which `below` are below `least`, and more than `rank`. They lose their order.
///
/// Bisection of the range by counting, which has no branch to guess, leaves few to sort. Doubles from 0 on are ordered
/// as the integers that their bits make, so that neither far values nor tiny ones take more steps.
double OfRank(std::vector<double>* squares, std::size_t rank, double least, std::size_t below) {
  constexpr std::size_t kFew = 24;
  std::uint64_t low = 0, high;
  std::memcpy(&high, &least, sizeof high);
  const auto value_of = [](std::uint64_t bits) {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  };
  std::size_t below_low = 0;
  while (below - below_low > kFew && high - low > 1) {
    const std::uint64_t middle = low + (high - low) / 2;
    const double limit = value_of(middle);
    std::size_t count = 0;
    for (const double square : *squares) count += square < limit ? 1 : 0;
    if (count > rank) {
      high = middle, below = count;
    } else {
      low = middle, below_low = count;
    }
  }
  const double from = value_of(low), to = value_of(high);
  std::size_t kept = 0;
  for (const double square : *squares) {
    (*squares)[kept] = square;
    kept += square >= from && square < to ? 1 : 0;
  }
  const auto at_rank = squares->begin() + static_cast<std::ptrdiff_t>(rank - below_low);
  std::nth_element(squares->begin(), at_rank, squares->begin() + static_cast<std::ptrdiff_t>(kept));
  return *at_rank;
}

}  // namespace

TPlaneJudges::TPlaneJudges(const std::vector<TPlaneTie>& ties) {
  const std::size_t stride = (ties.size() + kMostJudges - 1) / kMostJudges;
  count_ = (ties.size() + stride - 1) / stride;
  // Behind the last tie stand some that are below nothing.
  const std::size_t padded = (count_ + kChunk - 1) / kChunk * kChunk;
  for (std::vector<double>& values : values_) values.resize(padded, std::numeric_limits<double>::quiet_NaN());
  for (std::size_t i = 0; i < count_; ++i) {
    const TPlaneTie& tie = ties[i * stride];
    const double values[] = {tie.from[0], tie.from[1], tie.to[0], tie.to[1], tie.root_weight};
    for (std::size_t k = 0; k < values_.size(); ++k) values_[k][i] = values[k];
    from_ = std::max({from_, std::fabs(tie.from[0]), std::fabs(tie.from[1])});
    weighted_to_ =
        std::max({weighted_to_, std::fabs(tie.to[0] * tie.root_weight), std::fabs(tie.to[1] * tie.root_weight)});
    root_weight_ = std::max(root_weight_, tie.root_weight);
  }
}

double TPlaneJudges::Slack(const TPlaneMap& map, double least) const {
  constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
  constexpr double kLeastSlack = 1e-200;  // far above what underflow takes away
  constexpr double kEverythingIsClose = std::numeric_limits<double>::infinity();
  const double w = (std::fabs(map[6]) + std::fabs(map[7])) * from_ + 1.0;
  double mapped = 0.0;
  for (const double* row : {map.data(), map.data() + 3}) {
    mapped = std::max(mapped, (std::fabs(row[0]) + std::fabs(row[1])) * from_ + std::fabs(row[2]));
  }
  const double error = kEpsilon * (weighted_to_ * w + root_weight_ * mapped);
  const double slack = 4.0 / TCountBelow<true>::kBand * error * error;
  return std::isfinite(least) && slack > kLeastSlack ? slack : kEverythingIsClose;
}

double TPlaneJudges::SquareOfRank(const TPlaneMap& map, std::size_t rank, double least,
                                  std::vector<double>* squares) const {
  const double* const values[] = {values_[0].data(), values_[1].data(), values_[2].data(), values_[3].data(),
                                  values_[4].data()};
  const bool perspective = map[6] != 0.0 || map[7] != 0.0;
  std::size_t below = 0, seen = 0;
  const std::size_t spare = count_ - rank - 1;
  if (perspective) {
    simd::Dispatch(TCountBelow<true>{values, count_, map, least, Slack(map, least), spare, &below, &seen});
  } else {
    simd::Dispatch(TCountBelow<false>{values, count_, map, least, 0.0, spare, &below, &seen});
  }
  if (std::min(seen, count_) - below > spare) return least;
  squares->resize(values_[0].size());
  if (perspective) {
    simd::Dispatch(TAllSquares<true>{values, squares->size(), map, squares->data()});
  } else {
    simd::Dispatch(TAllSquares<false>{values, squares->size(), map, squares->data()});
  }
  squares->resize(count_);
  return OfRank(squares, rank, least, below);
}

}  // namespace SatCommonUtils::refine
