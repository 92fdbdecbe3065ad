// Newton's method on the height of a line of sight above a grid. Where terrain is nowhere steeper than the line, that
// height falls all along the line and has one zero: no search is needed, and several lines are solved side by side. A
// line that is solved stays where it is, so that its result does not depend on its neighbours.
//
// Bicubic heights are sums of posts with the weights of R. Keys, "Cubic convolution interpolation for digital image
// processing" (1981), doi:10.1109/TASSP.1981.1163711; the rest is elementary.

#include "terrain/single_crossing.h"

#include <cmath>

#include "linalg/simd.h"
#include "rpc/lanes.h"
#include "terrain/sight_square.h"

namespace SatCommonUtils::terrain {

namespace {

/// Newton's steps may jump to and fro at a kink between cells; what is not solved then is left to the walk.
constexpr int kMostSteps = 12;
/// So many steps nearly every line needs: whether one is solved is not asked before.
constexpr int kSureSteps = 2;

/// Added and taken away again it rounds to a whole number; in between the lowest bits are that number.
constexpr double kRounding = 0x1.8p52;

template <int Width>
using TVectorOf = typename simd::TLanes<Width>::TVector;

template <class V>
[[gnu::always_inline]] inline void Absolute(const V& x, V& absolute) {
  rpc::TFlags<V> bits;
  rpc::BitsOf(x, bits);
  bits &= INT64_MAX;
  std::memcpy(&absolute, &bits, sizeof absolute);
}

/// What a step knows of its lines, by line: the places of their cells in the tile, and the posts about them. It goes
/// through memory because posts come one by one, and a vector that is read just after its parts were written waits.
struct alignas(64) TStepArrays {
  double x[TSightBatch::kMost];  ///< from the cell's first corner
  double y[TSightBatch::kMost];
  std::int64_t cell[TSightBatch::kMost];
  double byX[TSightBatch::kMost];  ///< of the line, by u, as the two below
  double byY[TSightBatch::kMost];
  double byZ[TSightBatch::kMost];
  double z[TSightBatch::kMost];
  double posts[16][TSightBatch::kMost];
};

/// Heights and their derivatives by column and row.
template <class V>
struct THeights {
  V h, byX, byY;
  V byXY;  ///< of a bilinear cell; zero elsewhere, where it does not last for a step
};

struct TBilinearCells {
  static void Take(const double* post, std::ptrdiff_t stride, std::size_t line, TStepArrays& arrays) {
    arrays.posts[0][line] = post[0];
    arrays.posts[1][line] = post[1];
    arrays.posts[2][line] = post[stride];
    arrays.posts[3][line] = post[stride + 1];
  }

  /// The terms of `LoadBilinear`, `BilinearValue` and `BilinearGradient`.
  template <class V>
  [[gnu::always_inline]] static void Evaluate(const TStepArrays& arrays, std::size_t at, const V& x, const V& y,
                                              THeights<V>& heights) {
    V p00, p10, p01, p11;
    simd::Load(&arrays.posts[0][at], p00);
    simd::Load(&arrays.posts[1][at], p10);
    simd::Load(&arrays.posts[2][at], p01);
    simd::Load(&arrays.posts[3][at], p11);
    const V cx = p10 - p00;
    const V cy = p01 - p00;
    heights.byXY = (p11 - p01) - cx;
    heights.byX = cx + heights.byXY * y;
    heights.byY = cy + heights.byXY * x;
    heights.h = (p00 + cx * x) + y * heights.byY;
  }
};

struct TBicubicCells {
  static void Take(const double* post, std::ptrdiff_t stride, std::size_t line, TStepArrays& arrays) {
    for (int j = 0; j < 4; ++j) {
      for (int i = 0; i < 4; ++i) arrays.posts[4 * j + i][line] = post[(j - 1) * stride + i - 1];
    }
  }

