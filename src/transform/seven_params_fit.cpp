// B. K. P. Horn, Closed-form solution of absolute orientation using unit quaternions, J. Opt. Soc. Am. A 4 (1987),
// doi:10.1364/JOSAA.4.000629; the eigenvectors by Jacobi's method, G. H. Golub, C. F. Van Loan, Matrix Computations,
// 4th ed., 2013, 8.5.

#include "transform/seven_params_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "geometry/attitude.h"
#include "geometry/quaternion.h"
#include "linalg/vector.h"

namespace SatCommonUtils {
namespace {

constexpr std::size_t kSize = 4;
using Matrix4 = std::array<std::array<double, kSize>, kSize>;

TVector Source(const T7ParamsSourceDataItem& p) { return {p.Xfrom, p.Yfrom, p.Zfrom}; }
TVector Target(const T7ParamsSourceDataItem& p) { return {p.Xto, p.Yto, p.Zto}; }

/// Mean of a vector of every point, as the first plus the mean difference from it: large coordinates of a small area
/// keep their digits.
template <class Take>
TVector Mean(const std::vector<T7ParamsSourceDataItem>& points, const Take& take) {
  const TVector first = take(points.front());
  TVector sum(3);
  for (const T7ParamsSourceDataItem& point : points) sum += take(point) - first;
  return first + sum / static_cast<double>(points.size());
}

/// Turns rows and columns p and q of a symmetric matrix by the angle that makes its element (p, q) zero, and the
/// columns of `vectors` along.
void RotateAway(std::size_t p, std::size_t q, Matrix4* matrix, Matrix4* vectors) {
  Matrix4& a = *matrix;
  // The smaller of the two angles; a huge quotient squared is infinite, and the tangent 0 then, as it should be.
  const double tau = (a[q][q] - a[p][p]) / (2.0 * a[p][q]);
  const double t = (tau >= 0.0 ? 1.0 : -1.0) / (std::fabs(tau) + std::sqrt(1.0 + tau * tau));
  const double c = 1.0 / std::sqrt(1.0 + t * t), s = t * c;
  for (std::size_t k = 0; k < kSize; ++k) {
    const double kp = a[k][p], kq = a[k][q];
    a[k][p] = c * kp - s * kq;
    a[k][q] = s * kp + c * kq;
    const double vp = (*vectors)[k][p], vq = (*vectors)[k][q];
    (*vectors)[k][p] = c * vp - s * vq;
    (*vectors)[k][q] = s * vp + c * vq;
  }
  for (std::size_t k = 0; k < kSize; ++k) {
    const double pk = a[p][k], qk = a[q][k];
    a[p][k] = c * pk - s * qk;
    a[q][k] = s * pk + c * qk;
  }
  a[p][q] = a[q][p] = 0.0;
}

/// Makes a symmetric matrix diagonal; column i of `vectors` becomes the eigenvector of the element (i, i).
void Diagonalize(Matrix4* matrix, Matrix4* vectors) {
  constexpr int kMostSweeps = 40;  // it converges quadratically: six are many
  for (std::size_t i = 0; i < kSize; ++i) (*vectors)[i] = {}, (*vectors)[i][i] = 1.0;
  for (int sweep = 0; sweep < kMostSweeps; ++sweep) {
    bool changed = false;
    for (std::size_t p = 0; p < kSize; ++p) {
      for (std::size_t q = p + 1; q < kSize; ++q) {
        // Elements that vanish beside both of their diagonal ones turn nothing any more.
        const double element = std::fabs((*matrix)[p][q]);
        const double beside = std::min(std::fabs((*matrix)[p][p]), std::fabs((*matrix)[q][q]));
        if (element == 0.0 || beside + element * 0x1p-10 == beside) continue;
        RotateAway(p, q, matrix, vectors);
        changed = true;
      }
    }
    if (!changed) return;
  }
}

/// The sums that the fit needs, about the means.
struct Moments {
  explicit Moments(const std::vector<T7ParamsSourceDataItem>& points)
      : source_mean(Mean(points, Source)), target_mean(Mean(points, Target)) {
    for (const T7ParamsSourceDataItem& point : points) {
      const TVector source = Source(point) - source_mean, target = Target(point) - target_mean;
      spread += source * source;
      target_spread += target * target;
      for (std::size_t i = 0; i < 3; ++i) {
        for (std::size_t j = 0; j < 3; ++j) products[i][j] += source(i) * target(j);
      }
    }
  }

