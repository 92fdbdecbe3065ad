// orbmath check: whether models are fit for use.

#include <cmath>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/image_names.h"
#include "models/in_parallel.h"
#include "models/model_list.h"
#include "report/check_page.h"
#include "report/fixed_digits.h"
#include "report/geojson.h"
#include "report/json.h"
#include "report/output_file.h"
#include "report/page_option.h"
#include "rpc/model_check.h"

namespace orbmath_tool {

using SatCommonUtils::TFindingSeverity;
using SatCommonUtils::TImageFootprint;
using SatCommonUtils::TModelCheck;
using SatCommonUtils::TModelFinding;

namespace {

// Files of one stem in different folders whose models are farther apart than this are of different images.
constexpr double kAnotherImage = 100.0;

std::string LineOf(const TModelFinding& finding) {
  return std::string(FindingSeverityName(finding.severity)) + ": " + FindingKindName(finding.kind) + ": " +
         finding.what + " (" + finding.where + "): " + finding.consequence;
}

std::string Known(double value, int digits) { return std::isfinite(value) ? Fixed(value, digits) : "unknown"; }

/// The first line of a model: verdict and geometry.
std::string Headline(const TModelCheck& check) {
  return check.message + "; gsd " + Known(check.view.gsd, 3) + " m, incidence " + Known(check.view.incidence, 2) +
         " deg, azimuth " + Known(check.view.azimuth, 2) + " deg, " + Known(1e-6 * check.footprint.area, 3) +
         " km2 at " + Known(check.footprint.height, 1) + " m";
}

void WriteFootprint(const TImageFootprint& footprint, const char* at, JsonWriter* json) {
  json->BeginObject().Member("at", at).Member("height_m", footprint.height).Member("area_m2", footprint.area);
  json->Key("ring");
  WriteRing(footprint.ring, json);
  json->EndObject();
}

std::string JsonOf(const std::string& name, const TModelCheck& check) {
  JsonWriter json;
  json.BeginObject().Member("file", name).Member("fit", check.IsFit()).Member("verdict", check.message);
  json.Member("warnings", check.Count(TFindingSeverity::Warning));
  json.Key("findings").BeginArray();
  for (const TModelFinding& finding : check.findings) {
    json.BeginObject().Member("severity", FindingSeverityName(finding.severity));
    json.Member("kind", FindingKindName(finding.kind)).Member("what", finding.what).Member("where", finding.where);
    json.Member("consequence", finding.consequence).EndObject();
  }
  json.EndArray();
  const SatCommonUtils::TViewingGeometry& view = check.view;
  json.Member("gsd_m", view.gsd).Member("line_size_m", view.lineSize).Member("sample_size_m", view.sampleSize);
  json.Member("incidence_deg", view.incidence).Member("azimuth_deg", view.azimuth);
  json.Member("area_m2", check.footprint.area);
  json.Member("round_trip_px", check.roundTrip).Member("bent_sight_px", check.bentSight);
  json.Member("direct_model_px", check.directModel);
  json.Key("footprints").BeginArray();
  WriteFootprint(check.footprint, "mean", &json);
  WriteFootprint(check.lowFootprint, "lowest", &json);
  WriteFootprint(check.highFootprint, "highest", &json);
  return json.EndArray().EndObject().Text();
}

void AddFootprint(const std::string& name, const TModelCheck& check, const TImageFootprint& footprint, const char* at,
                  GeoJson* map) {
  if (!footprint) return;
  JsonWriter properties;
  properties.BeginObject().Member("file", name).Member("at", at).Member("height_m", footprint.height);
  properties.Member("area_m2", footprint.area).Member("fit", check.IsFit()).EndObject();
  map->Add({footprint.ring}, properties);
}

class Check : public Command {
 public:
  const char* Notes() const override {
    return "The first line of a model gives the verdict, the ground sample distance, the angle between line of sight "
           "and the ellipsoid's normal, the azimuth towards the sensor clockwise from north, and the area of the "
           "footprint; a line a finding follows: severity (unfit, warning, note), kind, what, where, consequence. "
           "--json has more: footprints at the mean height and both ends of the model's heights, the largest round "
           "trip, how far lines of sight are from straight ones. Models whose files have one stem are taken for those "
           "of one image and compared. The status is 1 when a model is unfit or cannot be read.\n\n"
           "Examples:\n"
           "  orbmath check image.RPB\n"
           "  orbmath check delivery/*.XML --json --geojson footprints.geojson";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("MODEL", &names_, 1, "model files of any form, '-' for standard input");
    line.Flag("--json", &json_, "one JSON object a model, one line each");
    line.Text("--geojson", "FILE", &map_, "write the footprints as GeoJSON");
    page_.Declare(line);
    line.Flag("--mirrored", &mirrored_, "the images are mirror images of the ground, as delivered");
    line.Flag("--no-notes", &no_notes_, "findings from warnings on");
    reading_.Declare(line);
  }

