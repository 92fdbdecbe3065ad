// Newton's method on the height of a line of sight above a bilinear grid. Where terrain is nowhere steeper than the
// line, that height falls all along the line and has one zero: no search is needed, and several lines are solved side
// by side. A line that is solved stays where it is, so that its result does not depend on its neighbours. Elementary.

#include "terrain/single_crossing.h"

#include <cmath>

#include "linalg/simd.h"
#include "terrain/tile_cursor.h"

namespace SatCommonUtils::terrain {

namespace {

/// Newton's steps may jump to and fro at a kink between cells; what is not solved then is left to the walk.
constexpr int kMostSteps = 12;

struct TNewtonKernel {
  const THeightTile& tile;
  std::size_t first;
  std::size_t last;
  const TSightBatch& sights;
  const TSightBounds* const* bounds;
  const double* offset;
  double tolerance;
  double* u;
  bool* solved;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t start = first; start < last; start += Width) {
      const std::size_t count = last - start < std::size_t(Width) ? last - start : std::size_t(Width);
      Group<Width>(start, count);
    }
  }

 private:
  /// Lines `start` to `start + count`; the lanes that are left repeat the last of them.
  template <int Width>
  [[gnu::always_inline]] void Group(std::size_t start, std::size_t count) const {
    double column[kTerms][Width], row[kTerms][Width], clearance[kTerms][Width];
    double top[Width], bottom[Width], at[Width];
    for (int lane = 0; lane < Width; ++lane) {
      const std::size_t line = start + (std::size_t(lane) < count ? std::size_t(lane) : count - 1);
      for (int k = 0; k < kTerms; ++k) {
        column[k][lane] = sights.c[kColumn][k][line];
        row[k][lane] = sights.c[kRow][k][line];
        clearance[k][lane] = sights.c[kClearance][k][line];
      }
      if (offset != nullptr) clearance[0][lane] -= offset[line];
      top[lane] = bounds[line]->top;
      bottom[lane] = bounds[line]->bottom;
      at[lane] = u[line];
    }
    double miss[Width];
    for (int step = 0; step < kMostSteps; ++step) {
      double x[Width], y[Width], p00[Width], p10[Width], p01[Width], p11[Width];
      for (int lane = 0; lane < Width; ++lane) {
        x[lane] = Horner(column, lane, at[lane]);
        y[lane] = Horner(row, lane, at[lane]);
      }
      for (int lane = 0; lane < Width; ++lane) {
        // Inside the tile, so that no place is negative and truncation rounds down.
        const int cellColumn = static_cast<int>(x[lane]);
        const int cellRow = static_cast<int>(y[lane]);
        const double* post = tile.GetPost(cellColumn - tile.GetFirstColumn(), cellRow - tile.GetFirstRow());
        p00[lane] = post[0];
        p10[lane] = post[1];
        p01[lane] = post[tile.GetStride()];
        p11[lane] = post[tile.GetStride() + 1];
        x[lane] -= cellColumn;
        y[lane] -= cellRow;
      }
      double next[Width];
      for (int lane = 0; lane < Width; ++lane) {
        // The terms of `LoadBilinear`, `BilinearValue` and `BilinearGradient`.
        const double cx = p10[lane] - p00[lane];
        const double cy = p01[lane] - p00[lane];
        const double cxy = (p11[lane] - p01[lane]) - cx;
        const double h = (p00[lane] + cx * x[lane]) + y[lane] * (cy + cxy * x[lane]);
        const double here = at[lane];
        miss[lane] = Horner(clearance, lane, here) - h;
        const double slope = HornerSlope(clearance, lane, here) -
                             (cx + cxy * y[lane]) * HornerSlope(column, lane, here) -
                             (cy + cxy * x[lane]) * HornerSlope(row, lane, here);
        next[lane] = Least(Largest(here - miss[lane] / slope, bottom[lane]), top[lane]);
      }
      int open = 0;
      for (int lane = 0; lane < Width; ++lane) {
        const bool close = std::fabs(miss[lane]) <= tolerance;
        at[lane] = close ? at[lane] : next[lane];
        open += close ? 0 : 1;
      }
      if (open == 0) break;
    }
    for (std::size_t lane = 0; lane < count; ++lane) {
      u[start + lane] = at[lane];
      solved[start + lane] = std::fabs(miss[lane]) <= tolerance;
    }
  }

  template <int Width>
  [[gnu::always_inline]] static double Horner(const double (&c)[kTerms][Width], int lane, double at) {
    return c[0][lane] + at * (c[1][lane] + at * (c[2][lane] + at * c[3][lane]));
  }
  template <int Width>
  [[gnu::always_inline]] static double HornerSlope(const double (&c)[kTerms][Width], int lane, double at) {
    return c[1][lane] + at * (2.0 * c[2][lane] + at * 3.0 * c[3][lane]);
  }
};

}  // namespace

void SolveSingleCrossings(const THeightTile& tile, std::size_t first, std::size_t count, const TSightBatch& sights,
                          const TSightBounds* const* bounds, const double* offset, double tolerance, double* u,
                          bool* solved) {
  simd::Dispatch(TNewtonKernel{tile, first, first + count, sights, bounds, offset, tolerance, u, solved});
}

}  // namespace SatCommonUtils::terrain
