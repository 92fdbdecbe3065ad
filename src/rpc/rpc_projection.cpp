// Ground to image: one point, and arrays of points.

#include <algorithm>
#include <cstdint>

#include "linalg/simd.h"
#include "rpc/blocks.h"
#include "rpc/longitude_turns.h"
#include "rpc/projection_kernel.h"
#include "rpc/rpc_model.h"
#include "rpc/small_systems.h"

namespace SatCommonUtils {

namespace {

/// Derivatives of normalised line and sample by P, L, H; null outputs stay out.
void WriteDerivatives(const rpc::TPolynomials<double>& q, double* dLineN, double* dSampleN) {
  for (int variable = 0; variable < 3; ++variable) {
    double dLine;
    double dSample;
    rpc::QuotientDerivatives(q.value, q.byVariable[variable], dLine, dSample);
    if (dLineN != nullptr) dLineN[variable] = dLine;
    if (dSampleN != nullptr) dSampleN[variable] = dSample;
  }
}

/// From derivatives of normalised by normalised coordinates to pixels per degree and per metre.
void ScaleDerivatives(const TRPCNormalization& axes, double image_scale, double* derivatives) {
  if (derivatives == nullptr) return;
  const double scales[3] = {axes.latitude.GetScale(), axes.longitude.GetScale(), axes.height.GetScale()};
  for (int variable = 0; variable < 3; ++variable) {
    derivatives[variable] = derivatives[variable] * image_scale / scales[variable];
  }
}

/// A ground point, and where its image point and the derivatives go; no derivatives where these are null.
struct TOnePoint {
  const double& lat;
  const double& lon;
  const double& h;
  double* line;
  double* sample;
  double* dLine;
  double* dSample;
};

/// One point, normalised coordinates on both sides.
template <bool Derivatives>
struct TProjectNormalized {
  const TRPCPrepared& model;
  TOnePoint point;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using TNumber = typename rpc::TPoint<Width>::TNumber;
    rpc::TPolynomials<double> q;
    rpc::EvaluatePolynomials<Derivatives>(model, TNumber(point.lat), TNumber(point.lon), TNumber(point.h), q);
    rpc::Quotients(q.value, *point.line, *point.sample);
    if constexpr (Derivatives) WriteDerivatives(q, point.dLine, point.dSample);
  }
};

/// One point from degrees and metres to pixels.
template <bool Derivatives>
struct TProjectPoint {
  const TRPCPrepared& model;
  TOnePoint point;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    const TRPCNormalization& axes = model.normalization;
    double P, L, H, lineN, sampleN;
    rpc::Normalize(axes.latitude, point.lat, P);
    rpc::Normalize(axes.longitude, rpc::LongitudeInTurn(axes.longitude.GetOffset(), point.lon), L);
    rpc::Normalize(axes.height, point.h, H);
    const TOnePoint normalized = {P, L, H, &lineN, &sampleN, point.dLine, point.dSample};
    TProjectNormalized<Derivatives>{model, normalized}.template Run<Width>();
    rpc::Denormalize(axes.line, lineN, *point.line);
    rpc::Denormalize(axes.sample, sampleN, *point.sample);
    if constexpr (Derivatives) {
      ScaleDerivatives(axes, axes.line.GetScale(), point.dLine);
      ScaleDerivatives(axes, axes.sample.GetScale(), point.dSample);
    }
  }
};

/// Takes one point through vectors of the processor's width. \tparam Project `TProjectNormalized` or `TProjectPoint`.
template <template <bool> class Project>
void Dispatch(const TRPCPrepared& model, const TOnePoint& point) {
  if (point.dLine == nullptr && point.dSample == nullptr) {
    simd::DispatchPoint(Project<false>{model, point});
  } else {
    simd::DispatchPoint(Project<true>{model, point});
  }
}

/// The arrays of one call, or of a part of it.
struct TArrays {
  const double* lat;
  const double* lon;
  const double* h;
  double* line;
  double* sample;
  double* dLine[3];
  double* dSample[3];
};

