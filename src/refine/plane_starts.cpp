// Least median of squares over small subsets: P. Rousseeuw, "Least median of squares regression", Journal of the
// American Statistical Association 79 (1984), doi:10.1080/01621459.1984.10477105.

#include "refine/plane_starts.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <numeric>
#include <random>

#include "refine/refinement_fit.h"

namespace SatCommonUtils::refine {
namespace {

using TIndices = std::vector<std::size_t>;

constexpr std::size_t kMostSubsets = 500;

/// Calls `visit` with subsets of `size` ties: all of them when they are few, otherwise random ones of a fixed seed.
template <class Visit>
void ForEachSubset(std::size_t count, std::size_t size, const Visit& visit) {
  TIndices subset;
  double combinations = 1.0;
  for (std::size_t i = 0; i < size; ++i) combinations *= static_cast<double>(count - i) / static_cast<double>(i + 1);
  if (combinations <= static_cast<double>(kMostSubsets)) {
    std::vector<bool> mask(count, false);
    std::fill_n(mask.begin(), size, true);
    do {
      subset.clear();
      for (std::size_t i = 0; i < count; ++i) {
        if (mask[i]) subset.push_back(i);
      }
      visit(subset);
    } while (std::prev_permutation(mask.begin(), mask.end()));
    return;
  }
  std::mt19937_64 engine(20051120);
  for (std::size_t trial = 0; trial < kMostSubsets; ++trial) {
    subset.clear();
    while (subset.size() < size) {
      const std::size_t candidate = static_cast<std::size_t>(engine() % count);
      if (std::find(subset.begin(), subset.end(), candidate) == subset.end()) subset.push_back(candidate);
    }
    visit(subset);
  }
}

/// The rank of what counts as the median of a map that passes through `subset_size` ties.
std::size_t MiddleRank(std::size_t count, std::size_t subset_size) {
  return std::min((count + subset_size + 1) / 2, count) - 1;
}

bool FindAmong(TRPCRefinementTransformType type, const std::vector<TPlaneTie>& ties, const TPlaneJudges& judges,
               TPlaneMap* start, double* least_median) {
  const std::size_t subset_size = LeastRefinementPoints(type);
  const std::size_t middle = MiddleRank(judges.Count(), subset_size);
  std::vector<double> squares;
  *least_median = std::numeric_limits<double>::infinity();
  ForEachSubset(ties.size(), subset_size, [&](const TIndices& subset) {
    TPlaneMap map;
    if (!PassPlaneMap(type, ties, subset, &map)) return;
    const double median = judges.SquareOfRank(map, middle, *least_median, &squares);
    if (!(median < *least_median)) return;
    *least_median = median;
    *start = map;
  });
  return std::isfinite(*least_median);
}

/// Places are the squares of a grid, an eighth of the ties' half side wide. Of four grids, half a square apart, one has
/// any crowd of ties that is not wider than that inside a square.
constexpr std::size_t kHalves = 32;                // half squares a side
constexpr std::size_t kSquares = kHalves / 2 + 1;  // squares a side

struct TGrid {
  std::size_t shift_x = 0, shift_y = 0;  ///< 0 or 1 half squares

  std::size_t SquareOf(std::size_t half) const {
    return (half / kHalves + shift_x) / 2 * kSquares + (half % kHalves + shift_y) / 2;
  }
};

std::size_t HalfOf(double coordinate) {
  const double half = (coordinate + 1.0) * (0.5 * static_cast<double>(kHalves));
  // What is no number lies nowhere; the fit finds that out.
  return half > 0.0 ? std::min(static_cast<std::size_t>(std::min(half, static_cast<double>(kHalves))), kHalves - 1) : 0;
}

std::size_t HalfSquareOf(const TPlaneTie& tie) { return HalfOf(tie.from[0]) * kHalves + HalfOf(tie.from[1]); }

/// How ties crowd on a grid.
struct TCrowd {
  TGrid grid;
  std::size_t crowded = std::numeric_limits<std::size_t>::max();  ///< fewest squares that hold the half of the ties
  std::size_t squares = 0;                                        ///< that hold any
};

/// Of the four grids, how ties crowd on the one where they do so most.
TCrowd CrowdOf(const std::vector<TPlaneTie>& ties) {
  std::vector<std::size_t> in_halves(kHalves * kHalves), counts;
  for (const TPlaneTie& tie : ties) ++in_halves[HalfSquareOf(tie)];
  TCrowd most;
  for (const TGrid grid : {TGrid{0, 0}, TGrid{0, 1}, TGrid{1, 0}, TGrid{1, 1}}) {
    counts.assign(kSquares * kSquares, 0);
    for (std::size_t half = 0; half < in_halves.size(); ++half) counts[grid.SquareOf(half)] += in_halves[half];
    std::sort(counts.begin(), counts.end(), std::greater<std::size_t>());
    TCrowd crowd{grid, 0, static_cast<std::size_t>(std::find(counts.begin(), counts.end(), 0) - counts.begin())};
    for (std::size_t held = 0; 2 * held < ties.size(); ++crowd.crowded) held += counts[crowd.crowded];
    if (crowd.crowded < most.crowded) most = crowd;
  }
  return most;
}

/// Fewest places at which the half of the ties lies; 0: they are not crowded.
std::size_t CrowdedAt(const TCrowd& crowd, std::size_t count) {
  // A few ties share places by chance.
  constexpr std::size_t kTiesAPlace = 3;
  return kTiesAPlace * crowd.squares > count ? 0 : crowd.crowded;
}

bool IsBelow(std::size_t crowded, TRPCRefinementTransformType type) {
  return crowded > 0 && crowded < LeastRefinementPoints(type);
}

/// The square around ties.
struct TSquare {
  double center[2] = {}, half_side = 0.0;

