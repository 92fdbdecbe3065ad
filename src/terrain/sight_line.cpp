// Lines of sight by interpolation in the height: cubics through four inversions of the model. Elementary (Lagrange).

#include "terrain/sight_line.h"

#include <algorithm>
#include <cmath>

#include "frame/zxstd/plane_length.h"
#include "rpc/ground_solution.h"
#include "rpc/longitude_turns.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils::terrain {

namespace {

/// Chebyshev's nodes of degree 4, then where the polynomials are held against the model.
constexpr double kHeightNodes[] = {
    -0.92387953251128674, -0.38268343236508977, 0.38268343236508977, 0.92387953251128674, -1.0, 0.0, 1.0};
constexpr int kFitted = 4;
constexpr int kNodes = 7;

/// The lowest and highest heights at which the ground near an image is looked for before its terrain is known, metres.
constexpr double kLowestGround = -500.0;
constexpr double kHighestGround = 9000.0;

}  // namespace

void TScene::GetLatLon(const TSightLine& line, double u, double* lat, double* lon) const {
  if (mapped) {
    *lat = Evaluate(line.c[kLatitude], u);
    *lon = Evaluate(line.c[kLongitude], u);
    return;
  }
  const double column = Evaluate(line.c[kColumn], u);
  const double row = Evaluate(line.c[kRow], u);
  *lon = ground[0] + column * ground[1] + row * ground[2] - turn;
  *lat = ground[3] + column * ground[4] + row * ground[5];
}

void TScene::Place(std::size_t count, const double* lat, const double* lon, double* column, double* row,
                   double* heightOfBase) const {
  if (grid == nullptr) {
    std::copy_n(lon, count, column);
    std::copy_n(lat, count, row);
  } else {
    // The row's place holds the turned longitudes until it gets its own values.
    for (std::size_t i = 0; i < count; ++i) row[i] = lon[i] + turn;
    grid->GetColumnsRows(count, lat, row, column, row);
  }
  if (base == nullptr)
    std::fill_n(heightOfBase, count, 0.0);
  else
    base->GetHeights(count, lat, lon, heightOfBase);
}

