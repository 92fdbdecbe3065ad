#pragma once
// Many points seen by the same images: starts and iterations of blocks of them.

#include <algorithm>
#include <cstddef>
#include <typeinfo>
#include <vector>

#include "rpc/image_to_ground.h"
#include "rpc/intersection/intersection_start.h"
#include "rpc/projection_kernel.h"

namespace SatCommonUtils::rpc {

/// Reads lanes of `from` that begin at `i`; the last of `count` elements stands in for those behind it.
template <class T>
[[gnu::always_inline]] inline void ReadUpTo(const double* from, std::size_t i, std::size_t count, T& x) {
  constexpr std::size_t kLanes = sizeof(T) / sizeof(double);
  if (i + kLanes <= count) {
    ReadLanes(from + i, x);
  } else {
    double lanes[kLanes];
    for (std::size_t lane = 0; lane < kLanes; ++lane) lanes[lane] = from[std::min(i + lane, count - 1)];
    ReadLanes(lanes, x);
  }
}

/// The images of an array as their blocks need them. Makes the models' approximations.
class TStartImages {
 public:
  TStartImages(std::size_t images, const TRPC* const* models) {
    if (images < 2) state_ = TGroundState::TooFewImages;
    for (std::size_t image = 0; image < images; ++image) {
      if (models[image] == nullptr && images >= 2) state_ = TGroundState::NoStart;
    }
    if (state_ != TGroundState::NotRun) return;
    starts_.reserve(images);
    records_.reserve(images);
    for (std::size_t image = 0; image < images; ++image) {
      TStart start;
      start.image = image;
      const TRPC& model = *models[image];
      if (PrepareStart(model, models[0]->GetCenterLongitude(), &start)) starts_.push_back(start);
      plain_ = plain_ && typeid(model) == typeid(TRPC);
      records_.push_back(&model.GetPrepared());
    }
  }

  struct TStart : TStartImage {
    std::size_t image;  ///< its place among the images
  };
  const std::vector<TStart>& Starts() const noexcept { return starts_; }

  /// Whether every model projects as its record does.
  bool ArePlain() const noexcept { return plain_; }
  const std::vector<const TRPCPrepared*>& Records() const noexcept { return records_; }

  /// Why no point has a start, or `NotRun`.
  template <THeight Height>
  TGroundState State() const {
    if (state_ != TGroundState::NotRun) return state_;
    const std::size_t equations = 2 * starts_.size() + (Height == THeight::Observed ? 1 : 0);
    return equations < kUnknowns<Height> ? TGroundState::NoStart : TGroundState::NotRun;
  }

 private:
  std::vector<TStart> starts_;
  std::vector<const TRPCPrepared*> records_;
  bool plain_ = true;
  TGroundState state_ = TGroundState::NotRun;
};

/// Starts of the `count` points of a block from `first` on, whose heights are in `block->height`.
template <THeight Height>
struct TStartBlock {
  static constexpr int N = kUnknowns<Height>;
  const TStartImages& images;
  const TImageArrays& points;
  std::size_t first, count;
  double (&heights)[kLaneBlock];
  double (&variances)[kLaneBlock];
  double (&ground)[3][kLaneBlock];

  template <class T>
  [[gnu::always_inline]] void Over() const {
    for (std::size_t i = 0; i < count; i += sizeof(T) / sizeof(double)) {
      TNormalEquations<N, T> equations;
      T height, variance, line, sample, start[N];
      ReadLanes(heights + i, height);
      for (const TStartImages::TStart& image : images.Starts()) {
        ReadUpTo(points.line[image.image] + first, i, count, line);
        ReadUpTo(points.sample[image.image] + first, i, count, sample);
        AddStartImage<Height>(image, line, sample, height, equations);
      }
      if constexpr (Height == THeight::Observed) {
        ReadLanes(variances + i, variance);
        equations.AddLast(height, T(1.0 / variance));
      }
      SolveStart(equations, start);
      WriteLanes(height, ground[2] + i);
      for (int c = 0; c < N; ++c) WriteLanes(start[c], ground[c] + i);
    }
  }
};

/// One image of a block of points: its measured places.
struct TMeasuredColumn {
  const double* values;        ///< of the block's points
  const std::size_t* indices;  ///< places in the block of the points under way; null when these are the block
  std::size_t count;           ///< points in the block

  template <class T>
  [[gnu::always_inline]] void Read(std::size_t i, T& x) const {
    if (indices == nullptr) return ReadUpTo(values, i, count, x);
    double lanes[sizeof(T) / sizeof(double)];
    for (std::size_t lane = 0; lane < sizeof(T) / sizeof(double); ++lane) lanes[lane] = values[indices[i + lane]];
    ReadLanes(lanes, x);
  }
};

/// Rare, so apart from the kernels, which have room for little else in the processor's caches of instructions.
[[gnu::noinline]] inline void TurnEach(double center, std::size_t count, double* lon) {
  for (std::size_t i = 0; i < count; ++i) lon[i] = LongitudeInTurn(center, lon[i]);
}

/// Longitudes in the turn of the model, as `LongitudeInTurn` gives them.
template <class T>
[[gnu::always_inline]] inline void TurnLongitudes(double center, const T& lon, T& turned) {
  constexpr double kSurelyNear = 179.9;
  TFlags<T> near;
  FlagWithin(T(lon - center), kSurelyNear, near);
  turned = lon + 0.0;  // no turn is a turn of 0 degrees
  if (!AnySet(TFlags<T>(~near))) return;
  double lanes[sizeof(T) / sizeof(double)];
  WriteLanes(lon, lanes);
  TurnEach(center, sizeof(T) / sizeof(double), lanes);
  ReadLanes(lanes, turned);
}

/// A step of points whose models project as their records do: projections and equations of one vector after the other.
/// The solutions follow in a pass of their own: each is a chain of divisions and roots, and so those of several vectors
/// run beside each other.
template <THeight Height>
struct TPlainSteps {
  static constexpr int N = kUnknowns<Height>;
  const std::vector<const TRPCPrepared*>& records;
  const TImageArrays& arrays;
  std::size_t first, blockCount, count;
  TPointsUnderWay<Height>& points;

