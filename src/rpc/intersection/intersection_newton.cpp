// Newton's iteration for ground points from several images.
//
// The start is the least-squares point of the models' first-order approximations, some thousandths of the box off. The
// first step leaves some millionths: it takes numerator minus measured place times denominator, one cubic each of line
// and sample, so that no quotient has to be derived. The second evaluates the projections themselves. It leaves less
// than rounding where it is short, and so its equations are those at the solution: they give the covariance, and
// residuals that need no other evaluation. A step that is not short enough is followed by another of that kind.
//
// Every lane keeps the place at which its last equations were set up, so that it comes to the same end while its
// neighbours go on: a point's bits do not depend on them. Source: elementary.

#include "rpc/intersection/intersection_newton.h"

#include <cmath>

#include "rpc/height_slice.h"
#include "rpc/intersection/cubic_slopes.h"
#include "rpc/intersection/factored_system.h"
#include "rpc/intersection/intersection_kernel.h"
#include "rpc/lanes.h"

namespace SatCommonUtils::rpc {

namespace {

constexpr int kMostEvaluations = 5;
/// What is left behind a step is its curvature, at most some hundredths, times the step, times the step and the
/// residuals: normalised, this much at most.
constexpr double kProven = 4e-10;
/// Where curvatures are larger or the images disagree badly, steps shrink slowly; what is left is less than the step
/// times its ratio to the one before.
constexpr double kShrunk = 5e-10;
/// Ranges end at 1; whoever lies this near to a border is to be measured exactly.
constexpr double kBorder = 1e-9;

/// Line (0) or sample (1) of a model: its numerator and denominator.
struct TQuotient {
  TOnePolynomial num, den;
};
[[gnu::always_inline]] inline TQuotient QuotientOf(const TNewtonImage& image, int coordinate) {
  return {{image.terms + 2 * coordinate}, {image.terms + 2 * coordinate + 1}};
}

template <THeight Height, std::size_t Capacity>
struct TNewtonKernel {
  using TPoints = TNewtonIntersections<Height, Capacity>;
  static constexpr int N = kUnknowns<Height>;
  static constexpr bool kByHeight = Height != THeight::Known;

  const TNewtonImages& images;
  TPoints& points;

  template <class T>
  [[gnu::always_inline]] void Over() const {
    constexpr std::size_t kLanes = kLaneCount<T>;
    const std::size_t count = points.count;
    for (std::size_t i = 0; i < count; i += kLanes) Begin<T>(i);
    for (std::size_t i = 0; i < count; i += kLanes) Place<T>(i);
    if (images.HaveDerived()) ProjectDerived<T>();
    for (std::size_t i = 0; i < count; i += kLanes) Aim<T>(i);
    for (std::size_t i = 0; i < count; i += kLanes) Move<T>(i);
    for (int more = kMostEvaluations - 1; more > 0; --more) {
      const bool all = images.HaveDerived();  // whose projections take all points of the block
      if (all) ProjectDerived<T>();
      for (std::size_t i = 0; i < count; i += kLanes) {
        if (all || IsOpen<T>(i)) Project<T>(i);
      }
      bool any = false;
      for (std::size_t i = 0; i < count; i += kLanes) {
        if (!all && !IsOpen<T>(i)) continue;
        End<T>(i);
        any = any || IsOpen<T>(i);
      }
      if (!any) return;
    }
  }

 private:
  template <class T>
  [[gnu::always_inline]] bool IsOpen(std::size_t i) const {
    std::int64_t any = 0;
    for (std::size_t lane = 0; lane < kLaneCount<T>; ++lane) any |= points.open[i + lane];
    return any != 0;
  }

  template <class T>
  [[gnu::always_inline]] void Measured(std::size_t image, int coordinate, std::size_t i, T& x) const {
    ReadLanes(points.measured + (2 * image + static_cast<std::size_t>(coordinate)) * Capacity + i, x);
  }

  /// What is given about the heights, normalised.
  template <class T>
  [[gnu::always_inline]] void GivenHeight(std::size_t i, T& H) const {
    const TRPCPrepared& reference = images.Reference();
    T h;
    ReadLanes(points.height + i, h);
    H = (h - reference.normalization.height.GetOffset()) * reference.reciprocal.height;
  }

  template <class T>
  [[gnu::always_inline]] void AddHeight(const T& missN, TNormalEquations<N, T>& equations) const {
    const double scale = images.Reference().normalization.height.GetScale();
    equations.AddLast(missN, T{} + scale * scale / points.variance);
  }

