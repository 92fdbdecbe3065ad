// The check of a model: how it maps, and all findings in one list. Elementary.

#include "rpc/model_check.h"

#include <algorithm>
#include <cmath>

#include "rpc/branch.h"
#include "rpc/check/model_checks.h"
#include "rpc/ground_branch.h"
#include "rpc/image_distance.h"

namespace SatCommonUtils {

namespace {

using rpc::Rounded;
using rpc::TExamined;
using rpc::TSeenGrid;
using rpc::TSeenNodes;
using Kind = TFindingKind;
using Severity = TFindingSeverity;

// A ground box so many times as large as what the image sees says nothing about poles near the image.
constexpr double kBoxOfAnother = 5.0;
// Pixels: a round trip that is worse has not settled.
constexpr double kWorstRoundTrip = 1e-3;
// Sizes of pixels: a view as oblique as 60 degrees has twice, radar and wide sweeps somewhat more.
constexpr double kLongestPixel = 3.0;
constexpr double kLargestSpread = 3.0;
// Pixels that two fits to one camera may differ by.
constexpr double kSameModel = 0.5;

TSeenGrid SeenBy(const TRPC& model) {
  const TSeenNodes nodes(ImageBoxOf(model, TRasterBounds::PixelCentres), GroundBoxOf(model).height);
  const auto& [line, sample, height] = nodes;
  TSeenGrid seen;
  seen.solutions.resize(line.size());
  SolveLatLonArray(model, line.size(), line.data(), sample.data(), height.data(), seen.solutions.data());
  for (std::size_t i = 0; i < seen.solutions.size(); ++i) {
    const TGroundSolution& solution = seen.solutions[i];
    if (!solution) {
      ++seen.lost;
      seen.lostInTheMiddle += i % TSeenGrid::kHeights == TSeenGrid::kHeights / 2 ? 1 : 0;
      continue;
    }
    seen.residual = std::max(seen.residual, solution.residual);
    seen.lat[0] = std::min(seen.lat[0], solution.lat);
    seen.lat[1] = std::max(seen.lat[1], solution.lat);
    seen.lon[0] = std::min(seen.lon[0], solution.lon);
    seen.lon[1] = std::max(seen.lon[1], solution.lon);
  }
  return seen;
}

std::string OfPoints(std::size_t some, std::size_t all, const char* where) {
  return std::to_string(some) + " of " + std::to_string(all) + " points of " + where;
}

/// How many times as large as what the image sees the ground box is, along the axis where it is larger.
double BoxExcess(const TExamined& examined) {
  const TRPCNormalization& axes = examined.model.GetNormalization();
  const TSeenGrid& seen = examined.seen;
  if (seen.lost == seen.solutions.size()) return 1.0;
  return std::max(2.0 * std::abs(axes.latitude.GetScale()) / (seen.lat[1] - seen.lat[0]),
                  2.0 * std::abs(axes.longitude.GetScale()) / (seen.lon[1] - seen.lon[0]));
}

/// How many times as large as the raster the record's image is; 1 where the raster is unknown.
double ImageExcess(const TExamined& examined) {
  int width = 0;
  int height = 0;
  if (!examined.model.GetRasterDims(&width, &height)) return 1.0;
  return std::max(
      {1.0, 2.0 * std::abs(examined.record.lineScale) / height, 2.0 * std::abs(examined.record.sampScale) / width});
}

void CheckGroundBox(const TExamined& examined) {
  // A raster that is a part of the record's image sees a part of its ground, which is as it should be.
  const double excess = BoxExcess(examined) / ImageExcess(examined);
  if (excess > kBoxOfAnother) {
    examined.Add(Severity::Warning, Kind::GroundBox,
                 "the ground box is " + Rounded(excess, 2) + " times as large as what the image sees",
                 "latScale, longScale", "programs that take the box for the extent of the image are wrong by as much");
  }
}

void CheckBranch(const TExamined& examined) {
  const TRPCFreeBox free = rpc::FindFreeBox(examined.record);
  if (free.ground >= 1.0 && free.height >= 1.0) return;
  const TBoxExamination box = ExamineBox(examined.model);
  const bool far = BoxExcess(examined) > kBoxOfAnother && examined.seen.lost == 0;
  const Severity severity = far ? Severity::Warning : Severity::Unfit;
  const std::string where = far ? "the ground box, beyond what the image sees" : "the ground box";
  if (box.beyondPole > 0) {
    examined.Add(severity, Kind::Pole, "a denominator is zero and changes its sign: a pole",
                 OfPoints(box.beyondPole, box.points, where.c_str()) + " lie beyond",
                 "image points run to infinity there, and what lies beyond means nothing");
  }
  if (box.beyondFold > 0) {
    examined.Add(severity, Kind::Fold, "the determinant of the derivatives changes its sign: a fold",
                 OfPoints(box.beyondFold, box.points, where.c_str()) + " lie beyond",
                 "two ground points share an image point there, and one of them is wrong");
  }
}

void CheckRoundTrip(const TExamined& examined) {
  const TSeenGrid& seen = examined.seen;
  const std::size_t all = seen.solutions.size();
  if (seen.lost == all) {
    examined.Add(Severity::Unfit, Kind::RoundTrip, "no image point has a ground point",
                 "the whole image at every height of the range", "the model cannot be inverted");
    return;
  }
  examined.out->roundTrip = seen.residual;
  if (seen.lost > 0) {
    // The ends of a height range are often beyond what a record was fitted to; most of it is not.
    const bool most = seen.lostInTheMiddle > 0 || 4 * seen.lost > all;
    examined.Add(most ? Severity::Unfit : Severity::Warning, Kind::RoundTrip, "image points without a ground point",
                 OfPoints(seen.lost, all, "the image at heights over the range"),
                 most ? "parts of the image cannot be located"
                      : "parts of the image cannot be located at the ends of the height range");
  }
  if (seen.residual > kWorstRoundTrip) {
    examined.Add(Severity::Warning, Kind::RoundTrip,
                 "image to ground to image misses by " + Rounded(seen.residual) + " px",
                 "the image at heights over the range", "located points are off by as much");
  }
}

/// Whether the raster is known, is no square, and is that of the record: line and sample are then not exchanged.
bool RasterConfirmsAxes(const TExamined& examined) {
  int width = 0;
  int height = 0;
  if (!examined.model.GetRasterDims(&width, &height) || width == height) return false;
  const double lines = 2.0 * std::abs(examined.record.lineScale) / height;
  const double samples = 2.0 * std::abs(examined.record.sampScale) / width;
  return std::abs(lines - 1.0) < 0.1 && std::abs(samples - 1.0) < 0.1;
}

void CheckPixels(const TExamined& examined) {
  double sizes[2] = {HUGE_VAL, 0.0};  // smallest and largest pixel over the image
  const TImageBox image = ImageBoxOf(examined.model, TRasterBounds::PixelCentres);
  const double h = examined.model.GetAverageHeight();
  for (const TImagePoint& point : image.Grid(3, 3, TGridNodes::Ends)) {
    const TViewingGeometry view = ViewingGeometryAt(examined.model, point.line, point.sample, h);
    if (!view) continue;
    sizes[0] = std::min(sizes[0], view.gsd);
    sizes[1] = std::max(sizes[1], view.gsd);
  }
  const TImagePoint middle = image.At({0.0, 0.0});
  const TViewingGeometry view = ViewingGeometryAt(examined.model, middle.line, middle.sample, h);
  if (!view) return;
  double line, sample, dLine[3], dSample[3];
  examined.model.CalculateLineSample(view.ground.lat, view.ground.lon, view.ground.h, &line, &sample, dLine, dSample);
  examined.out->view = examined.options.radar ? AsRadar(view) : view;
  // Lines run down and samples to the right: seen from above, (sample, line) turns against (longitude, latitude).
  const bool mirrored = dLine[0] * dSample[1] - dLine[1] * dSample[0] > 0.0;
  if (mirrored && !examined.options.radar && !examined.options.mirrored) {
    const bool confirmed = RasterConfirmsAxes(examined);
    examined.Add(confirmed ? Severity::Warning : Severity::Unfit, Kind::Mirror,
                 "the image is a mirror image of the ground: the determinant of the derivatives has the wrong sign",
                 "the whole image",
                 confirmed ? "the image shows the ground as in a mirror, or latitude and longitude are exchanged"
                           : "line and sample, or latitude and longitude, are exchanged, or a sign is wrong");
  }
  const double aspect = std::max(view.lineSize, view.sampleSize) / std::min(view.lineSize, view.sampleSize);
  if (aspect > kLongestPixel && !examined.options.radar) {
    examined.Add(Severity::Warning, Kind::Pixel,
                 "a pixel is " + Rounded(view.lineSize) + " m along lines' steps and " + Rounded(view.sampleSize) +
                     " m along samples'",
                 "the middle of the image", "scales or offsets of line and sample may be exchanged");
  }
  if (sizes[1] > kLargestSpread * sizes[0]) {
    examined.Add(Severity::Warning, Kind::Pixel,
                 "pixels are between " + Rounded(sizes[0]) + " and " + Rounded(sizes[1]) + " m large",
                 "the image at the mean height", "the model is bent as few cameras are: look at its coefficients");
  }
}

void AddFootprints(const TExamined& examined) {
  const TRPC& model = examined.model;
  const double low = std::min(model.GetMinHeight(), model.GetMaxHeight());
  const double high = std::max(model.GetMinHeight(), model.GetMaxHeight());
  examined.out->footprint = FootprintAt(model, model.GetAverageHeight());
  examined.out->lowFootprint = FootprintAt(model, low);
  examined.out->highFootprint = FootprintAt(model, high);
}

std::string Verdict(const TModelCheck& check) {
  const std::size_t warnings = check.Count(Severity::Warning);
  if (!check.IsFit()) return "unfit for use";
  if (warnings == 0) return "fit for use";
  return "fit for use with care, " + std::to_string(warnings) + (warnings == 1 ? " warning" : " warnings");
}

/// Brings order and sentence up to date.
void Conclude(TModelCheck* check) {
  std::stable_sort(check->findings.begin(), check->findings.end(),
                   [](const TModelFinding& a, const TModelFinding& b) { return a.severity > b.severity; });
  check->message = Verdict(*check);
}

}  // namespace

const char* FindingSeverityName(TFindingSeverity severity) noexcept {
  constexpr const char* kNames[] = {"note", "warning", "unfit"};
  return kNames[static_cast<int>(severity)];
}

const char* FindingKindName(TFindingKind kind) noexcept {
  constexpr const char* kNames[] = {"record", "denominator", "coefficients", "pole",      "fold",
                                    "mirror", "pixel",       "round-trip",   "sight",     "term-order",
                                    "scales", "ground-box",  "height-range", "latitude",  "longitude",
                                    "raster", "domain",      "direct-model", "same-image"};
  return kNames[static_cast<int>(kind)];
}

bool TModelCheck::IsFit() const noexcept { return state == TModelCheckState::Done && Count(Severity::Unfit) == 0; }

std::size_t TModelCheck::Count(TFindingSeverity severity) const noexcept {
  return static_cast<std::size_t>(
      std::count_if(findings.begin(), findings.end(),
                    [severity](const TModelFinding& finding) { return finding.severity == severity; }));
}

TModelCheck CheckModel(const TRPC& model, const TRPCFileOrigin* origin, const TModelCheckOptions& options) {
  TModelCheck out;
  TExamined examined{model, origin, options, {}, {}, &out};
  model.GetRPCData(&examined.record);
  if (rpc::CheckRecord(examined)) {
    out.state = TModelCheckState::Done;
    examined.seen = SeenBy(model);
    CheckRoundTrip(examined);
    CheckBranch(examined);
    CheckPixels(examined);
    CheckGroundBox(examined);
    rpc::CheckSight(examined);
    rpc::CheckRanges(examined);
    rpc::CheckFile(examined);
    AddFootprints(examined);
  } else {
    out.state = TModelCheckState::NoModel;
  }
  Conclude(&out);
  return out;
}

void AddFinding(TModelFinding finding, TModelCheck* check) {
  check->findings.push_back(std::move(finding));
  Conclude(check);
}

TModelFinding CompareSameImage(const TRPC& model, const TRPC& other, const std::string& name) {
  const TImageDistance distance = DistanceInImage(model, other);
  TModelFinding finding{Severity::Note, Kind::SameImage, "", "against " + name, "either may be used", distance.worst};
  if (!std::isfinite(distance.worst)) {
    finding.severity = Severity::Warning;
    finding.what = "the two models of the image cannot be compared";
    finding.consequence = "one of them does not see the ground of the other";
    return finding;
  }
  finding.what = "the two models of the image differ by up to " + Rounded(distance.worst) + " px, rms " +
                 Rounded(distance.rms) + " px";
  if (distance.worst > kSameModel) {
    finding.severity = Severity::Warning;
    finding.consequence =
        "results depend on which is taken: one may be refined, of another version, or of another first pixel";
  }
  return finding;
}

}  // namespace SatCommonUtils
