#pragma once
/// \file
/// Offset and scale: the affine map between a quantity and its normalised value.

#include <type_traits>

#include "../frame/api.h"

namespace SatCommonUtils {

class TStringTree;

/// The map normalised = (initial - offset) / scale and its inverse.
///
/// "Initial" is the quantity in its own unit (degrees, metres, pixels), "normalised" the dimensionless value that
/// the polynomials of a sensor model work on. Offset and scale carry the unit of the initial quantity. The scale is
/// never 0 after a successful construction or `Reset` with numbers; only `Unchecked` and a string tree let one in.
/// A plain value: copies are independent, const operations may run on several threads.
class ORBMATH_API TLinearNormalization {
  template <class Offset, class Scale>
  using IfIntegers = std::enable_if_t<std::is_integral<Offset>::value && std::is_integral<Scale>::value>;

 public:
  /// The identity: offset 0, scale 1.
  TLinearNormalization() = default;
  /// As `Reset(offset, scale)`. \throws TZxMessage when it refuses.
  TLinearNormalization(const double& offset, const double& scale);
  /// Offset and scale as whole numbers, so that a plain literal 0 is an offset and no null tree.
  template <class Offset, class Scale, class = IfIntegers<Offset, Scale>>
  TLinearNormalization(Offset offset, Scale scale)
      : TLinearNormalization(static_cast<double>(offset), static_cast<double>(scale)) {}
  /// As `Reset(initial1, initial2, normalized1, normalized2)`. \throws TZxMessage when it refuses.
  TLinearNormalization(const double& initial1, const double& initial2, const double& normalized1,
                       const double& normalized2);
  /// As `Reset(src, tag)`. \throws TZxMessage when it fails.
  TLinearNormalization(TStringTree* src, int tag);

  /// A normalisation with any offset and scale, a zero scale included. For records read from files, which must make
  /// a model whatever they say: with a zero scale `Initial2Normalized` gives an infinity or NaN.
  static TLinearNormalization Unchecked(const double& offset, const double& scale) noexcept;

  /// \param x initial value. \return (x - offset) / scale, dimensionless; no test for a zero scale.
  double Initial2Normalized(const double& x) const noexcept;
  /// \param y normalised value, dimensionless. \return scale * y + offset.
  double Normalized2Initial(const double& y) const noexcept;

  /// The initial value that maps to 0.
  double GetOffset() const noexcept { return offset_; }
  /// The span of initial values that maps to one unit.
  double GetScale() const noexcept { return scale_; }

  /// Stores both. \return false, with nothing changed, when `scale` equals 0; a NaN is taken.
  bool Reset(const double& offset, const double& scale) noexcept;
  /// Offset and scale as whole numbers. \return false, changing nothing, for a scale of 0.
  template <class Offset, class Scale, class = IfIntegers<Offset, Scale>>
  bool Reset(Offset offset, Scale scale) noexcept {
    return Reset(static_cast<double>(offset), static_cast<double>(scale));
  }
  /// Chooses the map that sends `initial1` to `normalized1` and `initial2` to `normalized2`; so
  /// `Reset(max, min, 1, -1)` maps the range [min, max] onto [-1, 1].
  /// \return false, with nothing changed, when the two initial or the two normalised values are equal, or the scale
  /// underflows to 0.
  bool Reset(const double& initial1, const double& initial2, const double& normalized1,
             const double& normalized2) noexcept;
  /// Reads the offset at index 0 and the scale at index 1 under `tag`; a zero scale is taken as it stands.
  /// \return false, with nothing changed, when one of them cannot be read.
  bool Reset(TStringTree* src, int tag);

  /// Writes the offset at index 0 under the key "offset" and the scale at index 1 under the key "scale".
  /// \param dst where to; a null tree takes nothing.
  /// \param tag under which both stand.
  /// \param prefix when not null, the keys are the prefix, one blank, and the word.
  /// \return true when both were written; the scale is tried only when the offset was.
  bool WriteToTree(TStringTree* dst, int tag, const char* prefix) const;

 private:
  double offset_ = 0.0;
  double scale_ = 1.0;
};

}  // namespace SatCommonUtils
