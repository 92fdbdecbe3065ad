// The distribution of the length of a normally distributed vector. In polar coordinates of the whitened plane, where
// the direction is uniform and the distance Rayleigh's (H. L. Harter, 1960, doi:10.1080/01621459.1960.10483374),
//
//   P(R) = 1 - (2/pi) integral over phi from 0 to pi/2 of exp(-R^2 / (2 (a^2 cos^2 phi + b^2 sin^2 phi))).
//
// The integrand is periodic and smooth, so that equal steps converge faster than any power (L. N. Trefethen and
// J. A. C. Weideman, 2014, doi:10.1137/130932132).

#include "accuracy/ellipse_probability.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "refine/estimation/portable_math.h"

namespace SatCommonUtils {

namespace {

using estimation::PortableExp;
using estimation::PortableLog;

constexpr double kPi = 3.14159265358979323846;
constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

/// Eigenvalues of a covariance; `larger` is NaN for what is none.
struct TVariances {
  double larger = kNoNumber;
  double smaller = kNoNumber;
};

TVariances VariancesOf(const TPlaneCovariance& c) noexcept {
  /// A smaller variance may be below zero by this share of the larger one: rounding of sums of squares.
  constexpr double kRounding = 1e-9;
  const double mean = 0.5 * (c.xx + c.yy);
  const double half = 0.5 * (c.xx - c.yy);
  const double larger = mean + std::sqrt(half * half + c.xy * c.xy);
  if (!(larger >= 0.0) || !std::isfinite(larger)) return {};
  if (larger == 0.0) return {0.0, 0.0};
  // By the product of both: their sum would lose the smaller one.
  const double smaller = (c.xx * c.yy - c.xy * c.xy) / larger;
  if (smaller < -kRounding * larger) return {};
  return {larger, std::min(larger, std::max(0.0, smaller))};
}

/// The squared sine of an angle from 0 to pi/4 by its series, whose eleventh term is below 1e-19.
double SquaredSine(double angle) noexcept {
  const double square = angle * angle;
  double sum = 1.0;
  for (int k = 20; k >= 2; k -= 2) sum = 1.0 - sum * square / (k * (k + 1));
  return square * sum * sum;
}

/// Share of errors within `radius` for axes 1 and sqrt(`ratio`), and its derivative by the radius.
struct TShare {
  double probability;
  double density;
};

TShare ShareWithin(double ratio, double radius) noexcept {
  // Steps have to resolve exp(-R^2 / 2 cos^2), as wide as R or, in a round ellipse, as the ellipse: for 64 of them the
  // error is below 1e-15 from R = 1 on.
  constexpr double kSteps = 64.0;
  constexpr double kMostSteps = 65536.0;
  const double width = std::max(radius, std::sqrt(ratio));
  const int steps = static_cast<int>(std::min(kMostSteps, std::ceil(kSteps / std::min(1.0, width))));
  const double half = 0.5 * radius * radius;
  double outside = 0.0;
  double density = 0.0;
  const auto add = [&](double squaredCosine, double squaredSine) {
    const double variance = squaredCosine + ratio * squaredSine;
    const double share = PortableExp(-half / variance);
    outside += share;
    density += share / variance;
  };
  for (int i = 0; i < steps; ++i) {
    const double angle = (i + 0.5) * (0.25 * kPi / steps);
    const double squaredSine = SquaredSine(angle);
    add(1.0 - squaredSine, squaredSine);
    add(squaredSine, 1.0 - squaredSine);
  }
  return {1.0 - outside / (2.0 * steps), radius * density / (2.0 * steps)};
}

/// Radius of a share for axes 1 and sqrt(`ratio`): Newton's steps, kept between bounds.
double RadiusOf(double ratio, double probability) noexcept {
  constexpr double kAtRest = 1e-14;
  constexpr int kMostSteps = 100;
  double low = 0.0;
  double high = std::sqrt(-2.0 * PortableLog(1.0 - probability));  // of a round ellipse: the most
  double radius = high * (0.75 + 0.25 * ratio);
  for (int step = 0; step < kMostSteps; ++step) {
    const TShare share = ShareWithin(ratio, radius);
    (share.probability < probability ? low : high) = radius;
    double next = radius - (share.probability - probability) / share.density;
    if (!(next > low && next < high)) next = 0.5 * (low + high);
    const double moved = std::fabs(next - radius);
    radius = next;
    if (moved <= kAtRest * radius) break;
  }
  return radius;
}

/// The radius of one share over the ratio of the axes, 0 to 1: polynomials through Chebyshev's nodes of equal pieces.
class TRadiusTable {
 public:
  explicit TRadiusTable(double probability) noexcept {
    for (std::size_t piece = 0; piece < kPieces; ++piece) Fill(piece, probability);
  }

