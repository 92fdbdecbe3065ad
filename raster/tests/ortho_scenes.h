#pragma once
// Images on a map's own pixels, for tests of orthoimages: what comes out is what went in, shifted by what is asked for.

#include "pixels.h"
#include "raster/ortho.h"
#include "rpc/image_window.h"
#include "terrain/scenes.h"

namespace orbmath_test {

using namespace SatCommonUtils;

class Ortho : public InFolder {
 protected:
  /// Runs, expects success, and gives the pixels.
  Pixels Run(const TRPC& model, const THeightSurface& surface, const TOrthoOptions& options,
             TOrthoResult* result = nullptr) const {
    const TOrthoResult made = Orthorectify({Path("image.tif"), Path("ortho.tif"), &model, &surface}, options);
    EXPECT_TRUE(made) << made.sentence;
    if (result != nullptr) *result = made;
    return Load(Path("ortho.tif"));
  }
};

inline TOrthoOptions DegreesOptions(TResampling resampling) {
  TOrthoOptions options;
  options.frame.crs = "EPSG:4326";
  options.resampling = resampling;
  return options;
}

/// A model whose pixels are 1e-4 degrees: sample = 2000 + 1e4 (lon - 7), line = 1000 - 1e4 (lat - 45), at any height.
inline TRPC PlainModel() {
  TRPCData record;
  TiltedModel(0.0).GetRPCData(&record);
  record.lineOffset = 1000.0;
  record.lineScale = 1000.0;
  record.latScale = 0.1;
  record.sampOffset = 2000.0;
  record.sampScale = 2000.0;
  record.longScale = 0.2;
  EXPECT_TRUE(CropRPC(record, {1000.5 - 1.0, 2000.5 - 1.0, 1.0}, &record));
  return TRPC(record);
}

/// A frame of pixels of 1e-4 degrees whose first one lies `columns` and `rows` right of and below the image's first.
inline TOrthoOptions PlainFrame(TResampling resampling, double columns, double rows, int width, int height,
                                double size = 1.0) {
  TOrthoOptions options = DegreesOptions(resampling);
  const double west = 7.0 + 1e-4 * (columns - 0.5 - 0.5);
  const double north = 45.0 - 1e-4 * (rows - 0.5 - 0.5);
  options.frame.resolution = 1e-4 * size;
  options.frame.bounds = TMapBounds{west, north - 1e-4 * size * height, west + 1e-4 * size * width, north};
  return options;
}

/// 9 x 7 pixels with unequal values.
inline Pixels Grey() {
  Pixels image = {9, 7, {{}}};
  for (int row = 0; row < 7; ++row) {
    for (int column = 0; column < 9; ++column) {
      image.bands[0].push_back(100.0 + 13.0 * row + 7.0 * column + (row * column) % 5);
    }
  }
  return image;
}

}  // namespace orbmath_test
