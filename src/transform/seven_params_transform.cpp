// The similarity with its matrices at hand; elementary.

#include <algorithm>
#include <iterator>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "geometry/rotation.h"
#include "linalg/checked_access.h"
#include "transform/seven_params.h"

namespace SatCommonUtils {
namespace {

/// out = matrix·in, three elements each.
void Rotate(const TMatrix& matrix, const TVector& in, TVector* out) {
  for (std::size_t row = 0; row < 3; ++row) {
    (*out)[row] = matrix(row, 0) * in(0) + matrix(row, 1) * in(1) + matrix(row, 2) * in(2);
  }
}

/// Refuses a vector without three elements, as checked accesses do.
void CheckSize(const TVector& vector) {
  if (vector.GetSize() < 3) ThrowIndexError();
}

void Similarity(double scale, const TMatrix& rotation, const TVector& shift, const TVector& in, TVector* rotated,
                TVector* out) {
  Rotate(rotation, in, rotated);
  for (std::size_t i = 0; i < 3; ++i) (*out)[i] = scale * (*rotated)(i) + shift(i);
}

void Put(double x, double y, double z, TVector* vector) {
  (*vector)[0] = x;
  (*vector)[1] = y;
  (*vector)[2] = z;
}

void Take(const TVector& vector, double* x, double* y, double* z) {
  *x = vector(0);
  *y = vector(1);
  *z = vector(2);
}

}  // namespace

T7ParamsTransform::T7ParamsTransform() {
  if (!Initialize(T7Params())) throw TZxMessage("T7ParamsTransform::T7ParamsTransform(void) failed");
}

T7ParamsTransform::T7ParamsTransform(const T7Params& src) {
  if (!Initialize(src)) throw TZxMessage("T7ParamsTransform::T7ParamsTransform(const T7Params& src) failed");
}

T7ParamsTransform::T7ParamsTransform(TZxXIniReader* src) {
  if (!InitializeFromXML(src)) throw TZxMessage("T7ParamsTransform::T7ParamsTransform(TZxXIniReader *src) failed");
}

T7ParamsTransform::T7ParamsTransform(TZxXIniReader* src, std::string Key) {
  if (!InitializeFromXML(src, Key)) {
    throw TZxMessage("T7ParamsTransform::T7ParamsTransform(TZxXIniReader *src, std::string Key) failed");
  }
}

bool T7ParamsTransform::Initialize(const T7Params& params) {
  if (!(params.dm > -1.0)) return false;
  params_ = params;
  scale_ = params.dm + 1.0;
  rotation_x_ = rotation_y_ = rotation_z_ = TMatrix(3);
  RzyxGetRx(params.Alpha, &rotation_x_);
  RzyxGetRy(params.Beta, &rotation_y_);
  RzyxGetRz(params.Gamma, &rotation_z_);
  rotation_ = rotation_z_ * rotation_y_ * rotation_x_;
  translation_ = TVector(params.dX, params.dY, params.dZ);
  inverse_scale_ = 1.0 / scale_;
  inverse_rotation_ = !rotation_;
  inverse_translation_ = (inverse_rotation_ * translation_) * -inverse_scale_;
  return true;
}

bool T7ParamsTransform::InitializeFromXML(TZxXIniReader* src) {
  T7Params params;
  return SatCommonUtils::InitializeFromXML(src, &params) && Initialize(params);
}

bool T7ParamsTransform::InitializeFromXML(TZxXIniReader* src, std::string key) {
  return ReadSection(src, key, [&] { return InitializeFromXML(src); });
}

bool T7ParamsTransform::SaveToXML(TZxXIniWriter* dst) const { return SatCommonUtils::SaveToXML(params_, dst); }

bool T7ParamsTransform::SaveToXML(TZxXIniWriter* dst, std::string key) const {
  return SatCommonUtils::SaveToXML(params_, dst, key);
}

void T7ParamsTransform::DirectTransform(const double& x, const double& y, const double& z, double* X, double* Y,
                                        double* Z) const {
  Put(x, y, z, &work_in_);
  Similarity(scale_, rotation_, translation_, work_in_, &work_rotated_, &work_out_);
  Take(work_out_, X, Y, Z);
}

void T7ParamsTransform::InverseTransform(const double& x, const double& y, const double& z, double* X, double* Y,
                                         double* Z) const {
  Put(x, y, z, &work_in_);
  Similarity(inverse_scale_, inverse_rotation_, inverse_translation_, work_in_, &work_rotated_, &work_out_);
  Take(work_out_, X, Y, Z);
}

void T7ParamsTransform::DirectTransformVector(const TVector& src, TVector* dst) const {
  CheckSize(src);
  Similarity(scale_, rotation_, translation_, src, &work_rotated_, &work_out_);
  *dst = work_out_;
}

void T7ParamsTransform::InverseTransformVector(const TVector& src, TVector* dst) const {
  CheckSize(src);
  Similarity(inverse_scale_, inverse_rotation_, inverse_translation_, src, &work_rotated_, &work_out_);
  *dst = work_out_;
}

void T7ParamsTransform::GetParameters(T7Params* out) const { *out = params_; }

const TMatrix& T7ParamsTransform::GetRotationMatrix() const { return rotation_; }

const TVector& T7ParamsTransform::GetTranslationVector() const { return translation_; }

double T7ParamsTransform::GetScaleFactor() const { return scale_; }

bool T7ParamsTransform::IsIdenticTransform() const {
  const double values[] = {params_.Alpha, params_.Beta, params_.Gamma, params_.dm, params_.dX, params_.dY, params_.dZ};
  return std::all_of(std::begin(values), std::end(values), [](double value) { return value == 0.0; });
}

}  // namespace SatCommonUtils