/// Points whose longitudes are looked at together: a few pages of each array.
constexpr std::size_t kRun = 512;

/// Ground to image of a range of points, a vector of points at a time.
template <bool Derivatives>
struct TProjectArrays {
  const TRPCPrepared& model;
  TArrays arrays;
  std::size_t first;
  std::size_t last;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t start = first; start < last; start += kRun) {
      const TArrays run = Part(start);
      const std::size_t count = std::min(kRun, last - start);
      // Buffers stand in where vectors would pass the end or a longitude has to be turned first.
      const std::size_t whole = AnyTurn(run.lon, count) ? 0 : count - count % Width;
      if (whole > 0) Project<Width>(run, whole);
      for (std::size_t i = whole; i < count; i += rpc::kLaneBlock) {
        Buffered<Width>(Part(start + i), std::min(rpc::kLaneBlock, count - i));
      }
    }
  }

 private:
  [[gnu::always_inline]] TArrays Part(std::size_t start) const {
    TArrays part = {
        arrays.lat + start, arrays.lon + start, arrays.h + start, arrays.line + start, arrays.sample + start, {}, {}};
    if (Derivatives) {
      for (int variable = 0; variable < 3; ++variable) {
        part.dLine[variable] = arrays.dLine[variable] == nullptr ? nullptr : arrays.dLine[variable] + start;
        part.dSample[variable] = arrays.dSample[variable] == nullptr ? nullptr : arrays.dSample[variable] + start;
      }
    }
    return part;
  }

  /// Written for lanes of one width, numbers and flags alike, which compilers turn into vectors.
  [[gnu::always_inline]] bool AnyTurn(const double* lon, std::size_t count) const {
    const double center = model.normalization.longitude.GetOffset();
    std::int64_t any = 0;
    for (std::size_t i = 0; i < count; ++i) {
      any |= static_cast<std::int64_t>(lon[i] + 180.0 < center) | static_cast<std::int64_t>(lon[i] > center + 180.0);
    }
    return any != 0;
  }

  template <int Width>
  [[gnu::always_inline]] void Buffered(const TArrays& part, std::size_t count) const {
    double in[3][rpc::kLaneBlock];
    double out[8][rpc::kLaneBlock];
    const double center = model.normalization.longitude.GetOffset();
    const std::size_t padded = (count + Width - 1) / Width * Width;
    for (std::size_t i = 0; i < padded; ++i) {
      const std::size_t source = std::min(i, count - 1);
      in[0][i] = part.lat[source];
      in[1][i] = rpc::LongitudeInTurn(center, part.lon[source]);
      in[2][i] = part.h[source];
    }
    Project<Width>({in[0], in[1], in[2], out[0], out[1], {out[2], out[3], out[4]}, {out[5], out[6], out[7]}}, padded);
    Copy(out[0], count, part.line);
    Copy(out[1], count, part.sample);
    if (Derivatives) {
      for (int variable = 0; variable < 3; ++variable) {
        if (part.dLine[variable] != nullptr) Copy(out[2 + variable], count, part.dLine[variable]);
        if (part.dSample[variable] != nullptr) Copy(out[5 + variable], count, part.dSample[variable]);
      }
    }
  }

  /// A plain loop: of std::copy_n the sanitizer build of GCC 12 believes that the count may be negative.
  static void Copy(const double* from, std::size_t count, double* to) {
    // NOLINTNEXTLINE(clang-analyzer-core.uninitialized.Assign): Project has filled all of them
    for (std::size_t i = 0; i < count; ++i) to[i] = from[i];
  }

  /// `count` is a multiple of the width and no longitude needs a turn.
  template <int Width>
  [[gnu::always_inline]] void Project(const TArrays& part, std::size_t count) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    TVector next[3];
    LoadNormalized<Width>(part, 0, next);
    for (std::size_t i = 0; i < count; i += Width) {
      const TVector P = next[0], L = next[1], H = next[2];
      // One step ahead: these divisions run beside the multiplications below, which do not wait for them.
      LoadNormalized<Width>(part, std::min(i + Width, count - Width), next);
      rpc::TPolynomials<TVector> q;
      rpc::EvaluatePolynomials<Derivatives>(model, P, L, H, q);
      TVector lineN, sampleN, line, sample;
      rpc::Quotients(q.value, lineN, sampleN);
      rpc::Denormalize(model.normalization.line, lineN, line);
      rpc::Denormalize(model.normalization.sample, sampleN, sample);
      *reinterpret_cast<TUnaligned*>(part.line + i) = line;
      *reinterpret_cast<TUnaligned*>(part.sample + i) = sample;
      if constexpr (Derivatives) StoreDerivatives<Width>(part, i, q);
    }
  }

  template <int Width>
  [[gnu::always_inline]] void LoadNormalized(const TArrays& part, std::size_t i,
                                             typename simd::TLanes<Width>::TVector (&normalized)[3]) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    const TVector lat = *reinterpret_cast<const TUnaligned*>(part.lat + i);
    const TVector lon = *reinterpret_cast<const TUnaligned*>(part.lon + i) + 0.0;  // no turn is a turn of 0 degrees
    const TVector h = *reinterpret_cast<const TUnaligned*>(part.h + i);
    rpc::Normalize(model.normalization.latitude, lat, normalized[0]);
    rpc::Normalize(model.normalization.longitude, lon, normalized[1]);
    rpc::Normalize(model.normalization.height, h, normalized[2]);
  }

  template <int Width>
  [[gnu::always_inline]] void StoreDerivatives(
      const TArrays& part, std::size_t i, const rpc::TPolynomials<typename simd::TLanes<Width>::TVector>& q) const {
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    const TRPCNormalization& axes = model.normalization;
    const double scales[3] = {axes.latitude.GetScale(), axes.longitude.GetScale(), axes.height.GetScale()};
    for (int variable = 0; variable < 3; ++variable) {
      typename simd::TLanes<Width>::TVector dLine, dSample;
      rpc::QuotientDerivatives(q.value, q.byVariable[variable], dLine, dSample);
      const double scale = scales[variable];
      if (part.dLine[variable] != nullptr) {
        *reinterpret_cast<TUnaligned*>(part.dLine[variable] + i) = dLine * axes.line.GetScale() / scale;
      }
      if (part.dSample[variable] != nullptr) {
        *reinterpret_cast<TUnaligned*>(part.dSample[variable] + i) = dSample * axes.sample.GetScale() / scale;
      }
    }
  }
};

}  // namespace

