// Pages of fits and refinements.

#include "report/residual_page.h"

#include <algorithm>
#include <cmath>

#include "report/page_scale.h"
#include "rpc/rpc_boxes.h"
#include "rpc/viewing_geometry.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;

namespace {

constexpr int kDigits = 4;
// What a figure shows of many points: more arrows would be a blot.
constexpr std::size_t kWorstDrawn = 100;
constexpr std::size_t kSampleDrawn = 500;

double Distance(const MeasuredPoint& point) { return std::hypot(point.line_off, point.sample_off); }

const std::string& NameOf(PageTone tone, const ToneNames& names) {
  return tone == PageTone::Plain ? names.plain : tone == PageTone::Second ? names.second : names.bad;
}

/// Only what occurs stands in keys.
ToneNames NamesThatOccur(const ResidualPage& page) {
  ToneNames names;
  for (const MeasuredPoint& point : page.points) {
    if (point.tone == PageTone::Plain) names.plain = page.names.plain;
    if (point.tone == PageTone::Second) names.second = page.names.second;
    if (point.tone == PageTone::Bad) names.bad = page.names.bad;
  }
  return names;
}

/// Some of the points: the worst ones and a sample of the others.
std::vector<MeasuredPoint> Drawn(const std::vector<MeasuredPoint>& points) {
  std::vector<double> distances;
  distances.reserve(points.size());
  for (const MeasuredPoint& point : points) distances.push_back(Distance(point));
  std::vector<MeasuredPoint> drawn;
  for (const std::size_t i : WorstAndSample(distances, kWorstDrawn, kSampleDrawn)) drawn.push_back(points[i]);
  // What matters more comes later, on top.
  std::stable_sort(drawn.begin(), drawn.end(), [](const auto& a, const auto& b) { return a.tone < b.tone; });
  return drawn;
}

PageFigure Map(const TRPC& model, const std::vector<MeasuredPoint>& points, const ToneNames& names) {
  GroundMap map;
  map.names = names;
  constexpr int kPointsPerSide = 4;
  const double height = SatCommonUtils::GroundBoxOf(model).height.Normalized2Initial(0.0);
  const SatCommonUtils::TImageFootprint footprint = SatCommonUtils::FootprintAt(model, height, kPointsPerSide);
  const std::string at = PageNumber(height, 0) + " m";
  if (footprint) map.outlines.push_back(OutlineOf("Footprint at " + at, footprint.ring));
  for (const MeasuredPoint& point : points) map.marks.push_back({point.name, point.lat, point.lon, point.tone});
  return MapFigure("Points on the ground",
                   footprint
                       ? "The outline is where the edge of the image meets the ground at the model's height offset, " +
                             at + ". North is up."
                       : "The image has no footprint at the model's height offset. North is up.",
                   map);
}

enum class Stage { Before, After };

PageFigure Arrows(const std::string& title, const std::string& caption, const TRPC& model, double shift,
                  const std::vector<MeasuredPoint>& points, const ToneNames& names, Stage stage) {
  const SatCommonUtils::TImageBox image = SatCommonUtils::ImageBoxOf(model);
  ArrowField field;
  const auto edges = [&](const SatCommonUtils::TLinearNormalization& axis, double* first, double* last) {
    *first = std::min(axis.Normalized2Initial(-1.0), axis.Normalized2Initial(1.0)) + shift;
    *last = std::max(axis.Normalized2Initial(-1.0), axis.Normalized2Initial(1.0)) + shift;
  };
  edges(image.line, &field.first_line, &field.last_line);
  edges(image.sample, &field.first_sample, &field.last_sample);
  field.names = names;
  for (const MeasuredPoint& point : points) {
    const bool before = stage == Stage::Before;
    field.arrows.push_back({point.name, point.line, point.sample, before ? point.line_before : point.line_off,
                            before ? point.sample_before : point.sample_off, point.tone});
  }
  return ArrowFigure(title, caption, field);
}

PageFigure Histogram(const ResidualPage& page) {
  HistogramSeries line{"line", {}};
  HistogramSeries sample{"sample", {}};
  for (const MeasuredPoint& point : page.points) {
    line.values.push_back(point.line_off);
    sample.values.push_back(point.sample_off);
  }
  return HistogramFigure("How often which residual occurs",
                         "Points by their residual in line and in sample, measured minus computed. Good ones stand "
                         "around zero, where the dashed line is.",
                         {line, sample}, "px");
}

PageTable PointsTable(const ResidualPage& page) {
  PageTable table;
  table.caption = "Points, the largest residual first";
  table.sorts_and_filters = true;
  table.columns = {
      {"point", "", PageColumn::Kind::Text}, {"use", "", PageColumn::Kind::Choice}, {"line", "px"}, {"sample", "px"}};
  if (page.corrected) {
    table.columns.push_back({"line before", "px"});
    table.columns.push_back({"sample before", "px"});
  }
  table.columns.push_back({page.corrected ? "line after" : "line residual", "px"});
  table.columns.push_back({page.corrected ? "sample after" : "sample residual", "px"});
  table.sorted_column = table.columns.size();
  table.columns.push_back({"distance", "px"});
  if (page.corrected) table.columns.push_back({"standardized", ""});

  std::vector<const MeasuredPoint*> points;
  for (const MeasuredPoint& point : page.points) points.push_back(&point);
  std::stable_sort(points.begin(), points.end(),
                   [](const auto* a, const auto* b) { return Distance(*a) > Distance(*b); });
  if (points.size() > kMostTableRows) {
    table.note = "The " + PageCount(kMostTableRows) + " points with the largest residuals of " +
                 PageCount(points.size()) + " are listed.";
    points.resize(kMostTableRows);
  }
  for (const MeasuredPoint* point : points) {
    PageTable::Row row;
    row.tone = point->tone;
    row.cells = {point->name, NameOf(point->tone, page.names), PageNumber(point->line, 2),
                 PageNumber(point->sample, 2)};
    if (page.corrected) {
      row.cells.push_back(PageNumber(point->line_before, kDigits));
      row.cells.push_back(PageNumber(point->sample_before, kDigits));
    }
    row.cells.push_back(PageNumber(point->line_off, kDigits));
    row.cells.push_back(PageNumber(point->sample_off, kDigits));
    row.cells.push_back(PageNumber(Distance(*point), kDigits));
    if (page.corrected) row.cells.push_back(PageNumber(point->standardized, 1));
    table.rows.push_back(std::move(row));
  }
  return table;
}

}  // namespace

