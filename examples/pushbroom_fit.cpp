// Fits an RPC to a simulated pushbroom scene, checks it on points that the fit has not seen, and writes it with the
// rounded offsets and scales that an RPB file can hold.
//
//   example_pushbroom_fit [FOLDER]    writes pushbroom_left.RPB and pushbroom_right.RPB into FOLDER

#include <cmath>
#include <cstdio>
#include <string>
#include <tuple>
#include <vector>

#include <orbmath/refine/robust_fit.h>
#include <orbmath/rpc/rpc_file.h>
#include "pushbroom_scene.h"

using namespace SatCommonUtils;
using example::PushbroomScene;

namespace {

// A grid over image and heights 0 to 800 m: `steps` intervals each way, four in height.
std::vector<TRPCEstimationPoint> GridOf(const PushbroomScene& scene, int steps, double first) {
  std::vector<TRPCEstimationPoint> points;
  for (double i = first; i <= steps; ++i) {
    for (double j = first; j <= steps; ++j) {
      for (double k = first; k <= 4; ++k) {
        TRPCEstimationPoint p{0.0, 0.0, 200.0 * k, i / steps * (PushbroomScene::kLines - 1),
                              j / steps * (PushbroomScene::kSamples - 1)};
        std::tie(p.Lat, p.Lon) = scene.Ground(p.Line, p.Sample, p.Height);
        points.push_back(p);
      }
    }
  }
  return points;
}

double Rounded(double value, double unit) { return std::round(value / unit) * unit; }

// What the RPB form keeps of offsets and scales: two digits behind the point, eight for degrees.
void RoundPairs(TRPCData* rpc) {
  for (double* value :
       {&rpc->lineOffset, &rpc->lineScale, &rpc->sampOffset, &rpc->sampScale, &rpc->heightOffset, &rpc->heightScale}) {
    *value = Rounded(*value, 0.01);
  }
  for (double* value : {&rpc->latOffset, &rpc->latScale, &rpc->longOffset, &rpc->longScale}) {
    *value = Rounded(*value, 1e-8);
  }
}

bool FitScene(const char* name, double time, const std::string& folder) {
  const PushbroomScene scene(time);
  TRPCEstimationDataSet data;
  data.Points = GridOf(scene, 12, 0.0);
  TRPCFitOptions options;
  options.checkPoints = GridOf(scene, 12, 0.5);  // the middles of the grid's cells

  TRPCData rpc;
  TRPCFitReport report;
  if (!FitRPC(data, options, &rpc, &report)) return false;
  RoundPairs(&rpc);
  options.keepNormalization = true;
  if (!FitRPC(data, options, &rpc, &report)) return false;
  std::printf("%s: %s\n", name, report.message.c_str());

  TZxStringStream text;
  if (!rpc.SaveToRPB(&text, "SIMULATED", "P", 0.0, 0.0)) return false;
  TRPCFile again;
  if (!ReadRPCStream(&text, name, &again, nullptr)) return false;
  const double written = ResidualsOfRPC(again.record, options.checkPoints, false).distance.rms;
  std::printf("%s: as a file %.1e pixels rms on the check points\n", name, written);

  if (!folder.empty()) {
    TZxFileStream file;
    const bool opened = file.Open(TZxPath(folder + "/pushbroom_" + name + ".RPB"), TZxOpenMode::Write);
    if (!opened || !rpc.SaveToRPB(&file, "SIMULATED", "P", 0.0, 0.0)) return false;
  }
  // The model that comes with the project is an earlier run's.
  TRPCFile shipped;
  const std::string path = std::string(ORBMATH_EXAMPLES_DATA "/pushbroom_") + name + ".RPB";
  if (!ReadRPCFile(path, &shipped, nullptr)) return false;
  const double of_shipped = ResidualsOfRPC(shipped.record, options.checkPoints, false).distance.maximum;

  return report.check.distance.rms < 0.05 && written - report.check.distance.rms < 2e-4 && of_shipped < 1e-3;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : "";
  // 20 seconds before and after the pass: the camera looks forward, then back, by some 14 degrees.
  const bool left = FitScene("left", -20.0, folder);
  const bool right = FitScene("right", 20.0, folder);
  return left && right ? 0 : 1;
}
