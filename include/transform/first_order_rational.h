#pragma once
/// \file
/// The first-order rational model: line and sample as ratios of linear polynomials of the ground coordinates.

#include "../frame/api.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"

namespace SatCommonUtils {

/// The sixteen coefficients; each group holds the coefficients of X, Y, Z and the constant.
struct ORBMATH_API TRPC1Params {
  double LineNum[4];      ///< Numerator of the line.
  double SampleNum[4];    ///< Numerator of the sample.
  double LineDenom[4];    ///< Denominator of the line.
  double SampleDenom[4];  ///< Denominator of the sample.

  /// All zero.
  TRPC1Params();
  /// Sets all sixteen to zero.
  void Reset();
  /// Reads the keys "LineNum0" to "LineNum3", then "LineDenom.", "SampleNum." and "SampleDenom." of the current
  /// section. \return false, the record unchanged, when one is missing or malformed.
  bool InitializeFromXML(TZxXIniReader* src);
  /// Writes the sixteen keys in that order. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;
};

/// A light sensor model. The coefficients act on the coordinates as they are, without offsets and scales; the units
/// are those that the coefficients were made for. A plain value: const use from several threads is safe.
class ORBMATH_API TRPC1 {
 public:
  /// All coefficients zero.
  TRPC1() = default;
  /// Copies the coefficients.
  explicit TRPC1(const TRPC1Params& params);
  /// Replaces the coefficients.
  TRPC1& operator=(const TRPC1Params& params);

  /// Replaces the coefficients.
  void Set(const TRPC1Params& params);
  /// Copies the coefficients out.
  void GetParams(TRPC1Params* out) const;
  /// All coefficients zero.
  void Reset();

  /// Ground to image. \param X, Y, Z ground coordinates. \param line, sample image coordinates; may be among the
  /// inputs. A zero denominator is not tested: the quotient is what floating point gives.
  void CalculateLineSample(const double& X, const double& Y, const double& Z, double* line, double* sample) const;
  /// Image to ground at a known Z. \return false, `X` and `Y` untouched, when the two equations are singular.
  bool CalculateXY(const double& line, const double& sample, const double& Z, double* X, double* Y) const;

  /// Takes over the coefficients of the current section. \return false, the model unchanged, when one is missing.
  bool InitializeFromXML(TZxXIniReader* src);
  /// Writes the sixteen keys into the current section. \return false when something could not be written.
  bool SaveToXML(TZxXIniWriter* dst) const;

 private:
  TRPC1Params params_;
};

/// The ground point seen at (line1, sample1) in one image and (line2, sample2) in another: unweighted linear least
/// squares of the four multiplied-out equations. Nothing is reported; a degenerate geometry (identical models, say)
/// gives meaningless coordinates.
ORBMATH_API void SpaceIntersection(const TRPC1* model1, const double& line1, const double& sample1, const TRPC1* model2,
                                   const double& line2, const double& sample2, double* X, double* Y, double* Z);

}  // namespace SatCommonUtils
