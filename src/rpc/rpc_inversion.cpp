// Image to ground of one image at a known height: one point, and arrays of points.

#include <algorithm>
#include <atomic>

#include "rpc/blocks.h"
#include "rpc/inversion_kernel.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

using rpc::TApproximationView;
using rpc::TEvaluationView;

TGroundState StateOf(bool failed, bool active) {
  if (failed) return TGroundState::Singular;
  return active ? TGroundState::NotConverged : TGroundState::Converged;
}

struct TArrays {
  const double* line;
  const double* sample;
  const double* h;
  double* lat;
  double* lon;
  TGroundStatus* status;
};

/// Image to ground of a range of points, a vector of points at a time.
struct TInvertArrays {
  TEvaluationView model;
  TApproximationView start;
  TArrays arrays;
  std::size_t first;
  std::size_t last;
  std::size_t* converged;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    *converged = 0;
    std::size_t i = first;
    for (; i + Width <= last; i += Width) {
      *converged += Group<Width>(arrays.line + i, arrays.sample + i, arrays.h + i, arrays.lat + i, arrays.lon + i,
                                 arrays.status == nullptr ? nullptr : arrays.status + i, Width);
    }
    if (i == last) return;
    double in[3][Width];
    double out[2][Width];
    for (int lane = 0; lane < Width; ++lane) {
      const std::size_t source = std::min(i + lane, last - 1);
      in[0][lane] = arrays.line[source];
      in[1][lane] = arrays.sample[source];
      in[2][lane] = arrays.h[source];
    }
    *converged += Group<Width>(in[0], in[1], in[2], out[0], out[1],
                               arrays.status == nullptr ? nullptr : arrays.status + i, static_cast<int>(last - i));
    std::copy(out[0], out[0] + (last - i), arrays.lat + i);
    std::copy(out[1], out[1] + (last - i), arrays.lon + i);
  }

 private:
  /// One vector of points, of which the first `count` get a status. \return how many of those converged.
  template <int Width>
  [[gnu::always_inline]] std::size_t Group(const double* line, const double* sample, const double* h, double* lat,
                                           double* lon, TGroundStatus* status, int count) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    // Loaded into vectors of their own first: a reference to a cast of unaligned memory may be taken for aligned.
    const TVector lines = *reinterpret_cast<const TUnaligned*>(line);
    const TVector samples = *reinterpret_cast<const TUnaligned*>(sample);
    const TVector heights = *reinterpret_cast<const TUnaligned*>(h);
    TVector lineN, sampleN, hN;
    rpc::Normalize(model, rpc::kLine, lines, lineN);
    rpc::Normalize(model, rpc::kSample, samples, sampleN);
    rpc::Normalize(model, rpc::kHeight, heights, hN);
    rpc::TInversion<TVector> result;
    rpc::InvertNormalized(model, start, lineN, sampleN, hN, result);
    TVector latitude, longitude;
    rpc::Denormalize(model, rpc::kLatitude, result.latN, latitude);
    rpc::Denormalize(model, rpc::kLongitude, result.lonN, longitude);
    *reinterpret_cast<TUnaligned*>(lat) = latitude;
    *reinterpret_cast<TUnaligned*>(lon) = longitude;
    std::size_t good = 0;
    for (int lane = 0; lane < count; ++lane) {
      const TGroundState state = StateOf(result.failed[lane] != 0, result.active[lane] != 0);
      good += state == TGroundState::Converged ? 1 : 0;
      if (status != nullptr) status[lane] = {state, static_cast<std::int32_t>(result.evaluations[lane])};
    }
    return good;
  }
};

}  // namespace

void TRPC::CalculateLatLonApproximately(const double& line, const double& sample, const double& h, double* lat,
                                        double* lon) const {
  EnsureApproximation();
  const TApproximation& f = approximation_;
  rpc::ApproximateInverse<double>({f.lineNum, f.lineDenom, f.sampleNum, f.sampleDenom}, line, sample, h, *lat, *lon);
}

bool TRPC::CalculateLatLonNormalized(const double& lineN, const double& sampleN, const double& hN, double* latN,
                                     double* lonN) const {
  if (!EnsureApproximation()) return false;
  const TApproximation& f = approximation_;
  rpc::TInversion<double> result;
  rpc::InvertNormalized(View(), {f.lineNum, f.lineDenom, f.sampleNum, f.sampleDenom}, lineN, sampleN, hN, result);
  *latN = result.latN;
  *lonN = result.lonN;
  return result.failed == 0.0;
}

bool TRPC::CalculateLatLon(const double& line, const double& sample, const double& h, double* lat, double* lon) const {
  const TEvaluationView model = View();
  double lineN, sampleN, hN;
  rpc::Normalize(model, rpc::kLine, line, lineN);
  rpc::Normalize(model, rpc::kSample, sample, sampleN);
  rpc::Normalize(model, rpc::kHeight, h, hN);
  double latN = 0.0;
  double lonN = 0.0;
  const bool good = CalculateLatLonNormalized(lineN, sampleN, hN, &latN, &lonN);
  rpc::Denormalize(model, rpc::kLatitude, latN, *lat);
  rpc::Denormalize(model, rpc::kLongitude, lonN, *lon);
  return good;
}

std::size_t TRPC::CalculateLatLonArray(std::size_t count, const double* line, const double* sample, const double* h,
                                       double* lat, double* lon, TGroundStatus* status) const {
  if (!EnsureApproximation()) {
    for (std::size_t i = 0; i < count; ++i) {
      TRPC::CalculateLatLon(line[i], sample[i], h[i], &lat[i], &lon[i]);
      if (status != nullptr) status[i] = {TGroundState::NoApproximation, 0};
    }
    return 0;
  }
  const TApproximation& f = approximation_;
  const TArrays arrays = {line, sample, h, lat, lon, status};
  std::atomic<std::size_t> converged{0};
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    std::size_t part = 0;
    simd::Dispatch(
        TInvertArrays{View(), {f.lineNum, f.lineDenom, f.sampleNum, f.sampleDenom}, arrays, first, last, &part});
    converged += part;
  });
  return converged;
}

}  // namespace SatCommonUtils
