// Bicubic cells. R. Keys, "Cubic convolution interpolation for digital image processing" (1981),
// doi:10.1109/TASSP.1981.1163711.

#include "terrain/cell.h"

namespace SatCommonUtils::terrain {

namespace {

/// Continues a row of four whose inner two are known.
void Continue(double* p) {
  if (std::isnan(p[0])) p[0] = 2.0 * p[1] - p[2];
  if (std::isnan(p[3])) p[3] = 2.0 * p[2] - p[1];
}

/// A whole row, continued from the two rows beside it.
void ContinueRow(const double* near, const double* far, double* p) {
  if (std::isnan(p[1]) || std::isnan(p[2])) {
    for (int i = 0; i < 4; ++i) p[i] = 2.0 * near[i] - far[i];
  } else {
    Continue(p);
  }
}

/// Coefficients of 1, t, t^2 and t^3 of Keys' cubic through p1 (t = 0) and p2 (t = 1).
void Keys(double p0, double p1, double p2, double p3, double* c) {
  c[0] = p1;
  c[1] = 0.5 * (p2 - p0);
  c[2] = p0 - 2.5 * p1 + 2.0 * p2 - 0.5 * p3;
  c[3] = 1.5 * (p1 - p2) + 0.5 * (p3 - p0);
}

}  // namespace

bool GatherPosts(const double* post, std::ptrdiff_t stride, double (*p)[4]) {
  for (int j = 0; j < 4; ++j) {
    for (int i = 0; i < 4; ++i) p[j][i] = post[(j - 1) * stride + i - 1];
  }
  if (std::isnan(p[1][1] + p[1][2] + p[2][1] + p[2][2])) return false;
  Continue(p[1]);
  Continue(p[2]);
  ContinueRow(p[1], p[2], p[0]);
  ContinueRow(p[2], p[1], p[3]);
  return true;
}

bool LoadBicubic(const double* post, std::ptrdiff_t stride, TCell* cell) {
  double p[4][4];
  if (!GatherPosts(post, stride, p)) return false;
  double rows[4][4];
  for (int j = 0; j < 4; ++j) Keys(p[j][0], p[j][1], p[j][2], p[j][3], rows[j]);
  for (int i = 0; i < 4; ++i) {
    double column[4];
    Keys(rows[0][i], rows[1][i], rows[2][i], rows[3][i], column);
    for (int j = 0; j < 4; ++j) cell->c[4 * j + i] = column[j];
  }
  return true;
}

TCellValue BicubicGradient(const TCell& cell, double x, double y) {
  TCellValue value = {0.0, 0.0, 0.0};
  for (int j = 3; j >= 0; --j) {
    const double* c = cell.c + 4 * j;
    const double h = c[0] + x * (c[1] + x * (c[2] + x * c[3]));
    value.dy = value.dy * y + value.h;
    value.h = value.h * y + h;
    value.dx = value.dx * y + (c[1] + x * (2.0 * c[2] + x * 3.0 * c[3]));
  }
  return value;
}

}  // namespace SatCommonUtils::terrain
