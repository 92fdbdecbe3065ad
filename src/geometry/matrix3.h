#pragma once
// Building 3 x 3 matrices by rows.

#include <array>

#include "linalg/matrix.h"

namespace SatCommonUtils {

/// Nine elements by rows.
using Rows3 = std::array<std::array<double, 3>, 3>;

/// Writes the rows into the top left corner of a matrix, which is not resized.
/// \throws std::runtime_error that of the matrix's checked access when it is smaller than 3 x 3.
void FillMatrix3(const Rows3& rows, TMatrix* matrix);

/// A new 3 x 3 matrix.
TMatrix MakeMatrix3(const Rows3& rows);

}  // namespace SatCommonUtils
