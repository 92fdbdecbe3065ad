// Opens the model of an image and says where it comes from and where the image lies.
#include <orbmath.h>
#include <raster/image_model.h>

#include <cstdio>

using namespace SatCommonUtils;

int main() {
  TRPCFile image;
  TRPCFileError error;
  if (!ReadImageModel(ORBMATH_EXAMPLES_DATA "/pushbroom_left.tif", TRPCFileOptions(), &image, &error)) {
    std::fprintf(stderr, "%s\n", error.GetText().c_str());
    return 1;
  }
  std::printf("model of a %s, first pixel %d: %s\n", image.origin.variant.c_str(), image.origin.firstPixel,
              image.origin.firstPixelRule.c_str());

  const TRPC model(image.record);
  const TGroundSolution corner = SolveLatLon(model, 0.0, 0.0, 410.0);
  if (!corner) return 1;
  std::printf("its first pixel sees %.6f %.6f at 410 m\n", corner.lat, corner.lon);
  return 0;
}
