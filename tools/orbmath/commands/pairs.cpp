// orbmath pairs: which images make stereo pairs, and how good they are.

#include <cmath>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/threads.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "models/model_list.h"
#include "report/fixed_digits.h"
#include "report/geojson.h"
#include "report/json.h"
#include "report/output_file.h"
#include "report/page_option.h"
#include "report/pairs_page.h"
#include "stereo/pair_geometry.h"

namespace orbmath_tool {

using SatCommonUtils::TStereoImage;
using SatCommonUtils::TStereoPair;
using StereopairsByOverlap::TStereopairsByOverlapParams;

namespace {

/// The criteria: a file's, or none, and what the options say beside it.
class CriteriaOptions {
 public:
  void Declare(CommandLine& line) {
    line.Text("--criteria", "FILE", &file_, "criteria as XML, as TStereopairsByOverlapParams saves them");
    line.Text("--save-criteria", "FILE", &saved_, "write the criteria, those of the options included, as such a file");
    line.Number("--min-overlap", "PERCENT", &min_overlap_, "least overlap, percent of the smaller footprint");
    line.Number("--min-pixels", "N", &min_pixels_, "least overlap, pixels of the coarser image");
    line.Number("--min-angle", "DEG", &min_angle_, "least convergence angle (default with --max-angle: 10)");
    line.Number("--max-angle", "DEG", &max_angle_, "largest convergence angle (default with --min-angle: 90)");
    line.Flag("--same-sensor", &same_sensor_, "both images of one satellite");
    line.Number("--max-time", "DAYS", &max_time_, "longest time between the acquisitions, 0.1 for 2.4 hours");
    line.Count("--max-days", "N", 0, 1000000, &max_days_, "most days between the dates of acquisition (UTC)");
    line.Number("--max-gsd", "PERCENT", &max_gsd_, "largest difference of the pixels' sizes");
    line.Number("--max-sun-azimuth", "DEG", &max_sun_azimuth_, "largest difference of the sun's azimuths");
    line.Number("--max-sun-elevation", "DEG", &max_sun_elevation_, "largest difference of the sun's elevations");
    line.Flag("--accept-unknown", &accept_unknown_, "what a file does not say (satellite, time) fails no criterion");
  }

  /// \throws UsageError, Failure
  TStereopairsByOverlapParams Criteria() const {
    TStereopairsByOverlapParams criteria;
    if (!file_.empty()) Read(&criteria);
    Set(min_overlap_, &criteria.CheckOverlapPercentage, &criteria.MinOverlapPercentage);
    Set(min_pixels_, &criteria.CheckOverlapPixels, &criteria.MinOverlapPixels);
    Set(min_angle_, &criteria.CheckConvergenceAngle, &criteria.MinConvergenceAngle);
    Set(max_angle_, &criteria.CheckConvergenceAngle, &criteria.MaxConvergenceAngle);
    Set(max_time_, &criteria.CheckTimeGap, &criteria.MaxTimeGap);
    Set(max_gsd_, &criteria.CheckGSD, &criteria.MaxGSDPercentDiff);
    Set(max_sun_azimuth_, &criteria.CheckSunAzimuthDiff, &criteria.MaxSunAzimuthDiff);
    Set(max_sun_elevation_, &criteria.CheckSunElevationDiff, &criteria.MaxSunElevationDiff);
    if (max_days_) {
      criteria.CheckDateGap = true;
      criteria.MaxDateGap = *max_days_;
    }
    criteria.TheSameSensor = criteria.TheSameSensor || same_sensor_;
    if (accept_unknown_) {
      criteria.RejectUndefSensor = criteria.RejectUndefTimeGap = criteria.RejectUndefDateGap = false;
      criteria.RejectUndefSunAzimuthDiff = criteria.RejectUndefSunElevationDiff = false;
    }
    if (!criteria) throw UsageError("a limit of the criteria is out of its range, or a least one above the largest");
    if (!saved_.empty()) Save(criteria);
    if (criteria.TiesRequired) Note("the criteria ask for tie points, which models do not tell: not tested");
    return criteria;
  }