  int Run() override {
    RefuseOneForTwo({map_, page_.Path()});
    for (const std::string& name : {map_, page_.Path()}) RefuseToReplace(name, names_);
    std::optional<OutputFile> map_file;
    if (!map_.empty()) map_file.emplace(map_);
    std::optional<OutputFile> page = page_.Open();
    std::vector<TModelCheck> checks(names_.size());
    const std::vector<ListedModel> models =
        reading_.Read(names_, "checking", [&](std::size_t i, const Model& model) { checks[i] = CheckOf(model); });
    CompareImages(models, &checks);

    int status = kSuccess;
    GeoJson map;
    for (std::size_t i = 0; i < models.size(); ++i) {
      if (!models[i].model || !checks[i].IsFit()) status = kFailure;
      if (!models[i].model) {
        PrintError(models[i]);
        continue;
      }
      Print(models[i].model->name, checks[i]);
      AddFootprint(models[i].model->name, checks[i], checks[i].footprint, "mean", &map);
      AddFootprint(models[i].model->name, checks[i], checks[i].lowFootprint, "lowest", &map);
      AddFootprint(models[i].model->name, checks[i], checks[i].highFootprint, "highest", &map);
    }
    if (map_file) map_file->Write(map.Text());
    if (page) page->Write(CheckPageHtml(models, checks));
    OutputFile::Commit({map_file ? &*map_file : nullptr, page ? &*page : nullptr});
    return status;
  }

 private:
  TModelCheck CheckOf(const Model& model) const {
    SatCommonUtils::TModelCheckOptions options;
    options.radar = model.file.form == SatCommonUtils::TRPCFileForm::Radarsat;
    options.mirrored = mirrored_;
    return SatCommonUtils::CheckModel(*model.rpc, &model.file.origin, options);
  }

  /// Each model of a group against the group's first.
  void CompareImages(const std::vector<ListedModel>& models, std::vector<TModelCheck>* checks) const {
    std::vector<std::pair<std::size_t, std::size_t>> comparisons;
    for (const std::vector<std::size_t>& group : SameImageGroups(models)) {
      for (std::size_t k = 1; k < group.size(); ++k) comparisons.emplace_back(group.front(), group[k]);
    }
    InParallel(
        comparisons.size(), reading_.Threads(),
        [&](std::size_t i) {
          const ListedModel& first = models[comparisons[i].first];
          const ListedModel& other = models[comparisons[i].second];
          const TModelFinding finding = CompareSameImage(*first.model->rpc, *other.model->rpc, first.name);
          const bool told = FolderOf(first.name) == FolderOf(other.name);
          if (told || finding.distance <= kAnotherImage) AddFinding(finding, &(*checks)[comparisons[i].second]);
        },
        [](std::size_t) {});
  }

  void Print(const std::string& name, const TModelCheck& check) const {
    if (json_) {
      page_.Say(JsonOf(name, check) + "\n");
      return;
    }
    std::string text = name + ": " + Headline(check) + "\n";
    for (const TModelFinding& finding : check.findings) {
      if (no_notes_ && finding.severity == TFindingSeverity::Note) continue;
      text += name + ": " + LineOf(finding) + "\n";
    }
    page_.Say(text);
  }

  void PrintError(const ListedModel& listed) const {
    if (json_) {
      JsonWriter json;
      json.BeginObject().Member("file", listed.name).Member("error", listed.error).EndObject();
      page_.Say(json.Text() + "\n");
    }
    Note(listed.error);
  }

  ModelListReading reading_;
  std::vector<std::string> names_;
  std::string map_;
  PageOption page_;
  bool json_ = false;
  bool mirrored_ = false;
  bool no_notes_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeCheck() { return std::make_unique<Check>(); }

}  // namespace orbmath_tool
