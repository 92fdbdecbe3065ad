#pragma once
/// \file
/// The common area of two polygons, in the first place of two quadrilaterals such as the footprints of two scenes.

#include <vector>

#include "../frame/api.h"
#include "polygon.h"

namespace SatCommonUtils {

/// Parts of a common area that are narrower than this share of the largest coordinate are left out.
inline constexpr double kThinnestIntersection = 0x1p-46;

/// Intersection of two quadrilaterals, or of any two simple polygons, convex or not.
///
/// Each piece is a simple ring that runs counter-clockwise, whatever the sense of the arguments; two pieces touch in
/// single points at most. Which parts of the boundaries bound a piece is decided without rounding error, however close
/// to each other they run, and the points where they cross are exact within some units in the last place. Vertices of
/// the arguments that bound a piece are taken over unchanged. What is narrower than `kThinnestIntersection` of the
/// largest coordinate is cut off, so that edges shared up to rounding leave no slivers and necks part; corners that
/// differ from the line between their neighbours by no more are left out. Common points and edges without area give no
/// piece. A ring closed by a repeated first vertex counts as the open one. Takes time n m, and n² for the check of
/// each.
///
/// \param pieces replaced by the pieces; empty when the polygons have no area in common.
/// \return false, `*pieces` untouched, when one of the polygons is not simple (`TPolygon::IsSimple`), when a product of
/// four coordinates leaves the range of a double, and should the rounding of its points still make a piece touch
/// itself.
ORBMATH_API bool IntersectPolygons(const TPolygon& a, const TPolygon& b, std::vector<TPolygon>* pieces);

}  // namespace SatCommonUtils
