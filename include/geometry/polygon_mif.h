#pragma once
/// \file
/// Polygons as REGION objects of a MapInfo interchange file (MIF).

#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/stream.h"
#include "polygon.h"

namespace SatCommonUtils {

/// Longitude and latitude in degrees on WGS 84: x is the longitude, y the latitude.
ORBMATH_API extern const char* const kMifLongitudeLatitude;

/// Writes a whole MIF with one REGION of one ring for each polygon. The ring is closed by repeating its first vertex,
/// as MapInfo does; numbers come back bit for bit. The table has one column "Id"; a file of its values (MID) is
/// optional in the format and is not written.
/// \param coord_sys what follows the word CoordSys.
/// \return false when a polygon has fewer than three vertices or a coordinate that is not finite, or `coord_sys` a line
/// end (then nothing is written), or when the stream takes less than everything.
ORBMATH_API bool WriteMIF(TZxStream* stream, const std::vector<TPolygon>& polygons,
                          const std::string& coord_sys = kMifLongitudeLatitude);

/// Reads every REGION of a MIF, also those inside a COLLECTION; other objects, pens, brushes and centres are passed
/// over. Keywords may be in any case, coordinates may be separated by blanks, commas or line ends, and a TRANSFORM of
/// the header is applied. A last vertex that repeats the first one is dropped.
/// \param regions one entry a REGION, with its rings in file order: outlines and holes are not told apart, as in the
/// file. A ring may have fewer than three vertices.
/// \return false, `*regions` untouched, for a text without a DATA line, a REGION whose counts or coordinates are cut
/// short or are no finite numbers, and a stream that is null or longer than 1 GiB.
ORBMATH_API bool ReadMIF(TZxStream* stream, std::vector<std::vector<TPolygon>>* regions);

}  // namespace SatCommonUtils
