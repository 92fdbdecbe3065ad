// What singular values and directions say about ridges; sources in the header.

#include "refine/estimation/ridge_spectrum.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <iterator>
#include <limits>

#include "linalg/kernels.h"
#include "linalg/simd.h"
#include "refine/estimation/portable_math.h"

namespace SatCommonUtils::estimation {

namespace {

// Singular values below this share of the largest are rounding.
constexpr double kRankTolerance = 1e-12;
// Directions below this share do not take part in a step.
constexpr double kUndetermined = 1e-15;
// Unknowns of the first-order reference.
constexpr std::size_t kReferenceUnknowns = 7;
// Weight of the plain score in the robust one: 0.2 up to 100 points, then growing with the square root of their number
// to 1, since with many points the plain score does not go astray, and the robust one would smooth more than noise asks
// for.
double PlainShare(double points) { return std::clamp(0.02 * std::sqrt(points), 0.2, 1.0); }

// With few redundant points r the residuals can be small by chance. A variance estimated from them is smaller than the
// true one by r / (the 0.1 % quantile of chi square with r degrees of freedom) at worst, which is close to
// exp(13.3 r^-0.72) from 6e5 at r = 1 to 3.4 at r = 20.
constexpr double kChance = 13.3;
constexpr double kChancePower = 0.72;
// Mean squared residual of normalised values that is rounding; keeps scores of perfect fits comparable.
constexpr double kRoundingSquare = 1e-30;
// The grid of ridges, four a decade, begins here, relative to the largest squared singular value.
constexpr double kLargestRidge = 100.0;

// Directions, each over the root of its singular value's square and the ridge; sums over components along them are
// taken for all directions at once.
struct TScaledDirections {
  std::size_t count;
  alignas(64) double component[TRidgeSpectrum::kMaxUnknowns][TTriangularFactor::kStride];  // k of direction i: (k, i)
  double share[TTriangularFactor::kStride];  // square of the singular value by that and the ridge
  double drawn[TTriangularFactor::kStride];  // share of the residuals along the direction, over the root
};

struct TInfluencesOfRows {
  const TDesignRows& rows;
  const TScaledDirections& directions;
  TInfluence* influences;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    if (directions.count <= 8) return Sums<Width, 1>();
    if (directions.count <= 24) return Sums<Width, 3>();
    Sums<Width, TTriangularFactor::kStride / 8>();
  }

  template <int Width, std::size_t Blocks>
  [[gnu::always_inline]] void Sums() const {
    using TVector = typename simd::TLanes<Width>::TVector;
    constexpr std::size_t kVectors = Blocks * 8 / Width;
    for (std::size_t i = 0; i < rows.count; ++i) {
      const double* const row = rows.values + i * rows.stride;
      TVector sums[kVectors] = {};
      for (std::size_t k = 0; k < rows.unknowns; ++k) {
        for (std::size_t v = 0; v < kVectors; ++v) {
          sums[v] = sums[v] + row[k] * *reinterpret_cast<const TVector*>(directions.component[k] + v * Width);
        }
      }
      TInfluence influence;
      for (std::size_t d = 0; d < directions.count; ++d) {
        const double along = sums[d / Width][d % Width];
        influence.leverage += along * along;
        influence.squared += along * along * directions.share[d];
        influence.drawn += along * directions.drawn[d];
      }
      influences[i] = influence;
    }
  }
};

}  // namespace

double CrossValidationScore(double residual_squares, const TFreedom& freedom, std::size_t points) {
  const double n = static_cast<double>(points);
  const double left = (n - freedom.trace) / n;
  const double plain = PlainShare(n);
  return (residual_squares / n + kRoundingSquare) / (left * left) * (plain + (1.0 - plain) * freedom.squared_trace / n);
}

double CautiousScore(double residual_squares, const TFreedom& freedom, std::size_t points) {
  const double score = CrossValidationScore(residual_squares, freedom, points);
  const double redundancy = std::max(static_cast<double>(points) - freedom.trace, 1.0);
  if (redundancy >= kFewRedundant) return score;
  return score *
         PortableExp(kChance * (PortablePow(redundancy, -kChancePower) - PortablePow(kFewRedundant, -kChancePower)));
}

