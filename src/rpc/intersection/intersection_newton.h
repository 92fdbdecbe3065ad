#pragma once
// Ground points from several images by the shortest way: Newton's iteration in the normalised coordinates of the first
// image, for one point or for a block of points that the same images see, with residuals, covariance and the proof.
//
// It is for points in the boxes of all models where there is neither pole nor fold. Whatever cannot be proven is left
// to the plain iteration and the damped steps.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "rpc/blocks.h"
#include "rpc/linearized_point.h"

namespace SatCommonUtils::rpc {

/// One image as its points need it; P, L and H are normalised by the first image's model.
struct TNewtonImage {
  const TRPC* derived;              ///< the model where it does not project as its record does; else null
  const double* terms;              ///< rows of coefficients as in `TRPCPrepared`
  double factor[3], shift[3];       ///< from P, L, H to the model's own normalised coordinates
  double start[2][2][4];            ///< first-order approximation: of line and sample numerator and denominator by
                                    ///< P, L, H, 1; pixels
  double offset[2], reciprocal[2];  ///< of line and sample, and 1 / their scales
  double scale[2];                  ///< of line and sample
  double denominator[2][3];         ///< their denominators' slopes at the centre by P, L, H, those there being 1
  double aimed[2];                  ///< pixels of the numerators at the centre
  double boxOffset[2], boxReciprocal[2];  ///< of the image's raster, or else of the model's box
  double freeGround, freeHeight;          ///< the box without pole and fold
  bool margin;                            ///< there is one
};

/// The images of a point, or of many.
class TNewtonImages {
 public:
  /// Makes the models' approximations. \param models may hold null.
  TNewtonImages(std::size_t count, const TRPC* const* models);

  /// Whether this way can be tried with them.
  bool AreFit() const noexcept { return fit_; }
  const std::vector<TNewtonImage>& All() const noexcept { return images_; }
  /// Whether an image's model does not project as its record does.
  bool HaveDerived() const noexcept { return derived_; }
  /// Whether an image has a margin.
  bool HaveMargins() const noexcept { return margins_; }
  /// The first image's normalisations.
  const TRPCPrepared& Reference() const noexcept { return *reference_; }

 private:
  bool Prepare(const TRPC& model, TNewtonImage* image) const;

  std::vector<TNewtonImage> images_;
  const TRPCPrepared* reference_ = nullptr;
  bool fit_ = false, derived_ = false, margins_ = false;
};

// What is known of a point, as bits.
constexpr std::int64_t kNewtonProven = 1;    ///< a minimum in the boxes without pole and fold, on the globe
constexpr std::int64_t kNewtonInImage = 2;   ///< inside all rasters, or models' ranges of line and sample,
constexpr std::int64_t kNewtonInGround = 4;  ///< ... of latitude and longitude,
constexpr std::int64_t kNewtonInHeight = 8;  ///< ... of heights; these hold
constexpr std::int64_t kNewtonSure = 16;     ///< where no coordinate lies on a border, up to rounding

/// At most `Capacity` points: what is given, what is found, and what is needed on the way.
template <THeight Height, std::size_t Capacity>
struct TNewtonIntersections {
  static constexpr int N = kUnknowns<Height>;
  /// Numbers of a point for an image: what line and sample miss, measured minus projected, and their rows.
  static constexpr std::size_t kMiss = 2, kWork = kMiss + 2 * N;

  std::size_t count;       ///< points
  const double* measured;  ///< line, then sample, `Capacity` of each, image by image; some more than `count` are read
  double* work;            ///< `kWork` times `Capacity` numbers an image; the misses first: line, sample
  double variance;         ///< of the observed heights
  alignas(64) double height[Capacity];            ///< known or observed, metres
  alignas(64) double ground[3][Capacity];         ///< latitude, longitude, height: degrees, metres
  alignas(64) double covariance[N][N][Capacity];  ///< upper triangle
  alignas(64) double residual[Capacity];          ///< root mean square over the images, pixels
  alignas(64) std::int64_t marks[Capacity], evaluations[Capacity];
  alignas(64) double at[3][Capacity], matrix[N][N][Capacity], right[N][Capacity];  ///< on the way
  alignas(64) double lastStep[Capacity];                                           ///< the one before, squared
  alignas(64) double unused[Capacity];                                             ///< derivatives nobody asks for
  alignas(64) std::int64_t open[Capacity];                                         ///< on the way: not proven yet
};

/// Points of a block; the last vectors of `measured` and `height` may be filled up with anything.
template <THeight Height>
using TNewtonIntersectionBlock = TNewtonIntersections<Height, kLaneBlock>;
template <THeight Height>
void IntersectNewton(const TNewtonImages& images, TNewtonIntersectionBlock<Height>* block);

/// One point: the bits of the same point in any block.
template <THeight Height>
using TNewtonIntersection = TNewtonIntersections<Height, 1>;
template <THeight Height>
void IntersectNewton(const TNewtonImages& images, TNewtonIntersection<Height>* point);

}  // namespace SatCommonUtils::rpc