  template <class T>
  [[gnu::always_inline]] void LoadFactored(std::size_t i, TFactored<N, T>& factored, T (&x)[N]) const {
    TNormalEquations<N, T> equations;
    ReadEquations(points, i, equations);
    Factor(equations, factored);
    Substitute(factored, equations.right, x);
  }

  template <class T>
  [[gnu::always_inline]] void LoadPlace(std::size_t i, T (&ground)[3]) const {
#pragma GCC unroll 3
    for (int c = 0; c < 3; ++c) ReadLanes(points.at[c] + i, ground[c]);
  }

  /// The equations of the first-order approximations.
  template <class T>
  [[gnu::always_inline]] void Begin(std::size_t i) const {
    TNormalEquations<N, T> equations;
    T H;
    GivenHeight(i, H);
    for (std::size_t m = 0; m < images.All().size(); ++m) {
#pragma GCC unroll 2
      for (int k = 0; k < 2; ++k) {
        const double(&num)[4] = images.All()[m].start[k][0];
        const double(&den)[4] = images.All()[m].start[k][1];
        T measured, row[N];
        Measured(m, k, i, measured);
        T rest = measured * den[3] - num[3];
        if constexpr (!kByHeight) rest = rest + (measured * den[2] - num[2]) * H;
#pragma GCC unroll 3
        for (int c = 0; c < N; ++c) row[c] = num[c] - measured * den[c];
        equations.Add(row, rest);
      }
    }
    if constexpr (Height == THeight::Observed) AddHeight(H, equations);
    WriteEquations(equations, i, points);
    WriteLanes(H, points.at[2] + i);
  }

  template <class T>
  [[gnu::always_inline]] void Place(std::size_t i) const {
    TFactored<N, T> factored;
    T x[N];
    LoadFactored(i, factored, x);
#pragma GCC unroll 3
    for (int c = 0; c < N; ++c) WriteLanes(x[c], points.at[c] + i);
    WriteLanes(TFlags<T>(~TFlags<T>{}), points.open + i);
    WriteLanes(TFlags<T>(TFlags<T>{} + 1), points.evaluations + i);
    WriteLanes(TFlags<T>{}, points.marks + i);
  }

  template <class T>
  [[gnu::always_inline]] static void OwnGround(const TNewtonImage& image, const T (&ground)[3], T (&own)[3]) {
#pragma GCC unroll 3
    for (int c = 0; c < 3; ++c) own[c] = ground[c] * image.factor[c] + image.shift[c];
  }

  template <class T>
  [[gnu::always_inline]] void AddObservedHeight(std::size_t i, const T& H, TNormalEquations<N, T>& equations) const {
    if constexpr (Height == THeight::Observed) {
      T given;
      GivenHeight(i, given);
      AddHeight(T(given - H), equations);
    }
  }

  [[gnu::always_inline]] double* Work(std::size_t image, std::size_t kind, std::size_t i) const {
    return points.work + (image * TPoints::kWork + kind) * Capacity + i;
  }
  [[gnu::always_inline]] static std::size_t RowOf(int coordinate, int unknown) {
    return TPoints::kMiss + static_cast<std::size_t>(coordinate * N + unknown);
  }

  /// Projections through the models' virtual functions: lines, samples and their derivatives in degrees and metres
  /// stand in the places of misses and rows.
  template <class T>
  void ProjectDerived() const {
    constexpr std::size_t kLanes = kLaneCount<T>;
    const TRPCNormalization& axes = images.Reference().normalization;
    const std::size_t filled = (points.count + kLanes - 1) / kLanes * kLanes;
    double(&ground)[3][Capacity] = points.ground;
    for (std::size_t i = 0; i < filled; ++i) {
      Denormalize(axes.latitude, points.at[0][i], ground[0][i]);
      Denormalize(axes.longitude, points.at[1][i], ground[1][i]);
      Denormalize(axes.height, points.at[2][i], ground[2][i]);
      if (!kByHeight) ground[2][i] = points.height[i];
    }
    for (std::size_t m = 0; m < images.All().size(); ++m) {
      const TRPC* const model = images.All()[m].derived;
      if (model == nullptr) continue;
      double* by[2][3];
      for (int k = 0; k < 2; ++k) {
        for (int c = 0; c < 3; ++c) by[k][c] = c < N ? Work(m, RowOf(k, c), 0) : points.unused;
      }
      if constexpr (Capacity == 1) {
        double dLine[3], dSample[3];
        model->CalculateLineSample(ground[0][0], ground[1][0], ground[2][0], Work(m, 0, 0), Work(m, 1, 0), dLine,
                                   dSample);
        for (int c = 0; c < N; ++c) {
          *by[0][c] = dLine[c];
          *by[1][c] = dSample[c];
        }
      } else {
        model->CalculateLineSampleArray(filled, ground[0], ground[1], ground[2], Work(m, 0, 0), Work(m, 1, 0), by[0],
                                        by[1]);
      }
    }
  }

