// The inverse of a model as a model: a fit to nodes whose ground and image coordinates are exchanged. Elementary.

#include <cmath>
#include <vector>

#include "frame/zxstd/text.h"
#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"
#include "rpc/rpc_axes.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

// A node counts as located when the model sends it back this close, normalised.
constexpr double kLocated = 1e-9;
constexpr int kMaxGridSize = 200;

bool InUnitRange(double value) { return value >= -1.0 && value <= 1.0; }

// The nodes of the normalised ground box that the image shows, with the roles of ground and image exchanged. The last
// node of an axis is at +1 only as far as the repeated addition lands on it.
std::vector<TRPCEstimationPoint> NodesInImage(const TRPC& rpc, int grid_size) {
  std::vector<TRPCEstimationPoint> nodes;
  const double step = 2.0 / grid_size;
  for (double lat = -1.0; lat <= 1.0; lat += step) {
    for (double lon = -1.0; lon <= 1.0; lon += step) {
      for (double height = -1.0; height <= 1.0; height += step) {
        double line, sample;
        rpc.CalculateLineSampleNormalized(lat, lon, height, &line, &sample, nullptr, nullptr);
        if (InUnitRange(line) && InUnitRange(sample)) nodes.push_back({line, sample, height, lat, lon});
      }
    }
  }
  return nodes;
}

// (grid_size + 1)^3 nodes over image and heights, each with the ground point that the model locates there.
std::vector<TRPCEstimationPoint> NodesOfImage(const TRPC& rpc, int grid_size) {
  std::vector<TRPCEstimationPoint> nodes;
  const auto node = [&](int i) { return 2.0 * i / grid_size - 1.0; };
  for (int i = 0; i <= grid_size; ++i) {
    for (int j = 0; j <= grid_size; ++j) {
      for (int k = 0; k <= grid_size; ++k) {
        const double line = node(i), sample = node(j), height = node(k);
        double lat, lon, line_again, sample_again;
        if (!rpc.CalculateLatLonNormalized(line, sample, height, &lat, &lon)) continue;
        rpc.CalculateLineSampleNormalized(lat, lon, height, &line_again, &sample_again, nullptr, nullptr);
        const bool located = std::fabs(line_again - line) < kLocated && std::fabs(sample_again - sample) < kLocated;
        if (located) nodes.push_back({line, sample, height, lat, lon});
      }
    }
  }
  return nodes;
}

}  // namespace

bool EstimateInvertedRPC(const TRPC& rpc, TRPCData* inverted, int gridSize, TZxProgressHandler* /*progress*/) {
  TRPCData source;
  source.Invalidate();
  rpc.GetRPCData(&source);
  TRPCNormalization(source).OfInverse().CopyTo(inverted);
  if (gridSize < 1) return false;
  TRPCEstimationDataSet data;
  data.Points = NodesInImage(rpc, gridSize);
  data.IsNormalized = true;
  return EstimateRPC(data, inverted);
}

bool FitInvertedRPC(const TRPC& rpc, TRPCData* inverted, int gridSize, TZxProgressHandler* progress,
                    TRPCFitReport* report) {
  TRPCFitReport own;
  TRPCFitReport* const story = report != nullptr ? report : &own;
  *story = TRPCFitReport();
  if (gridSize < 1 || gridSize > kMaxGridSize) {
    story->message = Zentarix::ssprintf("the grid size is not in 1 to %d", kMaxGridSize);
    return false;
  }
  TRPCData source;
  rpc.GetRPCData(&source);
  TRPCData result = source;
  TRPCNormalization(source).OfInverse().CopyTo(&result);
  TRPCEstimationDataSet data;
  data.Points = NodesOfImage(rpc, gridSize);
  data.IsNormalized = true;
  TRPCFitOptions options;
  options.progress = progress;
  options.order = 3;
  options.badPoints = TRPCBadPoints::NotSought;  // computed points have no blunders
  if (!FitRPC(data, options, &result, story)) return false;
  *inverted = result;
  return true;
}

// Defined here because the model stands below the fits: this is its one call upwards.
bool TRPC::CreateInvertedRPC(int n) const {
  inverted_ = var_a<TRPC*>();
  TRPCData record;
  record.Invalidate();
  if (FitInvertedRPC(*this, &record, n)) inverted_ = var_a<TRPC*>(new TRPC(record, nullptr));
  return static_cast<bool>(inverted_);
}

}  // namespace SatCommonUtils