  double At(double axes) const noexcept {
    const double place = kPieces * axes;
    const std::size_t piece = std::min(kPieces - 1, static_cast<std::size_t>(place));
    const double x = 2.0 * (place - static_cast<double>(piece)) - 1.0;
    const std::array<double, kTerms>& powers = powers_[piece];
    double value = powers[kTerms - 1];
    for (std::size_t k = kTerms - 1; k-- > 0;) value = value * x + powers[k];
    return value;
  }

 private:
  static constexpr std::size_t kPieces = 32;
  static constexpr std::size_t kTerms = 8;

  /// Cosine of k pi / (2 terms).
  static double Cosine(std::size_t k) noexcept {
    k %= 4 * kTerms;
    if (k > 2 * kTerms) k = 4 * kTerms - k;
    const bool right = k <= kTerms;
    const double half = 0.25 * kPi * static_cast<double>(right ? k : 2 * kTerms - k) / kTerms;
    return right ? 1.0 - 2.0 * SquaredSine(half) : 2.0 * SquaredSine(half) - 1.0;
  }

  void Fill(std::size_t piece, double probability) noexcept {
    std::array<double, kTerms> values{};
    for (std::size_t i = 0; i < kTerms; ++i) {
      const double axes = (static_cast<double>(piece) + 0.5 + 0.5 * Cosine(2 * i + 1)) / kPieces;
      values[i] = RadiusOf(axes * axes, probability);
    }
    // Sums of Chebyshev's polynomials, whose powers come by their recurrence.
    std::array<double, kTerms> before{}, polynomial{1.0};
    for (std::size_t k = 0; k < kTerms; ++k) {
      double sum = 0.0;
      for (std::size_t i = 0; i < kTerms; ++i) sum += values[i] * Cosine(k * (2 * i + 1));
      sum *= (k == 0 ? 1.0 : 2.0) / kTerms;
      for (std::size_t power = 0; power < kTerms; ++power) powers_[piece][power] += sum * polynomial[power];
      std::array<double, kTerms> next{};
      for (std::size_t power = 0; power < kTerms; ++power) {
        const double raised = power > 0 ? polynomial[power - 1] : 0.0;
        next[power] = (k == 0 ? 1.0 : 2.0) * raised - before[power];
      }
      before = polynomial;
      polynomial = next;
    }
  }

  std::array<std::array<double, kTerms>, kPieces> powers_{};
};

}  // namespace

TErrorEllipse ErrorEllipseOf(const TPlaneCovariance& covariance) noexcept {
  const TVariances variances = VariancesOf(covariance);
  // Of a negative zero the arc tangent would be -pi, which is the same direction as pi.
  const double direction = 0.5 * std::atan2(2.0 * covariance.xy + 0.0, covariance.xx - covariance.yy);
  return {std::sqrt(variances.larger), std::sqrt(variances.smaller), direction + 0.0 * variances.larger};
}

double ProbabilityWithin(const TPlaneCovariance& covariance, double radius) noexcept {
  const TVariances variances = VariancesOf(covariance);
  if (std::isnan(variances.larger) || std::isnan(radius)) return kNoNumber;
  if (!(radius > 0.0)) return 0.0;
  if (variances.larger == 0.0 || std::isinf(radius)) return 1.0;
  return ShareWithin(variances.smaller / variances.larger, radius / std::sqrt(variances.larger)).probability;
}

double CircularError(const TPlaneCovariance& covariance, double probability) noexcept {
  const TVariances variances = VariancesOf(covariance);
  if (!(probability >= 0.01 && probability < 1.0)) return kNoNumber;
  if (!(variances.larger > 0.0)) return variances.larger;
  return std::sqrt(variances.larger) * RadiusOf(variances.smaller / variances.larger, probability);
}

TCircularErrors CircularErrorsOf(const TPlaneCovariance& covariance) noexcept {
  static const TRadiusTable table90(0.90);
  static const TRadiusTable table95(0.95);
  const TVariances variances = VariancesOf(covariance);
  if (!(variances.larger > 0.0)) return {variances.larger, variances.larger};
  const double major = std::sqrt(variances.larger);
  const double axes = std::sqrt(variances.smaller / variances.larger);
  return {major * table90.At(axes), major * table95.At(axes)};
}

}  // namespace SatCommonUtils
