#pragma once
/// \file
/// The parameters of a projective map of the plane and their linear fit.

#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "tie_point.h"

namespace SatCommonUtils {

/// x' = (A1·x + A2·y + A3) / (C1·x + C2·y + 1), y' = (B1·x + B2·y + B3) / (C1·x + C2·y + 1).
struct T2DProjectiveParams {
  double A1 = 0.0;  ///< Coefficient of x in the numerator of x'.
  double A2 = 0.0;  ///< Coefficient of y in the numerator of x'.
  double A3 = 0.0;  ///< Constant term of the numerator of x'.
  double B1 = 0.0;  ///< Coefficient of x in the numerator of y'.
  double B2 = 0.0;  ///< Coefficient of y in the numerator of y'.
  double B3 = 0.0;  ///< Constant term of the numerator of y'.
  double C1 = 0.0;  ///< Coefficient of x in the denominator.
  double C2 = 0.0;  ///< Coefficient of y in the denominator.
};

/// Linear least-squares fit of the map that takes each point's source to its target. What is minimised are the
/// equations multiplied through by the denominator, without iteration, weights, or scaling of the coordinates:
/// keep the coordinates near 1 where precision matters. Degenerate sets (collinear points) are not detected.
/// \param out untouched on failure. \return false for fewer than 4 points.
ORBMATH_API bool Calculate2DProjectiveParams(const std::vector<T2DTransformParamsSourceDataItem>& points,
                                             T2DProjectiveParams* out);

/// Reads the keys "A1" to "A3", "B1" to "B3", "C1" and "C2" of the current section.
/// \param out untouched on failure. \return false when a key is missing or malformed.
ORBMATH_API bool InitializeFromXML(TZxXIniReader* src, T2DProjectiveParams* out);
/// Reads the eight keys of the child section `key`. \return false, `*out` untouched, also when there is none.
ORBMATH_API bool InitializeFromXML(TZxXIniReader* src, std::string key, T2DProjectiveParams* out);
/// Writes the eight keys into the current section. \return false when something could not be written.
ORBMATH_API bool SaveToXML(const T2DProjectiveParams& params, TZxXIniWriter* dst);
/// Writes the eight keys into a new child section `key`. \return false when something could not be written.
ORBMATH_API bool SaveToXML(const T2DProjectiveParams& params, TZxXIniWriter* dst, std::string key);

}  // namespace SatCommonUtils