TRidgeSpectrum::TRidgeSpectrum(const TTriangularFactor& factor)
    : unknowns_(factor.columns), directions_(factor.rank), rest_(factor.Rest()) {
  rotated_.count = directions_;
  rotated_.columns = unknowns_;
  for (std::size_t i = 0; i < directions_; ++i) {
    std::fill(std::copy_n(factor.Row(i), unknowns_, rotated_.rows[i]), std::end(rotated_.rows[i]), 0.0);
    rotated_.values[i] = -factor.Row(i)[unknowns_];
  }
  OrthogonaliseRows(&rotated_);
  for (std::size_t i = 0; i < directions_; ++i) {
    double* const direction = rotated_.rows[i];
    singular_value_[i] = std::sqrt(kernels::Dot(direction, direction, unknowns_));
    largest_ = std::max(largest_, singular_value_[i]);
    if (singular_value_[i] == 0.0) continue;
    for (std::size_t k = 0; k < unknowns_; ++k) direction[k] /= singular_value_[i];
  }
  if (directions_ >= kReferenceUnknowns) {
    double sorted[kMaxUnknowns];
    std::copy_n(singular_value_, directions_, sorted);
    std::nth_element(sorted, sorted + kReferenceUnknowns - 1, sorted + directions_, std::greater<double>());
    least_of_reference_ = sorted[kReferenceUnknowns - 1];
  }
}

int TRidgeSpectrum::Rank() const {
  return static_cast<int>(std::count_if(singular_value_, singular_value_ + directions_,
                                        [&](double value) { return value > kRankTolerance * largest_; }));
}

TFreedom TRidgeSpectrum::FreedomAt(double ridge) const {
  TFreedom freedom;
  for (std::size_t i = 0; i < directions_; ++i) {
    if (singular_value_[i] <= kUndetermined * largest_) continue;
    const double square = singular_value_[i] * singular_value_[i];
    const double share = singular_value_[i] >= least_of_reference_ ? 1.0 : square / (square + ridge);
    freedom.trace += share;
    freedom.squared_trace += share * share;
  }
  return freedom;
}

void TRidgeSpectrum::Influences(const TDesignRows& rows, double ridge, TInfluence* influences) const {
  TScaledDirections directions{directions_, {}, {}, {}};
  for (std::size_t i = 0; i < directions_; ++i) {
    if (singular_value_[i] <= kUndetermined * largest_) continue;
    const double square = singular_value_[i] * singular_value_[i];
    const double sum = singular_value_[i] >= least_of_reference_ ? square : square + ridge;
    const double root = std::sqrt(sum);
    for (std::size_t k = 0; k < unknowns_; ++k) directions.component[k][i] = rotated_.rows[i][k] / root;
    directions.share[i] = square / sum;
    directions.drawn[i] = -singular_value_[i] * rotated_.values[i] / root;
  }
  simd::Dispatch(TInfluencesOfRows{rows, directions, influences});
}

double TRidgeSpectrum::Along(std::size_t direction, const double* vector) const {
  return kernels::Dot(rotated_.rows[direction], vector, unknowns_);
}

double TRidgeSpectrum::ChooseRidge(const double* distance, double least, std::size_t points, TScore score_of) const {
  // The residuals that remain at full ridge: what the points say, seen from where the ridge pulls.
  double seen[kMaxUnknowns];
  for (std::size_t i = 0; i < directions_; ++i) seen[i] = rotated_.values[i] + singular_value_[i] * Along(i, distance);

  constexpr double ratio = 0.56234132519034908;  // 10 to the power -1 / 4
  double ridge = LargestSquare() * kLargestRidge;
  double best_ridge = std::max(ridge, least);
  double best_score = std::numeric_limits<double>::infinity();
  for (; ridge > least * ratio; ridge *= ratio) {
    const double used = std::max(ridge, least);
    const TFreedom freedom = FreedomAt(used);
    double residual_squares = rest_ * rest_;
    for (std::size_t i = 0; i < directions_; ++i) {
      const double residual = used / (singular_value_[i] * singular_value_[i] + used) * seen[i];
      residual_squares += residual * residual;
    }
    const double score = score_of(residual_squares, freedom, points);
    if (score < best_score) {
      best_score = score;
      best_ridge = used;
    }
  }
  return best_ridge;
}

double TRidgeSpectrum::Step(const double* distance, double ridge, double* step) const {
  std::fill_n(step, unknowns_, 0.0);
  double change_squares = 0.0;
  for (std::size_t i = 0; i < directions_; ++i) {
    const double value = singular_value_[i];
    if (value <= kUndetermined * largest_) continue;
    const double length = (value * rotated_.values[i] - ridge * Along(i, distance)) / (value * value + ridge);
    change_squares += value * length * value * length;
    for (std::size_t k = 0; k < unknowns_; ++k) step[k] += length * rotated_.rows[i][k];
  }
  return std::sqrt(change_squares);
}

}  // namespace SatCommonUtils::estimation
