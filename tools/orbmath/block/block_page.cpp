// The results of an adjustment to look at.

#include "block/block_page.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "report/page.h"
#include "report/page_plots.h"
#include "report/page_scale.h"
#include "rpc/rpc_boxes.h"
#include "rpc/viewing_geometry.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockImageResult;
using SatCommonUtils::TBlockImageState;
using SatCommonUtils::TBlockMeasurementState;
using SatCommonUtils::TBlockMisclosure;
using SatCommonUtils::TBlockPointRole;
using SatCommonUtils::TBlockPointState;

namespace {

// What figures show of many images, measurements and points: more would be a blot.
constexpr std::size_t kImagesDrawn = 12;
constexpr std::size_t kOutlinesDrawn = 200;
constexpr std::size_t kWorstDrawn = 60;
constexpr std::size_t kSampleDrawn = 240;
constexpr std::size_t kWorstMarks = 600;
constexpr std::size_t kSampleMarks = 900;
constexpr std::size_t kHistogramValues = 200000;

bool TakesPart(const TBlockImageResult& image) {
  return image.state == TBlockImageState::Adjusted || image.state == TBlockImageState::Fixed;
}

double Rms(const TBlockImageResult& image) { return std::hypot(image.residuals.rmsLine, image.residuals.rmsSample); }

/// Images that take part, those with the largest residuals first.
std::vector<std::size_t> ImagesWorstFirst(const BlockStory& story) {
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < story.result.images.size(); ++i) {
    if (TakesPart(story.result.images[i])) order.push_back(i);
  }
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    return Rms(story.result.images[a]) > Rms(story.result.images[b]);
  });
  return order;
}

std::vector<PageFact> FactsOf(const BlockStory& story) {
  const SatCommonUtils::TBlockResult& result = story.result;
  const SatCommonUtils::TBlockMisclosureStatistics& check = result.checkStatistics;
  std::vector<PageFact> facts = {
      {"sigma0", PageNumber(result.sigma0, 3) + " (1: the measurements are as good as their sigmas say)"},
      {"rms of the residuals", PageNumber(result.rms, 3) + " px"},
      {"images", PageCount(result.images.size() - result.lostImages.size()) + " of " + PageCount(result.images.size())},
      {"measurements", PageCount(static_cast<std::size_t>(result.observations)) + " used, " +
                           PageCount(result.badMeasurements.size()) + " bad"},
      {"redundancy", std::to_string(result.redundancy)},
      {"control points", PageCount(result.controlStatistics.count)}};
  if (check.count > 0) {
    facts.push_back({"check points", PageCount(check.count) + ": rms " + PageNumber(check.rmsEast, 3) + " m east, " +
                                         PageNumber(check.rmsNorth, 3) + " m north, " + PageNumber(check.rmsUp, 3) +
                                         " m up; CE90 " + PageNumber(check.ce90, 3) + " m, LE90 " +
                                         PageNumber(check.le90, 3) + " m"});
  }
  return facts;
}

PageTable ImageTable(const BlockStory& story) {
  PageTable table;
  table.caption =
      "Images: correction at the centre (line, sample), its largest standard deviation in a corner, residuals";
  table.sorts_and_filters = true;
  table.columns = {{"image", "", PageColumn::Kind::Text},
                   {"state", "", PageColumn::Kind::Choice},
                   {"kind", "", PageColumn::Kind::Choice},
                   {"piece", ""},
                   {"used", ""},
                   {"bad", ""},
                   {"line", "px"},
                   {"sample", "px"},
                   {"corner sigma", "px"},
                   {"rms line", "px"},
                   {"rms sample", "px"},
                   {"largest", "px"}};
  for (std::size_t i = 0; i < story.result.images.size(); ++i) {
    const TBlockImageResult& image = story.result.images[i];
    table.rows.push_back({{story.problem.images[i].name, SatCommonUtils::DescribeBlockState(image.state),
                           GetBlockCorrectionName(image.correction), std::to_string(image.piece + 1),
                           PageCount(image.residuals.used), PageCount(image.residuals.bad),
                           PageNumber(image.parameters.line[0], 3), PageNumber(image.parameters.sample[0], 3),
                           PageNumber(image.cornerSigma, 3), PageNumber(image.residuals.rmsLine, 3),
                           PageNumber(image.residuals.rmsSample, 3), PageNumber(image.residuals.largest, 2)},
                          TakesPart(image) ? PageTone::Plain : PageTone::Bad});
  }
  return table;
}

