#pragma once
/// \file
/// From image to map: each pixel of a map gets what the image shows of its place on the terrain.

#include <orbmath/frame/zxstd/progress.h>
#include <orbmath/rpc/rpc_model.h>
#include <orbmath/terrain/height_surface.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api.h"
#include "map_frame.h"

namespace SatCommonUtils {

/// How a grey value between pixels is made. Where the map is coarser than the image, all but `Nearest` take in as many
/// pixels as one of the map covers, so that nothing is skipped.
enum class TResampling {
  Nearest,   ///< the pixel that the place falls in
  Bilinear,  ///< 2 x 2 pixels
  Cubic,     ///< 4 x 4, Keys' kernel with a = -1/2
  Lanczos,   ///< 6 x 6, the sinc windowed by itself
};

/// What becomes of ground that terrain hides from the sensor.
enum class THiddenGround {
  Keep,  ///< it shows what hides it, as most programs have it
  Mask,  ///< no data; so is ground that no line of sight reaches
};

/// An image, its model, the terrain under it. Model and surface are not owned.
struct TOrthoProblem {
  std::string image;                        ///< UTF-8, what GDAL opens; all its bands
  std::string output;                       ///< the file to write; an old one is replaced, but not the image
  const TRPC* model = nullptr;              ///< of the image; whole numbers are pixel centres
  const THeightSurface* surface = nullptr;  ///< heights above the ellipsoid
};

/// How an orthoimage is made.
struct TOrthoOptions {
  TMapFrameOptions frame;                       ///< where the map's pixels lie
  TResampling resampling = TResampling::Cubic;  ///< between pixels
  THiddenGround hidden = THiddenGround::Keep;   ///< of ground behind mountains
  /// The value of pixels without data. Unset: the image's own, else NaN in bands of floating point and 0 in others; an
  /// image with an alpha band or a palette needs none. Data of exactly this value are moved to the next, but for
  /// numbers of colours and imaginary parts. A value that the type of the bands cannot have is an error.
  std::optional<double> noData;
  std::string format = "GTiff";          ///< GDAL's name of the output's format
  std::vector<std::string> creation;     ///< options of that format, "COMPRESS=LZW"; they go before those set here
  std::size_t memoryBytes = 512u << 20;  ///< of pixels in memory; heights have a limit of their own (`TDemOptions`)
  /// May be null. Called by any of the threads, one at a time; `false` stops the work.
  TZxProgressHandler* progress = nullptr;
};

/// What became of it.
struct TOrthoResult {
  TMapState state = TMapState::NotRun;  ///< how it ended
  std::string sentence = "not run";     ///< what became of it, without a full stop
  std::vector<std::string> notes;       ///< what was chosen and assumed, sentences without a full stop
  TMapFrame frame;                      ///< of the map
  std::int64_t filled = 0;              ///< pixels of the map that lie in the image
  std::int64_t outside = 0;             ///< pixels that lie outside it
  std::int64_t noHeight = 0;            ///< pixels without a height (voids, or off the surface)
  std::int64_t hidden = 0;              ///< pixels of the image that are masked because terrain hides them

  /// True when the file is there.
  explicit operator bool() const noexcept { return state == TMapState::Done; }
};

/// Makes an orthoimage.
///
/// The centre of a pixel of the map is brought to latitude and longitude (PROJ), gets its height from the surface, is
/// projected by the model, and the image is resampled there. Whole numbers of line and sample are pixel centres. Only
/// the map projection is interpolated: biquadratic on squares of 128 pixels, which are halved until it is right to
/// 0.002 pixels of the image at the four places in each where a third derivative does most; below 0.02 pixels
/// everywhere. A pixel is filled when the pixel of the image that it falls in has data; where another one under the
/// kernel has none, the kernel becomes the bilinear one over those that have. Grey values of up to 16 bits and
/// single-precision numbers are resampled in single precision.
///
/// Runs on `ZxGetThreadsCount()` threads; the pixels are the same for any number. GDAL's cache of blocks is set to a
/// part of `memoryBytes` meanwhile. The output comes whole or not at all.
/// \throws nothing but for lack of memory.
ORBMATH_RASTER_API TOrthoResult Orthorectify(const TOrthoProblem& problem, const TOrthoOptions& options = {});

}  // namespace SatCommonUtils