std::string ResidualPageHtml(const ResidualPage& content, const TRPC& model, double shift) {
  Page page(content.command, content.title, content.lead);
  page.Section("Summary");
  page.Facts(content.facts);
  for (const PageTable& table : content.tables) page.Table(table);

  const std::vector<MeasuredPoint> drawn = Drawn(content.points);
  const ToneNames names = NamesThatOccur(content);
  page.Section("Figures");
  if (drawn.size() < content.points.size()) {
    page.Paragraph("Map and arrows show " + PageCount(drawn.size()) + " of " + PageCount(content.points.size()) +
                   " points: the " + PageCount(kWorstDrawn) +
                   " with the largest residuals and an even sample of the others.");
  }
  const std::string reading =
      "Each arrow begins at its point in the image and shows measured minus computed, enlarged as the arrow in the key "
      "says.";
  std::vector<PageFigure> figures = {Map(model, drawn, names)};
  if (content.corrected) {
    figures.push_back(Arrows("Residuals before the correction",
                             reading + " What arrows have in common is what a correction can take away.", model, shift,
                             drawn, names, Stage::Before));
  }
  figures.push_back(Arrows(content.corrected ? "Residuals after the correction" : "Residuals in the image",
                           reading + " Neighbours that point the same way show what the model leaves behind.", model,
                           shift, drawn, names, Stage::After));
  figures.push_back(Histogram(content));
  page.Figures(figures);

  page.Section("Points");
  page.Table(PointsTable(content));
  return page.Html();
}

PageTable StatisticsTable(const std::vector<std::pair<std::string, SatCommonUtils::TRPCFitResiduals>>& sets) {
  PageTable table;
  table.caption = "Residuals, measured minus computed";
  table.columns = {
      {"of", "", PageColumn::Kind::Text}, {"points", ""}, {"rms", "px"}, {"95 % within", "px"}, {"largest", "px"}};
  for (const auto& set : sets) {
    const std::string& name = set.first;
    const SatCommonUtils::TRPCFitResiduals& residuals = set.second;
    const auto add = [&](const char* what, const SatCommonUtils::TRPCFitStatistics& statistics) {
      table.rows.push_back({{name + ", " + what, PageCount(residuals.count), PageNumber(statistics.rms, 6),
                             PageNumber(statistics.percentile95, 6), PageNumber(statistics.maximum, 6)}});
    };
    add("line", residuals.line);
    add("sample", residuals.sample);
    add("distance", residuals.distance);
  }
  return table;
}

