// The report of an adjustment for people.

#include <algorithm>
#include <cmath>
#include <numeric>

#include "block/block_report.h"
#include "report/fixed_digits.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockImageResult;
using SatCommonUtils::TBlockMisclosure;
using SatCommonUtils::TBlockMisclosureStatistics;

namespace {

/// Rows of a table at a terminal; the rest stands in the report for programs and on the page.
constexpr std::size_t kMostRows = 20;
constexpr std::size_t kNameWidth = 16;
constexpr std::size_t kWidth = 11;

std::string Cell(double value, int digits) {
  return PadLeft(std::isfinite(value) ? Fixed(value, digits) : "-", kWidth);
}

std::string Heads(const std::vector<const char*>& heads) {
  std::string line = PadRight(heads.front(), kNameWidth);
  for (std::size_t i = 1; i < heads.size(); ++i) line += PadLeft(heads[i], kWidth);
  return line + "\n";
}

/// The places 0 ... count - 1, those with the largest `size` first.
template <class Size>
std::vector<std::size_t> WorstFirst(std::size_t count, Size size) {
  std::vector<std::size_t> order(count);
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return size(a) > size(b); });
  return order;
}

std::string Remainder(std::size_t count, const BlockStory& story) {
  if (count <= kMostRows) return "";
  return "... and " + std::to_string(count - kMostRows) + " more" +
         (story.folder.empty() ? "" : ", all of them in " + story.folder + "/report.json") + "\n";
}

std::string ImageTable(const BlockStory& story) {
  const std::vector<TBlockImageResult>& images = story.result.images;
  const auto rms = [&](std::size_t i) {
    return std::hypot(images[i].residuals.rmsLine, images[i].residuals.rmsSample);
  };
  std::vector<std::size_t> order(images.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (images.size() > kMostRows) order = WorstFirst(images.size(), rms);
  std::string text = std::string("\nimages: correction at the centre, residuals (measured minus computed), px") +
                     (images.size() > kMostRows ? ", worst first\n" : "\n");
  text += Heads({"image", "kind", "used", "bad", "line", "sample", "rms line", "rms sample", "largest"});
  for (std::size_t i = 0; i < std::min(order.size(), kMostRows); ++i) {
    const TBlockImageResult& image = images[order[i]];
    text += PadRight(story.problem.images[order[i]].name, kNameWidth);
    if (image.state != SatCommonUtils::TBlockImageState::Adjusted &&
        image.state != SatCommonUtils::TBlockImageState::Fixed) {
      text += std::string("  left out: ") + SatCommonUtils::DescribeBlockState(image.state) + "\n";
      continue;
    }
    text += PadLeft(GetBlockCorrectionName(image.correction), kWidth) +
            PadLeft(std::to_string(image.residuals.used), kWidth) +
            PadLeft(std::to_string(image.residuals.bad), kWidth) + Cell(image.parameters.line[0], 3) +
            Cell(image.parameters.sample[0], 3) + Cell(image.residuals.rmsLine, 3) +
            Cell(image.residuals.rmsSample, 3) + Cell(image.residuals.largest, 2) + "\n";
  }
  return text + Remainder(images.size(), story);
}

std::string MisclosureTable(const char* title, const BlockStory& story, const std::vector<TBlockMisclosure>& points,
                            const TBlockMisclosureStatistics& statistics) {
  if (points.empty()) return "";
  std::string text = std::string("\n") + title + ": adjusted minus known, m, worst first\n" +
                     Heads({"point", "east", "north", "up", "sigma e", "sigma n", "sigma u", "standard."});
  const auto order = WorstFirst(points.size(), [&](std::size_t i) {
    return std::isnan(points[i].standardized) ? std::hypot(points[i].east, points[i].north, points[i].up)
                                              : points[i].standardized;
  });
  for (std::size_t i = 0; i < std::min(order.size(), kMostRows); ++i) {
    const TBlockMisclosure& each = points[order[i]];
    text += PadRight(story.problem.points[each.point].name, kNameWidth) + Cell(each.east, 3) + Cell(each.north, 3) +
            Cell(each.up, 3) + Cell(each.sigmaEast, 3) + Cell(each.sigmaNorth, 3) + Cell(each.sigmaUp, 3) +
            Cell(each.standardized, 1) + (each.isBad ? "  BAD" : "") + "\n";
  }
  text += Remainder(points.size(), story);
  if (statistics.count == 0) return text;
  text += PadRight("rms of " + std::to_string(statistics.count), kNameWidth) + Cell(statistics.rmsEast, 3) +
          Cell(statistics.rmsNorth, 3) + Cell(statistics.rmsUp, 3) + "   CE90 " + Fixed(statistics.ce90, 3) +
          " m, LE90 " + Fixed(statistics.le90, 3) + " m\n";
  return text;
}

std::string BadTable(const BlockStory& story) {
  const std::vector<std::uint32_t>& bad = story.result.badMeasurements;
  if (bad.empty()) return "\nbad measurements: none\n";
  std::string text =
      "\nbad measurements, left out, worst first, px\n" + Heads({"point", "image", "line", "sample", "standard."});
  const auto& measured = story.problem.measurements;
  const auto& results = story.result.measurements;
  for (std::size_t i = 0; i < std::min(bad.size(), kMostRows); ++i) {
    const std::uint32_t place = bad[i];
    text += PadRight(story.problem.points[measured.point[place]].name, kNameWidth) +
            PadLeft(story.problem.images[measured.image[place]].name, kWidth) + Cell(results.line[place], 2) +
            Cell(results.sample[place], 2) + Cell(results.standardized[place], 1) +
            (results.state[place] == SatCommonUtils::TBlockMeasurementState::Undecided ? "  one of two" : "") + "\n";
  }
  return text + Remainder(bad.size(), story);
}

std::string FilesText(const BlockStory& story) {
  std::size_t adjusted = 0;
  double worst = 0.0;
  bool plain = false;
  for (const ImageFiles& files : story.files) {
    if (!files.adjusted.empty()) ++adjusted;
    if (files.plain.empty()) continue;
    plain = true;
    worst = std::max(worst, files.plain_worst);
  }
  std::string text = "\nwritten to " + story.folder + ": " + Counted(adjusted, "adjusted model") +
                     ", block.xml, points.csv, report.json, report.html\n";
  if (plain) text += "plain models miss the adjusted ones by " + Fixed(worst, 6) + " px at most\n";
  return text;
}

}  // namespace

std::string BlockText(const BlockStory& story) {
  std::string text = story.result.message + "\n";
  for (const std::string& note : story.result.notes) text += note + "\n";
  for (const Finding& finding : story.findings) {
    text += std::string(finding.is_error ? "error: " : "warning: ") + finding.text + "\n";
  }
  if (!story.result) return text;
  text += ImageTable(story);
  text += MisclosureTable("control", story, story.result.control, story.result.controlStatistics);
  text += MisclosureTable("check points", story, story.result.check, story.result.checkStatistics);
  text += BadTable(story);
  if (!story.folder.empty()) text += FilesText(story);
  return text;
}

}  // namespace orbmath_tool
