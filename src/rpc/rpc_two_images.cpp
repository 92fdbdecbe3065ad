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

/// Adds an image's two equations from the constant and first-order terms of its functions. The unknowns are the
/// normalised coordinates of the reference model, which keeps the equations well scaled.
void AddFirstOrder(const rpc::TEvaluationView& model, const rpc::TEvaluationView& reference, double line, double sample,
                   rpc::TNormalEquations<3, double>* equations) {
  double lineN, sampleN;
  rpc::Normalize(model, rpc::kLine, line, lineN);
  rpc::Normalize(model, rpc::kSample, sample, sampleN);
  const double measured[] = {sampleN, lineN};
  const int numerators[] = {2, 0};
  // Terms 1, 2, 3 are longitude, latitude, height.
  const rpc::TCoordinate coordinates[] = {rpc::kLatitude, rpc::kLongitude, rpc::kHeight};
  const int terms[] = {2, 1, 3};
  const double turn = 360.0 * rpc::LongitudeTurns(reference.offset[rpc::kLongitude], model.offset[rpc::kLongitude]);
  for (int i = 0; i < 2; ++i) {
    const double* const numerator = model.polynomials[numerators[i]];
    const double* const denominator = model.polynomials[numerators[i] + 1];
    double row[3];
    double constant = numerator[0] - measured[i] * denominator[0];
    for (int c = 0; c < 3; ++c) {
      const rpc::TCoordinate which = coordinates[c];
      const double coefficient = numerator[terms[c]] - measured[i] * denominator[terms[c]];
      const double offset = model.offset[which] + (which == rpc::kLongitude ? turn : 0.0);
      row[c] = coefficient * reference.scale[which] / model.scale[which];
      constant += coefficient * (reference.offset[which] - offset) / model.scale[which];
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
  const rpc::TEvaluationView reference = a.View();
  rpc::TNormalEquations<3, double> equations;
  AddFirstOrder(reference, reference, lineA, sampleA, &equations);
  AddFirstOrder(b.View(), reference, lineB, sampleB, &equations);
  double normalized[3];
  rpc::SolveLeastSquares(equations, normalized);
  rpc::Denormalize(reference, rpc::kLatitude, normalized[0], *lat);
  rpc::Denormalize(reference, rpc::kLongitude, normalized[1], *lon);
  rpc::Denormalize(reference, rpc::kHeight, normalized[2], *h);
}

}  // namespace SatCommonUtils
