// Export of an adjusted model whose refinement is the identity.

#include <algorithm>
#include <limits>

#include "refine/adjusted_rpc.h"
#include "refine/rpc_estimation.h"
#include "rpc/rpc_axes.h"

namespace SatCommonUtils {
namespace {

/// The least and the largest of what it has seen.
struct TRange {
  double least = std::numeric_limits<double>::max();
  double largest = -std::numeric_limits<double>::max();

  void Add(double value) {
    least = std::min(least, value);
    largest = std::max(largest, value);
  }
};

bool IsWithin(double value, double least, double largest) { return value >= least && value <= largest; }

}  // namespace

bool TAdjustedRPC::Export(TRPCData* out) const {
  constexpr int kCount = 10;
  constexpr int kDenser = 10;
  const var_a<TRPCRefinementDataBase*> record = GetRPCRefinementData();
  if (!record || !record->IsUnity()) {
    GetRPCData(out);
    return true;
  }
  if (const auto* shift = dynamic_cast<const TRPCRefinementDataShift*>(record.get())) {
    GetRPCData(out);
    out->lineOffset += shift->d_line;
    out->sampOffset += shift->d_sample;
    return true;
  }
  // A try with too few points narrows the ranges for the next one.
  TRPCEstimationDataSetParams params = {-1.0, 1.0, -1.0, 1.0, -1.0, 1.0, kCount};
  TRPCEstimationDataSet set;
  if (!CreateReApproximationDataset(&params, &set) && !CreateReApproximationDataset(&params, &set)) {
    params.count *= kDenser;
    if (!CreateReApproximationDataset(&params, &set)) return false;
  }
  GetRPCData(out);
  return EstimateRPC(set, out);
}

bool TAdjustedRPC::CreateReApproximationDataset(TRPCEstimationDataSetParams* params, TRPCEstimationDataSet* set) const {
  constexpr std::size_t kLeastPoints = 100;
  set->Points.clear();
  set->IsNormalized = true;
  int width = 0, height = 0;
  const bool has_raster = GetRasterDims(&width, &height);
  const double steps = params->count + 1;
  const double lat_step = (params->latMax - params->latMin) / steps;
  const double lon_step = (params->lonMax - params->lonMin) / steps;
  const double height_step = (params->heightMax - params->heightMin) / steps;
  const TRPCNormalization& axes = GetNormalization();
  TRange lats, lons, heights;

  const auto add = [&](double lat, double lon, double h) {
    const TGroundPoint ground = axes.Denormalize(TNormalizedGroundPoint{lat, lon, h});
    TImagePoint image;
    CalculateLineSample(ground.lat, ground.lon, ground.h, &image.line, &image.sample, nullptr, nullptr);
    const TNormalizedImagePoint place = axes.Normalize(image);
    if (!IsWithin(place.line, -1.0, 1.0) || !IsWithin(place.sample, -1.0, 1.0)) return;
    if (has_raster && (!IsWithin(image.line, 0.0, height - 1) || !IsWithin(image.sample, 0.0, width - 1))) return;
    set->Points.push_back({lat, lon, h, place.line, place.sample});
    lats.Add(lat);
    lons.Add(lon);
    heights.Add(h);
  };
  // A range of one value has no step: one pass is all there is.
  for (double lat = params->latMin; lat <= params->latMax; lat += lat_step) {
    for (double lon = params->lonMin; lon < params->lonMax; lon += lon_step) {
      for (double h = params->heightMin; h <= params->heightMax; h += height_step) {
        add(lat, lon, h);
        if (!(height_step > 0.0)) break;
      }
      if (!(lon_step > 0.0)) break;
    }
    if (!(lat_step > 0.0)) break;
  }
  if (!set->Points.empty()) {
    *params = {lats.least, lats.largest, lons.least, lons.largest, heights.least, heights.largest, params->count};
  }
  return set->Points.size() >= kLeastPoints;
}

}  // namespace SatCommonUtils