  TSquare(const std::vector<TPlaneTie>& ties, const TIndices& chosen) {
    for (std::size_t axis = 0; axis < 2; ++axis) {
      const auto range = std::minmax_element(chosen.begin(), chosen.end(), [&](std::size_t a, std::size_t b) {
        return ties[a].from[axis] < ties[b].from[axis];
      });
      const double least = ties[*range.first].from[axis], largest = ties[*range.second].from[axis];
      center[axis] = 0.5 * (least + largest);
      half_side = std::max(half_side, 0.5 * (largest - least));
    }
  }
  /// The chosen ties in coordinates from -1 to 1 of the square.
  std::vector<TPlaneTie> Framed(const std::vector<TPlaneTie>& ties, const TIndices& chosen) const {
    std::vector<TPlaneTie> framed;
    framed.reserve(chosen.size());
    for (const std::size_t i : chosen) {
      framed.push_back(ties[i]);
      for (std::size_t axis = 0; axis < 2; ++axis) {
        double& from = framed.back().from[axis];
        from = half_side > 0.0 ? (from - center[axis]) / half_side : 0.0;
      }
    }
    return framed;
  }
};

/// Of the ties of each place the one whose shift is next to the median shift of them.
std::vector<TPlaneTie> TypicalTies(const std::vector<TPlaneTie>& ties, const TGrid& grid) {
  std::vector<TIndices> of_squares(kSquares * kSquares);
  for (std::size_t i = 0; i < ties.size(); ++i) of_squares[grid.SquareOf(HalfSquareOf(ties[i]))].push_back(i);
  std::vector<TPlaneTie> typical;
  std::vector<double> shifts;
  for (const TIndices& square : of_squares) {
    if (square.empty()) continue;
    double median[2];
    for (std::size_t axis = 0; axis < 2; ++axis) {
      shifts.clear();
      for (const std::size_t i : square) shifts.push_back(ties[i].to[axis] - ties[i].from[axis]);
      const auto middle = shifts.begin() + static_cast<std::ptrdiff_t>(shifts.size() / 2);
      std::nth_element(shifts.begin(), middle, shifts.end());
      median[axis] = *middle;
    }
    const auto distance = [&](std::size_t i) {
      const double x = ties[i].to[0] - ties[i].from[0] - median[0], y = ties[i].to[1] - ties[i].from[1] - median[1];
      return x * x + y * y;
    };
    typical.push_back(ties[*std::min_element(square.begin(), square.end(),
                                             [&](std::size_t a, std::size_t b) { return distance(a) < distance(b); })]);
  }
  return typical;
}

}  // namespace

TPlaneStarts::TPlaneStarts(const std::vector<TPlaneTie>& ties) : ties_(ties), judges_(ties) {
  const TCrowd crowd = CrowdOf(ties);
  crowded_ = CrowdedAt(crowd, ties.size());
  if (!IsBelow(crowded_, TRPCRefinementTransformType::Projective)) return;
  of_places_ = TypicalTies(ties, crowd.grid);
  by_places_.emplace(of_places_);
}

bool TPlaneStarts::Find(TRPCRefinementTransformType type, double noise, TPlaneMap* start, double* median) const {
  // Squared residuals of the crowd by the map of the places, to those by the map that suits it best.
  constexpr double kAgreement = 100.0;
  const std::size_t least = LeastRefinementPoints(type);
  const bool found = FindAmong(type, ties_, judges_, start, median);
  if (!IsBelow(crowded_, type) || of_places_.size() < least) return found;
  TPlaneMap map;
  double of_map;
  if (!FindAmong(type, of_places_, *by_places_, &map, &of_map)) return found;
  std::vector<double> squares;
  of_map =
      judges_.SquareOfRank(map, MiddleRank(judges_.Count(), least), std::numeric_limits<double>::infinity(), &squares);
  // Wrong places of a few ties, far from the others, make one place of all of these: then the crowd knows better.
  if (found && !(of_map <= kAgreement * (*median + noise * noise))) return true;
  *start = map;
  *median = of_map;
  return std::isfinite(*median);
}

std::size_t TPlaneStarts::CountOf(TRPCRefinementTransformType type, const std::vector<std::size_t>& chosen,
                                  const std::vector<std::size_t>& inside) const {
  if (!IsBelow(crowded_, type)) return chosen.size();
  const TSquare square(ties_, inside);
  const TCrowd crowd = CrowdOf(square.Framed(ties_, inside));
  if (!IsBelow(CrowdedAt(crowd, inside.size()), type)) return chosen.size();
  std::vector<char> is_there(kSquares * kSquares, 0);
  for (const TPlaneTie& tie : square.Framed(ties_, chosen)) is_there[crowd.grid.SquareOf(HalfSquareOf(tie))] = 1;
  return static_cast<std::size_t>(std::count(is_there.begin(), is_there.end(), 1));
}

}  // namespace SatCommonUtils::refine
