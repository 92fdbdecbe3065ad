// Covariances by propagation through the eliminated points. With V the normal matrix of a point, E and B the
// derivatives of its rays, w their weights and S the covariance of the corrections, the point's covariance is V^-1 +
// V^-1 (sum w_b E_b' C_bc E_c w_c) V^-1, C_bc = B_b S B_c' being what the corrections do in two of its images, and the
// fitted value of ray a has E_a V^-1 E_a' + sum D_ab C_bc D_ac', D_ab = delta_ab - E_a V^-1 E_b' w_b (E. Mikhail and F.
// Ackermann, "Observations and Least Squares", 1976, chapter 10).

#include "block/precision.h"

#include <algorithm>

namespace SatCommonUtils::block {
namespace {

/// 2 x 2, by rows.
using TSquare2 = std::array<double, 4>;

/// B S B' of two rays.
TSquare2 Propagate(const std::array<double, 36>& s, const TRayEquations& a, const TRayEquations& b) {
  const double left[3] = {1.0, a.u, a.v};
  const double right[3] = {1.0, b.u, b.v};
  TSquare2 result{};
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) {
      double sum = 0.0;
      for (int p = 0; p < 3; ++p) {
        const double* const row = s.data() + (3 * r + p) * 6 + 3 * c;
        sum += left[p] * (row[0] * right[0] + row[1] * right[1] + row[2] * right[2]);
      }
      result[r * 2 + c] = sum;
    }
  }
  return result;
}

/// The corrections' covariance as rays of one point see it.
class TCorrectionPart {
 public:
  TCorrectionPart(const TNetwork& network, const TEquations& equations, const TReducedSystem& system,
                  const std::vector<std::size_t>& rays)
      : count_(rays.size()), blocks_(rays.size() * rays.size()) {
    std::array<double, 36> covariance;
    for (std::size_t a = 0; a < count_; ++a) {
      const std::uint32_t groupA = network.groupOf[network.rays[rays[a]].image];
      for (std::size_t b = a; b < count_; ++b) {
        const std::uint32_t groupB = network.groupOf[network.rays[rays[b]].image];
        if (groupA == kNobody || groupB == kNobody || !system.Covariance(groupA, groupB, &covariance)) continue;
        const TSquare2 block = Propagate(covariance, equations.rays[rays[a]], equations.rays[rays[b]]);
        blocks_[a * count_ + b] = block;
        blocks_[b * count_ + a] = {block[0], block[2], block[1], block[3]};
      }
    }
  }

  const TSquare2& At(std::size_t a, std::size_t b) const { return blocks_[a * count_ + b]; }

 private:
  std::size_t count_;
  std::vector<TSquare2> blocks_;
};

/// sum += a * m * b', all 2 x 2.
void AddTransformed(const TSquare2& a, const TSquare2& m, const TSquare2& b, std::array<double, 3>* sum) {
  TSquare2 am;
  for (int r = 0; r < 2; ++r) {
    for (int c = 0; c < 2; ++c) am[r * 2 + c] = a[r * 2] * m[c] + a[r * 2 + 1] * m[2 + c];
  }
  (*sum)[0] += am[0] * b[0] + am[1] * b[1];
  (*sum)[1] += am[0] * b[2] + am[1] * b[3];
  (*sum)[2] += am[2] * b[2] + am[3] * b[3];
}

double Dot(const double* a, const double* b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

}  // namespace

void PrecisionOf(const TNetwork& network, const TEquations& equations, const TReducedSystem& system, bool corrections,
                 std::size_t point, TPointPrecision* precision) {
  const TEliminatedPoint& own = system.Point(point);
  precision->known = own.used;
  precision->rays.clear();
  precision->fitted.clear();
  for (const bool used : {true, false}) {
    for (std::size_t i = network.first[point]; i < network.first[point + 1]; ++i) {
      if (network.rayState[i] == TBlockMeasurementState::Repeated) continue;
      if (network.TakesPart(network.rays[i].image) && network.IsUsed(i) == used) precision->rays.push_back(i);
    }
    if (used) precision->used = precision->rays.size();
  }
  if (!own.used) return;
  const std::size_t count = precision->rays.size();
  // Rows of E L'^-1: their products are those of E V^-1 E'.
  std::vector<double> half(6 * count);
  std::vector<double> weights(count, 0.0);
  for (std::size_t n = 0; n < count; ++n) {
    const std::size_t i = precision->rays[n];
    std::copy_n(equations.rays[i].e, 6, half.data() + 6 * n);
    SolveLower3(own.factor, half.data() + 6 * n);
    SolveLower3(own.factor, half.data() + 6 * n + 3);
    if (n < precision->used) weights[n] = equations.Weight(i);
  }
  double spread[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};  // in the axes of L
  for (std::size_t n = 0; n < count; ++n) {
    const double* const h = half.data() + 6 * n;
    precision->fitted.push_back({Dot(h, h), Dot(h, h + 3), Dot(h + 3, h + 3)});
  }
  if (corrections) {
    const TCorrectionPart part(network, equations, system, precision->rays);
    const auto partial = [&](std::size_t a, std::size_t b) {
      TSquare2 d{};
      const double* const x = half.data() + 6 * a;
      const double* const y = half.data() + 6 * b;
      for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 2; ++c)
          d[r * 2 + c] = (a == b && r == c ? 1.0 : 0.0) - weights[b] * Dot(x + 3 * r, y + 3 * c);
      }
      return d;
    };
    for (std::size_t a = 0; a < count; ++a) {
      for (std::size_t b = 0; b < count; ++b) {
        if (b >= precision->used && b != a) continue;
        for (std::size_t c = 0; c < count; ++c) {
          if (c >= precision->used && c != a) continue;
          AddTransformed(partial(a, b), part.At(b, c), partial(a, c), &precision->fitted[a]);
        }
      }
    }
    for (std::size_t b = 0; b < precision->used; ++b) {
      for (std::size_t c = 0; c < precision->used; ++c) {
        const TSquare2& block = part.At(b, c);
        for (int k = 0; k < 3; ++k) {
          for (int l = 0; l < 3; ++l) {
            const double* const x = half.data() + 6 * b + k;
            const double* const y = half.data() + 6 * c + l;
            spread[k][l] += weights[b] * weights[c] *
                            (x[0] * (block[0] * y[0] + block[1] * y[3]) + x[3] * (block[2] * y[0] + block[3] * y[3]));
          }
        }
      }
    }
  }
  // L'^-1 spread L^-1.
  for (auto& row : spread) SolveUpper3(own.factor, row);
  for (int l = 0; l < 3; ++l) {
    double column[3] = {spread[0][l], spread[1][l], spread[2][l]};
    SolveUpper3(own.factor, column);
    for (int k = 0; k < 3; ++k) spread[k][l] = column[k];
  }
  precision->covariance = {spread[0][0], spread[0][1], spread[0][2], spread[1][1], spread[1][2], spread[2][2]};
}

std::array<double, 3> ResidualCovariance(const TNetwork& network, const TPointPrecision& precision, std::size_t n) {
  const double sigma = network.rays[precision.rays[n]].sigma;
  const double sign = n < precision.used ? -1.0 : 1.0;
  const std::array<double, 3>& fitted = precision.fitted[n];
  return {sigma * sigma + sign * fitted[0], sign * fitted[1], sigma * sigma + sign * fitted[2]};
}

}  // namespace SatCommonUtils::block
