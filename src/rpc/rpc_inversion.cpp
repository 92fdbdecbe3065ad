// Image to ground of one image at a known height: one point, and arrays of points.

#include <algorithm>
#include <atomic>

#include "rpc/blocks.h"
#include "rpc/inversion_kernel.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

using rpc::TApproximationView;

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

/// Points that are iterated together: a multiple of every vector width.
constexpr std::size_t kBlock = 128;

/// Image to ground of a range of points, a vector of points at a time.
struct TInvertArrays {
  const TRPCPrepared& model;
  TApproximationView start;
  TArrays arrays;
  std::size_t first;
  std::size_t last;
  std::size_t* converged;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    *converged = 0;
    for (std::size_t i = first; i < last; i += kBlock) {
      const std::size_t count = std::min(kBlock, last - i);
      TGroundStatus status[kBlock];
      if (count % Width == 0) {
        const TArrays& a = arrays;
        Invert<Width>({a.line + i, a.sample + i, a.h + i, a.lat + i, a.lon + i, status}, count);
      } else {
        Buffered<Width>(i, count, status);
      }
      for (std::size_t k = 0; k < count; ++k) {
        *converged += status[k].state == TGroundState::Converged ? 1 : 0;
        if (arrays.status != nullptr) arrays.status[i + k] = status[k];
      }
    }
  }

 private:
  /// Points from `begin` on that are no whole number of vectors; the last point stands in for those that are missing.
  template <int Width>
  [[gnu::always_inline]] void Buffered(std::size_t begin, std::size_t count, TGroundStatus* status) const {
    double in[3][kBlock];
    double out[2][kBlock];
    const std::size_t padded = (count + Width - 1) / Width * Width;
    for (std::size_t i = 0; i < padded; ++i) {
      const std::size_t source = begin + std::min(i, count - 1);
      in[0][i] = arrays.line[source];
      in[1][i] = arrays.sample[source];
      in[2][i] = arrays.h[source];
    }
    Invert<Width>({in[0], in[1], in[2], out[0], out[1], status}, padded);
    std::copy(out[0], out[0] + count, arrays.lat + begin);
    std::copy(out[1], out[1] + count, arrays.lon + begin);
  }

  /// At most a block of points, a multiple of the width.
  template <int Width>
  [[gnu::always_inline]] void Invert(const TArrays& part, std::size_t count) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    rpc::TInversion<TVector> inversions[kBlock / Width];
    for (std::size_t i = 0; i < count; i += Width) Start<Width>(part, i, inversions[i / Width]);
    Iterate<Width>(inversions, count / Width);
    for (std::size_t i = 0; i < count; i += Width) Finish<Width>(inversions[i / Width], part, i);
  }

  /// Takes the vectors through their steps, three under way at a time; one that is not done is queued again.
  template <int Width, class TInversion>
  [[gnu::always_inline]] void Iterate(TInversion* inversions, std::size_t count) const {
    TInversion* queue[kBlock / Width * rpc::kLargestSteps];
    for (std::size_t k = 0; k < count; ++k) queue[k] = inversions + k;
    std::size_t front = 0;
    std::size_t back = count;
    rpc::TInversionStep<typename simd::TLanes<Width>::TVector> steps[3];
    TInversion* formed = nullptr;
    TInversion* solved = nullptr;
    std::size_t turn = 0;
    do {
      TInversion* const evaluated = front < back ? queue[front++] : nullptr;
      rpc::TInversionStep<typename simd::TLanes<Width>::TVector>* const step[3] = {steps + turn, steps + (turn + 2) % 3,
                                                                                   steps + (turn + 1) % 3};
      TakeQuarter<0>(evaluated, formed, solved, step);
      TakeQuarter<1>(evaluated, formed, solved, step);
      TakeQuarter<2>(evaluated, formed, solved, step);
      TakeQuarter<3>(evaluated, formed, solved, step);
      if (solved != nullptr && rpc::HasSteps(*solved)) queue[back++] = solved;
      solved = formed;
      formed = evaluated;
      turn = (turn + 1) % 3;
    } while (front < back || formed != nullptr || solved != nullptr);
  }

  template <int Quarter, class TInversion, class TStep>
  [[gnu::always_inline]] void TakeQuarter(TInversion* evaluated, TInversion* formed, TInversion* solved,
                                          TStep* const (&step)[3]) const {
    if (evaluated != nullptr) rpc::EvaluateQuarter<Quarter>(model, *evaluated, *step[0]);
    if (formed != nullptr) rpc::FormQuarter<Quarter>(*formed, *step[1]);
    if (solved != nullptr) rpc::SolveQuarter<Quarter>(*step[2], *solved);
  }

  template <int Width>
  [[gnu::always_inline]] void Start(const TArrays& part, std::size_t i,
                                    rpc::TInversion<typename simd::TLanes<Width>::TVector>& inversion) const {
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    // Loaded into vectors of their own first: a reference to a cast of unaligned memory may be taken for aligned.
    const typename simd::TLanes<Width>::TVector line = *reinterpret_cast<const TUnaligned*>(part.line + i);
    const typename simd::TLanes<Width>::TVector sample = *reinterpret_cast<const TUnaligned*>(part.sample + i);
    const typename simd::TLanes<Width>::TVector h = *reinterpret_cast<const TUnaligned*>(part.h + i);
    rpc::Normalize(model.normalization.line, line, inversion.lineN);
    rpc::Normalize(model.normalization.sample, sample, inversion.sampleN);
    rpc::Normalize(model.normalization.height, h, inversion.hN);
    rpc::StartInversion(model, start, inversion);
  }

  template <int Width>
  [[gnu::always_inline]] void Finish(const rpc::TInversion<typename simd::TLanes<Width>::TVector>& inversion,
                                     const TArrays& part, std::size_t i) const {
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    typename simd::TLanes<Width>::TVector lat, lon;
    rpc::Denormalize(model.normalization.latitude, inversion.latN, lat);
    rpc::Denormalize(model.normalization.longitude, inversion.lonN, lon);
    *reinterpret_cast<TUnaligned*>(part.lat + i) = lat;
    *reinterpret_cast<TUnaligned*>(part.lon + i) = lon;
    for (int lane = 0; lane < Width; ++lane) {
      part.status[i + lane] = {StateOf(inversion.failed[lane] != 0, inversion.active[lane] != 0),
                               static_cast<std::int32_t>(inversion.evaluations[lane])};
    }
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
  const TRPCPrepared& model = prepared_;
  rpc::TInversion<double> inversion;
  inversion.lineN = lineN;
  inversion.sampleN = sampleN;
  inversion.hN = hN;
  rpc::StartInversion(model, {f.lineNum, f.lineDenom, f.sampleNum, f.sampleDenom}, inversion);
  while (rpc::HasSteps(inversion)) rpc::TakeStep(model, inversion);
  *latN = inversion.latN;
  *lonN = inversion.lonN;
  return inversion.failed == 0;
}

bool TRPC::CalculateLatLon(const double& line, const double& sample, const double& h, double* lat, double* lon) const {
  const TRPCPrepared& model = prepared_;
  double lineN, sampleN, hN;
  rpc::Normalize(model.normalization.line, line, lineN);
  rpc::Normalize(model.normalization.sample, sample, sampleN);
  rpc::Normalize(model.normalization.height, h, hN);
  double latN = 0.0;
  double lonN = 0.0;
  const bool good = CalculateLatLonNormalized(lineN, sampleN, hN, &latN, &lonN);
  rpc::Denormalize(model.normalization.latitude, latN, *lat);
  rpc::Denormalize(model.normalization.longitude, lonN, *lon);
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
        TInvertArrays{prepared_, {f.lineNum, f.lineDenom, f.sampleNum, f.sampleDenom}, arrays, first, last, &part});
    converged += part;
  });
  return converged;
}

}  // namespace SatCommonUtils