  /// Adds the equations of an image that has been projected so, and leaves misses and rows in their places.
  template <class T>
  [[gnu::always_inline]] void AddDerived(std::size_t m, std::size_t i, TNormalEquations<N, T>& equations) const {
    const TRPCNormalization& axes = images.Reference().normalization;
    const double scales[3] = {axes.latitude.GetScale(), axes.longitude.GetScale(), axes.height.GetScale()};
    for (int k = 0; k < 2; ++k) {
      T measured, projected, row[N];
      double* const miss = Work(m, static_cast<std::size_t>(k), i);
      Measured(m, k, i, measured);
      ReadLanes(miss, projected);
      WriteLanes(T(measured - projected), miss);
#pragma GCC unroll 3
      for (int c = 0; c < N; ++c) {
        double* const kept = Work(m, RowOf(k, c), i);
        ReadLanes(kept, row[c]);
        row[c] = row[c] * scales[c];
        WriteLanes(row[c], kept);
      }
      equations.Add(row, T(measured - projected));
    }
  }

  /// The equations of the aimed cubics.
  template <class T>
  [[gnu::always_inline]] void Aim(std::size_t i) const {
    TNormalEquations<N, T> equations;
    T ground[3];
    LoadPlace(i, ground);
    for (std::size_t m = 0; m < images.All().size(); ++m) {
      const TNewtonImage& image = images.All()[m];
      if (image.derived != nullptr) {
        AddDerived(m, i, equations);
        continue;
      }
      T own[3];
      OwnGround(image, ground, own);
#pragma GCC unroll 1
      for (int k = 0; k < 2; ++k) {
        T measured, row[N];
        Measured(m, k, i, measured);
        const T target = (measured - image.offset[k]) * image.reciprocal[k];
        const TQuotient quotient = QuotientOf(image, k);
        TCubicSlopes<T> f;
        T aimed[kRPCTermCount];  // coefficients of numerator - target * denominator
#pragma GCC unroll 20
        for (int term = 0; term < kRPCTermCount; ++term) aimed[term] = quotient.num[term] - target * quotient.den[term];
        SlopesOfCubic<kByHeight>(aimed, own[0], own[1], own[2], f);
        const double(&slope)[3] = image.denominator[k];
        const T more = own[0] * slope[0] + own[1] * slope[1] + own[2] * slope[2];
        const T reciprocal = 1.0 - more * (1.0 - more);
        const T value = f.value * reciprocal, pixels = reciprocal * image.aimed[k];
#pragma GCC unroll 3
        for (int c = 0; c < N; ++c) row[c] = (f.by[c] - value * slope[c]) * pixels * image.factor[c];
        equations.Add(row, T(value * -image.aimed[k]));
      }
    }
    AddObservedHeight(i, ground[2], equations);
    WriteEquations(equations, i, points);
  }

  template <class T>
  [[gnu::always_inline]] void Move(std::size_t i) const {
    TFactored<N, T> factored;
    T x[N], ground[3];
    LoadFactored(i, factored, x);
    LoadPlace(i, ground);
    T squared = {};
#pragma GCC unroll 3
    for (int c = 0; c < N; ++c) {
      WriteLanes(T(ground[c] + x[c]), points.at[c] + i);
      squared = squared + x[c] * x[c];
    }
    WriteLanes(squared, points.lastStep + i);
  }