void TRPC::CalculateLineSampleNormalized(const double& P, const double& L, const double& H, double* lineN,
                                         double* sampleN, double* dLineN, double* dSampleN) const {
  Dispatch<TProjectNormalized>(prepared_, {P, L, H, lineN, sampleN, dLineN, dSampleN});
}

void TRPC::CalculateLineSample(const double& lat, const double& lon, const double& h, double* line, double* sample,
                               double* dLine, double* dSample) const {
  Dispatch<TProjectPoint>(prepared_, {lat, lon, h, line, sample, dLine, dSample});
}

void TRPC::CalculateLineSampleArray(std::size_t count, const double* lat, const double* lon, const double* h,
                                    double* line, double* sample, double* const* dLine, double* const* dSample) const {
  const TRPCPrepared& model = prepared_;
  TArrays arrays = {lat, lon, h, line, sample, {}, {}};
  if (dLine != nullptr) std::copy_n(dLine, 3, arrays.dLine);
  if (dSample != nullptr) std::copy_n(dSample, 3, arrays.dSample);
  const bool derivatives = dLine != nullptr || dSample != nullptr;
  rpc::ForEachBlock(count, [&](std::size_t first, std::size_t last) {
    if (derivatives) {
      simd::Dispatch(TProjectArrays<true>{model, arrays, first, last});
    } else {
      simd::Dispatch(TProjectArrays<false>{model, arrays, first, last});
    }
  });
}

}  // namespace SatCommonUtils
