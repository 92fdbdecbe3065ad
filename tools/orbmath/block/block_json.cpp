// The report of an adjustment for programs.

#include "block/block_report.h"
#include "report/json.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockMisclosure;
using SatCommonUtils::TBlockMisclosureStatistics;
using SatCommonUtils::TBlockResult;
using SatCommonUtils::TBlockState;

namespace {

const char* WordOf(TBlockState state) {
  switch (state) {
    case TBlockState::Adjusted:
      return "adjusted";
    case TBlockState::NotConverged:
      return "not-converged";
    case TBlockState::Checked:
      return "checked";
    case TBlockState::BadProblem:
      return "bad-problem";
    case TBlockState::NothingToDo:
      return "nothing-to-do";
    case TBlockState::Singular:
      return "singular";
    case TBlockState::Cancelled:
      return "cancelled";
    case TBlockState::NotRun:
      break;
  }
  return "not-run";
}

void AddFindings(const BlockStory& story, JsonWriter* json) {
  json->Key("notes").BeginArray();
  for (const std::string& note : story.result.notes) json->Value(note);
  json->EndArray().Key("findings").BeginArray();
  for (const Finding& finding : story.findings) {
    json->BeginObject().Member("severity", finding.is_error ? "error" : "warning").Member("text", finding.text);
    json->EndObject();
  }
  json->EndArray();
}

void AddImages(const BlockStory& story, JsonWriter* json) {
  json->Key("images").BeginArray();
  for (std::size_t i = 0; i < story.result.images.size(); ++i) {
    const SatCommonUtils::TBlockImageResult& image = story.result.images[i];
    json->BeginObject().Member("image", story.problem.images[i].name);
    json->Member("state", SatCommonUtils::DescribeBlockState(image.state));
    json->Member("correction", GetBlockCorrectionName(image.correction)).Member("piece", image.piece);
    json->Key("sample").Numbers(image.parameters.sample).Key("line").Numbers(image.parameters.line);
    json->Key("covariance").Numbers(image.covariance).Member("corner_sigma_px", image.cornerSigma);
    json->Member("used", image.residuals.used).Member("bad", image.residuals.bad);
    json->Member("mean_line_px", image.residuals.meanLine).Member("mean_sample_px", image.residuals.meanSample);
    json->Member("rms_line_px", image.residuals.rmsLine).Member("rms_sample_px", image.residuals.rmsSample);
    json->Member("largest_px", image.residuals.largest);
    if (!story.files.empty()) {
      const ImageFiles& files = story.files[i];
      if (!files.adjusted.empty()) json->Member("file", files.adjusted);
      if (!files.plain.empty()) {
        json->Member("plain_file", files.plain).Member("plain_max_px", files.plain_worst);
        json->Member("plain_rms_px", files.plain_rms);
      }
    }
    json->EndObject();
  }
  json->EndArray();
}

void AddMisclosures(const char* key, const BlockStory& story, const std::vector<TBlockMisclosure>& points,
                    JsonWriter* json) {
  json->Key(key).BeginArray();
  for (const TBlockMisclosure& each : points) {
    json->BeginObject().Member("point", story.problem.points[each.point].name);
    json->Member("role", GetBlockPointRoleName(story.problem.points[each.point].role));
    json->Member("east", each.east).Member("north", each.north).Member("up", each.up);
    json->Member("sigma_east", each.sigmaEast).Member("sigma_north", each.sigmaNorth).Member("sigma_up", each.sigmaUp);
    json->Member("standardized", each.standardized).Member("bad", each.isBad).EndObject();
  }
  json->EndArray();
}

void AddStatistics(const char* key, const TBlockMisclosureStatistics& statistics, JsonWriter* json) {
  json->Key(key).BeginObject().Member("count", statistics.count);
  json->Member("rms_east_m", statistics.rmsEast).Member("rms_north_m", statistics.rmsNorth);
  json->Member("rms_up_m", statistics.rmsUp).Member("ce90_m", statistics.ce90).Member("le90_m", statistics.le90);
  json->EndObject();
}

void AddPieces(const BlockStory& story, JsonWriter* json) {
  json->Key("pieces").BeginArray();
  for (const SatCommonUtils::TBlockPiece& piece : story.result.pieces) {
    json->BeginObject().Key("images").BeginArray();
    for (const std::uint32_t image : piece.images) json->Value(story.problem.images[image].name);
    json->EndArray().Member("ties", piece.ties).Member("control", piece.control).Member("heights", piece.heights);
    json->Member("fixed_images", piece.fixedImages).Member("held_by_sigmas_alone", piece.isFree).EndObject();
  }
  json->EndArray();
}

void AddBad(const BlockStory& story, JsonWriter* json) {
  const auto& measured = story.problem.measurements;
  const auto& results = story.result.measurements;
  json->Key("bad_measurements").BeginArray();
  for (const std::uint32_t i : story.result.badMeasurements) {
    json->BeginObject().Member("point", story.problem.points[measured.point[i]].name);
    json->Member("image", story.problem.images[measured.image[i]].name);
    json->Member("line", measured.line[i]).Member("sample", measured.sample[i]);
    json->Member("residual", ResidualLength(story.result, i)).Member("residual_line", results.line[i]);
    json->Member("residual_sample", results.sample[i]).Member("standardized", results.standardized[i]);
    json->Member("redundancy", results.redundancy[i]);
    json->Member("reason", SatCommonUtils::DescribeBlockState(results.state[i])).EndObject();
  }
  json->EndArray().Key("bad_control").BeginArray();
  for (const std::uint32_t i : story.result.badControl) {
    json->Value(story.problem.points[story.result.control[i].point].name);
  }
  json->EndArray().Key("lost_points").BeginArray();
  for (const std::uint32_t i : story.result.lostPoints) {
    json->BeginObject().Member("point", story.problem.points[i].name);
    json->Member("reason", SatCommonUtils::DescribeBlockState(story.result.points[i].state)).EndObject();
  }
  json->EndArray().Key("lost_images").BeginArray();
  for (const std::uint32_t i : story.result.lostImages) {
    json->BeginObject().Member("image", story.problem.images[i].name);
    json->Member("reason", SatCommonUtils::DescribeBlockState(story.result.images[i].state)).EndObject();
  }
  json->EndArray();
}

}  // namespace

std::string BlockJson(const BlockStory& story) {
  const TBlockResult& result = story.result;
  JsonWriter json;
  json.BeginObject().Member("state", WordOf(result.state)).Member("message", result.message);
  if (!story.folder.empty()) json.Member("folder", story.folder);
  AddFindings(story, &json);
  json.Member("sigma0", result.sigma0).Member("rms_px", result.rms).Member("redundancy", result.redundancy);
  json.Member("measurements", story.problem.measurements.Size()).Member("measurements_used", result.observations);
  json.Member("unknowns", result.unknowns).Member("iterations", result.iterations);
  AddImages(story, &json);
  AddStatistics("control_statistics", result.controlStatistics, &json);
  AddMisclosures("control", story, result.control, &json);
  AddStatistics("check_statistics", result.checkStatistics, &json);
  AddMisclosures("check", story, result.check, &json);
  AddPieces(story, &json);
  AddBad(story, &json);
  return json.EndObject().Text() + "\n";
}

}  // namespace orbmath_tool
