// Newton's method from the centre of a height's slice, for one point or a vector of points at a time.
//
// For most models a pair of steps behind the start leaves far less than 1e-7 pixels, which the proof shows. The proof
// takes latitude and longitude as they are given back, rounded, to normalised coordinates again. Lanes that are proven
// stay as they are while others go on, so a point does not depend on its neighbours.

#include "rpc/ground_newton.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "linalg/simd.h"
#include "rpc/height_slice.h"
#include "rpc/lanes.h"

namespace SatCommonUtils::rpc {

namespace {

constexpr int kMostPairs = 5;
constexpr double kProvenPixels = 1e-7;
/// Ranges end at 1; whoever lies this near to a border is to be measured exactly.
constexpr double kBorder = 1e-9;

/// What is known of one point or one vector of points.
template <class V>
struct TFound {
  V lat = {}, lon = {}, P = {}, L = {}, missSquared = {};
  TFlags<V> open = ~TFlags<V>{}, evaluations = {};
};

template <class T>
[[gnu::always_inline]] inline void Load(const TLinearNormalization& axis, double reciprocal, const T& x,
                                        T& normalized) {
  normalized = (x - axis.GetOffset()) * reciprocal;
}

/// Rounds the lanes that are open to degrees.
template <class V>
[[gnu::always_inline]] inline void Round(const TRPCPrepared& model, const V& P, const V& L, TFound<V>& found) {
  const TRPCNormalization& axes = model.normalization;
  AssignWhere(found.open, V(P * axes.latitude.GetScale() + axes.latitude.GetOffset()), found.lat);
  AssignWhere(found.open, V(L * axes.longitude.GetScale() + axes.longitude.GetOffset()), found.lon);
  Load(axes.latitude, model.reciprocal.latitude, found.lat, found.P);
  Load(axes.longitude, model.reciprocal.longitude, found.lon, found.L);
}

/// From normalised misses to pixels, squared.
template <class T>
[[gnu::always_inline]] inline void MissSquared(const TRPCPrepared& model, const T& line, const T& sample, T& squared) {
  const T missLine = line * model.normalization.line.GetScale();
  const T missSample = sample * model.normalization.sample.GetScale();
  squared = missLine * missLine + missSample * missSample;
}

/// Closes the lanes that are proven; one that is closed misses by the same as before.
template <class V>
[[gnu::always_inline]] inline void Close(const V& missSquared, TFound<V>& found) {
  found.evaluations = found.evaluations - found.open - found.open - found.open;  // a flag that is set is -1
  found.missSquared = missSquared;
  TFlags<V> proven;
  FlagWithin(missSquared, kProvenPixels * kProvenPixels, proven);
  found.open = found.open & ~proven;
}

template <class V>
[[gnu::always_inline]] inline void FlagBox(const V& x, const V& y, double size, TFlags<V>& flags) {
  TFlags<V> other;
  FlagWithin(x, size, flags);
  FlagWithin(y, size, other);
  flags = flags & other;
}

/// Whether both lie inside the range; `sure` is taken away where one may lie on its border.
template <class V>
[[gnu::always_inline]] inline void FlagRange(const V& x, const V& y, TFlags<V>& inside, TFlags<V>& sure) {
  TFlags<V> insideX, insideY, nearX, nearY;
  FlagWithin(x, 1.0 - kBorder, insideX);
  FlagWithin(y, 1.0 - kBorder, insideY);
  FlagWithin(x, 1.0 + kBorder, nearX);
  FlagWithin(y, 1.0 + kBorder, nearY);
  inside = insideX & insideY;
  sure = sure & ~((nearX & ~insideX) | (nearY & ~insideY));
}

template <class V>
[[gnu::always_inline]] inline void Mark(const TRPCPrepared& model, const V& lineN, const V& sampleN, const V& H,
                                        const TFound<V>& found, TFlags<V>& marks) {
  TFlags<V> inside, height, sure = ~TFlags<V>{};
  marks = ~found.open & kProven;
  FlagBox(found.P, found.L, model.free.ground, inside);
  FlagWithin(H, model.free.height, height);
  marks = marks | (inside & height & kFree);
  FlagRange(lineN, sampleN, inside, sure);
  marks = marks | (inside & kInImage);
  FlagRange(found.P, found.L, inside, sure);
  marks = marks | (inside & kInGround);
  FlagRange(H, H, inside, sure);
  marks = marks | (inside & kInHeight) | (sure & kSure);
}

struct TNewtonRun {
  const TRPCPrepared& model;
  std::size_t count;  ///< inputs and block have room for the next multiple of 16
  const double* line;
  const double* sample;
  const double* h;
  TNewtonBlock* block;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = 0; i < count; i += 2 * Width) Solve<Width>(i);
  }

