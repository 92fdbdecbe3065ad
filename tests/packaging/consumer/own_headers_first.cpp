// The host's headers before the library's of the same names.
#include "frame/api.h"
#include "geometry/polygon.h"
// ours
#include <orbmath/geometry/polygon.h>
#include <orbmath/rpc/rpc_model.h>

HOST_API std::size_t CornersOwnFirst() {
  return SatCommonUtils::TPolygon(std::vector<SatCommonUtils::xy_d>(HostPolygon().corners)).GetVertices().size();
}
