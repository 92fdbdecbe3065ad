// The host's headers after the library's of the same names, and the library's by both of their names.
#include <orbmath/geometry/polygon.h>
#include <orbmath/rpc/rpc_model.h>

#include <orbmath.h>
#include <rpc/rpc_model.h>
// the host's
#include "frame/api.h"
#include "geometry/polygon.h"

HOST_API std::size_t CornersOwnLast() {
  return SatCommonUtils::TPolygon(std::vector<SatCommonUtils::xy_d>(HostPolygon().corners)).GetVertices().size();
}
