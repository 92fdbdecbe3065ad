#pragma once
// The one failure of every checked element access of the dense types.

namespace SatCommonUtils {

/// \throws std::runtime_error "double& TVector::operator[] (size_t index)".
[[noreturn]] void ThrowIndexError();

}  // namespace SatCommonUtils
