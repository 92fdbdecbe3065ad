// Consensus of the rays of a point: hypotheses from all pairs of rays (M. Fischler and R. Bolles 1981,
// doi:10.1145/358669.358692), judged by truncated squares (P. Torr and A. Zisserman 2000, doi:10.1006/cviu.1999.0832),
// on the linearized equations: a point may move by hundreds of metres before its derivatives change noticeably. Every
// test takes the uncertainty of the intersection itself into account.

#include "block/consensus.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <vector>

#include "block/chi_square.h"
#include "block/parallel.h"

namespace SatCommonUtils::block {
namespace {

constexpr std::size_t kPointRun = 128;
/// Pairs that are tried in a point of many rays.
constexpr std::size_t kMostPairs = 45;
/// Residuals whose variance is below this share of the measurement's do not show errors in that direction.
constexpr double kVarianceFloor = 0.02;
/// A pair of rays that meet so much worse than all rays together is no hypothesis.
constexpr double kWeakest = 1e-8;
/// Degrees of freedom whose quantiles are worked out beforehand.
constexpr int kTabulated = 64;

using Measurement = TBlockMeasurementState;

/// The equations of a point in units of the spread.
struct TScaledRay {
  std::size_t ray;
  double e[6];
  double r[2];
};

/// Where a point goes by some of its equations.
struct THypothesis {
  double inverse[6] = {};  ///< Factor of the normal matrix.
  double move[3] = {};
  std::vector<char> inside;
  bool known = false;  ///< What is known of the place is used.
  double cost = std::numeric_limits<double>::infinity();
  std::size_t count = 0;  ///< Rays inside.
};

/// Judges the rays of one point.
class TJudge {
 public:
  TJudge(double spread, double significance)
      : spread_(spread),
        limits_{0.0, ChiSquareLimit(significance, 1), ChiSquareLimit(significance, 2),
                ChiSquareLimit(significance, 3)} {}

  void Take(const TNetwork& network, const TEquations& equations, std::size_t point) {
    rays_.clear();
    for (std::size_t i = network.first[point]; i < network.first[point + 1]; ++i) {
      const Measurement state = network.rayState[i];
      if (state == Measurement::Repeated || !network.TakesPart(network.rays[i].image)) continue;
      TScaledRay ray;
      ray.ray = i;
      const double scale = 1.0 / (spread_ * network.rays[i].sigma);
      for (int c = 0; c < 6; ++c) ray.e[c] = scale * equations.rays[i].e[c];
      for (int c = 0; c < 2; ++c) ray.r[c] = scale * equations.rays[i].residual[c];
      rays_.push_back(ray);
    }
    known_count_ = equations.Known(point, known_);
  }

  std::size_t Count() const { return rays_.size(); }
  std::size_t RayAt(std::size_t n) const { return rays_[n].ray; }
  int KnownCount() const { return known_count_; }

  /// The best hypothesis. \param rival whether another set of as few rays agrees as well.
  THypothesis Judge(std::size_t needed, bool* rival) {
    *rival = false;
    full_ = {};
    const std::vector<char> all(rays_.size(), 1);
    THypothesis whole = Solve(all, known_count_ > 0);
    const bool solved = whole.cost < std::numeric_limits<double>::infinity();
    if (solved && Agrees(whole)) return whole;
    full_ = Normal(all, false);
    THypothesis best;
    THypothesis second;
    const auto consider = [&](const std::vector<char>& seed, bool known) {
      THypothesis one = Grow(seed, known);
      if (one.count < needed) return;
      if (one.cost < best.cost) {
        if (best.count > 0 && best.inside != one.inside) second = best;
        best = std::move(one);
      } else if (one.inside != best.inside && one.cost < second.cost) {
        second = std::move(one);
      }
    };
    std::vector<char> seed(rays_.size(), 0);
    if (known_count_ == 3) consider(seed, true);
    for (std::size_t a = 0; known_count_ == 1 && a < rays_.size(); ++a) {
      seed[a] = 1;
      consider(seed, true);
      seed[a] = 0;
    }
    std::size_t tried = 0;
    for (std::size_t gap = 1; gap < rays_.size(); ++gap) {
      for (std::size_t a = 0; a + gap < rays_.size() && tried < kMostPairs; ++a, ++tried) {
        seed[a] = seed[a + gap] = 1;
        consider(seed, false);
        seed[a] = seed[a + gap] = 0;
      }
    }
    // Two rays always nearly meet along their common plane: a second pair that does says that chance may have had a
    // hand.
    *rival = best.count == 2 && !best.known && second.count == 2;
    return best;
  }

