// Every step of a block of points, then the next step. Elementary.

#include "terrain/simple_points.h"

#include "linalg/simd.h"
#include "rpc/lanes.h"

namespace SatCommonUtils::terrain {

namespace {

/// What points are moved and measured with, by line like all of it.
struct alignas(64) TWay {
  double ground[2][TSightBatch::kMost];  ///< longitude and latitude, without a mapping column and row
  double line[TSightBatch::kMost];       ///< of the projection
  double sample[TSightBatch::kMost];
};

enum class TStage { Start, Correct, Measure };

/// Elementwise work between the projections.
template <TStage Stage>
struct TStageKernel {
  const TScene& scene;
  const TSightPatches& patches;
  const TSightBatch& batch;
  TSimplePoints& points;
  TWay& way;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    using V = typename simd::TLanes<Width>::TVector;
    for (std::size_t i = 0; i < batch.count; i += Width) {
      if constexpr (Stage == TStage::Start) {
        Start<V>(i);
      } else if constexpr (Stage == TStage::Correct) {
        Correct<V>(i);
      } else {
        Measure<V>(i);
      }
    }
  }

 private:
  template <class V>
  [[gnu::always_inline]] static void Store(const V& from, double* to) {
    std::memcpy(to, &from, sizeof from);
  }

  template <class V>
  [[gnu::always_inline]] void Start(std::size_t i) const {
    V u, middle;
    simd::Load(&batch.u[i], u);
    simd::Load(&batch.middle[i], middle);
    V ground[2];
    for (int k = 0; k < 2; ++k) {
      if (scene.mapped) {
        V c0, c1, c2, c3;
        simd::Load(&batch.place[k][0][i], c0);
        simd::Load(&batch.place[k][1][i], c1);
        simd::Load(&batch.place[k][2][i], c2);
        simd::Load(&batch.place[k][3][i], c3);
        ground[k] = c0 + u * (c1 + u * (c2 + u * c3));
      } else {
        V found;
        simd::Load(&batch.found[k][i], found);
        ground[k] = found;
      }
    }
    Place(i, ground);
    Store(V(patches.GetHeight(0.0) + patches.GetHalf() * (middle + u)), &points.h[i]);
  }

  template <class V>
  [[gnu::always_inline]] void Place(std::size_t i, const V (&ground)[2]) const {
    const double* const g = scene.ground;
    for (int k = 0; k < 2; ++k) Store(ground[k], &way.ground[k][i]);
    Store(V(g[0] + ground[0] * g[1] + ground[1] * g[2] - scene.turn), &points.lon[i]);
    Store(V(g[3] + ground[0] * g[4] + ground[1] * g[5]), &points.lat[i]);
  }

  /// By how much the projection misses the image point.
  template <class V>
  [[gnu::always_inline]] void GetMiss(std::size_t i, V& line, V& sample) const {
    V lineBack, sampleBack;
    simd::Load(&points.line[i], line);
    simd::Load(&points.sample[i], sample);
    simd::Load(&way.line[i], lineBack);
    simd::Load(&way.sample[i], sampleBack);
    line -= lineBack;
    sample -= sampleBack;
  }

  template <class V>
  [[gnu::always_inline]] void Correct(std::size_t i) const {
    V line, sample, ground[2];
    GetMiss(i, line, sample);
    for (int k = 0; k < 2; ++k) {
      V before, byLine, bySample;
      simd::Load(&way.ground[k][i], before);
      simd::Load(&batch.byLine[k][i], byLine);
      simd::Load(&batch.bySample[k][i], bySample);
      ground[k] = before + (byLine * line + bySample * sample);
    }
    Place(i, ground);
  }

  template <class V>
  [[gnu::always_inline]] void Measure(std::size_t i) const {
    V line, sample, residual;
    GetMiss(i, line, sample);
    rpc::Sqrt(V(line * line + sample * sample), residual);
    Store(residual, &points.residual[i]);
  }
};

/// Takes from the clearances by how much the exact base lies higher than the polynomials have it, where they cross.
void SubtractBase(const TScene& scene, const TSimplePoints& points, TSightBatch* batch) {
  double base[TSightBatch::kMost];
  scene.base->GetHeights(batch->count, points.lat, points.lon, base);
  for (std::size_t i = 0; i < batch->count; ++i) {
    const double u = batch->u[i];
    const auto& c = batch->clearance;
    const double clearance = c[0][i] + u * (c[1][i] + u * (c[2][i] + u * c[3][i]));
    batch->clearance[0][i] -= base[i] - (points.h[i] - clearance);
  }
}

}  // namespace

void SolveSimplePoints(const TScene& scene, const TSightPatches& patches, const THeightTile& tile,
                       TSimplePoints* points) {
  constexpr double kRough = 0.05;  // metres: the base changes by less than a ten-thousandth of that
  const bool bicubic = scene.grid->GetFrame().interpolation == THeightInterpolation::Bicubic;
  TSightBatch batch;
  TWay way;
  // The widest vector is filled up with the last point, so that nothing unknown is computed with.
  const std::size_t count = (points->count + TSightBatch::kLanes - 1) / TSightBatch::kLanes * TSightBatch::kLanes;
  for (std::size_t i = points->count; i < count; ++i) {
    points->places[i] = points->places[points->count - 1];
    points->line[i] = points->line[points->count - 1];
    points->sample[i] = points->sample[points->count - 1];
  }
  FillBatch(patches, count, points->places, &batch);
  if (scene.base != nullptr) {
    SolveSingleCrossings(tile, bicubic, kRough, &batch);
    simd::Dispatch(TStageKernel<TStage::Start>{scene, patches, batch, *points, way});
    SubtractBase(scene, *points, &batch);
  }
  SolveSingleCrossings(tile, bicubic, kCloseToTerrain, &batch);
  simd::Dispatch(TStageKernel<TStage::Start>{scene, patches, batch, *points, way});
  const auto project = [&] {
    scene.model->CalculateLineSampleArray(count, points->lat, points->lon, points->h, way.line, way.sample, nullptr,
                                          nullptr);
  };
  project();
  simd::Dispatch(TStageKernel<TStage::Correct>{scene, patches, batch, *points, way});
  project();
  simd::Dispatch(TStageKernel<TStage::Measure>{scene, patches, batch, *points, way});
  for (std::size_t i = 0; i < points->count; ++i) points->miss[i] = batch.miss[i];
}

}  // namespace SatCommonUtils::terrain
