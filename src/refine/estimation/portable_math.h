#pragma once
// Exponential and logarithm of nothing but correctly rounded operations in a fixed order. Those of the C library differ
// in their last bit from one processor and release to the next, and a ridge or a limit that depends on them with it.

namespace SatCommonUtils::estimation {

/// The natural logarithm of a positive finite number, within `kPortableMathError` of its value.
double PortableLog(double x);

/// e to the power x, within (1 + |x|) times `kPortableMathError`, relative; 0 below -700, infinite above 700.
double PortableExp(double x);

/// x to the power y for positive finite x.
double PortablePow(double x, double y);

/// What the three above promise, relative.
constexpr double kPortableMathError = 1e-15;

}  // namespace SatCommonUtils::estimation
