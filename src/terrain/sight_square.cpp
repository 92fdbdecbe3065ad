// The low terms of a cubic about a place. Elementary (Taylor's expansion, by Horner's scheme).

#include "terrain/sight_square.h"

#include <cmath>

namespace SatCommonUtils::terrain {

namespace {

constexpr int kSide = kTerms;
/// Powers of line, sample and u: the coefficient of s^i t^j u^k is [k][i][j].
using TCube = double[kSide][kSide][kSide];

/// What each component may lose, metres: for the exact base the clearance serves as a first guess only.
constexpr double kLoss = 1.5 * kSightTolerance;
constexpr double kClearanceLoss = 0.01;

/// Moves the origin of one direction, the others being the `Inner` numbers of each power.
template <int Inner>
void Shift(double* f, double by) {
  for (int pass = 0; pass < kSide - 1; ++pass) {
    for (int power = kSide - 2; power >= pass; --power) {
      for (int i = 0; i < Inner; ++i) f[power * Inner + i] += by * f[(power + 1) * Inner + i];
    }
  }
}

/// The terms that stay; returns a bound of what the others add within the square and |u| <= `reach`.
///
/// Terms of line and sample that go leave what they can to the lower ones (Chebyshev): s^3 is 3/4 s to within 1/4, and
/// s^2 is 1/2 to within 1/2.
double Split(const TCube& f, double share, double reach, double* kept) {
  const double powers[kSide] = {1.0, share, share * share, share * share * share};
  const double heights[kSide] = {1.0, reach, reach * reach, reach * reach * reach};
  double lost = 0.0;
  for (int k = 0; k < kSide; ++k) {
    for (int i = 0; i < kSide; ++i) {
      for (int j = 0; j < kSide; ++j) {
        const int inImage = i + j;
        const bool stays = inImage + k <= 2 || inImage == 0 || (inImage == 1 && k == 2) || (i == 1 && j == 1 && k == 1);
        if (stays) continue;
        double part = 1.0;
        if (k == 0 && inImage == 3) part = i == 0 || j == 0 ? 0.25 : 0.5;
        if (k == 1 && inImage == 2) part = 0.5;
        lost += part * std::fabs(f[k][i][j]) * (powers[i] * powers[j] * heights[k]);
      }
    }
  }
  const double terms[kSquareTerms] = {f[0][0][0],
                                      f[0][1][0] * share + (0.75 * f[0][3][0] + 0.5 * f[0][1][2]) * powers[3],
                                      f[0][0][1] * share + (0.75 * f[0][0][3] + 0.5 * f[0][2][1]) * powers[3],
                                      f[0][2][0] * powers[2],
                                      f[0][1][1] * powers[2],
                                      f[0][0][2] * powers[2],
                                      f[1][0][0] + 0.5 * (f[1][2][0] + f[1][0][2]) * powers[2],
                                      f[1][1][0] * share,
                                      f[1][0][1] * share,
                                      f[1][1][1] * powers[2],
                                      f[2][0][0],
                                      f[2][1][0] * share,
                                      f[2][0][1] * share,
                                      f[3][0][0]};
  for (int term = 0; term < kSquareTerms; ++term) kept[term] = terms[term];
  return lost;
}

}  // namespace

bool CutSquare(const TScene& scene, const TSightPatch& patch, double s, double t, double share,
               const TSightBounds& bounds, double* terms) {
  constexpr TComponent kComponentOf[kMostSquareLanes] = {kColumn, kRow, kClearance, kComponents, kLongitude, kLatitude};
  const int lanes = CountSquareLanes(scene);
  for (int lane = 0; lane < lanes; ++lane) {
    const TComponent component = kComponentOf[lane];
    double kept[kSquareTerms] = {};
    if (component != kComponents) {
      TCube f;
      for (int k = 0; k < kSide; ++k) {
        for (int node = 0; node < TSightPatch::kNodes; ++node)
          f[k][node / kSide][node % kSide] = patch.c[node][component][k];
      }
      Shift<kSide * kSide>(&f[0][0][0], bounds.GetMiddle());
      for (auto& plane : f) {
        Shift<kSide>(&plane[0][0], s);
        for (auto& row : plane) Shift<1>(row, t);
      }
      const bool isHeight = component == kClearance;
      const bool isDegrees = component == kLatitude || component == kLongitude;
      const double metres = isHeight ? 1.0 : (isDegrees ? kMetresPerDegree : scene.metresPerUnit);
      const double lost = Split(f, share, bounds.GetReach(), kept);
      if (!(metres * lost <= (isHeight ? kClearanceLoss : kLoss))) return false;
    }
    for (int term = 0; term < kSquareTerms; ++term) terms[term * lanes + lane] = kept[term];
  }
  return true;
}

}  // namespace SatCommonUtils::terrain