  bool IsFinite() const { return std::isfinite(spread) && std::isfinite(target_spread); }

  /// The matrix whose quadratic form in a unit quaternion is the sum of target·(rotated source).
  Matrix4 QuaternionForm() const {
    const auto& s = products;
    return {{{s[0][0] + s[1][1] + s[2][2], s[1][2] - s[2][1], s[2][0] - s[0][2], s[0][1] - s[1][0]},
             {s[1][2] - s[2][1], s[0][0] - s[1][1] - s[2][2], s[0][1] + s[1][0], s[2][0] + s[0][2]},
             {s[2][0] - s[0][2], s[0][1] + s[1][0], s[1][1] - s[0][0] - s[2][2], s[1][2] + s[2][1]},
             {s[0][1] - s[1][0], s[2][0] + s[0][2], s[1][2] + s[2][1], s[2][2] - s[0][0] - s[1][1]}}};
  }

  TVector source_mean, target_mean;
  double spread = 0.0, target_spread = 0.0;  ///< Sums of squared distances from the means.
  double products[3][3] = {};                ///< Source element i times target element j.
};

T7ParamsFit Failed(T7ParamsFitState state, const char* sentence) {
  T7ParamsFit fit;
  fit.state = state;
  fit.sentence = sentence;
  return fit;
}

void Measure(const std::vector<T7ParamsSourceDataItem>& points, T7ParamsFit* fit) {
  const T7ParamsTransform transform(fit->params);
  double mean = 0.0;
  TVector image;
  for (std::size_t i = 0; i < points.size(); ++i) {
    transform.DirectTransformVector(Source(points[i]), &image);
    const double distance = (Target(points[i]) - image).Norma();
    mean += (distance * distance - mean) / static_cast<double>(i + 1);
    if (distance > fit->largest) fit->largest = distance, fit->largest_at = i;
  }
  fit->rms = std::sqrt(mean);
}

}  // namespace

T7ParamsFit Fit7Params(const std::vector<T7ParamsSourceDataItem>& points) {
  if (points.size() < 3) return Failed(T7ParamsFitState::TooFewPoints, "There are fewer than three points.");
  const Moments moments(points);
  if (!moments.IsFinite()) return Failed(T7ParamsFitState::NotFinite, "A coordinate or its square is not finite.");

  Matrix4 form = moments.QuaternionForm(), vectors;
  Diagonalize(&form, &vectors);
  std::array<std::size_t, kSize> order{0, 1, 2, 3};
  std::sort(order.begin(), order.end(), [&](std::size_t i, std::size_t j) { return form[i][i] > form[j][j]; });
  const double best = form[order[0]][order[0]], second = form[order[1]][order[1]];
  const double m = best / moments.spread;
  // A scale factor that vanishes beside 1 has no place in the parameters: the targets are one place then.
  if (!(best - second > kSmallestRotationGap * best) || !(m - 1.0 > -1.0)) {
    return Failed(T7ParamsFitState::Undetermined,
                  "The points do not determine the rotation: they lie on one line or in one place, or the targets "
                  "are mirrored.");
  }

  T7ParamsFit fit;
  TQuaternion turn;
  for (std::size_t i = 0; i < kSize; ++i) turn[static_cast<int>(i)] = vectors[i][order[0]];
  // Frames are turned by the transpose of what turns vectors, hence Rz Ry Rx here and the attitude's inverse there.
  TAttitudeAngles angles;
  angles.SetQuaternion(turn);
  fit.params = {angles.roll, angles.pitch, angles.yaw, m - 1.0, 0.0, 0.0, 0.0};
  TVector turned_mean;
  T7ParamsTransform(fit.params).DirectTransformVector(moments.source_mean, &turned_mean);
  const TVector shift = moments.target_mean - turned_mean;
  fit.params.dX = shift(0), fit.params.dY = shift(1), fit.params.dZ = shift(2);
  Measure(points, &fit);
  fit.state = T7ParamsFitState::Done;
  fit.sentence = "The similarity has been found; its misfit says how well it fits.";
  return fit;
}

}  // namespace SatCommonUtils
