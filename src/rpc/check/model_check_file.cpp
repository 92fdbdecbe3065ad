// What a model's file says beside the record, against the record: raster, domains, the other direction. Elementary.

#include <algorithm>
#include <cmath>

#include "rpc/check/model_checks.h"
#include "rpc/inverse_rpc.h"

namespace SatCommonUtils::rpc {

namespace {

using Kind = TFindingKind;
using Severity = TFindingSeverity;

constexpr double kPart = 1.5;     // a box so many times its raster is that of a larger image
constexpr double kBeyond = 0.05;  // of a box: so far beyond it nothing is lost
constexpr double kAlike = 0.1;    // of a size, when two are called equal
// Pixels between the two directions of one container: what two fits differ by, and what no two fits of one camera do.
constexpr double kAgree = 0.5;
constexpr double kDisagree = 10.0;

struct TRange {
  double low, high;
  double Size() const { return high - low; }
  double Middle() const { return 0.5 * (low + high); }
};

TRange RangeOf(double offset, double scale) { return {offset - std::abs(scale), offset + std::abs(scale)}; }
TRange Between(double a, double b) { return {std::min(a, b), std::max(a, b)}; }
bool AreApart(const TRange& a, const TRange& b) { return a.high < b.low || b.high < a.low; }
/// How far `inner` reaches beyond `outer`, as a part of the latter.
double Excess(const TRange& inner, const TRange& outer) {
  return std::max(outer.low - inner.low, inner.high - outer.high) / outer.Size();
}

std::string Text(const TRange& lines, const TRange& samples) {
  return "lines " + Rounded(lines.low, 7) + " to " + Rounded(lines.high, 7) + ", samples " + Rounded(samples.low, 7) +
         " to " + Rounded(samples.high, 7);
}

void CheckRaster(const TExamined& examined, const TRange& lines, const TRange& samples) {
  int width = 0;
  int height = 0;
  if (!examined.model.GetRasterDims(&width, &height)) return;
  const TRange rows{-0.5, height - 0.5}, columns{-0.5, width - 0.5};
  const std::string where =
      "raster of " + std::to_string(width) + " x " + std::to_string(height) + ", record for " + Text(lines, samples);
  const auto alike = [](const TRange& a, const TRange& b) { return std::abs(a.Size() - b.Size()) < kAlike * b.Size(); };
  if (AreApart(rows, lines) || AreApart(columns, samples)) {
    examined.Add(Severity::Unfit, Kind::Raster, "the record's image lies beside the raster", where,
                 "the model is that of another image, or of a scene of which this is a part that was not cut");
  } else if (alike(lines, columns) && alike(samples, rows) && !alike(lines, rows)) {
    examined.Add(Severity::Unfit, Kind::Raster, "the record's image is the raster turned by a quarter", where,
                 "line and sample are exchanged, or the raster was turned");
  } else if (std::max(Excess(rows, lines), Excess(columns, samples)) > kBeyond) {
    examined.Add(Severity::Warning, Kind::Raster, "the raster reaches beyond the record's image", where,
                 "there the model is extrapolated");
  } else if (lines.Size() > kPart * rows.Size() || samples.Size() > kPart * columns.Size()) {
    examined.Add(Severity::Note, Kind::Raster, "the record is that of a larger image", where,
                 "right for a part of it whose first pixel is that of the whole");
  }
}

void CheckDomains(const TExamined& examined, const TRange& lines, const TRange& samples) {
  if (const auto& domain = examined.origin->imageDomain) {
    const TRange rows = Between(domain->firstLine, domain->lastLine);
    const TRange columns = Between(domain->firstSample, domain->lastSample);
    const std::string where = "domain of " + Text(rows, columns) + ", record for " + Text(lines, samples);
    if (AreApart(rows, lines) || AreApart(columns, samples)) {
      examined.Add(Severity::Unfit, Kind::Domain, "the record's image lies beside the domain where the model holds",
                   where, "domain or offsets are those of another image");
    } else if (std::abs(rows.Middle() - lines.Middle()) > kAlike * lines.Size() ||
               std::abs(columns.Middle() - samples.Middle()) > kAlike * samples.Size()) {
      examined.Add(Severity::Warning, Kind::Domain, "the domain where the model holds is not that of the record", where,
                   "beyond the domain the maker does not vouch for the model");
    }
  }
  if (const auto& domain = examined.origin->groundDomain) {
    const TRPCData& record = examined.record;
    const TRange lat = Between(domain->firstLat, domain->lastLat);
    const double turn = LongitudeNear(record.longOffset, domain->firstLon) - domain->firstLon;
    const TRange lon = Between(domain->firstLon + turn, domain->lastLon + turn);
    if (AreApart(lat, RangeOf(record.latOffset, record.latScale)) ||
        AreApart(lon, RangeOf(record.longOffset, record.longScale))) {
      examined.Add(Severity::Unfit, Kind::Domain, "the record's ground lies beside the domain where the model holds",
                   "latitudes " + Rounded(lat.low, 7) + " to " + Rounded(lat.high, 7) + ", longitudes " +
                       Rounded(lon.low, 7) + " to " + Rounded(lon.high, 7),
                   "domain or offsets are those of another image");
    }
  }
}

/// How far the file's image-to-ground model misses the record, pixels, the worst over the image and the heights.
double DirectMiss(const TRPCData& record, const TRPCData& direct) {
  const TRPC model(record, nullptr);
  const TSeenNodes nodes(ImageBoxOf(model), GroundBoxOf(model).height);
  const auto& [line, sample, height] = nodes;
  std::vector<double> lat(line.size()), lon(line.size());
  TInverseRPC(direct).Evaluate(line.size(), line.data(), sample.data(), height.data(), lat.data(), lon.data());
  double worst = 0.0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    double backLine, backSample;
    model.CalculateLineSample(lat[i], lon[i], height[i], &backLine, &backSample, nullptr, nullptr);
    const double miss = std::hypot(backLine - line[i], backSample - sample[i]);
    // A NaN counts as the worst there is, which a maximum would pass over.
    if (!(miss <= worst)) worst = std::isnan(miss) ? HUGE_VAL : miss;
  }
  return worst;
}

void CheckDirectModel(const TExamined& examined) {
  if (!examined.origin->directModel) return;
  const double miss = DirectMiss(examined.record, *examined.origin->directModel);
  examined.out->directModel = miss;
  Severity severity = Severity::Note;
  std::string consequence = "both directions may be used";
  if (!(miss <= kAgree)) {
    severity = miss <= kDisagree ? Severity::Warning : Severity::Unfit;
    consequence = miss <= kDisagree ? "a program that uses the other direction gets other points"
                                    : "one of the two is not the model of this image";
  }
  examined.Add(severity, Kind::DirectModel, "the file's image-to-ground model misses by up to " + Rounded(miss) + " px",
               "the image at heights over the range", consequence);
}

}  // namespace

void CheckFile(const TExamined& examined) {
  const TRPCData& record = examined.record;
  const TRange lines = RangeOf(record.lineOffset, record.lineScale);
  const TRange samples = RangeOf(record.sampOffset, record.sampScale);
  CheckRaster(examined, lines, samples);
  if (examined.origin == nullptr) return;
  CheckDomains(examined, lines, samples);
  CheckDirectModel(examined);
}

}  // namespace SatCommonUtils::rpc
