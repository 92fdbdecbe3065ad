// Reads a model file, projects a ground point, and finds it again in the image.
#include <orbmath.h>

#include <cmath>
#include <cstdio>

using namespace SatCommonUtils;

int main() {
  TRPCData record;
  if (!record.InitializeFromRPBFile(ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB", nullptr, nullptr)) return 1;
  const TRPC model(record, nullptr);

  double line, sample, lat, lon;
  model.CalculateLineSample(47.30, 8.50, 410.0, &line, &sample, nullptr, nullptr);
  std::printf("ground (47.30, 8.50, 410) is at line %.3f, sample %.3f\n", line, sample);

  if (!model.CalculateLatLon(line, sample, 410.0, &lat, &lon)) return 1;
  std::printf("and back: %.10f %.10f\n", lat, lon);
  return std::hypot(lat - 47.30, lon - 8.50) < 1e-9 ? 0 : 1;
}
