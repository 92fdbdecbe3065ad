#pragma once
/// \file
/// A part of an image, brought to another pixel size: where its pixels are, and the record of its model.

#include "../frame/api.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// A window of an image and the pixel size of what is made of it.
///
/// Whole numbers are pixel centres, so that pixel `i` covers `i - 0.5` to `i + 0.5`. The window begins at the outer
/// edge of its first pixel, and there begins the first pixel of the result, whatever its size: this is where half
/// pixels get lost elsewhere. A point at `line` has `zoom * (line - firstLine + 0.5) - 0.5` in the result.
struct ORBMATH_API TImageWindow {
  double firstLine = 0.0;    ///< first line of the window, pixels of the image
  double firstSample = 0.0;  ///< first sample
  double zoom = 1.0;         ///< pixels of the result on one of the image, above 0: 0.25 for a coarser band

  /// Image to result, pixels.
  double MapLine(double line) const noexcept;
  /// Image to result, pixels.
  double MapSample(double sample) const noexcept;
  /// False for a zoom that is not above 0, or anything that is not finite.
  bool IsValid() const noexcept;
};

/// The record of the model of a window: it gives the points of the result, exactly but for the rounding of offsets and
/// scales. The coefficients stay.
/// \param out may be the same object; untouched on failure.
/// \return false for a window that is not valid and a record that is not complete.
ORBMATH_API bool CropRPC(const TRPCData& record, const TImageWindow& window, TRPCData* out);

}  // namespace SatCommonUtils
