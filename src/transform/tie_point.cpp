// The debug print of tie points.

#include "transform/tie_point.h"

#include <string>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/text.h"

namespace SatCommonUtils {

void DebugOutput(const std::vector<T2DTransformParamsSourceDataItem>& points) {
  constexpr std::size_t kLongestMessage = 127;
  for (const T2DTransformParamsSourceDataItem& point : points) {
    const std::string text = Zentarix::ssprintf("Xfrom=%20.3lf Yfrom=%20.3lf Xto=%20.3lf Yto=%20.3lf", point.Xfrom,
                                                point.Yfrom, point.Xto, point.Yto);
    ZxPrintDbgMsg(text.substr(0, kLongestMessage));
  }
}

}  // namespace SatCommonUtils
