#pragma once
// Many points seen by the same images: starts and iterations of blocks of them.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "rpc/image_to_ground.h"
#include "rpc/intersection_start.h"

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

/// The images of an array as the starts need them. Makes the models' approximations.
class TStartImages {
 public:
  TStartImages(std::size_t images, const TRPC* const* models) {
    if (images < 2) state_ = TGroundState::TooFewImages;
    for (std::size_t image = 0; image < images; ++image) {
      if (models[image] == nullptr && images >= 2) state_ = TGroundState::NoStart;
    }
    if (state_ != TGroundState::NotRun) return;
    starts_.reserve(images);
    for (std::size_t image = 0; image < images; ++image) {
      TStart start;
      start.image = image;
      if (PrepareStart(*models[image], models[0]->GetCenterLongitude(), &start)) starts_.push_back(start);
    }
  }

  struct TStart : TStartImage {
    std::size_t image;  ///< its place among the images
  };
  const std::vector<TStart>& Starts() const noexcept { return starts_; }

  /// Why no point has a start, or `NotRun`.
  template <THeight Height>
  TGroundState State() const {
    if (state_ != TGroundState::NotRun) return state_;
    const std::size_t equations = 2 * starts_.size() + (Height == THeight::Observed ? 1 : 0);
    return equations < kUnknowns<Height> ? TGroundState::NoStart : TGroundState::NotRun;
  }

 private:
  std::vector<TStart> starts_;
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
  block->Solve(
      points.images,
      [&](std::size_t image, std::size_t places, const double* lat, const double* lon, const double* h, double* line,
          double* sample, double* const* dLine, double* const* dSample) {
        points.models[image]->CalculateLineSampleArray(places, lat, lon, h, line, sample, dLine, dSample);
      },
      [&](std::size_t image, const std::size_t* indices, std::size_t places, double* line, double* sample) {
        const double* const lines = points.line[image] + first;
        const double* const samples = points.sample[image] + first;
        for (std::size_t i = 0; i < places; ++i) {
          line[i] = lines[indices[i]];
          sample[i] = samples[indices[i]];
        }
      });
}

}  // namespace SatCommonUtils::rpc
