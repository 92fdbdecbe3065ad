#pragma once
// One cell of a height grid as a polynomial, and whether it is known.
//
// Bilinear cells have the terms 1, x, y and xy; bicubic ones (R. Keys, 1981, a = -1/2) x^i y^j up to the third power
// each. x and y run from 0 to 1 between the cell's first and last column and row.

#include <cmath>
#include <cstddef>

#include "terrain/height_tile.h"

namespace SatCommonUtils::terrain {

/// h = sum of c[4 j + i] x^i y^j; of a bilinear cell only c[0], c[1], c[4] and c[5] are used.
struct TCell {
  double c[16];
};

/// True when the four corners are known. \param post the first corner.
inline bool LoadBilinear(const double* post, std::ptrdiff_t stride, TCell* cell) {
  const double p00 = post[0];
  const double p10 = post[1];
  const double p01 = post[stride];
  const double p11 = post[stride + 1];
  cell->c[0] = p00;
  cell->c[1] = p10 - p00;
  cell->c[4] = p01 - p00;
  cell->c[5] = (p11 - p01) - (p10 - p00);
  return !std::isnan(cell->c[5]);
}

/// The sixteen posts around a cell, missing outer ones continued linearly. \return false when a corner is missing.
bool GatherPosts(const double* post, std::ptrdiff_t stride, double (*p)[4]);

bool LoadBicubic(const double* post, std::ptrdiff_t stride, TCell* cell);

inline double BilinearValue(const TCell& cell, double x, double y) {
  return (cell.c[0] + cell.c[1] * x) + y * (cell.c[4] + cell.c[5] * x);
}

/// Value and derivatives by x and y.
struct TCellValue {
  double h;
  double dx;
  double dy;
};

inline TCellValue BilinearGradient(const TCell& cell, double x, double y) {
  return {BilinearValue(cell, x, y), cell.c[1] + cell.c[5] * y, cell.c[4] + cell.c[5] * x};
}

TCellValue BicubicGradient(const TCell& cell, double x, double y);

}  // namespace SatCommonUtils::terrain