  /// The equations of the projections; misses and rows are kept.
  template <class T>
  [[gnu::always_inline]] void Project(std::size_t i) const {
    TNormalEquations<N, T> equations;
    T ground[3];
    LoadPlace(i, ground);
    for (std::size_t m = 0; m < images.All().size(); ++m) {
      const TNewtonImage& image = images.All()[m];
      if (image.derived != nullptr) {
        AddDerived(m, i, equations);
        continue;
      }
      T own[3];
      OwnGround(image, ground, own);
#pragma GCC unroll 1
      for (int k = 0; k < 2; ++k) {
        const TQuotient quotient = QuotientOf(image, k);
        TCubicSlopes<T> num, den;
        SlopesOfCubic<kByHeight>(quotient.den, own[0], own[1], own[2], den);
        const T reciprocal = 1.0 / den.value;
        SlopesOfCubic<kByHeight>(quotient.num, own[0], own[1], own[2], num);
        const T value = num.value * reciprocal;
        const T pixels = reciprocal * image.scale[k];
        T measured, row[N];
        Measured(m, k, i, measured);
        const T miss = (measured - image.offset[k]) - value * image.scale[k];
        WriteLanes(miss, Work(m, static_cast<std::size_t>(k), i));
#pragma GCC unroll 3
        for (int c = 0; c < N; ++c) {
          row[c] = (num.by[c] - value * den.by[c]) * pixels * image.factor[c];
          WriteLanes(row[c], Work(m, RowOf(k, c), i));
        }
        equations.Add(row, miss);
      }
    }
    AddObservedHeight(i, ground[2], equations);
    WriteEquations(equations, i, points);
  }

  /// The last step, or one that needs another behind it: what there is to know of the point at its end.
  template <class T>
  [[gnu::always_inline]] void End(std::size_t i) const {
    TFactored<N, T> factored;
    T x[N], at[3], ground[3];
    LoadFactored(i, factored, x);
    LoadPlace(i, at);
    T squares, lastSquared, stepSquared = {};
    SumSquares(i, squares);
    ReadLanes(points.lastStep + i, lastSquared);
    ground[2] = at[2];
#pragma GCC unroll 3
    for (int c = 0; c < N; ++c) {
      ground[c] = at[c] + x[c];
      stepSquared = stepSquared + x[c] * x[c];
    }
    const double line = images.All()[0].scale[0], parts = 1.0 / (line * line);
    TFlags<T> open, proven, shrinking, evaluations;
    FlagWithin(T(stepSquared * (stepSquared + squares * parts)), kProven * kProven, proven);
    BitsOf(T(kShrunk * kShrunk * lastSquared - stepSquared * stepSquared), shrinking);
    proven = proven & ~(shrinking >> 63);
    ReadFlags(points.open + i, open);
    ReadFlags(points.evaluations + i, evaluations);
    WriteLanes(TFlags<T>(evaluations - open), points.evaluations + i);  // a flag that is set is -1
    open = ~proven;
    WriteLanes(open, points.open + i);
    AssignWhere(open, stepSquared, lastSquared);
    WriteLanes(lastSquared, points.lastStep + i);
#pragma GCC unroll 3
    for (int c = 0; c < N; ++c) {
      AssignWhere(open, ground[c], at[c]);
      WriteLanes(at[c], points.at[c] + i);
    }
    if (!AnySet(proven)) return;
    WriteGround(i, ground, factored, proven);
    LookAtImages(i, x, ground, proven);
  }

  template <class T>
  [[gnu::always_inline]] void SumSquares(std::size_t i, T& sum) const {
    sum = T{};
    for (std::size_t m = 0; m < images.All().size(); ++m) {
#pragma GCC unroll 2
      for (std::size_t k = 0; k < 2; ++k) {
        T miss;
        ReadLanes(Work(m, k, i), miss);
        sum = sum + miss * miss;
      }
    }
  }

  /// `proven` loses the lanes off the globe and those whose equations are next to singular.
  template <class T>
  [[gnu::always_inline]] void WriteGround(std::size_t i, const T (&normalized)[3], const TFactored<N, T>& factored,
                                          TFlags<T>& proven) const {
    const TRPCNormalization& axes = images.Reference().normalization;
    const double scales[3] = {axes.latitude.GetScale(), axes.longitude.GetScale(), axes.height.GetScale()};
    T lat, lon, h, inverse[N][N];
    Denormalize(axes.latitude, normalized[0], lat);
    Denormalize(axes.longitude, normalized[1], lon);
    WriteLanes(lat, points.ground[0] + i);
    WriteLanes(lon, points.ground[1] + i);
    if constexpr (kByHeight) {
      Denormalize(axes.height, normalized[2], h);
    } else {
      ReadLanes(points.height + i, h);  // as it was given
    }
    WriteLanes(h, points.ground[2] + i);
    TFlags<T> onGlobe, inTurn;
    FlagWithin(lat, 90.0, onGlobe);
    FlagWithin(lon, 540.0, inTurn);
    proven = proven & factored.sound & onGlobe & inTurn;
    Invert(factored, inverse);
#pragma GCC unroll 3
    for (int r = 0; r < N; ++r) {
#pragma GCC unroll 3
      for (int c = r; c < N; ++c) WriteLanes(T(inverse[r][c] * (scales[r] * scales[c])), points.covariance[r][c] + i);
    }
  }