  /// Keys' weights, a = -1/2, and their derivatives.
  template <class V>
  [[gnu::always_inline]] static void Weigh(const V& t, V (&w)[4], V (&d)[4]) {
    const V tt = t * t;
    w[0] = t * (t - 0.5 * (tt + 1.0));
    w[1] = 1.0 + tt * (1.5 * t - 2.5);
    w[2] = t * (0.5 + t * (2.0 - 1.5 * t));
    w[3] = 0.5 * tt * (t - 1.0);
    d[0] = 2.0 * t - 1.5 * tt - 0.5;
    d[1] = t * (4.5 * t - 5.0);
    d[2] = 0.5 + t * (4.0 - 4.5 * t);
    d[3] = t * (1.5 * t - 1.0);
  }

  template <class V>
  [[gnu::always_inline]] static void Sum(const V (&w)[4], const V (&values)[4], V& sum) {
    sum = (w[0] * values[0] + w[1] * values[1]) + (w[2] * values[2] + w[3] * values[3]);
  }

  template <class V>
  [[gnu::always_inline]] static void Evaluate(const TStepArrays& arrays, std::size_t at, const V& x, const V& y,
                                              THeights<V>& heights) {
    V w[4], d[4], rows[4], slopes[4];
    Weigh(x, w, d);
    for (int j = 0; j < 4; ++j) {
      V p0, p1, p2, p3;
      simd::Load(&arrays.posts[4 * j][at], p0);
      simd::Load(&arrays.posts[4 * j + 1][at], p1);
      simd::Load(&arrays.posts[4 * j + 2][at], p2);
      simd::Load(&arrays.posts[4 * j + 3][at], p3);
      rows[j] = (w[0] * p0 + w[1] * p1) + (w[2] * p2 + w[3] * p3);
      slopes[j] = (d[0] * p0 + d[1] * p1) + (d[2] * p2 + d[3] * p3);
    }
    Weigh(y, w, d);
    Sum(w, rows, heights.h);
    Sum(w, slopes, heights.byX);
    Sum(d, rows, heights.byY);
    heights.byXY = V{};
  }
};

struct TNewtonKernel {
  const THeightTile& tile;
  bool bicubic;
  double tolerance;
  TSightBatch& batch;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    if (bicubic)
      Solve<Width, TBicubicCells>();
    else
      Solve<Width, TBilinearCells>();
  }

 private:
  template <int Width, class Cells>
  [[gnu::always_inline]] void Solve() const {
    const int groups = static_cast<int>(batch.count / Width);
    // The groups that are not solved.
    std::size_t open[TSightBatch::kMost / Width];
    for (int group = 0; group < groups; ++group) open[group] = std::size_t(group) * Width;
    TStepArrays arrays;
    // One part of a step of all lines, then the next: each is a chain of operations that wait for each other, and those
    // of another group do not.
    int left = groups;
    for (int step = 0; step < kMostSteps && left > 0; ++step) {
      for (int i = 0; i < left; ++i) Place<Width>(open[i], arrays);
      for (int i = 0; i < left; ++i) {
        for (std::size_t line = open[i]; line < open[i] + Width; ++line) TakePosts<Cells>(line, arrays);
      }
      int still = 0;
      for (int i = 0; i < left; ++i) {
        const std::size_t at = open[i];
        open[still] = at;
        still += Step<Width, Cells>(at, step < kSureSteps, arrays) ? 1 : 0;
      }
      left = still;
    }
  }

  template <class V>
  [[gnu::always_inline]] static void Value(const double (&c)[TSightBatch::kPowers][TSightBatch::kMost], std::size_t at,
                                           const V& u, V& value, V& slope) {
    V c0, c1, c2, c3;
    simd::Load(&c[0][at], c0);
    simd::Load(&c[1][at], c1);
    simd::Load(&c[2][at], c2);
    simd::Load(&c[3][at], c3);
    const V cubic = u * c3;
    const V square = u * (c2 + cubic);
    const V linear = c1 + square;
    slope = linear + (square + u * cubic);
    value = c0 + u * linear;
  }

