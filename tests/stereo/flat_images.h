#pragma once
// Images whose geometry can be written down.

#include <algorithm>

#include "rpc/rpc_data.h"
#include "rpc/rpc_model.h"

namespace orbmath_test {

// Length of a degree of longitude at latitude 45 on the ellipsoid, metres, from tables of WGS84.
constexpr double kDegreeEast = 78846.835;
/// Metres that a sample steps over.
constexpr double kSampleSize = kDegreeEast / 10000.0;

/// line = 1000 - 20000 (lat - lat0), sample = 2000 + 10000 (lon - lon0) + lean * h, over 0.1 x 0.4 degrees, heights
/// -1000 to 1000 m.
inline SatCommonUtils::TRPC FlatImage(double lat0, double lon0, double lean) {
  SatCommonUtils::TRPCData record;
  for (double(*list)[20] : {&record.lineNumCoef, &record.lineDenCoef, &record.sampNumCoef, &record.sampDenCoef}) {
    std::fill(*list, *list + 20, 0.0);
    (*list)[0] = 1.0;
  }
  record.lineNumCoef[0] = record.sampNumCoef[0] = 0.0;
  record.lineNumCoef[2] = -1.0;
  record.sampNumCoef[1] = 1.0;
  record.sampNumCoef[3] = 0.5 * lean;
  record.lineOffset = 1000.0;
  record.lineScale = 1000.0;
  record.sampOffset = 2000.0;
  record.sampScale = 2000.0;
  record.latOffset = lat0;
  record.latScale = 0.05;
  record.longOffset = lon0;
  record.longScale = 0.2;
  record.heightOffset = 0.0;
  record.heightScale = 1000.0;
  return SatCommonUtils::TRPC(record, nullptr);
}

}  // namespace orbmath_test
