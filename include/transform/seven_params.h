#pragma once
/// \file
/// The seven-parameter (Helmert) similarity of space: parameters, fit, algebra and the transform object.

#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "../linalg/matrix.h"
#include "../linalg/vector.h"

namespace SatCommonUtils {

/// X' = (1 + dm)·R·X + T.
///
/// How R follows from the three angles depends on who reads them. The fit and the transform object take
/// R = Rz(Gamma)·Ry(Beta)·Rx(Alpha); `Combine7Params` and `InvertParams` take R = Rx(Alpha)·Ry(Beta)·Rz(Gamma).
/// The two agree to first order in the angles; parameters of one must not be handed to the other where second order
/// matters.
struct T7Params {
  double Alpha = 0.0;  ///< Rotation about x, radians.
  double Beta = 0.0;   ///< Rotation about y, radians.
  double Gamma = 0.0;  ///< Rotation about z, radians.
  double dm = 0.0;     ///< Scale correction, dimensionless; the scale factor is 1 + dm.
  double dX = 0.0;     ///< Shift along x, in the unit of the coordinates.
  double dY = 0.0;     ///< Shift along y.
  double dZ = 0.0;     ///< Shift along z.
};

/// One point known in both systems, cartesian coordinates in one unit (metres, say).
struct T7ParamsSourceDataItem {
  double Xfrom = 0.0;  ///< x in the source system.
  double Yfrom = 0.0;  ///< y in the source system.
  double Zfrom = 0.0;  ///< z in the source system.
  double Xto = 0.0;    ///< x in the target system.
  double Yto = 0.0;    ///< y in the target system.
  double Zto = 0.0;    ///< z in the target system.
};

/// Gauss-Newton fit of target = m·Rz·Ry·Rx·source + T from the identity, at most 20 rounds. It stops when angles change
/// by less than 0.01 arc second, the scale by 1e-7, the shifts by 1e-4, and the root mean square misfit is below 1e-5
/// or has come to rest within 1e-6; not getting there in 20 rounds is no failure.
///
/// **Where it ends.** From the identity it finds rotations whose three angles are within about half a radian. With
/// angles up to 1 rad, one set in a hundred comes out wrong, with the result true: its misfit is as large as the
/// coordinates, or its scale factor lies between -1 and 0, which `T7ParamsTransform` refuses. Larger angles do so
/// oftener. `Fit7Params` (seven_params_fit.h) is right for every rotation and says how well it fits.
/// \param out all zero for fewer than 3 points, otherwise untouched on failure.
/// \return false for fewer than 3 points, a singular set (collinear points), or a scale factor that is not above -1.
ORBMATH_API bool Calculate7Params(const std::vector<T7ParamsSourceDataItem>& points, T7Params* out);

/// The similarity that applies `first` and then `second`, exactly; R = Rx·Ry·Rz. `out` may be an input.
ORBMATH_API void Combine7Params(const T7Params& first, const T7Params& second, T7Params* out);
/// A combination of small angles, to first order: angles add. **Not the first order of `Combine7Params`**: the shifts
/// of `first` are turned the other way round, by the transpose of R(second), so that both functions differ in the first
/// order of angle times shift. The last term of dZ is -Z1·alpha2; a composition would have Y1 there, which stored
/// results of this function do not. `out` may be an input.
ORBMATH_API void Combine7ParamsLinearized(const T7Params& first, const T7Params& second, T7Params* out);
/// The inverse similarity, exactly; R = Rx·Ry·Rz. `out` may be the input.
ORBMATH_API void InvertParams(const T7Params& src, T7Params* out);
/// Always throws. \throws std::runtime_error "Not imlemented".
[[noreturn]] ORBMATH_API void InvertParamsLinearized(const T7Params& src, T7Params* out);

/// Reads the keys "Alpha", "Beta", "Gamma", "dm", "dX", "dY", "dZ" of the current section.
/// \param out untouched on failure. \return false when a key is missing or malformed.
ORBMATH_API bool InitializeFromXML(TZxXIniReader* src, T7Params* out);
/// Reads the seven keys of the child section `key`. \return false, `*out` untouched, also when there is none.
ORBMATH_API bool InitializeFromXML(TZxXIniReader* src, std::string key, T7Params* out);
/// Writes the seven keys into the current section, "dm" last. \return false when something could not be written.
ORBMATH_API bool SaveToXML(const T7Params& params, TZxXIniWriter* dst);
/// Writes the seven keys, "dm" last, into a new child section `key`. \return false when something could not be written.
ORBMATH_API bool SaveToXML(const T7Params& params, TZxXIniWriter* dst, std::string key);

/// A similarity with its matrices at hand, R = Rz(Gamma)·Ry(Beta)·Rx(Alpha).
///
/// The transform calls work in vectors of the object: one object must not be used from two threads at once.
class ORBMATH_API T7ParamsTransform {
 public:
  /// The identity. \throws TZxMessage when it cannot be set up.
  T7ParamsTransform();
  /// \throws TZxMessage when `Initialize` refuses `src`.
  explicit T7ParamsTransform(const T7Params& src);
  /// Loads the current section. \throws TZxMessage when that fails.
  explicit T7ParamsTransform(TZxXIniReader* src);
  /// Loads the child section `Key`. \throws TZxMessage when that fails.
  T7ParamsTransform(TZxXIniReader* src, std::string Key);
  /// Moves copy too, so that an object always has its matrices.
  T7ParamsTransform(const T7ParamsTransform&) = default;
  T7ParamsTransform& operator=(const T7ParamsTransform&) = default;

