// A host that is loaded and unloaded at run time: it starts the library, lets several threads work, and stops it.
#include <orbmath/frame/module.h>
#include <orbmath/frame/zxstd/threads.h>
#include <orbmath/rpc/rpc_file.h>
#include <orbmath/rpc/rpc_model.h>

#include <vector>

extern "C" __attribute__((visibility("default"))) int UseOrbmath() {
  using namespace SatCommonUtils;
  Init_Orbmath();
  ZxSetThreadsCount(2);
  TRPCData record;
  if (!record.InitializeFromRPBFile(ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB", nullptr, nullptr)) return 1;
  const TRPC model(record, nullptr);
  const std::vector<double> line(100000, 8000.0), sample(line), h(line.size(), 400.0);
  std::vector<double> lat(line.size()), lon(line.size());
  const std::size_t found =
      model.CalculateLatLonArray(line.size(), line.data(), sample.data(), h.data(), lat.data(), lon.data(), nullptr);
  Deinit_Orbmath();
  return found == line.size() ? 0 : 1;
}
