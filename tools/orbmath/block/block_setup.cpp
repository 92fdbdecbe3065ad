// The problem of an adjustment from names and numbers of files, and sentences about what does not fit.

#include "block/block_setup.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <utility>

#include "errors.h"
#include "points/dem_options.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockImageState;
using SatCommonUtils::TBlockMeasurementState;
using SatCommonUtils::TBlockPoint;
using SatCommonUtils::TBlockPointRole;
using SatCommonUtils::TBlockPointState;
using SatCommonUtils::TBlockProblem;
using SatCommonUtils::TBlockResult;

namespace {

/// Standard deviation of a height that nobody knows, metres: its weight is nothing beside that of any measurement, and
/// the equations stay solvable.
constexpr double kUnknownHeight = 1e4;

std::size_t ImageNamed(BlockImages* images, const std::string& name, const char* option) {
  const std::int32_t image = images->Find(name);
  if (image < 0)
    throw UsageError(std::string(option) + ": no image is called '" + name + "'" + images->WhatThereIs(name));
  return static_cast<std::size_t>(image);
}

void SetImages(BlockImages* images, const ImageChoices& choices, TBlockProblem* problem) {
  for (std::size_t i = 0; i < images->size(); ++i) {
    SatCommonUtils::TBlockImage image;
    // The models stay where they are.
    image.model = {std::shared_ptr<const void>(), images->ModelOf(i).rpc.get()};
    image.correction = choices.correction;
    problem->images.push_back(std::move(image));
  }
  for (const std::string& name : choices.fixed) {
    problem->images[ImageNamed(images, name, "--fix")].correction = SatCommonUtils::TBlockCorrection::None;
  }
  for (std::size_t pass = 0; pass < choices.passes.size(); ++pass) {
    const std::string& names = choices.passes[pass];
    for (std::size_t begin = 0; begin <= names.size();) {
      const std::size_t end = std::min(names.find(',', begin), names.size());
      SatCommonUtils::TBlockImage& image =
          problem->images[ImageNamed(images, names.substr(begin, end - begin), "--pass")];
      if (image.pass >= 0) throw UsageError("--pass: '" + names.substr(begin, end - begin) + "' stands in it twice");
      image.pass = static_cast<std::int32_t>(pass);
      begin = end + 1;
    }
  }
  // Names come last: reading and looking up may have changed them.
  for (std::size_t i = 0; i < images->size(); ++i) problem->images[i].name = images->Name(i);
}

/// Half-way between the heights of all models, where the heights that nobody knows begin.
double MiddleHeight(const TBlockProblem& problem) {
  double sum = 0.0;
  for (const SatCommonUtils::TBlockImage& image : problem.images) sum += image.model->GetAverageHeight();
  return problem.images.empty() ? 0.0 : sum / static_cast<double>(problem.images.size());
}

void SetControl(const BlockData& data, const SatCommonUtils::THeightSurface* surface, double sigma_surface,
                TBlockProblem* problem) {
  const double middle = MiddleHeight(*problem);
  for (const ControlRow& row : data.control) {
    TBlockPoint& point = problem->points[row.point];
    point.role = row.role;
    point.lat = row.lat;
    point.lon = row.lon;
    point.height = row.height;
    point.sigmaHorizontal = std::isnan(row.sigma_horizontal) ? 0.0 : row.sigma_horizontal;
    point.sigmaVertical = std::isnan(row.sigma_vertical) ? 0.0 : row.sigma_vertical;
    if (row.role == TBlockPointRole::Height) {
      point.lat = point.lon = 0.0;
      continue;
    }
    if (!std::isnan(row.height)) continue;
    if (surface != nullptr) {
      point.height = surface->GetHeight(row.lat, row.lon);
      point.sigmaVertical = sigma_surface;
      if (std::isnan(point.height)) throw Failure("control point '" + point.name + "': " + kNoTerrainHeight);
      continue;
    }
    if (row.role == TBlockPointRole::Check) {
      throw Failure("check point '" + point.name + "' has no height to be compared with; give one, or --dem");
    }
    point.height = middle;
    point.sigmaVertical = kUnknownHeight;
  }
}

using Findings = std::vector<Finding>;

void AddImages(const TBlockProblem& problem, const TBlockResult& result, Findings* findings) {
  std::vector<std::size_t> count(problem.images.size());
  for (const std::uint32_t image : problem.measurements.image) ++count[image];
  std::vector<std::string> unseen;
  for (std::size_t i = 0; i < problem.images.size(); ++i) {
    const std::string& name = problem.images[i].name;
    if (count[i] == 0) {
      unseen.push_back(name);
    } else if (result.images[i].state == TBlockImageState::TooFewTies ||
               result.images[i].state == TBlockImageState::NoModel) {
      findings->push_back({true, "image '" + name + "' with " + Counted(count[i], "measurement") +
                                     " is left out: " + SatCommonUtils::DescribeBlockState(result.images[i].state)});
    }
  }
  if (!unseen.empty()) {
    findings->push_back({true, "no measurements in " + Counted(unseen.size(), "image") + ": " + NamesInShort(unseen)});
  }
}

void AddControl(const TBlockProblem& problem, const BlockData& data, const TBlockResult& result, Findings* findings) {
  std::vector<bool> measured(problem.points.size());
  for (const std::uint32_t point : problem.measurements.point) measured[point] = true;
  std::vector<std::string> unseen;
  std::map<std::pair<TBlockPointRole, TBlockPointState>, std::vector<std::string>> lost;
  for (const ControlRow& row : data.control) {
    const TBlockPoint& point = problem.points[row.point];
    const TBlockPointState state = result.points[row.point].state;
    if (!measured[row.point]) {
      unseen.push_back(point.name);
    } else if (state != TBlockPointState::Used && state != TBlockPointState::NotRun) {
      lost[{point.role, state}].push_back(point.name);
    }
  }
  for (const auto& [why, names] : lost) {
    findings->push_back({false, Counted(names.size(), std::string(GetBlockPointRoleName(why.first)) + " point") +
                                    " left out (" + SatCommonUtils::DescribeBlockState(why.second) +
                                    "): " + NamesInShort(names)});
  }
  if (!unseen.empty()) {
    findings->push_back({false, Counted(unseen.size(), "control point") + " nobody measured in an image: " +
                                    NamesInShort(unseen) + "; measurements of control points stand among the others, " +
                                    "or in a second file of --measurements"});
  }
}

/// Ties that take no part, by reason.
void AddTies(const TBlockProblem& problem, const TBlockResult& result, Findings* findings) {
  constexpr std::size_t kMany = 5;  // one tie in so many whose rays do not meet is no accident
  for (const TBlockPointState state : {TBlockPointState::TooFewRays, TBlockPointState::NoIntersection,
                                       TBlockPointState::LostMeasurements, TBlockPointState::NotFinite}) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < problem.points.size(); ++i) {
      const bool is_tie = problem.points[i].role == TBlockPointRole::Tie;
      if (is_tie && result.points[i].state == state) names.push_back(problem.points[i].name);
    }
    if (names.empty()) continue;
    findings->push_back({false, Counted(names.size(), "tie") + " left out (" +
                                    SatCommonUtils::DescribeBlockState(state) + "): " + NamesInShort(names)});
    if (state == TBlockPointState::NoIntersection && kMany * names.size() > problem.points.size()) {
      findings->push_back({false,
                           "the rays of many ties do not meet: are line and sample exchanged, do the measurements "
                           "count from elsewhere (--origin), or do names of images and models not belong together?"});
    }
  }
  for (const TBlockMeasurementState state : {TBlockMeasurementState::Repeated, TBlockMeasurementState::NotFinite}) {
    const auto count =
        static_cast<std::size_t>(std::count(result.measurements.state.begin(), result.measurements.state.end(), state));
    if (count == 0) continue;
    findings->push_back(
        {false, Counted(count, "measurement") + " left out: " + SatCommonUtils::DescribeBlockState(state)});
  }
}