  template <class T>
  [[gnu::always_inline]] void Over() const {
    constexpr std::size_t kLanes = sizeof(T) / sizeof(double);
    T next[3];
    NormalizeGround(0, 0, next);
    for (std::size_t i = 0; i < count; i += kLanes) {
      TNormalEquations<N, T> equations;
      for (std::size_t image = 0; image < arrays.images; ++image) {
        const T P = next[0], L = next[1], H = next[2];
        // One image ahead: the polynomials would wait for these divisions, and these behind those of the quotients.
        const bool last = image + 1 == arrays.images;
        NormalizeGround(last ? 0 : image + 1, last ? std::min(i + kLanes, count - kLanes) : i, next);
        Add(image, i, P, L, H, equations);
      }
      WriteEquations(equations, i, points);
    }
    TTakeSteps<Height>{points, count}.template Over<T>();
  }

 private:
  template <class T>
  [[gnu::always_inline]] void NormalizeGround(std::size_t image, std::size_t i, T (&normalized)[3]) const {
    const TRPCNormalization& axes = records[image]->normalization;
    T lat, lon, h, turned;
    ReadLanes(points.ground[0] + i, lat);
    ReadLanes(points.ground[1] + i, lon);
    ReadLanes(points.ground[2] + i, h);
    TurnLongitudes(axes.longitude.GetOffset(), lon, turned);
    Normalize(axes.latitude, lat, normalized[0]);
    Normalize(axes.longitude, turned, normalized[1]);
    Normalize(axes.height, h, normalized[2]);
  }

  template <class T>
  [[gnu::always_inline]] void Add(std::size_t image, std::size_t i, const T& P, const T& L, const T& H,
                                  TNormalEquations<N, T>& equations) const {
    const TRPCPrepared& model = *records[image];
    const TRPCNormalization& axes = model.normalization;
    TPolynomials<T> q;
    EvaluatePolynomials<true>(model, P, L, H, q);
    T lineN, sampleN, line, sample, measuredLine, measuredSample;
    Quotients(q.value, lineN, sampleN);
    Denormalize(axes.line, lineN, line);
    Denormalize(axes.sample, sampleN, sample);
    const double scales[3] = {axes.latitude.GetScale(), axes.longitude.GetScale(), axes.height.GetScale()};
    T lineRow[N], sampleRow[N];
    for (int c = 0; c < N; ++c) {
      T dLine, dSample;
      QuotientDerivatives(q.value, q.byVariable[c], dLine, dSample);
      lineRow[c] = dLine * axes.line.GetScale() / scales[c];
      sampleRow[c] = dSample * axes.sample.GetScale() / scales[c];
    }
    const std::size_t* const indices = points.whole ? nullptr : points.index;
    TMeasuredColumn{arrays.line[image] + first, indices, blockCount}.Read(i, measuredLine);
    TMeasuredColumn{arrays.sample[image] + first, indices, blockCount}.Read(i, measuredSample);
    equations.Add(sampleRow, measuredSample - sample);
    equations.Add(lineRow, measuredLine - line);
  }
};

/// The same through the virtual projection, which takes whole blocks.
template <THeight Height>
void TakeVirtualSteps(const TImageArrays& arrays, std::size_t first, std::size_t count,
                      TPointsUnderWay<Height>& points) {
  double* const dLine[3] = {points.dLine[0], points.dLine[1], points.dLine[2]};
  double* const dSample[3] = {points.dSample[0], points.dSample[1], points.dSample[2]};
  for (std::size_t image = 0; image < arrays.images; ++image) {
    arrays.models[image]->CalculateLineSampleArray(count, points.ground[0], points.ground[1], points.ground[2],
                                                   points.line, points.sample, dLine, dSample);
    for (std::size_t i = 0; i < count; ++i) {
      points.measuredLine[i] = arrays.line[image][first + points.index[i]];
      points.measuredSample[i] = arrays.sample[image][first + points.index[i]];
    }
    RunOver(TAddImage<Height>{points, count, image == 0});
  }
  RunOver(TTakeSteps<Height>{points, count});
}

/// The whole way of points `first` .. `first` + `count` - 1, at most a block of them, whose heights are in the block.
template <THeight Height>
void IntersectBlock(const TStartImages& images, const TImageArrays& points, std::size_t first, std::size_t count,
                    TIntersectionBlock<Height>* block) {
  block->count = count;
  const TGroundState state = images.State<Height>();
  for (std::size_t i = 0; i < count; ++i) block->status[i] = {state, 0};
  if (state != TGroundState::NotRun) return;
  for (std::size_t i = count; i < kLaneBlock; ++i) {
    block->height[i] = block->height[count - 1];
    block->variance[i] = block->variance[count - 1];
  }
  RunOver(TStartBlock<Height>{images, points, first, count, block->height, block->variance, block->ground});
  block->Solve([&](std::size_t places, TPointsUnderWay<Height>& underWay) {
    if (images.ArePlain()) {
      RunOver(TPlainSteps<Height>{images.Records(), points, first, count, places, underWay});
    } else {
      TakeVirtualSteps<Height>(points, first, places, underWay);
    }
  });
}

}  // namespace SatCommonUtils::rpc
