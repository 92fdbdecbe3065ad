// Windows of images: elementary.

#include "rpc/image_window.h"

#include <cmath>

namespace SatCommonUtils {

double TImageWindow::MapLine(double line) const noexcept { return zoom * (line - firstLine + 0.5) - 0.5; }

double TImageWindow::MapSample(double sample) const noexcept { return zoom * (sample - firstSample + 0.5) - 0.5; }

bool TImageWindow::IsValid() const noexcept {
  return zoom > 0.0 && std::isfinite(zoom) && std::isfinite(firstLine) && std::isfinite(firstSample);
}

bool CropRPC(const TRPCData& record, const TImageWindow& window, TRPCData* out) {
  if (!window.IsValid() || !record) return false;
  TRPCData cropped = record;
  cropped.lineOffset = window.MapLine(record.lineOffset);
  cropped.sampOffset = window.MapSample(record.sampOffset);
  cropped.lineScale = record.lineScale * window.zoom;
  cropped.sampScale = record.sampScale * window.zoom;
  *out = cropped;
  return true;
}

}  // namespace SatCommonUtils