/// Images of which most measurements lie outside of what their models were made for: another origin, or exchanged
/// columns.
void AddMisplaced(const TBlockProblem& problem, Findings* findings) {
  constexpr double kFarOut = 1.5;  // half sizes of the image; edges lie at 1
  std::vector<std::size_t> count(problem.images.size());
  std::vector<std::size_t> outside(problem.images.size());
  const SatCommonUtils::TBlockMeasurements& measured = problem.measurements;
  for (std::size_t i = 0; i < measured.Size(); ++i) {
    const auto axes = problem.images[measured.image[i]].model->GetNormalization();
    const double line = (measured.line[i] - axes.line.GetOffset()) / axes.line.GetScale();
    const double sample = (measured.sample[i] - axes.sample.GetOffset()) / axes.sample.GetScale();
    ++count[measured.image[i]];
    if (std::fabs(line) > kFarOut || std::fabs(sample) > kFarOut) ++outside[measured.image[i]];
  }
  std::vector<std::string> names;
  for (std::size_t i = 0; i < count.size(); ++i) {
    if (2 * outside[i] > count[i]) names.push_back(problem.images[i].name);
  }
  if (names.empty()) return;
  findings->push_back({false, "most measurements lie far outside of " + Counted(names.size(), "image") + ": " +
                                  NamesInShort(names) + "; are line and sample exchanged, or is it another image?"});
}

}  // namespace

TBlockProblem MakeProblem(BlockImages* images, BlockData* data, const ImageChoices& choices,
                          const SatCommonUtils::THeightSurface* surface, double sigma_surface) {
  TBlockProblem problem;
  SetImages(images, choices, &problem);
  problem.points.resize(data->points.size());
  for (std::size_t i = 0; i < problem.points.size(); ++i) problem.points[i].name = data->points.Name(i);
  SetControl(*data, surface, sigma_surface, &problem);
  problem.measurements = std::move(data->measurements);
  data->measurements = {};
  return problem;
}

std::vector<Finding> FindingsOf(const TBlockProblem& problem, const BlockData& data, const TBlockResult& result) {
  Findings findings;
  for (const auto& [name, count] : data.unknown_images) {
    findings.push_back({false, Counted(count, "measurement") + " passed over in '" + name + "', which has no model"});
  }
  for (const std::string& note : data.notes) findings.push_back({false, note});
  AddMisplaced(problem, &findings);
  AddImages(problem, result, &findings);
  AddControl(problem, data, result, &findings);
  AddTies(problem, result, &findings);
  return findings;
}

std::string NamesInShort(const std::vector<std::string>& names) {
  constexpr std::size_t kMost = 10;
  std::string text;
  for (std::size_t i = 0; i < std::min(names.size(), kMost); ++i) {
    text += (i == 0 ? "'" : i + 1 == names.size() ? " and '" : ", '") + names[i] + "'";
  }
  if (names.size() > kMost) text += " and " + std::to_string(names.size() - kMost) + " more";
  return text;
}

std::string Counted(std::size_t count, const std::string& noun) {
  std::string digits = std::to_string(count);
  for (std::size_t at = digits.size(); at > 3; at -= 3) digits.insert(at - 3, ",");
  return digits + " " + noun + (count == 1 ? "" : "s");
}

}  // namespace orbmath_tool