 private:
  TPointEquations Normal(const std::vector<char>& inside, bool known) const {
    TPointEquations own;
    for (std::size_t n = 0; n < rays_.size(); ++n) {
      if (inside[n] == 0) continue;
      own.Add(rays_[n].e, rays_[n].r[0], 1.0);
      own.Add(rays_[n].e + 3, rays_[n].r[1], 1.0);
    }
    for (int n = 0; known && n < known_count_; ++n) own.Add(known_[n].row, known_[n].value, known_[n].weight);
    return own;
  }

  /// The place by some equations; an infinite cost where they do not determine one.
  THypothesis Solve(const std::vector<char>& inside, bool known) const {
    THypothesis one;
    one.inside = inside;
    one.known = known;
    const TPointEquations own = Normal(inside, known);
    for (int c = 0; c < 6; c += c == 0 ? 3 : 2) {
      if (own.normal[c] < kWeakest * full_.normal[c]) return one;
    }
    if (!Factor3(own.normal, one.inverse)) return one;
    std::copy(own.right.begin(), own.right.end(), one.move);
    Solve3(one.inverse, one.move);
    one.count = static_cast<std::size_t>(std::count(inside.begin(), inside.end(), 1));
    one.cost = 0.0;
    return one;
  }

  /// The test of ray n against a place that it did or did not help to find.
  TResidualTest Test(const THypothesis& place, std::size_t n) const {
    const TScaledRay& ray = rays_[n];
    const double sign = place.inside[n] != 0 ? -1.0 : 1.0;
    double v[2];
    double half[6];
    for (int r = 0; r < 2; ++r) {
      const double* const e = ray.e + 3 * r;
      v[r] = ray.r[r] - (e[0] * place.move[0] + e[1] * place.move[1] + e[2] * place.move[2]);
      std::copy(e, e + 3, half + 3 * r);
      SolveLower3(place.inverse, half + 3 * r);
    }
    const double q[3] = {1.0 + sign * (half[0] * half[0] + half[1] * half[1] + half[2] * half[2]),
                         sign * (half[0] * half[3] + half[1] * half[4] + half[2] * half[5]),
                         1.0 + sign * (half[3] * half[3] + half[4] * half[4] + half[5] * half[5])};
    return TestOf(v, q, kVarianceFloor);
  }

  bool Passes(const TResidualTest& test) const { return test.square <= limits_[test.freedom]; }

  /// Square of what is known against a place; each coordinate by itself.
  double KnownSquare(const THypothesis& place) const {
    double square = 0.0;
    for (int n = 0; n < known_count_; ++n) {
      const double* const row = known_[n].row;
      const double off = known_[n].value - (row[0] * place.move[0] + row[1] * place.move[1] + row[2] * place.move[2]);
      double half[3] = {row[0], row[1], row[2]};
      SolveLower3(place.inverse, half);
      const double spread = half[0] * half[0] + half[1] * half[1] + half[2] * half[2];
      const double variance = 1.0 / known_[n].weight + (place.known ? -spread : spread);
      // A coordinate that rests on what is known alone shows nothing.
      if (variance * known_[n].weight > kVarianceFloor) square += off * off / variance;
    }
    return square;
  }

  bool KnownAgrees(const THypothesis& place) const { return KnownSquare(place) <= limits_[known_count_]; }

  /// Everything that found the place agrees with it.
  bool Agrees(const THypothesis& place) const {
    for (std::size_t n = 0; n < rays_.size(); ++n) {
      if (place.inside[n] != 0 && !Passes(Test(place, n))) return false;
    }
    return !place.known || known_count_ == 0 || KnownAgrees(place);
  }

  /// The place that a seed leads to once all that agree are taken in.
  THypothesis Grow(const std::vector<char>& seed, bool known) const {
    THypothesis place = Solve(seed, known);
    if (!(place.cost < std::numeric_limits<double>::infinity()) || !Agrees(place)) return {};
    for (int pass = 0; pass < 3; ++pass) {
      std::vector<char> inside(rays_.size());
      for (std::size_t n = 0; n < rays_.size(); ++n) inside[n] = Passes(Test(place, n)) ? 1 : 0;
      const bool takesKnown = known_count_ > 0 && KnownAgrees(place);
      if (inside == place.inside && takesKnown == place.known) break;
      THypothesis next = Solve(inside, takesKnown);
      if (!(next.cost < std::numeric_limits<double>::infinity())) return {};
      place = std::move(next);
    }
    place.cost = 0.0;
    for (std::size_t n = 0; n < rays_.size(); ++n) {
      const TResidualTest test = Test(place, n);
      place.cost += place.inside[n] != 0 ? std::min(test.square, limits_[2]) : limits_[2];
    }
    if (known_count_ > 0) place.cost += std::min(KnownSquare(place), limits_[known_count_]);
    return Agrees(place) ? place : THypothesis{};
  }