  /// Residuals behind the step `x` and what the point lies outside of.
  template <class T>
  [[gnu::always_inline]] void LookAtImages(std::size_t i, const T (&x)[N], const T (&ground)[3],
                                           TFlags<T>& proven) const {
    TFlags<T> sure = ~TFlags<T>{}, inImage = sure, inGround = sure, inHeight = sure;
    T squares = {};
    for (std::size_t m = 0; m < images.All().size(); ++m) {
      const TNewtonImage& image = images.All()[m];
      T own[3], place[2];
#pragma GCC unroll 2
      for (int k = 0; k < 2; ++k) {
        T miss, row;
        double* const kept = Work(m, static_cast<std::size_t>(k), i);
        ReadLanes(kept, miss);
#pragma GCC unroll 3
        for (int c = 0; c < N; ++c) {
          ReadLanes(Work(m, RowOf(k, c), i), row);
          miss = miss - row * x[c];
        }
        WriteLanes(miss, kept);
        squares = squares + miss * miss;
        Measured(m, k, i, place[k]);
        place[k] = (place[k] - image.boxOffset[k]) * image.boxReciprocal[k];
      }
      OwnGround(image, ground, own);
      TFlags<T> freeHeight;
      FlagBoth(own[0], own[1], image.freeGround, proven);
      FlagWithin(own[2], image.freeHeight, freeHeight);
      proven = proven & freeHeight;
      FlagRange(place[0], place[1], inImage, sure);
      FlagRange(own[0], own[1], inGround, sure);
      FlagRange(own[2], own[2], inHeight, sure);
    }
    T residual;
    Sqrt(T(squares * (1.0 / static_cast<double>(images.All().size()))), residual);
    WriteLanes(residual, points.residual + i);
    const TFlags<T> marks = (proven & kNewtonProven) | (inImage & kNewtonInImage) | (inGround & kNewtonInGround) |
                            (inHeight & kNewtonInHeight) | (sure & kNewtonSure);
    WriteLanes(marks, points.marks + i);
  }

  /// `flags` loses the lanes where one lies outside.
  template <class T>
  [[gnu::always_inline]] static void FlagBoth(const T& x, const T& y, double size, TFlags<T>& flags) {
    TFlags<T> inX, inY;
    FlagWithin(x, size, inX);
    FlagWithin(y, size, inY);
    flags = flags & inX & inY;
  }

  /// The same of the range; `sure` loses those where one may lie on its border.
  template <class T>
  [[gnu::always_inline]] static void FlagRange(const T& x, const T& y, TFlags<T>& inside, TFlags<T>& sure) {
    TFlags<T> in = ~TFlags<T>{}, nearX, nearY;
    FlagBoth(x, y, 1.0 - kBorder, in);
    FlagWithin(x, 1.0 + kBorder, nearX);
    FlagWithin(y, 1.0 + kBorder, nearY);
    sure = sure & (in | ~(nearX & nearY));
    inside = inside & in;
  }
};

}  // namespace

template <THeight Height>
void IntersectNewton(const TNewtonImages& images, TNewtonIntersectionBlock<Height>* block) {
  RunOver(TNewtonKernel<Height, kLaneBlock>{images, *block});
}

template <THeight Height>
void IntersectNewton(const TNewtonImages& images, TNewtonIntersection<Height>* point) {
  TNewtonKernel<Height, 1>{images, *point}.template Over<double>();
}

template void IntersectNewton<THeight::Known>(const TNewtonImages&, TNewtonIntersectionBlock<THeight::Known>*);
template void IntersectNewton<THeight::Free>(const TNewtonImages&, TNewtonIntersectionBlock<THeight::Free>*);
template void IntersectNewton<THeight::Observed>(const TNewtonImages&, TNewtonIntersectionBlock<THeight::Observed>*);
template void IntersectNewton<THeight::Known>(const TNewtonImages&, TNewtonIntersection<THeight::Known>*);
template void IntersectNewton<THeight::Free>(const TNewtonImages&, TNewtonIntersection<THeight::Free>*);
template void IntersectNewton<THeight::Observed>(const TNewtonImages&, TNewtonIntersection<THeight::Observed>*);

}  // namespace SatCommonUtils::rpc
