#pragma once
// The sizes of vectors that stand for points, directions and rates in space. A missed ray gives an empty vector, which
// callers hand on.

#include "linalg/checked_access.h"
#include "linalg/vector.h"

namespace SatCommonUtils {

/// Whether all vectors have three elements.
template <class... Vectors>
bool AreVectors3(const Vectors&... vectors) {
  return (... && (vectors.GetSize() == 3));
}

/// \throws std::runtime_error as every checked access unless all vectors have three elements.
template <class... Vectors>
void CheckVectors3(const Vectors&... vectors) {
  if (!AreVectors3(vectors...)) ThrowIndexError();
}

}  // namespace SatCommonUtils
