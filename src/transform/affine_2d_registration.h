#pragma once
// The affine transform in the registry of 2D transforms.

namespace SatCommonUtils {

/// Adds a user of the registration; the first registers "sat_affine" with a factory of identities. A factory that a
/// host has registered under that name before stays. Not locked. \return false, no user added, when there is no memory
/// for it.
bool Register2DAffineTransform() noexcept;
/// Removes a user; the last one takes the registration away, and puts a host's own back. Without a user nothing
/// happens. Not locked.
void Unregister2DAffineTransform() noexcept;

}  // namespace SatCommonUtils