PageTable MisclosureTable(const BlockStory& story) {
  PageTable table;
  table.caption = "Control and check points, adjusted minus known";
  table.sorts_and_filters = true;
  table.columns = {{"point", "", PageColumn::Kind::Text},
                   {"role", "", PageColumn::Kind::Choice},
                   {"east", "m"},
                   {"north", "m"},
                   {"up", "m"},
                   {"sigma east", "m"},
                   {"sigma north", "m"},
                   {"sigma up", "m"},
                   {"standardized", ""}};
  const auto add = [&](const std::vector<TBlockMisclosure>& points) {
    for (const TBlockMisclosure& each : points) {
      const SatCommonUtils::TBlockPoint& point = story.problem.points[each.point];
      table.rows.push_back(
          {{point.name, std::string(GetBlockPointRoleName(point.role)) + (each.isBad ? ", bad" : ""),
            PageNumber(each.east, 3), PageNumber(each.north, 3), PageNumber(each.up, 3), PageNumber(each.sigmaEast, 3),
            PageNumber(each.sigmaNorth, 3), PageNumber(each.sigmaUp, 3), PageNumber(each.standardized, 1)},
           each.isBad                             ? PageTone::Bad
           : point.role == TBlockPointRole::Check ? PageTone::Second
                                                  : PageTone::Plain});
    }
  };
  add(story.result.check);
  add(story.result.control);
  return table;
}

PageTable BadTable(const BlockStory& story) {
  PageTable table;
  table.caption = "Bad measurements, worst first";
  table.sorts_and_filters = true;
  table.columns = {{"point", "", PageColumn::Kind::Text},
                   {"image", "", PageColumn::Kind::Choice},
                   {"line", "px"},
                   {"sample", "px"},
                   {"line off", "px"},
                   {"sample off", "px"},
                   {"standardized", ""},
                   {"reason", "", PageColumn::Kind::Choice}};
  const auto& measured = story.problem.measurements;
  const auto& results = story.result.measurements;
  for (const std::uint32_t i : story.result.badMeasurements) {
    if (table.rows.size() == kMostTableRows) break;
    table.rows.push_back(
        {{story.problem.points[measured.point[i]].name, story.problem.images[measured.image[i]].name,
          PageNumber(measured.line[i], 2), PageNumber(measured.sample[i], 2), PageNumber(results.line[i], 2),
          PageNumber(results.sample[i], 2), PageNumber(results.standardized[i], 1),
          SatCommonUtils::DescribeBlockState(results.state[i])},
         PageTone::Bad});
  }
  const std::size_t all = story.result.badMeasurements.size();
  if (all > table.rows.size()) {
    table.note =
        "The first " + PageCount(table.rows.size()) + " of " + PageCount(all) + "; all of them stand in report.json.";
  }
  return table;
}

/// Residuals over one image.
PageFigure Arrows(const BlockStory& story, std::size_t image, const std::vector<std::uint32_t>& measurements) {
  const SatCommonUtils::TImageBox box = SatCommonUtils::ImageBoxOf(*story.problem.images[image].model);
  ArrowField field;
  field.first_line = box.line.Normalized2Initial(-1.0);
  field.last_line = box.line.Normalized2Initial(1.0);
  field.first_sample = box.sample.Normalized2Initial(-1.0);
  field.last_sample = box.sample.Normalized2Initial(1.0);
  std::vector<double> lengths;
  lengths.reserve(measurements.size());
  for (const std::uint32_t i : measurements) lengths.push_back(ResidualLength(story.result, i));
  const auto& measured = story.problem.measurements;
  for (const std::size_t place : WorstAndSample(lengths, kWorstDrawn, kSampleDrawn)) {
    const std::uint32_t i = measurements[place];
    field.arrows.push_back({story.problem.points[measured.point[i]].name, measured.line[i], measured.sample[i],
                            story.result.measurements.line[i], story.result.measurements.sample[i], PageTone::Plain});
  }
  const std::string& name = story.problem.images[image].name;
  return ArrowFigure(name,
                     "Residuals in image " + name + ", measured minus computed: " + PageCount(field.arrows.size()) +
                         " of " + PageCount(measurements.size()) +
                         ". A common pattern wants a richer correction; noise does not.",
                     field);
}

