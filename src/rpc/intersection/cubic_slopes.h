#pragma once
// Value and gradient of a cubic polynomial of an RPC model by a scheme of Horner's kind: 29 products and 36 sums, where
// the sums in index order take 46 and 46. For ways to a result whose bits nobody has promised. Source: elementary.
//
// Arguments go by reference: vectors wider than the base instruction set have no calling convention.

namespace SatCommonUtils::rpc {

/// A value and its derivatives by latitude, longitude and, where asked for, height.
template <class T>
struct TCubicSlopes {
  T value, by[3];
};

/// \param k 20 coefficients in the order of `TRPCData`, each a number or a `T`. \param P, L, H normalised latitude,
/// longitude, height. The inner sums of the heights, then those of the longitudes, serve the values and the slopes.
template <bool ByHeight, class Coefficients, class T>
[[gnu::always_inline]] inline void SlopesOfCubic(const Coefficients& k, const T& P, const T& L, const T& H,
                                                 TCubicSlopes<T>& slopes) {
  const T t0 = H * k[19], u0 = k[9] + t0, w0 = H * u0, v0 = k[3] + w0, a0 = k[0] + H * v0;
  const T t1 = H * k[13], u1 = k[5] + t1, a1 = k[1] + H * u1;
  const T t2 = H * k[16], u2 = k[6] + t2, b0 = k[2] + H * u2;
  const T a3 = L * k[11], a2 = k[7] + H * k[17] + a3, s1 = a1 + L * a2;
  const T b2 = L * k[14], b1 = k[4] + H * k[10] + b2, s2 = b0 + L * b1;
  const T d = P * k[15], c1 = L * k[12], c = k[8] + H * k[18] + c1 + d;
  slopes.value = a0 + L * s1 + P * (s2 + P * c);
  slopes.by[0] = s2 + P * (c + c + d);
  slopes.by[1] = s1 + L * (a2 + a3) + P * (b1 + b2 + P * k[12]);
  if constexpr (ByHeight) {
    slopes.by[2] = v0 + (w0 + H * t0) + L * (u1 + t1 + L * k[17]) + P * (u2 + t2 + L * k[10] + P * k[18]);
  }
}

}  // namespace SatCommonUtils::rpc