 private:
  template <int Width>
  using TPair = TTwo<typename simd::TLanes<Width>::TVector>;

  template <int Width>
  [[gnu::always_inline]] static void Load(const TLinearNormalization& axis, double reciprocal, const double* from,
                                          TPair<Width>& normalized) {
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    const TPair<Width> x = {*reinterpret_cast<const TUnaligned*>(from),
                            *reinterpret_cast<const TUnaligned*>(from + Width)};
    rpc::Load(axis, reciprocal, x, normalized);
  }

  template <int Width>
  [[gnu::always_inline]] void Solve(std::size_t i) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    TPair<Width> lineN, sampleN, H, P, L;
    Load<Width>(model.normalization.line, model.reciprocal.line, line + i, lineN);
    Load<Width>(model.normalization.sample, model.reciprocal.sample, sample + i, sampleN);
    Load<Width>(model.normalization.height, model.reciprocal.height, h + i, H);
    TSliceAim<TPair<Width>> aim;
    TakeAim(model.Terms(), lineN, sampleN, H, aim);
    StartFromCenter(aim, P, L);
    TFound<TVector> first, second;
    int pairs = 0;
    do {
      StepTwice(aim, P, L);
      Round(model, P.x, L.x, first);
      Round(model, P.y, L.y, second);
      TPair<Width> missLine, missSample, missSquared;
      MissOfAim(aim, TPair<Width>{first.P, second.P}, TPair<Width>{first.L, second.L}, missLine, missSample);
      MissSquared(model, missLine, missSample, missSquared);
      Close(missSquared.x, first);
      Close(missSquared.y, second);
    } while (++pairs < kMostPairs && AnySet(TFlags<TVector>(first.open | second.open)));
    Store<Width>(i, lineN.x, sampleN.x, H.x, first);
    Store<Width>(i + Width, lineN.y, sampleN.y, H.y, second);
  }

  template <int Width, class V>
  [[gnu::always_inline]] void Store(std::size_t i, const V& lineN, const V& sampleN, const V& H,
                                    const TFound<V>& found) const {
    using TUnaligned = typename simd::TLanes<Width>::TUnaligned;
    TFlags<V> marks;
    Mark(model, lineN, sampleN, H, found, marks);
    *reinterpret_cast<TUnaligned*>(block->lat + i) = found.lat;
    *reinterpret_cast<TUnaligned*>(block->lon + i) = found.lon;
    *reinterpret_cast<TUnaligned*>(block->residual + i) = found.missSquared;
    std::memcpy(block->marks + i, &marks, sizeof marks);
    std::memcpy(block->evaluations + i, &found.evaluations, sizeof marks);
  }
};

}  // namespace

TNewtonPoint SolveNewtonPoint(const TRPCPrepared& model, double line, double sample, double h) {
  double lineN, sampleN, H, P, L;
  Load(model.normalization.line, model.reciprocal.line, line, lineN);
  Load(model.normalization.sample, model.reciprocal.sample, sample, sampleN);
  Load(model.normalization.height, model.reciprocal.height, h, H);
  TPointAim aim;
  TakeAim(model.Terms(), lineN, sampleN, H, aim);
  StartFromCenter(aim, P, L);
  TFound<double> found;
  int pairs = 0;
  do {
    StepTwice(aim, P, L);
    Round(model, P, L, found);
    double missLine, missSample, missSquared;
    MissOfAim(aim, found.P, found.L, missLine, missSample);
    MissSquared(model, missLine, missSample, missSquared);
    Close(missSquared, found);
  } while (++pairs < kMostPairs && found.open != 0);
  std::int64_t marks;
  Mark(model, lineN, sampleN, H, found, marks);
  return {found.lat, found.lon, std::sqrt(found.missSquared), marks, found.evaluations};
}

void SolveNewtonBlock(const TRPCPrepared& model, std::size_t count, const double* line, const double* sample,
                      const double* h, TNewtonBlock* block) {
  constexpr std::size_t kWidestPair = 16;
  const std::size_t whole = (count + kWidestPair - 1) / kWidestPair * kWidestPair;
  double in[3][kLaneBlock];
  if (whole != count) {
    const double* const from[3] = {line, sample, h};
    for (int c = 0; c < 3; ++c) {
      for (std::size_t i = 0; i < whole; ++i) in[c][i] = from[c][std::min(i, count - 1)];
    }
    line = in[0];
    sample = in[1];
    h = in[2];
  }
  simd::Dispatch(TNewtonRun{model, count, line, sample, h, block});
  for (std::size_t i = 0; i < count; ++i) block->residual[i] = std::sqrt(block->residual[i]);
}

}  // namespace SatCommonUtils::rpc