bool GetGroundBox(const TRPC& model, TTerrainBox* box) {
  constexpr int kSide = 5;
  const TImageBox image = ImageBoxOf(model);
  const double low = std::fmin(kLowestGround, std::fmin(model.GetMinHeight(), model.GetMaxHeight()));
  const double high = std::fmax(kHighestGround, std::fmax(model.GetMinHeight(), model.GetMaxHeight()));
  *box = {HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
  for (int i = 0; i < kSide * kSide * 3; ++i) {
    const double s = GridPlace(i / 3 / kSide, kSide, TGridNodes::Ends);
    const double t = GridPlace(i / 3 % kSide, kSide, TGridNodes::Ends);
    const double h = i % 3 == 0 ? low : (i % 3 == 1 ? high : 0.5 * (low + high));
    const TGroundSolution ground =
        SolveLatLon(model, image.line.Normalized2Initial(s), image.sample.Normalized2Initial(t), h);
    if (!ground) continue;
    box->south = std::fmin(box->south, ground.lat);
    box->north = std::fmax(box->north, ground.lat);
    box->west = std::fmin(box->west, ground.lon);
    box->east = std::fmax(box->east, ground.lon);
  }
  if (!(box->south <= box->north)) return false;
  const double marginLat = 0.1 * (box->north - box->south);
  const double marginLon = 0.1 * (box->east - box->west);
  box->south = std::fmax(box->south - marginLat, -90.0);
  box->north = std::fmin(box->north + marginLat, 90.0);
  box->west -= marginLon;
  box->east += marginLon;
  return true;
}

TScene MakeScene(const TRPC& model, const THeightSurface& surface) {
  TScene scene;
  scene.model = &model;
  scene.surface = &surface;
  if (!surface.Split(&scene.grid, &scene.base) || scene.grid == nullptr) {
    scene.grid = nullptr;
    scene.base = nullptr;
    return scene;
  }
  const THeightGridFrame& frame = scene.grid->GetFrame();
  const double* t = frame.transform;
  const double spacing = std::fmax(PlaneLength(t[1], t[4]), PlaneLength(t[2], t[5]));
  scene.mapped = frame.mapping != nullptr;
  scene.metresPerUnit = scene.mapped ? spacing : spacing * kMetresPerDegree;
  if (!scene.mapped) {
    const double half = frame.pixelIsArea ? 0.5 : 0.0;
    scene.turn = 360.0 * rpc::LongitudeTurns(scene.grid->GetCenterLongitude(), model.GetCenterLongitude());
    const double ground[] = {t[0] + half * (t[1] + t[2]), t[1], t[2], t[3] + half * (t[4] + t[5]), t[4], t[5]};
    std::copy_n(ground, 6, scene.ground);
  }
  return scene;
}

TFourNodes::TFourNodes(const double* nodes) {
  for (int i = 0; i < kTerms; ++i) {
    // The product of (u - nodes[j]) / (nodes[i] - nodes[j]) over the other three.
    double product[kTerms] = {1.0, 0.0, 0.0, 0.0};
    for (int j = 0; j < kTerms; ++j) {
      if (j == i) continue;
      const double scale = 1.0 / (nodes[i] - nodes[j]);
      for (int k = kTerms - 1; k >= 0; --k) {
        product[k] = ((k > 0 ? product[k - 1] : 0.0) - nodes[j] * product[k]) * scale;
      }
    }
    for (int k = 0; k < kTerms; ++k) m[k][i] = product[k];
  }
}

double GetMiss(const TScene& scene, const double* a, const double* b) {
  double miss = scene.metresPerUnit * PlaneLength(a[kColumn] - b[kColumn], a[kRow] - b[kRow]);
  if (scene.mapped) {
    const double ground = PlaneLength(a[kLatitude] - b[kLatitude], a[kLongitude] - b[kLongitude]);
    miss = std::fmax(miss, kMetresPerDegree * ground);
  }
  return miss;
}

TSightState BuildSightLine(const TScene& scene, double line, double sample, double lowest, double highest,
                           TSightLine* sight) {
  static const TFourNodes fit(kHeightNodes);
  sight->center = 0.5 * (lowest + highest);
  sight->half = 0.5 * (highest - lowest);
  double lines[kNodes], samples[kNodes], heights[kNodes];
  for (int i = 0; i < kNodes; ++i) {
    lines[i] = line;
    samples[i] = sample;
    heights[i] = sight->GetHeight(kHeightNodes[i]);
  }
  TGroundSolution solutions[kNodes];
  if (SolveLatLonArray(*scene.model, kNodes, lines, samples, heights, solutions) < kNodes) return TSightState::Failed;
  double values[kComponents][kNodes];
  for (int i = 0; i < kNodes; ++i) {
    values[kLatitude][i] = solutions[i].lat;
    values[kLongitude][i] = solutions[i].lon;
  }
  scene.Place(kNodes, values[kLatitude], values[kLongitude], values[kColumn], values[kRow], values[kClearance]);
  double sum = 0.0;
  for (int i = 0; i < kNodes; ++i) {
    values[kClearance][i] = heights[i] - values[kClearance][i];
    sum += values[kClearance][i] + values[kColumn][i] + values[kRow][i];
  }
  if (std::isnan(sum)) return TSightState::Void;
  for (int component = 0; component < kComponents; ++component) {
    for (int k = 0; k < kTerms; ++k) {
      double c = 0.0;
      for (int i = 0; i < kFitted; ++i) c += fit.m[k][i] * values[component][i];
      sight->c[component][k] = c;
    }
  }
  for (int i = kFitted; i < kNodes; ++i) {
    double exact[kComponents], fitted[kComponents];
    for (int component = 0; component < kComponents; ++component) {
      exact[component] = values[component][i];
      fitted[component] = Evaluate(sight->c[component], kHeightNodes[i]);
    }
    if (!(GetMiss(scene, exact, fitted) <= kSightTolerance)) return TSightState::Coarse;
  }
  return TSightState::Good;
}

}  // namespace SatCommonUtils::terrain
