// Refinements from control points or image ties with a look at whether they can be meant: columns in the wrong order
// fit badly or far away, and one of their exchanges fits well. Elementary.

#include <algorithm>
#include <cmath>
#include <functional>
#include <utility>

#include "frame/zxstd/text.h"
#include "refine/refinement_fit.h"
#include "refine/refinement_kinds.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils {
namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kMetersPerDegree = 111320.0;
/// A point counts as outside a box from here on, in half sizes of it: boxes are those of the points that they came
/// from.
constexpr double kOutside = 1.1;
/// An exchange explains a misfit when it leaves this share of it at most.
constexpr double kExplains = 0.2;

/// A way to read the points that exchanges some of their coordinates; its ties are made when they are needed.
struct TReading {
  const char* name;
  std::function<std::vector<TRefinementTie>()> ties;
};

/// Metres on the ground that a pixel covers at the centre of a model; NaN where it has none.
double MetersPerPixel(const TRPC& model) {
  const double lat = model.GetLatitudeNormalization()->GetOffset();
  double line, sample, d_line[3], d_sample[3];
  model.TRPC::CalculateLineSample(lat, model.GetLongitudeNormalization()->GetOffset(),
                                  model.GetHeightNormalization()->GetOffset(), &line, &sample, d_line, d_sample);
  const double pixels_per_square_degree = std::fabs(d_line[0] * d_sample[1] - d_line[1] * d_sample[0]);
  return kMetersPerDegree * std::sqrt(std::fabs(std::cos(lat * kPi / 180.0)) / pixels_per_square_degree);
}

/// What is beyond reason for a model.
struct TLimits {
  double meters_per_pixel = 0.0;
  double misfit = 0.0;      ///< root mean square after the fit, pixels
  double correction = 0.0;  ///< root mean square before it, pixels
};

TLimits LimitsOf(const TRPC& model, const TRefinementFitOptions& options) {
  TLimits limits;
  limits.meters_per_pixel = MetersPerPixel(model);
  limits.misfit = options.largestMisfit > 0.0
                      ? options.largestMisfit
                      : std::max(kReasonableMisfit, kReasonableMisfit / limits.meters_per_pixel);
  const TImageBox box = ImageBoxOf(model);
  limits.correction = options.largestMisfit > 0.0 && std::isinf(options.largestMisfit)
                          ? options.largestMisfit
                          : std::max(std::fabs(box.line.GetScale()), std::fabs(box.sample.GetScale()));
  return limits;
}

/// Whether a correction mirrors the image, as no sensor does it, but exchanged columns do.
bool IsMirrored(const TRefinementFit& fit) {
  const matr3x3 matrix = FindRefinementKind(fit.type)->matrixOf(*fit.data);
  return matrix[0][0] * matrix[1][1] - matrix[0][1] * matrix[1][0] < 0.0;
}

bool IsReasonable(const TRefinementFit& fit, const TLimits& limits) {
  return fit.success && fit.rmsAfter <= limits.misfit && fit.rmsBefore <= limits.correction &&
         (std::isinf(limits.correction) || !IsMirrored(fit));
}

/// Why a fit is beyond reason, and which other reading is not.
std::string ReasonOf(const TRefinementFit& fit, const TLimits& limits, const std::vector<TReading>& others,
                     const TRefinementFitOptions& options) {
  const bool mirrored = fit.rmsAfter <= limits.misfit && IsMirrored(fit);
  const bool far = mirrored || fit.rmsBefore > limits.correction;
  const double misfit = far ? fit.rmsBefore : fit.rmsAfter;
  std::string reason = Zentarix::ssprintf(
      "the points miss the model by %.4lg pixels (%.4lg m) %s its correction, which is "
      "beyond reason",
      misfit, misfit * limits.meters_per_pixel, far ? "before" : "after");
  if (mirrored) reason += ": it would mirror the image";
  const TReading* best = nullptr;
  double least = kExplains * misfit;
  for (const TReading& other : others) {
    TRefinementFit again;
    if (!FitRefinement(other.ties(), options, &again) || !IsReasonable(again, limits)) continue;
    const double left = far ? again.rmsBefore : again.rmsAfter;
    if (left >= least) continue;
    least = left;
    best = &other;
  }
  if (best == nullptr) return reason + "; is it the right model?";
  return reason +
         Zentarix::ssprintf("; %s seem to be exchanged: the other way round it is %.4lg pixels", best->name, least);
}