  /// \return false, the object unchanged, unless dm > -1.
  bool Initialize(const T7Params& params);
  /// Reads the parameters and initializes. \return false, the object unchanged, when either fails.
  bool InitializeFromXML(TZxXIniReader* src);
  /// Reads the parameters from the child section `key` and initializes. \return false, the object unchanged, also when
  /// there is none.
  bool InitializeFromXML(TZxXIniReader* src, std::string key);
  /// Saves the parameters into the current section. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;
  /// Saves the parameters into a new child section `key`. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst, std::string key) const;

  /// X' = m·R·X + T.
  void DirectTransform(const double& x, const double& y, const double& z, double* X, double* Y, double* Z) const;
  /// X = (1/m)·R'·X' - (1/m)·R'·T, R' being the transpose of R.
  void InverseTransform(const double& x, const double& y, const double& z, double* X, double* Y, double* Z) const;
  /// `DirectTransform` of the first 3 elements of a vector. \param dst becomes 3 elements; may be `src`.
  /// \throws std::runtime_error "double& TVector::operator[] (size_t index)", `dst` untouched, when `src` has fewer.
  void DirectTransformVector(const TVector& src, TVector* dst) const;
  /// `InverseTransform` of the first 3 elements of a vector. \param dst becomes 3 elements; may be `src`.
  /// \throws std::runtime_error as `DirectTransformVector`, `dst` untouched.
  void InverseTransformVector(const TVector& src, TVector* dst) const;

  /// The parameters it was built from.
  void GetParameters(T7Params* out) const;
  /// R, 3 x 3.
  const TMatrix& GetRotationMatrix() const;
  /// T, 3 elements.
  const TVector& GetTranslationVector() const;
  /// m = 1 + dm.
  double GetScaleFactor() const;
  /// True when all seven parameters are exactly 0.
  bool IsIdenticTransform() const;

 private:
  T7Params params_;
  double scale_ = 1.0;
  TMatrix rotation_;
  TVector translation_;
  double inverse_scale_ = 1.0;
  TMatrix inverse_rotation_;
  TVector inverse_translation_;
  mutable TVector work_in_{3};
  mutable TVector work_rotated_{3};
  mutable TVector work_out_{3};
  TMatrix rotation_x_;
  TMatrix rotation_y_;
  TMatrix rotation_z_;
};

}  // namespace SatCommonUtils