 private:
  static void Set(const std::optional<double>& given, bool* check, double* limit) {
    if (!given) return;
    *check = true;
    *limit = *given;
  }

  /// The record's keys stand in the root, or in its only section.
  void Read(TStereopairsByOverlapParams* criteria) const {
    SatCommonUtils::TZxFileStream stream;
    if (!stream.Open(SatCommonUtils::TZxPath(file_), SatCommonUtils::TZxOpenMode::Read))
      throw Failure(file_ + ": cannot be opened");
    try {
      SatCommonUtils::TZxXIniStreamReader reader(&stream);
      if (reader.FindF("TiesRequired") == reader.npos && reader.GetCount() == 1 && reader.GetText(0) == nullptr) {
        reader.EnterSectionSE(*reader.GetKey(0));
      }
      criteria->InitializeFromXML(&reader);
    } catch (const SatCommonUtils::TZxMessage& message) {
      throw Failure(file_ + ": " + message.GetText());
    }
  }

  void Save(const TStereopairsByOverlapParams& criteria) const {
    SatCommonUtils::TZxStringStream stream;
    {
      SatCommonUtils::TZxXIniStreamWriter writer(&stream);
      criteria.SaveToXML(&writer, "StereopairsByOverlap");
      writer.Close();
    }
    OutputFile file(saved_);
    file.Write(stream.GetString());
    OutputFile::Commit({&file});
  }

  std::string file_, saved_;
  std::optional<double> min_overlap_, min_pixels_, min_angle_, max_angle_, max_time_, max_gsd_, max_sun_azimuth_,
      max_sun_elevation_;
  std::optional<int> max_days_;
  bool same_sensor_ = false;
  bool accept_unknown_ = false;
};

/// One column of the table: its name, its value, digits for people.
struct Column {
  const char* name;
  double TStereoPair::*value;
  double unit;  ///< the name's unit in that of the value
  int digits;
};

constexpr Column kColumns[] = {
    {"overlap_percent", &TStereoPair::overlapPercent, 1.0, 1},
    {"overlap_km2", &TStereoPair::overlapArea, 1e6, 2},
    {"convergence_deg", &TStereoPair::convergence, 1.0, 2},
    {"bisector_deg", &TStereoPair::bisectorElevation, 1.0, 2},
    {"asymmetry_deg", &TStereoPair::asymmetry, 1.0, 2},
    {"base_height", &TStereoPair::baseToHeight, 1.0, 3},
    {"height_sigma_m", &TStereoPair::heightSigma, 1.0, 2},
    {"plan_sigma_m", &TStereoPair::planSigma, 1.0, 2},
    {"gsd_difference_percent", &TStereoPair::gsdDifference, 1.0, 1},
    {"days", &TStereoPair::timeGap, 1.0, 2},
    {"quality", &TStereoPair::quality, 1.0, 3},
};

/// "yes", or the criteria that are not met.
std::string VerdictOf(const std::vector<SatCommonUtils::TPairCriterion>& failed) {
  if (failed.empty()) return "yes";
  std::string text = "no:";
  for (const auto criterion : failed) text += std::string(text.back() == ':' ? "" : "+") + PairCriterionName(criterion);
  return text;
}

class Pairs : public Command {
 public:
  const char* Notes() const override {
    return "A line a pair whose footprints overlap, best first: those that meet the criteria, then the others, each by "
           "quality, which is the share of the overlap, lowered for convergences below 15 and above 35 degrees. Fields "
           "stand between tabs, names in the first line; the last field is 'yes', or 'no:' and the criteria that are "
           "not "
           "met. Angles are those at the middle of the overlap; height_sigma_m and plan_sigma_m are what points "
           "matched with --sigma give. Without options that set criteria every pair meets them. The status is 1 when "
           "a model cannot be read or has no footprint.\n\n"
           "Examples:\n"
           "  orbmath pairs left.RPB right.RPB\n"
           "  orbmath pairs stack/*.XML --min-overlap 60 --min-angle 5 --max-angle 45 --max-days 30 --top 20\n"
           "  orbmath pairs *.RPB --criteria criteria.xml --accepted --json --geojson overlaps.geojson";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("MODEL", &names_, 2, "model files of any form, two or more");
    criteria_.Declare(line);
    line.Flag("--accepted", &accepted_, "only the pairs that meet the criteria");
    line.Count("--top", "N", 1, 1000000000, &top_, "only the best N pairs");
    line.Number("--sigma", "PX", &sigma_, "standard deviation of a matched coordinate, pixels (default 0.5)");
    line.Number("--height", "H", &height_, "height of the ground (default: amid the heights of both models)");
    line.Flag("--json", &json_, "one JSON object a pair instead of a line of fields");
    line.Text("--geojson", "FILE", &map_, "write the overlaps of the printed pairs as GeoJSON");
    page_.Declare(line);
    reading_.Declare(line);
  }

