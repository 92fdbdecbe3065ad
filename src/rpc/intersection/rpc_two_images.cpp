// The intersection of two images as functions of the model.

#include <vector>

#include "frame/zxstd/message.h"
#include "rpc/image_to_ground.h"
#include "rpc/longitude_turns.h"
#include "rpc/projection_kernel.h"
#include "rpc/rpc_model.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils {

namespace {

/// An axis of the ground, and which term is the first-order one of it.
struct TGroundAxis {
  TLinearNormalization TRPCNormalization::*axis;
  int term;
};
constexpr TGroundAxis kGroundAxes[] = {
    {&TRPCNormalization::latitude, 2}, {&TRPCNormalization::longitude, 1}, {&TRPCNormalization::height, 3}};

/// Adds an image's two equations from the constant and first-order terms of its functions. The unknowns are the
/// normalised coordinates of the reference model, which keeps the equations well scaled.
void AddFirstOrder(const TRPCPrepared& model, const TRPCPrepared& reference, const TImagePoint& point,
                   rpc::TNormalEquations<3, double>* equations) {
  const TNormalizedImagePoint normalized = model.normalization.Normalize(point);
  const double measured[] = {normalized.sample, normalized.line};
  const int numerators[] = {2, 0};  // in a row of terms; the denominator stands behind it
  const double turn = 360.0 * rpc::LongitudeTurns(reference.normalization.longitude.GetOffset(),
                                                  model.normalization.longitude.GetOffset());
  for (int i = 0; i < 2; ++i) {
    const auto coefficient = [&](int term) {
      return model.Terms()[4 * term + numerators[i]] - measured[i] * model.Terms()[4 * term + numerators[i] + 1];
    };
    double row[3];
    double constant = coefficient(0);
    for (int c = 0; c < 3; ++c) {
      const TLinearNormalization& own = model.normalization.*kGroundAxes[c].axis;
      const TLinearNormalization& common = reference.normalization.*kGroundAxes[c].axis;
      const bool longitude = kGroundAxes[c].axis == &TRPCNormalization::longitude;
      const double offset = own.GetOffset() + (longitude ? turn : 0.0);
      row[c] = coefficient(kGroundAxes[c].term) * common.GetScale() / own.GetScale();
      constant += coefficient(kGroundAxes[c].term) * (common.GetOffset() - offset) / own.GetScale();
    }
    equations->Add(row, -constant);
  }
}

}  // namespace

void TRPC::CalculateLatLonH(const TRPC& a, const double& lineA, const double& sampleA, const TRPC& b,
                            const double& lineB, const double& sampleB, double* lat, double* lon, double* h) {
  const std::vector<TRPCCoordsDataItem> items = {{&a, lineA, sampleA}, {&b, lineB, sampleB}};
  if (!SatCommonUtils::CalculateLatLonH(items, lat, lon, h)) throw TZxMessage("TRPC::CalculateLatLonH");
}

void TRPC::CalculateLatLonHApproximately(const TRPC& a, const double& lineA, const double& sampleA, const TRPC& b,
                                         const double& lineB, const double& sampleB, double* lat, double* lon,
                                         double* h) {
  const TRPCPrepared& reference = a.prepared_;
  rpc::TNormalEquations<3, double> equations;
  AddFirstOrder(reference, reference, {lineA, sampleA}, &equations);
  AddFirstOrder(b.prepared_, reference, {lineB, sampleB}, &equations);
  double normalized[3];
  rpc::SolveLeastSquares(equations, normalized);
  rpc::Denormalize(reference.normalization.latitude, normalized[0], *lat);
  rpc::Denormalize(reference.normalization.longitude, normalized[1], *lon);
  rpc::Denormalize(reference.normalization.height, normalized[2], *h);
}

}  // namespace SatCommonUtils
