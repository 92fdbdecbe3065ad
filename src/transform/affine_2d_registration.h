#pragma once
// The affine transform in the registry of 2D transforms.

namespace SatCommonUtils {

/// Adds a user of the registration; the first registers "sat_affine" with a factory of identities. Not locked.
void Register2DAffineTransform();
/// Removes a user; the last one takes the registration away. Without a user nothing happens. Not locked.
void Unregister2DAffineTransform();

}  // namespace SatCommonUtils
