// Crossings within one cell: a line's height above a bilinear cell is a quadratic along the line, above a bicubic one a
// polynomial of degree six. Both are solved without stepping, so that no pair of crossings is missed.
//
// Sources: the stable solution of quadratics, W. Kahan, "On the cost of floating-point computation without
// extra-precise arithmetic" (2004); roots by subdivision of Bernstein coefficients, J. M. Lane and R. F. Riesenfeld,
// "Bounds on a polynomial" (1981), doi:10.1007/BF01934076.

#include "terrain/cell_crossing.h"

#include <algorithm>
#include <cmath>

namespace SatCommonUtils::terrain {

namespace {

using TSide = TWalk::TSide;

/// Takes the walk to the start of a cell. \return true when it crosses right there: the cell before ended above and
/// this one begins below, which rounding can cause.
bool EnterCell(double clearance, TSide* side) {
  const bool wasAbove = *side == TSide::Above;
  *side = clearance >= 0.0 ? TSide::Above : TSide::Below;
  return wasAbove && clearance < 0.0;
}

/// The root of a + b t + c t^2 where it falls through zero; it has two real roots.
double FallingRoot(double a, double b, double c) {
  // At a root the derivative is plus or minus the root of the discriminant; falling is minus.
  const double root = std::sqrt(std::fmax(b * b - 4.0 * a * c, 0.0));
  // t = (-b - root) / 2c without cancellation.
  return b > 0.0 ? (-b - root) / (2.0 * c) : 2.0 * a / (-b + root);
}

constexpr int kDegree = 6;

/// A polynomial by its Bernstein coefficients.
struct TBernstein {
  double b[kDegree + 1];
};

/// From values at i / 6 to Bernstein coefficients: the inverse of the matrix of the basis at those places.
struct TToBernstein {
  TToBernstein() {
    double basis[kDegree + 1][2 * (kDegree + 1)];
    for (int i = 0; i <= kDegree; ++i) {
      const double t = double(i) / kDegree;
      // Powers by products: those of C libraries differ in their last bit.
      double powers[kDegree + 1] = {1.0}, others[kDegree + 1] = {1.0};
      for (int k = 0; k < kDegree; ++k) {
        powers[k + 1] = powers[k] * t;
        others[k + 1] = others[k] * (1.0 - t);
      }
      double binomial = 1.0;
      for (int k = 0; k <= kDegree; ++k) {
        basis[i][k] = binomial * powers[k] * others[kDegree - k];
        basis[i][kDegree + 1 + k] = i == k ? 1.0 : 0.0;
        binomial = binomial * (kDegree - k) / (k + 1);
      }
    }
    // Elimination without a search for pivots: the matrix is totally positive.
    for (int k = 0; k <= kDegree; ++k) {
      for (int i = 0; i <= kDegree; ++i) {
        if (i == k) continue;
        const double factor = basis[i][k] / basis[k][k];
        for (int j = k; j < 2 * (kDegree + 1); ++j) basis[i][j] -= factor * basis[k][j];
      }
    }
    for (int i = 0; i <= kDegree; ++i) {
      for (int k = 0; k <= kDegree; ++k) m[i][k] = basis[i][kDegree + 1 + k] / basis[i][i];
    }
  }
  double m[kDegree + 1][kDegree + 1];
};

/// de Casteljau's halves.
void Halve(const TBernstein& whole, TBernstein* first, TBernstein* second) {
  double b[kDegree + 1];
  std::copy_n(whole.b, kDegree + 1, b);
  for (int k = 0; k <= kDegree; ++k) {
    first->b[k] = b[0];
    second->b[kDegree - k] = b[kDegree - k];
    for (int i = 0; i < kDegree - k; ++i) b[i] = 0.5 * (b[i] + b[i + 1]);
  }
}

/// Whether the coefficients fall from zero or above to below zero: then so does the polynomial, once.
bool FallsOnce(const TBernstein& p) {
  bool falls = p.b[0] >= 0.0 && p.b[kDegree] < 0.0;
  for (int k = 0; k < kDegree; ++k) falls = falls && p.b[k + 1] <= p.b[k];
  return falls;
}

/// The zero of a polynomial that falls once, between 0 and 1: Newton's steps, halving where they leave what is left.
double FindZero(const TBernstein& p) {
  constexpr int kMostSteps = 60;
  constexpr double kClose = 1e-13;
  double above = 0.0;
  double below = 1.0;
  double t = p.b[0] / (p.b[0] - p.b[kDegree]);
  for (int step = 0; step < kMostSteps; ++step) {
    double b[kDegree + 1];
    std::copy_n(p.b, kDegree + 1, b);
    for (int k = kDegree; k > 1; --k) {
      for (int i = 0; i < k; ++i) b[i] += t * (b[i + 1] - b[i]);
    }
    const double slope = kDegree * (b[1] - b[0]);
    const double value = b[0] + t * (b[1] - b[0]);
    (value >= 0.0 ? above : below) = t;
    double next = t - value / slope;
    if (!(next >= above && next <= below)) next = 0.5 * (above + below);
    if (std::fabs(next - t) <= kClose) return next;
    t = next;
  }
  return t;
}

/// The first fall through zero of `p`, whose argument runs from `from` to `to`.
bool FindFall(const TBernstein& p, double from, double to, int depth, TSide* side, double* t) {
  constexpr int kDeepest = 50;  // then the piece is down to rounding
  if (EnterCell(p.b[0], side)) {
    *t = from;
    return true;
  }
  const auto [low, high] = std::minmax_element(p.b, p.b + kDegree + 1);
  // The coefficients bound the polynomial: on one side all along.
  if (*low >= 0.0 || *high < 0.0) return false;
  if (FallsOnce(p)) {
    *side = TSide::Below;
    *t = from + (to - from) * FindZero(p);
    return true;
  }
  if (depth == kDeepest) {
    if (!(p.b[0] >= 0.0 && p.b[kDegree] < 0.0)) return false;
    *side = TSide::Below;
    *t = to;
    return true;
  }
  TBernstein first, second;
  Halve(p, &first, &second);
  const double middle = 0.5 * (from + to);
  return FindFall(first, from, middle, depth + 1, side, t) || FindFall(second, middle, to, depth + 1, side, t);
}

}  // namespace

bool CrossBilinear(const TCell& cell, const TStraight& line, double from, double to, TWalk::TSide* side, double* t) {
  const double* k = cell.c;
  const double a = line.z - BilinearValue(cell, line.x, line.y);
  const double b = line.dz - ((k[1] + k[5] * line.y) * line.dx + (k[4] + k[5] * line.x) * line.dy);
  const double c = -k[5] * line.dx * line.dy;
  if (EnterCell(a + from * (b + from * c), side)) {
    *t = from;
    return true;
  }
  const bool endsAbove = a + to * (b + to * c) >= 0.0;
  if (*side == TSide::Above && endsAbove) {
    // Down and up again between: the lowest point lies inside and below.
    const double lowest = -b / (2.0 * c);
    if (!(c > 0.0 && lowest > from && lowest < to && a + 0.5 * b * lowest < 0.0)) return false;
  } else if (*side == TSide::Below && !endsAbove) {
    // Up and down again: the highest point lies inside and above.
    const double highest = -b / (2.0 * c);
    if (!(c < 0.0 && highest > from && highest < to && a + 0.5 * b * highest > 0.0)) return false;
  } else if (*side == TSide::Below) {
    *side = TSide::Above;
    return false;
  }
  *t = Least(Largest(FallingRoot(a, b, c), from), to);
  *side = TSide::Below;
  return true;
}

bool CrossBicubic(const TCell& cell, const TStraight& line, double from, double to, TWalk::TSide* side, double* t) {
  static const TToBernstein toBernstein;
  double values[kDegree + 1];
  for (int i = 0; i <= kDegree; ++i) {
    const double at = from + (to - from) * i / kDegree;
    values[i] = line.z + line.dz * at - BicubicGradient(cell, line.x + line.dx * at, line.y + line.dy * at).h;
  }
  TBernstein p;
  for (int i = 0; i <= kDegree; ++i) {
    p.b[i] = 0.0;
    for (int k = 0; k <= kDegree; ++k) p.b[i] += toBernstein.m[i][k] * values[k];
  }
  // The ends as they are, so that neighbouring cells agree to within their own rounding.
  p.b[0] = values[0];
  p.b[kDegree] = values[kDegree];
  if (FindFall(p, from, to, 0, side, t)) return true;
  *side = values[kDegree] >= 0.0 ? TSide::Above : TSide::Below;
  return false;
}

}  // namespace SatCommonUtils::terrain