  double spread_;
  double limits_[4];
  std::vector<TScaledRay> rays_;
  TKnownEquation known_[3] = {};
  int known_count_ = 0;
  TPointEquations full_;
};

std::size_t Set(Measurement state, std::size_t ray, TNetwork* network) {
  if (network->rayState[ray] == state) return 0;
  network->rayState[ray] = state;
  return 1;
}

std::size_t JudgePoint(std::size_t point, const TEquations& equations, TJudge* judge, TNetwork* network) {
  const char wasBad = network->knownIsBad[point];
  network->knownIsBad[point] = 0;
  judge->Take(*network, equations, point);
  const std::size_t needed = network->NeededRays(point);
  bool rival = false;
  const THypothesis best = judge->Judge(needed, &rival);
  const bool lost = best.count < needed || rival;
  std::size_t changed = 0;
  for (std::size_t n = 0; n < judge->Count(); ++n) {
    const bool inside = !best.inside.empty() && best.inside[n] != 0;
    const Measurement state = lost ? Measurement::Undecided : (inside ? Measurement::Used : Measurement::Bad);
    changed += Set(state, judge->RayAt(n), network);
  }
  if (!lost && judge->KnownCount() > 0 && !best.known) network->knownIsBad[point] = 1;
  changed += network->knownIsBad[point] != wasBad ? 1 : 0;
  network->pointState[point] = lost ? TBlockPointState::LostMeasurements : TBlockPointState::Used;
  return changed;
}

/// A point that the rays may be judged of.
bool IsOpen(const TNetwork& network, std::size_t point) {
  return network.pointState[point] == TBlockPointState::Used ||
         network.pointState[point] == TBlockPointState::LostMeasurements;
}

/// Weighted square sum of a point's used rays over its freedom, in the place where they are least; below 0 without any.
double MeanSquareOf(const TNetwork& network, const TEquations& equations, std::size_t point, int* freedom) {
  TPointEquations own;
  std::size_t used = 0;
  for (std::size_t i = network.first[point]; i < network.first[point + 1]; ++i) {
    if (!network.IsUsed(i)) continue;
    const double sigma = network.rays[i].sigma;
    own.Add(equations.rays[i], 1.0 / (sigma * sigma));
    ++used;
  }
  double factor[6];
  if (used < 2 || !Factor3(own.normal, factor)) return -1.0;
  double move[3] = {own.right[0], own.right[1], own.right[2]};
  Solve3(factor, move);
  double sum = 0.0;
  for (std::size_t i = network.first[point]; i < network.first[point + 1]; ++i) {
    if (!network.IsUsed(i)) continue;
    const TRayEquations& ray = equations.rays[i];
    for (int r = 0; r < 2; ++r) {
      const double* const e = ray.e + 3 * r;
      const double v = ray.residual[r] - (e[0] * move[0] + e[1] * move[1] + e[2] * move[2]);
      sum += v * v / (network.rays[i].sigma * network.rays[i].sigma);
    }
  }
  *freedom = static_cast<int>(2 * used) - 3;
  return sum / *freedom;
}

}  // namespace

double SpreadOf(const TNetwork& network, const TEquations& equations, double share) {
  std::vector<double> squares(network.PointCount(), -1.0);
  std::vector<double> quantiles(kTabulated, 0.0);
  for (int freedom = 1; freedom < kTabulated; ++freedom) quantiles[freedom] = ChiSquareLimit(1.0 - share, freedom);
  ForRuns(network.PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    for (std::size_t j = first; j < last; ++j) {
      if (network.pointState[j] != TBlockPointState::Used) continue;
      int freedom = 0;
      const double mean = MeanSquareOf(network, equations, j, &freedom);
      // Each by the quantile of its own distribution, so that all have 1 in common.
      if (mean < 0.0) continue;
      squares[j] = mean * freedom / (freedom < kTabulated ? quantiles[freedom] : ChiSquareLimit(1.0 - share, freedom));
    }
  });
  squares.erase(std::remove_if(squares.begin(), squares.end(), [](double value) { return value < 0.0; }),
                squares.end());
  if (squares.empty()) return 1.0;
  const auto place = squares.begin() + static_cast<std::ptrdiff_t>(share * static_cast<double>(squares.size() - 1));
  std::nth_element(squares.begin(), place, squares.end());
  return std::sqrt(*place);
}

std::size_t FindConsensus(double spread, TNetwork* network, const TEquations& equations) {
  std::atomic<std::size_t> changed{0};
  ForRuns(network->PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    TJudge judge(spread, network->options.significance);
    std::size_t own = 0;
    for (std::size_t j = first; j < last; ++j) {
      if (IsOpen(*network, j)) own += JudgePoint(j, equations, &judge, network);
    }
    changed += own;
  });
  return changed;
}

}  // namespace SatCommonUtils::block
