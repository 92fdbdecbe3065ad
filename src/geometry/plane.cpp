// Elementary geometry of planes.

#include "geometry/plane.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <stdexcept>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/text.h"
#include "geometry/vector3.h"
#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/raw_arrays.h"

namespace SatCommonUtils {
namespace {

bool IsNormalAndPoint(const TVector& n, const TVector& p) { return AreVectors3(n, p) && n.Norma() != 0.0; }

bool IsPoint(const TVector& p) {
  return AreVectors3(p) && std::isfinite(p(0)) && std::isfinite(p(1)) && std::isfinite(p(2));
}

bool SameElements(const TVector& a, const TVector& b) {
  return a.GetSize() == b.GetSize() && std::equal(a.GetData(), a.GetData() + a.GetSize(), b.GetData());
}

bool PlaneOfThreePoints(const std::vector<TVector>& points, TPlaneCoefs* out) {
  const TVector normal = (points[1] - points[0]) ^ (points[2] - points[0]);
  return PlaneVectorsToCoefs(TPlaneVectors(normal.GetNormalized(), points[0]), out);
}

/// The homogeneous system of four and more points, one row a point.
bool PlaneOfManyPoints(const std::vector<TVector>& points, TPlaneCoefs* out) {
  TMatrix design(4, points.size());
  for (std::size_t row = 0; row < points.size(); ++row) {
    for (std::size_t column = 0; column < 3; ++column) design.SetElement(column, row, points[row](column));
    design.SetElement(3, row, 1.0);
  }
  const TVector right_hand_side(points.size());
  TVector solution(4);
  if (points.size() == 4) {
    if (Gauss(design, right_hand_side, solution) == 0.0) return false;
  } else {
    TOverdefinedLinearSystem(design, right_hand_side).Solution(solution);
  }
  *out = TPlaneCoefs(solution(0), solution(1), solution(2), solution(3));
  return true;
}

void PrintResiduals(const std::vector<TVector>& points, const TPlaneCoefs& plane) {
  double mean = 0.0;
  double largest = 0.0;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const TVector& p = points[i];
    const double k = static_cast<double>(i);
    const double r = std::fabs(plane.A * p(0) + plane.B * p(1) + plane.C * p(2) + plane.D);
    largest = std::max(largest, r);
    mean = mean * k / (k + 1.0) + r / (k + 1.0);
  }
  ZxPrintDbgMsg(Zentarix::ssprintf("EstimatePlaneCoefs: points count=%lg  mean error=%lg max_error=%lg",
                                   static_cast<double>(points.size()), mean, largest));
}

}  // namespace

TPlaneCoefs::TPlaneCoefs(double a, double b, double c, double d) : A(a), B(b), C(c), D(d) {}

void TPlaneCoefs::Reset() { *this = TPlaneCoefs(); }

TPlaneCoefs::operator bool() const { return A != 0.0 || B != 0.0 || C != 0.0; }

TPlaneVectors::TPlaneVectors(const TVector& normal, const TVector& point) {
  if (!IsNormalAndPoint(normal, point)) {
    throw std::runtime_error("TPlaneVectors::TPlaneVectors(const TVector& n, const TVector& p)");
  }
  n = normal.GetNormalized();
  p = point;
}

void TPlaneVectors::Reset() {
  n.Reset(0);
  p.Reset(0);
}

TPlaneVectors::operator bool() const { return IsNormalAndPoint(n, p); }

bool TPlaneVectors::GetUnityPlaneNormal(TVector* out) const {
  const double length = n.Norma();
  if (n.GetSize() < 3 || !(length > 0.0)) return false;
  for (std::size_t i = 0; i < 3; ++i) (*out)[i] = n(i) / length;
  return true;
}

bool TPlaneVectors::GetAlternativePlanePoint(const double& distance, TVector* out) const {
  if (!*this) return false;
  std::size_t k = 0;
  for (std::size_t i = 1; i < 3; ++i) {
    if (std::fabs(n(i)) > std::fabs(n(k))) k = i;
  }
  TVector e(1.0, 1.0, 1.0);
  e[k] = 0.0;
  // Where n is largest e is 0, so the two are never parallel.
  const TVector in_plane = (n ^ e).GetNormalized();
  *out = p + distance * in_plane;
  return true;
}

bool operator==(const TPlaneCoefs& a, const TPlaneCoefs& b) {
  return a.A == b.A && a.B == b.B && a.C == b.C && a.D == b.D;
}

bool operator!=(const TPlaneCoefs& a, const TPlaneCoefs& b) { return !(a == b); }

bool operator==(const TPlaneVectors& a, const TPlaneVectors& b) {
  return SameElements(a.n, b.n) && SameElements(a.p, b.p);
}

bool operator!=(const TPlaneVectors& a, const TPlaneVectors& b) { return !(a == b); }

bool operator==(const TPlaneCoefs& a, const TPlaneVectors& b) {
  TPlaneCoefs coefs;
  PlaneVectorsToCoefs(b, &coefs);
  return a == coefs;
}

bool operator!=(const TPlaneCoefs& a, const TPlaneVectors& b) { return !(a == b); }

bool operator==(const TPlaneVectors& a, const TPlaneCoefs& b) { return b == a; }

bool operator!=(const TPlaneVectors& a, const TPlaneCoefs& b) { return !(b == a); }

bool EstimatePlaneCoefs(const std::vector<TVector>& points, TPlaneCoefs* out) {
  TPlaneCoefs plane;
  const bool good = points.size() >= 3 && std::all_of(points.begin(), points.end(), IsPoint) &&
                    (points.size() == 3 ? PlaneOfThreePoints(points, &plane) : PlaneOfManyPoints(points, &plane));
  if (!good) {
    out->Reset();
    return false;
  }
  PrintResiduals(points, plane);
  *out = plane;
  return true;
}

bool PlaneCoefsToVectors(const TPlaneCoefs& coefs, TPlaneVectors* out) {
  out->Reset();
  if (!coefs) return false;
  TVector point(0.0, 0.0, 0.0);
  if (coefs.D != 0.0) {
    if (coefs.A != 0.0) {
      point[0] = -coefs.D / coefs.A;
    } else if (coefs.B == 0.0) {
      point[2] = -coefs.D / coefs.C;
    } else {
      point[1] = -coefs.D / coefs.B;
    }
  }
  out->n = TVector(coefs.A, coefs.B, coefs.C).GetNormalized();
  out->p = point;
  return static_cast<bool>(*out);
}

bool PlaneVectorsToCoefs(const TPlaneVectors& vectors, TPlaneCoefs* out) {
  out->Reset();
  if (vectors) *out = TPlaneCoefs(vectors.n(0), vectors.n(1), vectors.n(2), -vectors.n * vectors.p);
  return static_cast<bool>(*out);
}

}  // namespace SatCommonUtils
