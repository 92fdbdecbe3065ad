#pragma once
/// \file
/// Start and stop of the data container. It holds nothing that must be set up, so the users are counted, no more.

#include "../api.h"

namespace SatCommonUtils {

/// Adds a user. Thread-safe.
ORBMATH_API void Init_SatDataContainer();
/// Removes a user; without one nothing happens. Thread-safe.
ORBMATH_API void Deinit_SatDataContainer();
/// Number of users: starts without their stops.
ORBMATH_API unsigned long long GetSatDataContainerUsers();

}  // namespace SatCommonUtils
