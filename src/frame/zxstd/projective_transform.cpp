// Projective maps of the plane, their inverses by cofactors (elementary), derivatives and XML.

#include "frame/zxstd/projective_transform.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace SatCommonUtils {

namespace {

constexpr const char* kMatrixKey = "matr";

// A determinant of that size, as a share of the sum of the magnitudes of its six terms, is rounding only: each term
// takes two rounded products, and five additions follow.
constexpr double kRoundingShare = 8.0 * std::numeric_limits<double>::epsilon();

xy_d Map(const matr3x3& m, const xy_d& p, xy_d* by_x, xy_d* by_y) {
  const double w = m[2][0] * p.x + m[2][1] * p.y + m[2][2];
  const xy_d image((m[0][0] * p.x + m[0][1] * p.y + m[0][2]) / w, (m[1][0] * p.x + m[1][1] * p.y + m[1][2]) / w);
  // The quotient rule, with the quotient put back in.
  if (by_x != nullptr) *by_x = xy_d((m[0][0] - image.x * m[2][0]) / w, (m[1][0] - image.y * m[2][0]) / w);
  if (by_y != nullptr) *by_y = xy_d((m[0][1] - image.x * m[2][1]) / w, (m[1][1] - image.y * m[2][1]) / w);
  return image;
}

// Exponent of two of the largest element.
int LargestExponent(const matr3x3& matrix) {
  double largest = 0.0;
  for (const auto& row : matrix.m) {
    for (const double element : row) largest = std::max(largest, std::fabs(element));
  }
  return largest == 0.0 ? 0 : std::ilogb(largest);
}

// Exact, but for elements that become subnormal.
matr3x3 Scaled(const matr3x3& matrix, int exponent) {
  matr3x3 scaled;
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) scaled[i][j] = std::ldexp(matrix[i][j], exponent);
  }
  return scaled;
}

bool IsFinite(const matr3x3& matrix) {
  const double* const elements = matrix[0];
  return std::all_of(elements, elements + 9, [](double element) { return std::isfinite(element); });
}

// The transposed matrix of cofactors: the inverse times the determinant.
matr3x3 Adjugate(const matr3x3& m) {
  matr3x3 adjugate;
  for (std::size_t i = 0; i < 3; ++i) {
    const std::size_t i1 = (i + 1) % 3;
    const std::size_t i2 = (i + 2) % 3;
    for (std::size_t j = 0; j < 3; ++j) {
      const std::size_t j1 = (j + 1) % 3;
      const std::size_t j2 = (j + 2) % 3;
      adjugate[j][i] = m[i1][j1] * m[i2][j2] - m[i1][j2] * m[i2][j1];
    }
  }
  return adjugate;
}

// Sum of the magnitudes of the six terms of the determinant.
double TermMagnitudes(const matr3x3& m) {
  double sum = 0.0;
  for (std::size_t j = 0; j < 3; ++j) {
    const std::size_t j1 = (j + 1) % 3;
    const std::size_t j2 = (j + 2) % 3;
    sum += std::fabs(m[0][j] * m[1][j1] * m[2][j2]) + std::fabs(m[0][j] * m[1][j2] * m[2][j1]);
  }
  return sum;
}

}  // namespace

TProjectiveTransform::TProjectiveTransform() {
  matr3x3 unity;
  unity.fill_unity();
  SetMatrix(unity);
}

TProjectiveTransform::TProjectiveTransform(const matr3x3& matrix) { SetMatrix(matrix); }

TProjectiveTransform::~TProjectiveTransform() = default;

void TProjectiveTransform::SetMatrix(const matr3x3& matrix) {
  matrix_ = matrix;
  const int exponent = IsFinite(matrix) ? LargestExponent(matrix) : 0;
  const matr3x3 scaled = Scaled(matrix, -exponent);
  const matr3x3 adjugate = Adjugate(scaled);
  const double determinant =
      scaled[0][0] * adjugate[0][0] + scaled[0][1] * adjugate[1][0] + scaled[0][2] * adjugate[2][0];
  invertible_ = std::isfinite(determinant) && std::fabs(determinant) > kRoundingShare * TermMagnitudes(scaled);
  const double divisor = invertible_ ? determinant : std::numeric_limits<double>::quiet_NaN();
  for (std::size_t i = 0; i < 3; ++i) {
    for (std::size_t j = 0; j < 3; ++j) inverse_[i][j] = adjugate[i][j] / divisor;
  }
  inverse_exponent_ = -exponent;
}

var_a<TZx2DTransform*> TProjectiveTransform::CreateCopy() const { return make_var_a<TProjectiveTransform>(*this); }

var_a<TZx2DTransform*> TProjectiveTransform::CreateInverseTransform() const {
  if (!invertible_) throw TZxMessage("the projective transform has no inverse: its matrix is singular");
  // The scale of the matrix does not matter to the map, so the multiple of the inverse will do.
  return make_var_a<TProjectiveTransform>(inverse_);
}

xy_d TProjectiveTransform::GetTraCoord(const xy_d& point) const { return Map(matrix_, point, nullptr, nullptr); }

xy_d TProjectiveTransform::GetInverseTraCoord(const xy_d& point) const {
  return Map(inverse_, point, nullptr, nullptr);
}

double TProjectiveTransform::GetTransformTime(bool /*inverse*/) const { return 2.0; }

bool TProjectiveTransform::GetMatrix(matr3x3* matrix) const {
  *matrix = matrix_;
  return true;
}

bool TProjectiveTransform::GetInverseMatrix(matr3x3* matrix) const {
  if (!invertible_) return false;
  const matr3x3 inverse = Scaled(inverse_, inverse_exponent_);
  if (!IsFinite(inverse)) return false;
  *matrix = inverse;
  return true;
}

const char* TProjectiveTransform::GetContentName() const { return StaticGetContentName(); }

xy_d TProjectiveTransform::GetTraCoordDeriv(const xy_d& point, xy_d* by_x, xy_d* by_y) const {
  return Map(matrix_, point, by_x, by_y);
}

xy_d TProjectiveTransform::GetInverseTraCoordDeriv(const xy_d& point, xy_d* by_x, xy_d* by_y) const {
  return Map(inverse_, point, by_x, by_y);
}

const char* TProjectiveTransform::StaticGetContentName() noexcept { return "projective"; }

var_a<TZx2DTransform*> TProjectiveTransform::CreateDefault() { return make_var_a<TProjectiveTransform>(); }

void TProjectiveTransform::SaveContent(TZxXIniWriter* ini) const { matrix_.XIniSaveE(ini, kMatrixKey); }

void TProjectiveTransform::LoadContent(TZxXIniReader* ini) {
  matr3x3 matrix;
  matrix.XIniLoadE(ini, kMatrixKey);
  SetMatrix(matrix);
}

}  // namespace SatCommonUtils
