#pragma once
/// \file
/// The projective map of the plane given by a 3 by 3 matrix.

#include "../api.h"
#include "transform_2d.h"

namespace SatCommonUtils {

/// Takes (x, y) to (X / W, Y / W) with (X, Y, W) = matrix · (x, y, 1).
///
/// Any matrix makes an object. The inverse map of one that is singular to working precision is NaN (see
/// `IsInvertible`); a point on a line that the map sends to infinity gives infinities or NaN.
/// The content name is "projective".
class ORBMATH_API TProjectiveTransform : public TZx2DTransform {
 public:
  /// The identity.
  TProjectiveTransform();
  /// The map of a matrix, row by row.
  explicit TProjectiveTransform(const matr3x3& matrix);
  ~TProjectiveTransform() override;

  var_a<TZx2DTransform*> CreateCopy() const override;
  /// \throws TZxMessage when the matrix is singular.
  var_a<TZx2DTransform*> CreateInverseTransform() const override;
  xy_d GetTraCoord(const xy_d& point) const override;
  xy_d GetInverseTraCoord(const xy_d& point) const override;
  /// 2.0 either way.
  double GetTransformTime(bool inverse) const override;
  bool GetMatrix(matr3x3* matrix) const override;
  /// The inverse matrix. \return false, the matrix untouched, when there is none or it has elements beyond the range
  /// of a double.
  bool GetInverseMatrix(matr3x3* matrix) const override;
  const char* GetContentName() const override;

  /// False when the matrix has an element that is not finite, or when its determinant is zero within the rounding of
  /// its terms, whatever the matrix's scale.
  bool IsInvertible() const noexcept { return invertible_; }

  /// The direct map of `point`, with its derivatives.
  /// \param by_x receives (dx'/dx, dy'/dx); may be null. \param by_y receives (dx'/dy, dy'/dy); may be null.
  xy_d GetTraCoordDeriv(const xy_d& point, xy_d* by_x, xy_d* by_y) const;
  /// The inverse map of `point`, with its derivatives as above.
  xy_d GetInverseTraCoordDeriv(const xy_d& point, xy_d* by_x, xy_d* by_y) const;

  /// The name under which documents hold it.
  static const char* StaticGetContentName() noexcept;
  /// A new identity.
  static var_a<TZx2DTransform*> CreateDefault();

 protected:
  /// Writes the matrix under the key "matr".
  void SaveContent(TZxXIniWriter* ini) const override;
  void LoadContent(TZxXIniReader* ini) override;

 private:
  void SetMatrix(const matr3x3& matrix);

  matr3x3 matrix_;
  // A multiple of the inverse matrix; NaN when there is none.
  matr3x3 inverse_;
  // The inverse matrix is inverse_ times this power of two.
  int inverse_exponent_ = 0;
  bool invertible_ = false;
};

}  // namespace SatCommonUtils
