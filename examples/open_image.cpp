// Opens the model of an image, says where it comes from and where the image lies, and writes it as a model file.
#include <orbmath.h>
#include <raster/image_model.h>

#include <cstdio>

using namespace SatCommonUtils;

int main() {
  TModelReadOptions options;
  options.readImage = &ReadImageModel;
  const TModelFile image = ReadModelFile(ORBMATH_EXAMPLES_DATA "/pushbroom_left.tif", options);
  if (!image) {
    std::fprintf(stderr, "%s\n", image.message.c_str());
    return 1;
  }
  const TRPCFileOrigin& origin = image.file.origin;
  std::printf("model of a %s, first pixel %d: %s\n", origin.variant.c_str(), origin.firstPixel,
              origin.firstPixelRule.c_str());

  const TGroundSolution corner = SolveLatLon(*image.model, 0.0, 0.0, 410.0);
  if (!corner) return 1;
  std::printf("its first pixel sees %.6f %.6f at 410 m\n", corner.lat, corner.lon);

  const TWrittenModel written = WriteModelFile("open_image.RPB", *image.model);
  std::printf("%s, which moves points by up to %.1e px\n", written.message.c_str(), written.worst);
  return written ? 0 : 1;
}
