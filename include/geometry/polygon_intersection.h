#pragma once
/// \file
/// The common area of two polygons, in the first place of two quadrilaterals such as the footprints of two scenes.

#include <vector>

#include "../frame/api.h"
#include "polygon.h"

namespace SatCommonUtils {

/// Intersection of two quadrilaterals, or of any two simple polygons, convex or not.
///
/// Each piece is a simple ring that runs counter-clockwise, whatever the sense of the arguments; two pieces touch in
/// single points at most. Vertices of the arguments that bound a piece are taken over unchanged; a vertex closer to an
/// edge or a vertex of the other polygon than 2^-46 of the largest coordinate counts as lying on it, so that edges
/// shared up to rounding leave no slivers. Common points and edges without area give no piece. Takes time n * m.
///
/// \param pieces replaced by the pieces; empty when the polygons have no area in common.
/// \return false, `*pieces` untouched, when one of the polygons is not simple (`TPolygon::IsSimple`).
ORBMATH_API bool IntersectPolygons(const TPolygon& a, const TPolygon& b, std::vector<TPolygon>* pieces);

}  // namespace SatCommonUtils