  template <class V>
  [[gnu::always_inline]] static void Store(const V& from, double* to) {
    std::memcpy(to, &from, sizeof from);
  }

  /// Where the lines from `at` are at their u.
  template <int Width>
  [[gnu::always_inline]] void Place(std::size_t at, TStepArrays& arrays) const {
    using V = TVectorOf<Width>;
    V u, x, y, z, byX, byY, byZ;
    simd::Load(&batch.u[at], u);
    Value(batch.column, at, u, x, byX);
    Value(batch.row, at, u, y, byY);
    Value(batch.clearance, at, u, z, byZ);
    Store(x, &batch.found[0][at]);
    Store(y, &batch.found[1][at]);
    // The whole number at or next below: on a post it may be either cell, and both have the post's height.
    const V cellX = (x - 0.5 + kRounding) - kRounding;
    const V cellY = (y - 0.5 + kRounding) - kRounding;
    const auto stride = static_cast<double>(tile.GetStride());
    const V number = (cellY - double(tile.GetFirstRow())) * stride + (cellX - double(tile.GetFirstColumn()));
    const V cell = number + kRounding;
    Store(V(x - cellX), &arrays.x[at]);
    Store(V(y - cellY), &arrays.y[at]);
    Store(z, &arrays.z[at]);
    Store(byX, &arrays.byX[at]);
    Store(byY, &arrays.byY[at]);
    Store(byZ, &arrays.byZ[at]);
    std::memcpy(&arrays.cell[at], &cell, sizeof cell);
  }

  template <class Cells>
  [[gnu::always_inline]] void TakePosts(std::size_t line, TStepArrays& arrays) const {
    std::int64_t zero;
    rpc::BitsOf(kRounding, zero);
    const auto cell = static_cast<std::size_t>(arrays.cell[line] - zero);
    const std::size_t count = std::size_t(tile.GetRows() - 1) * tile.GetStride() + tile.GetColumns();
    // Whatever the numbers are, memory outside of the tile is not read.
    Cells::Take(tile.GetPost(0, 0) + (cell < count ? cell : 0), tile.GetStride(), line, arrays);
  }

  /// One step of the lines from `at`. \param sure no line is asked whether it is solved, and all go on.
  /// \return whether one may not be solved yet
  template <int Width, class Cells>
  [[gnu::always_inline]] bool Step(std::size_t at, bool sure, const TStepArrays& arrays) const {
    using V = TVectorOf<Width>;
    V u, x, y, z, byX, byY, byZ;
    simd::Load(&batch.u[at], u);
    simd::Load(&arrays.x[at], x);
    simd::Load(&arrays.y[at], y);
    simd::Load(&arrays.z[at], z);
    simd::Load(&arrays.byX[at], byX);
    simd::Load(&arrays.byY[at], byY);
    simd::Load(&arrays.byZ[at], byZ);
    THeights<V> heights;
    Cells::Evaluate(arrays, at, x, y, heights);
    const V miss = z - heights.h;
    const V inverse = 1.0 / (byZ - heights.byX * byX - heights.byY * byY);
    const V step = miss * inverse;
    // The second order of a bilinear cell, whose heights bend along the line by twice byXY byX byY.
    V next = u - step * (1.0 - step * (heights.byXY * byX * byY * inverse));
    // Within the reach: the mean of two distances, for numbers without comparisons.
    V reach, low, high;
    simd::Load(&batch.reach[at], reach);
    Absolute(V(next + reach), low);
    Absolute(V(next - reach), high);
    next = 0.5 * (low - high);
    Store(miss, &batch.miss[at]);
    if (sure) {
      Store(next, &batch.u[at]);
      return true;
    }
    rpc::TFlags<V> close;
    rpc::FlagWithin(miss, tolerance, close);
    rpc::AssignWhere(close, u, next);
    Store(next, &batch.u[at]);
    return rpc::AnySet(~close);
  }
};

/// Sums the polynomials of points in s and t: the components of a term by twos.
struct TFillKernel {
  const TSightPatches& patches;
  std::size_t count;
  const TSquarePlace* places;
  TSightBatch& batch;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    switch (patches.CountLanes()) {
      case 2:
        return Fill<2>();
      case 4:
        return Fill<4>();
      default:
        return Fill<6>();
    }
  }

