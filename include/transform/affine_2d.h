#pragma once
/// \file
/// The affine map of the plane: its six parameters, their fit from tie points, and the transform object.

#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/transform_2d.h"
#include "../frame/zxstd/var_a.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "tie_point.h"

namespace SatCommonUtils {

/// x' = A1·x + A2·y + A3, y' = B1·x + B2·y + B3. The identity is (1, 0, 0, 0, 1, 0).
struct T2DAffineParams {
  double A1 = 0.0;  ///< Coefficient of x in x'.
  double A2 = 0.0;  ///< Coefficient of y in x'.
  double A3 = 0.0;  ///< Constant term of x'.
  double B1 = 0.0;  ///< Coefficient of x in y'.
  double B2 = 0.0;  ///< Coefficient of y in y'.
  double B3 = 0.0;  ///< Constant term of y'.
};

/// A map whose determinant is no larger than this in size counts as having no inverse.
inline constexpr double kSmallestAffineDeterminant = 1e-20;

/// Least-squares fit of the map that takes each point's source to its target; all points weigh the same.
/// Collinear points are not detected: the six values then mean nothing.
///
/// The normal equations hold the squares of the coordinates as they stand, so that digits are lost when the points lie
/// far from the origin against their extent: within 1,000 of (5e6, 5e6) the map misses exact targets by up to 1e-3,
/// within 100 by up to 1e-2, and ten times nearer to the origin a hundred times less. Where that matters, subtract one
/// point of the scene from all sources first: the map is then that of the differences.
/// \param out untouched on failure. \return false for fewer than 3 points.
ORBMATH_API bool Calculate2DAffineParams(const std::vector<T2DTransformParamsSourceDataItem>& points,
                                         T2DAffineParams* out);

/// The map that applies `first` and then `second`. `out` may be one of the inputs.
ORBMATH_API void Combine2DAffineParams(const T2DAffineParams& first, const T2DAffineParams& second,
                                       T2DAffineParams* out);

/// The inverse map. `out` may be the input.
/// \param out untouched on failure. \return false when the determinant's magnitude is not above
/// `kSmallestAffineDeterminant`.
ORBMATH_API bool Invert2DAffineParams(const T2DAffineParams& src, T2DAffineParams* out);

/// Reads the keys "A1", "A2", "A3", "B1", "B2", "B3" of the current section.
/// \param out untouched on failure. \return false when a key is missing or malformed.
ORBMATH_API bool InitializeFromXML(TZxXIniReader* src, T2DAffineParams* out);
/// Reads the six keys of the child section `key`. \return false, `*out` untouched, also when there is no such section.
ORBMATH_API bool InitializeFromXML(TZxXIniReader* src, std::string key, T2DAffineParams* out);
/// Writes the six keys into the current section. \return false when something could not be written.
ORBMATH_API bool SaveToXML(const T2DAffineParams& params, TZxXIniWriter* dst);
/// Writes the six keys into a new child section `key`. \return false when something could not be written.
ORBMATH_API bool SaveToXML(const T2DAffineParams& params, TZxXIniWriter* dst, std::string key);

/// An affine map of the plane and its inverse, as a member of the family of 2D transforms; its content name is
/// "sat_affine". The inverse is computed from the direct map, but for an object loaded from XML that holds both: then
/// the stored inverse is taken as it stands. A const object may be used from several threads at once.
class ORBMATH_API T2DAffineTransform : public TZx2DTransform {
 public:
  /// The identity.
  T2DAffineTransform();
  T2DAffineTransform(const T2DAffineTransform&) = default;
  T2DAffineTransform& operator=(const T2DAffineTransform&) = default;
  /// \throws std::runtime_error when `src` has no inverse (see `Invert2DAffineParams`).
  explicit T2DAffineTransform(const T2DAffineParams& src);
  /// Loads the current section. \throws std::runtime_error when that fails.
  explicit T2DAffineTransform(TZxXIniReader* src);
  /// Loads the child section `key`. \throws std::runtime_error when that fails.
  T2DAffineTransform(TZxXIniReader* src, std::string key);
  ~T2DAffineTransform() override;

  var_a<TZx2DTransform*> CreateCopy() const override;
  /// The inverse map as the direct map of a new object; its own inverse is computed anew.
  /// \throws std::runtime_error when it has none.
  var_a<TZx2DTransform*> CreateInverseTransform() const override;
  xy_d GetTraCoord(const xy_d& point) const override;
  xy_d GetInverseTraCoord(const xy_d& point) const override;
  /// 1.0 either way.
  double GetTransformTime(bool inverse) const override;
  /// "sat_affine".
  const char* GetContentName() const override;
  /// "sat_affine", the name under which the family keeps it.
  static const char* StaticGetContentName();

  /// Replaces both maps. \return false, the object unchanged, when `params` has no inverse.
  bool Initialize(const T2DAffineParams& params);
  /// The direct map.
  void GetParameters(T2DAffineParams* out) const;
  /// Applies the direct map.
  void DirectTransform(const double& x, const double& y, double* xOut, double* yOut) const;
  /// Applies the inverse map.
  void InverseTransform(const double& x, const double& y, double* xOut, double* yOut) const;

  /// Loads the sections "Direct2DAffineTransform" (mandatory) and "Inverse2DAffineTransform" (computed when absent).
  /// \return false, the object unchanged, when a section is incomplete or an inverse must be computed and does not
  /// exist.
  bool InitializeFromXML(TZxXIniReader* src);
  /// Loads both sections from the child section `key`. \return false, the object unchanged, also when there is none.
  bool InitializeFromXML(TZxXIniReader* src, std::string key);
  /// Writes both sections. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;
  /// Writes both sections into a new child section `key`. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst, std::string key) const;

 protected:
  /// \throws std::runtime_error when the transform cannot be written.
  void SaveContent(TZxXIniWriter* ini) const override;
  /// \throws std::runtime_error when the transform cannot be read.
  void LoadContent(TZxXIniReader* ini) override;

 private:
  T2DAffineParams direct_;
  T2DAffineParams inverse_;
};

}  // namespace SatCommonUtils