std::string RowName(const PointTable& table, std::size_t row) {
  const std::string_view id = table.Id(row);
  return id.empty() ? table.ShortPlace(row) : std::string(id);
}

namespace {

/// The points of the fit. \return how many are bad.
std::size_t AddUsed(const RefinementOrigin& origin, const SatCommonUtils::TRefinementFit& fit,
                    std::vector<MeasuredPoint>* points) {
  std::size_t bad = 0;
  for (std::size_t row = 0; row < fit.points.size(); ++row) {
    const SatCommonUtils::TRefinementResidual& residual = fit.points[row];
    MeasuredPoint point;
    point.name = RowName(origin.points, row);
    point.tone = residual.isBad ? PageTone::Bad : PageTone::Plain;
    if (residual.isBad) ++bad;
    if (!origin.places.lat.empty()) point.lat = origin.places.lat[row];
    if (!origin.places.lon.empty()) point.lon = origin.places.lon[row];
    point.line = origin.places.line[row] + origin.shift;
    point.sample = origin.places.sample[row] + origin.shift;
    point.line_off = residual.lineAfter;
    point.sample_off = residual.sampleAfter;
    point.line_before = residual.lineBefore;
    point.sample_before = residual.sampleBefore;
    point.standardized = residual.standardized;
    points->push_back(point);
  }
  return bad;
}

/// Points that check. \return the root mean square of their distances, pixels; NaN of none.
double AddChecks(const std::vector<ControlTable>& checks, const TRPC& model, double shift,
                 std::vector<MeasuredPoint>* points) {
  double sum = 0.0;
  std::size_t count = 0;
  for (const ControlTable& check : checks) {
    std::vector<SatCommonUtils::TGroundControlPoint> ground;
    ground.reserve(check.table.size());
    for (std::size_t row = 0; row < check.table.size(); ++row) {
      ground.push_back({check.ground.lat[row], check.ground.lon[row], check.ground.height[row], check.line[row],
                        check.sample[row], 1.0});
    }
    const std::vector<SatCommonUtils::TRefinementTie> raw = SatCommonUtils::TiesOfGroundControl(model, ground);
    for (std::size_t row = 0; row < ground.size(); ++row) {
      MeasuredPoint point;
      point.name = RowName(check.table, row);
      point.tone = PageTone::Second;
      point.lat = ground[row].lat;
      point.lon = ground[row].lon;
      point.line = ground[row].line + shift;
      point.sample = ground[row].sample + shift;
      double line = 0.0;
      double sample = 0.0;
      model.CalculateLineSample(point.lat, point.lon, ground[row].height, &line, &sample, nullptr, nullptr);
      point.line_off = ground[row].line - line;
      point.sample_off = ground[row].sample - sample;
      point.line_before = ground[row].line - raw[row].line;
      point.sample_before = ground[row].sample - raw[row].sample;
      sum += Distance(point) * Distance(point);
      ++count;
      points->push_back(std::move(point));
    }
  }
  return std::sqrt(sum / static_cast<double>(count));
}

}  // namespace

std::string RefinementPageHtml(const RefinementOrigin& origin, const SatCommonUtils::TRefinementFit& fit,
                               const TRPC& model, const std::vector<ControlTable>& checks) {
  ResidualPage page;
  page.command = "refine";
  page.title = "Refinement of " + FileName(origin.model) + " by " + FileName(origin.points.Name());
  page.lead = fit.message;
  page.corrected = true;
  page.names = {"used", "check", "bad"};
  const std::size_t bad = AddUsed(origin, fit, &page.points);
  const double check_rms = AddChecks(checks, model, origin.shift, &page.points);
  page.facts = {{"model", origin.model},
                {"points", origin.points.Name()},
                {"written", origin.written},
                {"kind of correction", SatCommonUtils::GetRPCRefinementTransformTypeName(fit.type)},
                {"points used", PageCount(fit.used) + " of " + PageCount(fit.points.size())},
                {"bad points", PageCount(bad)},
                {"rms before", PageNumber(fit.rmsBefore, kDigits) + " px"},
                {"rms after", PageNumber(fit.rmsAfter, kDigits) + " px"},
                {"true sigma / given sigma", fit.sigmaFactor > 0.0 ? PageNumber(fit.sigmaFactor, kDigits) : "unknown"}};
  if (page.points.size() > fit.points.size()) {
    page.facts.push_back({"check points", PageCount(page.points.size() - fit.points.size()) + ", rms after " +
                                              PageNumber(check_rms, kDigits) + " px"});
  }
  return ResidualPageHtml(page, model, origin.shift);
}

}  // namespace orbmath_tool