/// Residual arrows of the worst images.
std::vector<PageFigure> ArrowFigures(const BlockStory& story, const std::vector<std::size_t>& images) {
  std::vector<std::vector<std::uint32_t>> of_image(story.problem.images.size());
  const auto& measured = story.problem.measurements;
  for (std::uint32_t i = 0; i < measured.Size(); ++i) {
    if (story.result.measurements.state[i] == TBlockMeasurementState::Used) of_image[measured.image[i]].push_back(i);
  }
  std::vector<PageFigure> figures;
  for (std::size_t i = 0; i < std::min(images.size(), kImagesDrawn); ++i) {
    figures.push_back(Arrows(story, images[i], of_image[images[i]]));
  }
  return figures;
}

PageFigure Histogram(const BlockStory& story) {
  HistogramSeries line{"line", {}};
  HistogramSeries sample{"sample", {}};
  const auto& results = story.result.measurements;
  const std::size_t step = 1 + results.state.size() / kHistogramValues;
  for (std::size_t i = 0; i < results.state.size(); i += step) {
    if (results.state[i] != TBlockMeasurementState::Used) continue;
    line.values.push_back(results.line[i]);
    sample.values.push_back(results.sample[i]);
  }
  return HistogramFigure("How often which residual occurs",
                         "Measurements used by their residual in line and in sample, measured minus computed" +
                             (step == 1 ? std::string(".") : "; each " + PageCount(step) + "th of them."),
                         {line, sample}, "px");
}

PageFigure Map(const BlockStory& story, const std::vector<std::size_t>& images) {
  constexpr int kPointsPerSide = 2;
  GroundMap map;
  map.names = {"tie", "control, check", "bad ray"};
  for (std::size_t k = 0; k < std::min(images.size(), kOutlinesDrawn); ++k) {
    const auto& image = story.problem.images[images[k]];
    const auto footprint = SatCommonUtils::FootprintAt(*image.model, image.model->GetAverageHeight(), kPointsPerSide);
    if (footprint) map.outlines.push_back(OutlineOf(image.name, footprint.ring));
  }
  std::vector<std::size_t> drawn;
  std::vector<double> weights;
  for (std::size_t i = 0; i < story.result.points.size(); ++i) {
    if (story.result.points[i].state != TBlockPointState::Used) continue;
    drawn.push_back(i);
    // Control counts most, then what has bad measurements.
    const bool known = story.problem.points[i].role != TBlockPointRole::Tie;
    weights.push_back(known ? 1e9 : static_cast<double>(story.result.points[i].bad));
  }
  std::vector<GroundMark> marks;
  for (const std::size_t k : WorstAndSample(weights, kWorstMarks, kSampleMarks)) {
    const std::size_t i = drawn[k];
    const auto& point = story.result.points[i];
    const bool known = story.problem.points[i].role != TBlockPointRole::Tie;
    marks.push_back({story.problem.points[i].name, point.lat, point.lon,
                     known           ? PageTone::Second
                     : point.bad > 0 ? PageTone::Bad
                                     : PageTone::Plain});
  }
  map.marks = std::move(marks);
  return MapFigure("Block on the ground",
                   PageCount(map.marks.size()) + " of " + PageCount(drawn.size()) + " ground points and " +
                       PageCount(map.outlines.size()) + " of " + PageCount(images.size()) +
                       " footprints, at the heights that the models are made for. North is up.",
                   map);
}

}  // namespace

std::string BlockPageHtml(const BlockStory& story) {
  Page page("adjust", "Block adjustment", story.result.message);
  page.Section("Summary");
  page.Facts(FactsOf(story));
  for (const std::string& note : story.result.notes) page.Paragraph(note);
  for (const Finding& finding : story.findings) {
    page.Paragraph((finding.is_error ? "Error: " : "Warning: ") + finding.text);
  }
  const std::vector<std::size_t> images = ImagesWorstFirst(story);
  page.Section("Figures");
  page.Figures({Map(story, images), Histogram(story)});
  page.Section("Images");
  page.Table(ImageTable(story));
  page.Section("Residuals over the images");
  if (images.size() > kImagesDrawn) {
    page.Paragraph("The " + PageCount(kImagesDrawn) + " images with the largest residuals of " +
                   PageCount(images.size()) + ".");
  }
  page.Figures(ArrowFigures(story, images));
  if (!story.result.control.empty() || !story.result.check.empty()) {
    page.Section("Control and check points");
    page.Table(MisclosureTable(story));
  }
  page.Section("Bad measurements");
  if (story.result.badMeasurements.empty()) {
    page.Paragraph("None.");
  } else {
    page.Table(BadTable(story));
  }
  return page.Html();
}

}  // namespace orbmath_tool
