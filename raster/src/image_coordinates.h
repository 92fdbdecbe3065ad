#pragma once
// Where the pixels of a map lie in an image.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "plane_transformation.h"
#include "raster/map_frame.h"
#include "terrain/height_grid.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {

/// A rectangle of pixels.
struct PixelRect {
  int column = 0;
  int row = 0;
  int columns = 0;
  int rows = 0;

  std::size_t Count() const noexcept { return std::size_t(columns) * std::size_t(rows); }
};

/// What became of pixels of a map.
struct PixelCounts {
  std::int64_t filled = 0;
  std::int64_t outside = 0;
  std::int64_t noHeight = 0;
  std::int64_t hidden = 0;
};

/// From pixels of a map to image points: the map projection interpolated between exact points, all else exact. The same
/// bits for a pixel whatever rectangle it is asked in. Any number of threads.
class ImageCoordinates {
 public:
  /// \param model, surface, frame are kept by reference. \param width, height of the image.
  ImageCoordinates(const TMapFrame& frame, const TRPC& model, const THeightSurface& surface, int width, int height);

  /// \return false when the reference system cannot be used; `error` says why.
  bool Prepare(std::string* error);
  /// Hidden ground has no image point from now on.
  void MaskHidden();

  /// \param line, sample room for `rect.Count()`, row by row: the image point of each pixel's centre, NaN where it has
  /// no height, lies outside the image or is masked.
  void Compute(const PixelRect& rect, double* line, double* sample, PixelCounts* counts) const;

  /// Pixels of the image from one pixel of the map to the next at the image's centre, along lines and samples; 1 where
  /// that is unknown.
  void GetRatios(double* alongLines, double* alongSamples) const;

 private:
  /// Latitude and longitude; column and row of a grid of heights in a plane of its own.
  static constexpr int kChannels = 4;

  /// The channels of a rectangle, row by row, and what goes with them.
  struct Ground {
    PixelRect rect;
    std::vector<double> values[kChannels];
    bool inside = true;   ///< all of it lies in the footprint
    bool outside = true;  ///< nothing of it does
  };

  void FindChannels();
  void FindFootprint();
  void FindWeights();
  void Exact(std::size_t count, const double* column, const double* row, double* const* values) const;
  void Look(const double* lat, const double* lon, Ground* ground) const;
  void Fill(int column, int row, int size, Ground* ground) const;
  void FillExactly(const PixelRect& part, Ground* ground) const;
  void GetHeights(std::size_t start, std::size_t count, const Ground& ground, double* h) const;
  bool IsNear(double lat, double lon) const;
  void Project(const Ground& ground, double* line, double* sample, PixelCounts* counts) const;
  void Mask(std::size_t start, std::size_t count, const Ground& ground, const double* h, double* line, double* sample,
            PixelCounts* counts) const;
  void FindCenter(double* column, double* row) const;

  const TMapFrame& frame_;
  const TRPC& model_;
  const THeightSurface& surface_;
  int width_;
  int height_;
  std::shared_ptr<const PlaneTransformation> toGround_;  ///< null: the map is longitudes and latitudes of WGS84
  const THeightGrid* grid_ = nullptr;                    ///< the surface's, when it has a plane of its own
  const THeightSurface* base_ = nullptr;                 ///< what its heights count from
  std::unique_ptr<THeightGrid> byColumn_;                ///< its heights by column and row instead of place
  std::unique_ptr<TTerrainLocator> locator_;
  int channels_ = 2;
  double weights_[kChannels] = {};  ///< pixels of the image for a change of one in a channel
  bool hasFootprint_ = false;
  TTerrainBox footprint_;
};

}  // namespace SatCommonUtils
