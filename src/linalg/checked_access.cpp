// The index error of the dense types.

#include "linalg/checked_access.h"

#include <stdexcept>

namespace SatCommonUtils {

void ThrowIndexError() { throw std::runtime_error("double& TVector::operator[] (size_t index)"); }

}  // namespace SatCommonUtils