  int Run() override {
    const TStereopairsByOverlapParams criteria = criteria_.Criteria();
    const SatCommonUtils::TStereoPairOptions options = Options();
    RefuseOneForTwo({map_, page_.Path()});
    for (const std::string& name : {map_, page_.Path()}) RefuseToReplace(name, names_);
    std::optional<OutputFile> map_file;
    if (!map_.empty()) map_file.emplace(map_);
    std::optional<OutputFile> page = page_.Open();
    const std::vector<ListedModel> models = reading_.Read(names_, "reading", [](std::size_t, const Model&) {});
    const std::vector<TStereoImage> images = ImagesOf(models);
    const SatCommonUtils::TZxThreadsScope threads(reading_.Threads());
    const SatCommonUtils::TPairSearch search = FindStereoPairs(images, criteria, options);
    Print(models, criteria, search);
    if (map_file) map_file->Write(MapOf(models, images, options, search));
    if (page) page->Write(PairsPageHtml({models, images, criteria, options, search, Printed(search)}));
    OutputFile::Commit({map_file ? &*map_file : nullptr, page ? &*page : nullptr});
    Note(search.message);
    return Complain(models, search);
  }

 private:
  SatCommonUtils::TStereoPairOptions Options() const {
    SatCommonUtils::TStereoPairOptions options;
    options.matchingSigma = sigma_.value_or(options.matchingSigma);
    if (!(options.matchingSigma > 0.0)) throw UsageError("--sigma has to be above 0");
    options.height = height_;
    return options;
  }

  static std::vector<TStereoImage> ImagesOf(const std::vector<ListedModel>& models) {
    std::vector<TStereoImage> images(models.size());
    for (std::size_t i = 0; i < models.size(); ++i) {
      if (!models[i].model || models[i].model->kind == SatCommonUtils::TModelKind::Inverse) continue;
      const Model& model = *models[i].model;
      images[i].model = model.rpc.get();
      images[i].sensor = model.file.extras.satelliteId.value_or("");
      images[i].acquisitionTime = model.file.origin.acquisitionTime;
      images[i].radar = model.file.form == SatCommonUtils::TRPCFileForm::Radarsat;
    }
    return images;
  }

  /// How many pairs are asked for.
  std::size_t Printed(const SatCommonUtils::TPairSearch& search) const {
    const std::size_t all = accepted_ ? search.accepted : search.pairs.size();
    return top_ ? std::min(all, static_cast<std::size_t>(*top_)) : all;
  }

