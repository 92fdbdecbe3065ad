#pragma once
/// \file
/// How uncertain a refinement is: the covariance of its parameters, and of what it makes of a point.

#include <cstddef>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "refinement_data.h"

namespace SatCommonUtils {

/// The covariance of the parameters of a refinement, a plain value. Nothing is known of a new one.
struct ORBMATH_API TRefinementCovariance {
  TRPCRefinementTransformType type = TRPCRefinementTransformType::None;  ///< kind of the refinement
  /// By rows, in the order of `GetParametersValues` of a record of that kind, which says the units; 2 x 2, 6 x 6 or
  /// 9 x 9 numbers. An element of a projective matrix that was held fixed has zeros. Empty: nothing is known.
  std::vector<double> values;
  /// Standard deviation of one coordinate of a measured point about the refined model, pixels: what a good point of the
  /// fit was off by, the measurement's own error included; 0 when it is not known.
  double sigma = 0.0;
  /// Redundant measurements that `values` were scaled by; 0 when their scale is that of stated sigmas.
  std::size_t redundancy = 0;

  /// True when the values are of the kind's size, finite, symmetric, and no variance is below 0.
  bool IsValid() const;

  /// Replaces all by what the current section says. \return false, nothing known afterwards, when the section is
  /// incomplete or the values are no covariance.
  bool InitializeFromXML(TZxXIniReader* src);
  /// Writes `RPCRefinementType`, `Sigma`, `Redundancy` and the section `Covariance` with the values `0`, `1`, ... of
  /// the upper triangle by rows, every number bit for bit. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;

  /// Equal members.
  friend bool operator==(const TRefinementCovariance& a, const TRefinementCovariance& b) {
    return a.type == b.type && a.values == b.values && a.sigma == b.sigma && a.redundancy == b.redundancy;
  }
  friend bool operator!=(const TRefinementCovariance& a, const TRefinementCovariance& b) { return !(a == b); }
};

/// The covariance of an image point, square pixels.
struct TImageCovariance {
  double lineLine = 0.0;      ///< variance of the line
  double lineSample = 0.0;    ///< covariance of line and sample
  double sampleSample = 0.0;  ///< variance of the sample
};

/// What the parameters' covariance makes of one raw point: how far the correction there is uncertain, anywhere in the
/// image. All points of the image share the errors behind it.
///
/// First order in the parameters: exact for shifts and affine maps.
class ORBMATH_API TRefinementPropagation {
 public:
  /// \param refinement the record whose parameters they are.
  /// \param covariance of the same kind. Of another kind, or not valid, it gives NaN everywhere.
  TRefinementPropagation(const TRPCRefinementDataBase& refinement, const TRefinementCovariance& covariance);

  /// The covariance of the refined coordinates of a raw point. \param line, sample raw, pixels.
  TImageCovariance At(double line, double sample) const noexcept;

 private:
  double matrix_[9];           ///< for (line, sample, 1)
  std::size_t parameters_[9];  ///< the elements of the matrix that are parameters
  std::size_t count_ = 0;
  std::vector<double> covariance_;
};

}  // namespace SatCommonUtils
