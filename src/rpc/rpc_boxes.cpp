// Boxes of the image and of the ground. Elementary.

#include "rpc/rpc_boxes.h"

#include <cmath>
#include <cstddef>

#include "frame/zxstd/plane_length.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

/// The larger of two numbers that are not negative; a NaN counts as larger than all.
double Larger(double a, double b) { return a > b || std::isnan(a) ? a : b; }

double RemotenessOn(const TLinearNormalization& axis, double value) {
  return std::fabs(axis.Initial2Normalized(value));
}

/// How far a value lies beyond the nearer edge; taken from the edges themselves, so that it is 0 on them.
double Beyond(const TLinearNormalization& axis, double value) {
  const double beyond = std::fabs(value - axis.GetOffset()) - std::fabs(axis.GetScale());
  return beyond < 0.0 ? 0.0 : beyond;
}

/// The pixels of a raster side. Offset and scale are halves of whole numbers, so the edges are exact.
TLinearNormalization RasterAxis(int size, TRasterBounds bounds) {
  const double half = bounds == TRasterBounds::PixelEdges ? 0.5 * size : 0.5 * (size - 1.0);
  return TLinearNormalization::Unchecked(0.5 * (size - 1.0), half);
}

}  // namespace

double GridPlace(int i, int count, TGridNodes nodes) noexcept {
  if (nodes == TGridNodes::Middles) return (2.0 * i + 1.0) / count - 1.0;
  return count > 1 ? 2.0 * i / (count - 1) - 1.0 : 0.0;
}

double TImageBox::Remoteness(const TImagePoint& point) const noexcept {
  return Larger(RemotenessOn(line, point.line), RemotenessOn(sample, point.sample));
}

bool TImageBox::Contains(const TImagePoint& point) const noexcept { return Remoteness(point) <= 1.0; }

double TImageBox::Distance(const TImagePoint& point) const noexcept {
  return PlaneLength(Beyond(line, point.line), Beyond(sample, point.sample));
}

TImagePoint TImageBox::At(const TNormalizedImagePoint& place) const noexcept {
  return {line.Normalized2Initial(place.line), sample.Normalized2Initial(place.sample)};
}

std::vector<TImagePoint> TImageBox::Grid(int lines, int samples, TGridNodes nodes) const {
  std::vector<TImagePoint> points;
  points.reserve(static_cast<std::size_t>(lines) * static_cast<std::size_t>(samples));
  for (int i = 0; i < lines; ++i) {
    for (int j = 0; j < samples; ++j) points.push_back(At({GridPlace(i, lines, nodes), GridPlace(j, samples, nodes)}));
  }
  return points;
}

TImageBox ImageBoxOf(const TRPC& model, TRasterBounds bounds) noexcept {
  int width = 0;
  int height = 0;
  if (model.GetRasterDims(&width, &height)) return {RasterAxis(height, bounds), RasterAxis(width, bounds)};
  return {model.GetNormalization().line, model.GetNormalization().sample};
}

double TGroundBox::Remoteness(const TGroundPoint& point) const noexcept {
  return Larger(RemotenessOn(latitude, point.lat),
                RemotenessOn(longitude, LongitudeNear(longitude.GetOffset(), point.lon)));
}

double TGroundBox::HeightRemoteness(double h) const noexcept { return RemotenessOn(height, h); }

bool TGroundBox::Contains(const TGroundPoint& point) const noexcept {
  return Remoteness(point) <= 1.0 && HeightRemoteness(point.h) <= 1.0;
}

TGroundPoint TGroundBox::At(const TNormalizedGroundPoint& place) const noexcept {
  return {latitude.Normalized2Initial(place.lat), longitude.Normalized2Initial(place.lon),
          height.Normalized2Initial(place.h)};
}

std::vector<TGroundPoint> TGroundBox::Grid(int latitudes, int longitudes, int heights, TGridNodes nodes) const {
  std::vector<TGroundPoint> points;
  points.reserve(static_cast<std::size_t>(latitudes) * static_cast<std::size_t>(longitudes) *
                 static_cast<std::size_t>(heights));
  for (int i = 0; i < latitudes; ++i) {
    for (int j = 0; j < longitudes; ++j) {
      for (int k = 0; k < heights; ++k) {
        points.push_back(
            At({GridPlace(i, latitudes, nodes), GridPlace(j, longitudes, nodes), GridPlace(k, heights, nodes)}));
      }
    }
  }
  return points;
}

TGroundBox GroundBoxOf(const TRPCNormalization& normalization) noexcept {
  return {normalization.latitude, normalization.longitude, normalization.height};
}

TGroundBox GroundBoxOf(const TRPC& model) noexcept { return GroundBoxOf(model.GetNormalization()); }

}  // namespace SatCommonUtils