  void Print(const std::vector<ListedModel>& models, const TStereopairsByOverlapParams& criteria,
             const SatCommonUtils::TPairSearch& search) const {
    constexpr std::size_t kBlock = 1 << 16;
    std::string text;
    if (!json_) {
      text = "rank\tfirst\tsecond";
      for (const Column& column : kColumns) text += std::string("\t") + column.name;
      text += "\tmeets\n";
    }
    for (std::size_t i = 0; i < Printed(search); ++i) {
      const TStereoPair& pair = search.pairs[i];
      const auto failed = FailedCriteria(pair, criteria);
      const std::string& first = models[pair.first].name;
      const std::string& second = models[pair.second].name;
      text += (json_ ? JsonOf(i + 1, first, second, pair, failed) : LineOf(i + 1, first, second, pair, failed)) + "\n";
      if (text.size() < kBlock) continue;
      page_.Say(text);
      text.clear();
    }
    page_.Say(text);
  }

  static std::string LineOf(std::size_t rank, const std::string& first, const std::string& second,
                            const TStereoPair& pair, const std::vector<SatCommonUtils::TPairCriterion>& failed) {
    std::string text = std::to_string(rank) + "\t" + first + "\t" + second;
    for (const Column& column : kColumns) {
      const double value = pair.*column.value / column.unit;
      text += "\t" + (std::isfinite(value) ? Fixed(value, column.digits) : std::string("-"));
    }
    return text + "\t" + VerdictOf(failed);
  }

  static std::string JsonOf(std::size_t rank, const std::string& first, const std::string& second,
                            const TStereoPair& pair, const std::vector<SatCommonUtils::TPairCriterion>& failed) {
    JsonWriter json;
    json.BeginObject().Member("rank", rank).Member("first", first).Member("second", second);
    for (const Column& column : kColumns) json.Member(column.name, pair.*column.value / column.unit);
    json.Member("overlap_pixels", pair.overlapPixels).Member("first_gsd_m", pair.gsd[0]);
    json.Member("second_gsd_m", pair.gsd[1]).Member("sun_azimuth_difference_deg", pair.sunAzimuthDifference);
    json.Member("sun_elevation_difference_deg", pair.sunElevationDifference);
    json.Member("lat", pair.place.lat).Member("lon", pair.place.lon).Member("height", pair.place.h);
    json.Member("meets", failed.empty()).Key("failed").BeginArray();
    for (const auto criterion : failed) json.Value(PairCriterionName(criterion));
    return json.EndArray().EndObject().Text();
  }

  std::string MapOf(const std::vector<ListedModel>& models, const std::vector<TStereoImage>& images,
                    SatCommonUtils::TStereoPairOptions options, const SatCommonUtils::TPairSearch& search) const {
    options.overlaps = true;
    GeoJson map;
    for (std::size_t i = 0; i < Printed(search); ++i) {
      const TStereoPair& pair = search.pairs[i];
      JsonWriter properties;
      properties.BeginObject().Member("rank", i + 1).Member("first", models[pair.first].name);
      properties.Member("second", models[pair.second].name).Member("meets", i < search.accepted);
      for (const Column& column : kColumns) properties.Member(column.name, pair.*column.value / column.unit);
      properties.EndObject();
      map.Add(LookAtPair(images[pair.first], images[pair.second], options).overlap, properties);
    }
    return map.Text();
  }

  /// Names the images that are in no pair because nothing is known of them. \return the exit status.
  static int Complain(const std::vector<ListedModel>& models, const SatCommonUtils::TPairSearch& search) {
    for (const std::size_t i : search.unseen) {
      const ListedModel& listed = models[i];
      Note(listed.model ? listed.name + ": the outline of its image has no ground; 'orbmath check' tells more"
                        : listed.error);
    }
    return search.unseen.empty() ? kSuccess : kFailure;
  }

  ModelListReading reading_;
  CriteriaOptions criteria_;
  std::vector<std::string> names_;
  std::optional<double> sigma_, height_;
  std::optional<int> top_;
  std::string map_;
  PageOption page_;
  bool accepted_ = false;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> MakePairs() { return std::make_unique<Pairs>(); }

}  // namespace orbmath_tool
