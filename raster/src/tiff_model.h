#pragma once
// The RPC tag of a TIFF file, bit for bit.

#include <string>

namespace SatCommonUtils {

/// Doubles of the tag: two errors, ten offsets and scales in the order of the text form, four lists of twenty.
constexpr int kTiffModelNumbers = 92;

/// Reads RPCCoefficientTag (50844) of the first directory of a TIFF or BigTIFF, in either byte order, through GDAL's
/// file layer ("/vsi..." paths too). \return false when there is none or the file is damaged.
bool ReadTiffModel(const std::string& path, double* numbers);

}  // namespace SatCommonUtils
