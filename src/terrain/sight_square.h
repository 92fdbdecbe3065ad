#pragma once
// Lines of sight of a small square of the image: low terms in line, sample and height, cut from a patch's cubics.

#include "terrain/sight_patches.h"

namespace SatCommonUtils::terrain {

/// Terms of a square's polynomials: 1, s, t, s^2, s t, t^2, u, s u, t u, s t u, u^2, s u^2, t u^2, u^3. s and t run
/// with line and sample from -1 to 1 across the square, u counts from the middle of its bounds.
constexpr int kSquareTerms = 14;

/// The components of a square's term lie side by side, by twos: column and row; with a base or a mapping, clearance and
/// nothing; with a mapping, longitude and latitude.
constexpr int kMostSquareLanes = 6;
inline int CountSquareLanes(const TScene& scene) { return scene.mapped ? 6 : (scene.base != nullptr ? 4 : 2); }

/// \param s, t the square's centre in the patch. \param share its size as a part of the patch's. \param bounds `top`
///   and `bottom` are used. \param terms receives `kSquareTerms` times `CountSquareLanes(scene)` numbers.
/// \return false where the terms left out might move a line of sight by more than the tolerance and half of it.
bool CutSquare(const TScene& scene, const TSightPatch& patch, double s, double t, double share,
               const TSightBounds& bounds, double* terms);

}  // namespace SatCommonUtils::terrain