 private:
  using TPair = TVectorOf<2>;

  /// Two components of one point: by power of u, and what a pixel of line and sample changes.
  struct TPairTerms {
    TPair byPower[TSightBatch::kPowers];
    TPair byLine, bySample;
  };

  template <int Lanes>
  [[gnu::always_inline]] static void SumPair(const double* terms, double s, double t, TPairTerms& pair) {
    TPair c[kSquareTerms];
    for (int term = 0; term < kSquareTerms; ++term) simd::Load(terms + std::ptrdiff_t{term} * Lanes, c[term]);
    const TPair bentS = s * c[3];
    const TPair bentT = t * c[5];
    const TPair mixed = s * c[4];
    pair.byPower[0] = c[0] + (s * (c[1] + bentS) + t * (c[2] + mixed + bentT));
    pair.byPower[1] = c[6] + (s * (c[7] + t * c[9]) + t * c[8]);
    pair.byPower[2] = c[10] + (s * c[11] + t * c[12]);
    pair.byPower[3] = c[13];
    pair.byLine = c[1] + (bentS + bentS) + t * c[4];
    pair.bySample = c[2] + (bentT + bentT) + mixed;
  }

  template <int Lanes>
  [[gnu::always_inline]] void Fill() const {
    for (std::size_t i = 0; i < count; ++i) {
      const TSquarePlace& place = places[i];
      const TSightBounds& bounds = patches.GetBounds(place.number);
      const double* const terms = patches.GetTerms(place.number);
      TPairTerms pair;
      SumPair<Lanes>(terms, place.s, place.t, pair);
      batch.middle[i] = bounds.GetMiddle();
      batch.reach[i] = bounds.GetReach();
      batch.u[i] = bounds.start - bounds.GetMiddle() + (place.s * bounds.startByLine + place.t * bounds.startBySample);
      for (int power = 0; power < TSightBatch::kPowers; ++power) {
        batch.column[power][i] = pair.byPower[power][0];
        batch.row[power][i] = pair.byPower[power][1];
      }
      if constexpr (Lanes > 2) {
        TPairTerms other;
        SumPair<Lanes>(terms + 2, place.s, place.t, other);
        for (int power = 0; power < TSightBatch::kPowers; ++power) batch.clearance[power][i] = other.byPower[power][0];
      } else {
        batch.clearance[0][i] = patches.GetHeight(bounds.GetMiddle());
        batch.clearance[1][i] = patches.GetHalf();
        batch.clearance[2][i] = batch.clearance[3][i] = 0.0;
      }
      if constexpr (Lanes > 4) {
        SumPair<Lanes>(terms + 4, place.s, place.t, pair);
        for (int power = 0; power < TSightBatch::kPowers; ++power) {
          batch.place[0][power][i] = pair.byPower[power][0];
          batch.place[1][power][i] = pair.byPower[power][1];
        }
      }
      const TPair byLine = pair.byLine * patches.GetPerLine();
      const TPair bySample = pair.bySample * patches.GetPerSample();
      for (int k = 0; k < 2; ++k) {
        batch.byLine[k][i] = byLine[k];
        batch.bySample[k][i] = bySample[k];
      }
    }
  }
};

}  // namespace

void FillBatch(const TSightPatches& patches, std::size_t count, const TSquarePlace* places, TSightBatch* batch) {
  batch->count = count;
  simd::Dispatch(TFillKernel{patches, count, places, *batch});
}

void SolveSingleCrossings(const THeightTile& tile, bool bicubic, double tolerance, TSightBatch* batch) {
  simd::Dispatch(TNewtonKernel{tile, bicubic, tolerance, *batch});
}

}  // namespace SatCommonUtils::terrain
