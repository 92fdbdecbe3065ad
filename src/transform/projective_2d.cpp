// The linear fit of a homography with the last element fixed at 1: R. Hartley, A. Zisserman, Multiple View Geometry in
// Computer Vision, 2nd ed., section 4.1.2 (inhomogeneous solution), doi:10.1017/CBO9780511811685.

#include "transform/projective_2d.h"

#include <cstddef>

#include "frame/zxstd/keyed_fields.h"
#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"

namespace SatCommonUtils {
namespace {

constexpr TKeyedField<T2DProjectiveParams> kFields[] = {
    {"A1", &T2DProjectiveParams::A1}, {"A2", &T2DProjectiveParams::A2}, {"A3", &T2DProjectiveParams::A3},
    {"B1", &T2DProjectiveParams::B1}, {"B2", &T2DProjectiveParams::B2}, {"B3", &T2DProjectiveParams::B3},
    {"C1", &T2DProjectiveParams::C1}, {"C2", &T2DProjectiveParams::C2}};

constexpr std::size_t kUnknowns = 8;

/// One equation: the source point times the three coefficients that start at `first`, and minus the target times the
/// source in the denominator's two.
void SetEquation(const T2DTransformParamsSourceDataItem& point, double target, std::size_t first, TVector* row) {
  (*row)[first] = point.Xfrom;
  (*row)[first + 1] = point.Yfrom;
  (*row)[first + 2] = 1.0;
  (*row)[6] = -point.Xfrom * target;
  (*row)[7] = -point.Yfrom * target;
}

}  // namespace

bool Calculate2DProjectiveParams(const std::vector<T2DTransformParamsSourceDataItem>& points,
                                 T2DProjectiveParams* out) {
  const std::size_t equations = 2 * points.size();
  if (equations < kUnknowns) return false;
  TMatrix design(kUnknowns, equations);
  TVector targets(equations);
  for (std::size_t i = 0; i < points.size(); ++i) {
    SetEquation(points[i], points[i].Xto, 0, &design[2 * i]);
    SetEquation(points[i], points[i].Yto, 3, &design[2 * i + 1]);
    targets[2 * i] = points[i].Xto;
    targets[2 * i + 1] = points[i].Yto;
  }
  TVector x;
  TOverdefinedLinearSystem(design, targets).Solution(x);
  *out = {x[0], x[1], x[2], x[3], x[4], x[5], x[6], x[7]};
  return true;
}

bool InitializeFromXML(TZxXIniReader* src, T2DProjectiveParams* out) { return LoadFields(src, kFields, out); }

bool InitializeFromXML(TZxXIniReader* src, std::string key, T2DProjectiveParams* out) {
  return ReadSection(src, key, [&] { return InitializeFromXML(src, out); });
}

bool SaveToXML(const T2DProjectiveParams& params, TZxXIniWriter* dst) { return SaveFields(dst, kFields, params); }

bool SaveToXML(const T2DProjectiveParams& params, TZxXIniWriter* dst, std::string key) {
  return WriteSection(dst, key, [&] { return SaveToXML(params, dst); });
}

}  // namespace SatCommonUtils
