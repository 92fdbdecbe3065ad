// Elementary algebra of the plane affine group.

#include "transform/affine_2d.h"

#include <cmath>
#include <cstddef>
#include <stdexcept>

#include "frame/zxstd/keyed_fields.h"
#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

namespace SatCommonUtils {
namespace {

constexpr T2DAffineParams kIdentity{1.0, 0.0, 0.0, 0.0, 1.0, 0.0};

constexpr TKeyedField<T2DAffineParams> kFields[] = {{"A1", &T2DAffineParams::A1}, {"A2", &T2DAffineParams::A2},
                                                    {"A3", &T2DAffineParams::A3}, {"B1", &T2DAffineParams::B1},
                                                    {"B2", &T2DAffineParams::B2}, {"B3", &T2DAffineParams::B3}};

constexpr const char* kDirectSection = "Direct2DAffineTransform";
constexpr const char* kInverseSection = "Inverse2DAffineTransform";

void Apply(const T2DAffineParams& map, double x, double y, double* x_out, double* y_out) {
  *x_out = map.A1 * x + map.A2 * y + map.A3;
  *y_out = map.B1 * x + map.B2 * y + map.B3;
}

xy_d Apply(const T2DAffineParams& map, const xy_d& point) {
  xy_d result;
  Apply(map, point.x, point.y, &result.x, &result.y);
  return result;
}

}  // namespace

bool Calculate2DAffineParams(const std::vector<T2DTransformParamsSourceDataItem>& points, T2DAffineParams* out) {
  const std::size_t count = points.size();
  if (count < 3) return false;
  TMatrix design(3, count);
  TVector x_to(count), y_to(count);
  for (std::size_t i = 0; i < count; ++i) {
    design[i] = TVector(points[i].Xfrom, points[i].Yfrom, 1.0);
    x_to[i] = points[i].Xto;
    y_to[i] = points[i].Yto;
  }
  // The coordinates as they stand, not against their mean: the bits of the result are those of these sums.
  TVector a, b;
  TOverdefinedLinearSystem(design, x_to).Solution(a);
  TOverdefinedLinearSystem(design, y_to).Solution(b);
  *out = {a[0], a[1], a[2], b[0], b[1], b[2]};
  return true;
}

void Combine2DAffineParams(const T2DAffineParams& first, const T2DAffineParams& second, T2DAffineParams* out) {
  T2DAffineParams result;
  result.A1 = second.A1 * first.A1 + second.A2 * first.B1;
  result.A2 = second.A1 * first.A2 + second.A2 * first.B2;
  result.A3 = second.A1 * first.A3 + second.A2 * first.B3 + second.A3;
  result.B1 = second.B1 * first.A1 + second.B2 * first.B1;
  result.B2 = second.B1 * first.A2 + second.B2 * first.B2;
  result.B3 = second.B1 * first.A3 + second.B2 * first.B3 + second.B3;
  *out = result;
}

bool Invert2DAffineParams(const T2DAffineParams& src, T2DAffineParams* out) {
  const double q = src.A2 * src.B1 - src.B2 * src.A1;  // the negated determinant
  if (!(std::fabs(q) > kSmallestAffineDeterminant)) return false;
  T2DAffineParams result;
  result.A1 = -(src.B2 / q);
  result.A2 = src.A2 / q;
  result.A3 = (src.B2 * src.A3 - src.B3 * src.A2) / q;
  result.B1 = src.B1 / q;
  result.B2 = -(src.A1 / q);
  result.B3 = (src.B3 * src.A1 - src.A3 * src.B1) / q;
  *out = result;
  return true;
}

bool InitializeFromXML(TZxXIniReader* src, T2DAffineParams* out) { return LoadFields(src, kFields, out); }

bool InitializeFromXML(TZxXIniReader* src, std::string key, T2DAffineParams* out) {
  return ReadSection(src, key, [&] { return InitializeFromXML(src, out); });
}

bool SaveToXML(const T2DAffineParams& params, TZxXIniWriter* dst) { return SaveFields(dst, kFields, params); }

bool SaveToXML(const T2DAffineParams& params, TZxXIniWriter* dst, std::string key) {
  return WriteSection(dst, key, [&] { return SaveToXML(params, dst); });
}

T2DAffineTransform::T2DAffineTransform() : direct_(kIdentity), inverse_(kIdentity) {}

T2DAffineTransform::T2DAffineTransform(const T2DAffineParams& src) {
  if (!Initialize(src)) throw std::runtime_error("T2DAffineTransform::T2DAffineTransform(const T2DAffineParams& src)");
}

T2DAffineTransform::T2DAffineTransform(TZxXIniReader* src) {
  if (!InitializeFromXML(src)) {
    throw std::runtime_error("T2DAffineTransform::T2DAffineTransform(TZxXIniReader *src))");
  }
}

T2DAffineTransform::T2DAffineTransform(TZxXIniReader* src, std::string key) {
  if (!InitializeFromXML(src, key)) {
    throw std::runtime_error("T2DAffineTransform::T2DAffineTransform(TZxXIniReader *src, std::string key)");
  }
}

T2DAffineTransform::~T2DAffineTransform() = default;

var_a<TZx2DTransform*> T2DAffineTransform::CreateCopy() const { return make_var_a<T2DAffineTransform>(*this); }

var_a<TZx2DTransform*> T2DAffineTransform::CreateInverseTransform() const {
  return make_var_a<T2DAffineTransform>(inverse_);
}

xy_d T2DAffineTransform::GetTraCoord(const xy_d& point) const { return Apply(direct_, point); }

xy_d T2DAffineTransform::GetInverseTraCoord(const xy_d& point) const { return Apply(inverse_, point); }

double T2DAffineTransform::GetTransformTime(bool /*inverse*/) const { return 1.0; }

const char* T2DAffineTransform::GetContentName() const { return StaticGetContentName(); }

const char* T2DAffineTransform::StaticGetContentName() { return "sat_affine"; }

bool T2DAffineTransform::Initialize(const T2DAffineParams& params) {
  if (!Invert2DAffineParams(params, &inverse_)) return false;
  direct_ = params;
  return true;
}

void T2DAffineTransform::GetParameters(T2DAffineParams* out) const { *out = direct_; }

void T2DAffineTransform::DirectTransform(const double& x, const double& y, double* xOut, double* yOut) const {
  Apply(direct_, x, y, xOut, yOut);
}

void T2DAffineTransform::InverseTransform(const double& x, const double& y, double* xOut, double* yOut) const {
  Apply(inverse_, x, y, xOut, yOut);
}

bool T2DAffineTransform::InitializeFromXML(TZxXIniReader* src) {
  T2DAffineParams direct, inverse;
  if (!SatCommonUtils::InitializeFromXML(src, kDirectSection, &direct)) return false;
  if (src->FindF(kInverseSection, 0) == TZxXIniReader::npos) {
    if (!Invert2DAffineParams(direct, &inverse)) return false;
  } else if (!SatCommonUtils::InitializeFromXML(src, kInverseSection, &inverse)) {
    return false;
  }
  direct_ = direct;
  inverse_ = inverse;
  return true;
}

bool T2DAffineTransform::InitializeFromXML(TZxXIniReader* src, std::string key) {
  return ReadSection(src, key, [&] { return InitializeFromXML(src); });
}

bool T2DAffineTransform::SaveToXML(TZxXIniWriter* dst) const {
  return SatCommonUtils::SaveToXML(direct_, dst, kDirectSection) &&
         SatCommonUtils::SaveToXML(inverse_, dst, kInverseSection);
}

bool T2DAffineTransform::SaveToXML(TZxXIniWriter* dst, std::string key) const {
  return WriteSection(dst, key, [&] { return SaveToXML(dst); });
}

void T2DAffineTransform::SaveContent(TZxXIniWriter* ini) const {
  if (!SaveToXML(ini)) throw std::runtime_error("void T2DAffineTransform::SaveContent( TZxXIniWriter *ini) const");
}

void T2DAffineTransform::LoadContent(TZxXIniReader* ini) {
  if (!InitializeFromXML(ini)) throw std::runtime_error("void T2DAffineTransform::LoadContent( TZxXIniReader *ini)");
}

}  // namespace SatCommonUtils