/// The fit of the ties, unless it is beyond reason. \param others how they may have been meant.
bool FitReadings(const TRPC& model, const std::vector<TRefinementTie>& ties, const std::vector<TReading>& others,
                 const TRefinementFitOptions& options, const std::vector<std::size_t>& outside,
                 TRefinementFit* result) {
  if (!FitRefinement(ties, options, result)) {
    result->outside = outside;
    return false;
  }
  const TLimits limits = LimitsOf(model, options);
  if (!IsReasonable(*result, limits)) {
    const std::string reason = ReasonOf(*result, limits, others, options);
    *result = TRefinementFit();
    result->message = reason;
  } else if (!outside.empty()) {
    result->message += Zentarix::ssprintf("; %zu points outside the model's box", outside.size());
  }
  result->outside = outside;
  return result->success;
}

std::vector<TRefinementTie> Ties(const TRPC& model, const std::vector<TGroundControlPoint>& points,
                                 bool exchange_ground, bool exchange_image) {
  if (!exchange_ground && !exchange_image) return TiesOfGroundControl(model, points);
  std::vector<TGroundControlPoint> exchanged = points;
  for (TGroundControlPoint& point : exchanged) {
    if (exchange_ground) std::swap(point.lat, point.lon);
    if (exchange_image) std::swap(point.line, point.sample);
  }
  return TiesOfGroundControl(model, exchanged);
}

}  // namespace

bool FitGroundControl(const TRPC& model, const std::vector<TGroundControlPoint>& points,
                      const TRefinementFitOptions& options, TRefinementFit* result) {
  const TImageBox image = ImageBoxOf(model);
  const TGroundBox ground = GroundBoxOf(model);
  std::vector<std::size_t> outside;
  for (std::size_t i = 0; i < points.size(); ++i) {
    const TGroundControlPoint& p = points[i];
    const bool inside = image.Remoteness({p.line, p.sample}) <= kOutside &&
                        ground.Remoteness({p.lat, p.lon, p.height}) <= kOutside &&
                        ground.HeightRemoteness(p.height) <= kOutside;
    if (!inside) outside.push_back(i);
  }
  const auto reading = [&](bool exchange_ground, bool exchange_image) {
    return [&model, &points, exchange_ground, exchange_image] {
      return Ties(model, points, exchange_ground, exchange_image);
    };
  };
  return FitReadings(model, Ties(model, points, false, false),
                     {{"latitude and longitude", reading(true, false)},
                      {"line and sample", reading(false, true)},
                      {"latitude and longitude as well as line and sample", reading(true, true)}},
                     options, outside, result);
}

bool FitImageTies(const TRPC& model, const std::vector<TRefinementTie>& ties, const TRefinementFitOptions& options,
                  TRefinementFit* result) {
  const TImageBox image = ImageBoxOf(model);
  std::vector<std::size_t> outside;
  for (std::size_t i = 0; i < ties.size(); ++i) {
    const bool inside = image.Remoteness({ties[i].line, ties[i].sample}) <= kOutside &&
                        image.Remoteness({ties[i].measuredLine, ties[i].measuredSample}) <= kOutside;
    if (!inside) outside.push_back(i);
  }
  // Exchanging the two of the model or the two that were measured is the same but for a reflection.
  const auto exchanged = [&ties] {
    std::vector<TRefinementTie> other = ties;
    for (TRefinementTie& tie : other) std::swap(tie.measuredLine, tie.measuredSample);
    return other;
  };
  return FitReadings(model, ties, {{"line and sample, computed or measured,", exchanged}}, options, outside, result);
}

}  // namespace SatCommonUtils
