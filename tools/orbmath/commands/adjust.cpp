// orbmath adjust: corrections of many images at once, from ties and control points.

#include <optional>
#include <string>
#include <vector>

#include "block/block_adjustment.h"
#include "block/block_files.h"
#include "block/block_page.h"
#include "block/block_report.h"
#include "block/block_setup.h"
#include "block/measurement_reader.h"
#include "block/result_folder.h"
#include "commands/command.h"
#include "errors.h"
#include "frame/zxstd/threads.h"
#include "points/dem_options.h"
#include "points/point_options.h"
#include "report/interruption.h"
#include "report/output_file.h"
#include "report/progress_line.h"

namespace orbmath_tool {

using SatCommonUtils::TBlockOptions;
using SatCommonUtils::TBlockProblem;
using SatCommonUtils::TBlockResult;
using SatCommonUtils::TBlockState;

namespace {

/// What stands behind an image's name in those of its plain models, in the order of --plain's words.
constexpr const char* kPlainSuffixes[] = {".RPB", "_RPC.TXT", ".tif"};

/// Names of images that have no model. \throws Failure
void RefuseUnknown(const BlockImages& images, const BlockData& data) {
  if (data.unknown_images.empty()) return;
  constexpr std::size_t kMostSaid = 10;
  std::size_t said = 0;
  for (const auto& [name, count] : data.unknown_images) {
    if (said++ == kMostSaid) break;
    Note(Counted(count, "measurement") + " in '" + name + "', which is no image of the block" +
         images.WhatThereIs(name));
  }
  throw Failure(Counted(data.unknown_images.size(), "image") +
                " of the measurements without a model; name models by NAME=PATH, or pass them over with --subset");
}

class Adjust : public Command {
 public:
  const char* Notes() const override {
    return "Corrects the models of many images so that they agree with each other, by points measured in several of "
           "them (ties), and with the ground, by control points. Each image gets a correction in image space, each "
           "point a place on the ground. Bad measurements are found, named and left out; they leave the exit status "
           "0. An image that cannot be adjusted is named, gets no file, and makes it 1.\n\n"
           "MODEL is a path, whose stem names the image ('a/0012_RPC.TXT': 0012, or 0012_RPC), or NAME=PATH. "
           "Measurements are lines 'point image line sample [sigma]' (pixels; columns by the names of a header line "
           "in any order), the images.txt of COLMAP's text form, or a Homol folder of MicMac in text form; those of "
           "control points stand among them or in a file of their own. Control points are lines 'point lat lon height "
           "[sigma_h sigma_v] [role]' (degrees, metres above the ellipsoid, metres): role is control, check (kept "
           "out and compared in the end) or height (only the height is known). A control point may lack its height.\n\n"
           "DIR gets NAME.xml, an adjusted model that every command takes, of each image; block.xml, all of them in "
           "one "
           "exchange document; points.csv, the ground points with their standard deviations; report.json with "
           "everything else, the list bad_measurements for one; and report.html to look at. Each file comes whole or "
           "not at all, report.json last.\n\n"
           "Examples:\n"
           "  orbmath adjust *.RPB --measurements ties.csv --measurements control_obs.csv --control control.csv "
           "--out adjusted\n"
           "  orbmath adjust *.tif --measurements ties.csv --dem srtm.tif --geoid egm96 --out adjusted --plain tif";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("MODEL", &models_, 1, "model files of any form, or NAME=PATH");
    line.Texts("--measurements", "FILE...", &measurements_, "points measured in images; several files make one block");
    line.Texts("--matches", "IMAGE,IMAGE=FILE", &matches_,
               "lines 'sample1 line1 sample2 line2' of two images, as s2p writes them; joined to points of many");
    line.Texts("--control", "FILE...", &control_, "control and check points");
    line.Text("--out", "DIR", &out_, "folder of the results");
    line.Choice("--type", {"auto", "none", "shift", "drift", "affine"}, &type_,
                "correction of each image: the simplest that suffices (auto, the default), none, shift, shift and "
                "drift along the lines, affine");
    line.Texts("--fix", "NAME", &choices_.fixed, "an image that stays as it is");
    line.Texts("--pass", "NAME,NAME...", &choices_.passes, "images of one pass, which share one correction");
    line.Number("--sigma", "PX", &sigma_, "standard deviation of a measurement that states none (default 0.5)");
    line.Number("--sigma-shift", "PX", &sigma_shift_,
                "standard deviation of the shifts before the adjustment (default 100)");
    line.Number("--sigma-drift", "PX", &sigma_drift_,
                "the same of what drift and affine add at an image's edges (default 100)");
    line.Number("--sigma-horizontal", "M", &sigma_horizontal_,
                "standard deviation of control that states none, towards east and north (default 1)");
    line.Number("--sigma-vertical", "M", &sigma_vertical_, "the same of its height (default 1)");
    frame_.DeclareOrder(line);
    dem_.Declare(line);
    line.Number("--sigma-dem", "M", &sigma_dem_, "standard deviation of the DEM's heights (default 10)");
    line.Flag("--keep-all", &keep_all_, "keep bad measurements in the adjustment; none is looked for");
    line.Flag("--subset", &subset_, "pass over measurements in images that have no model here");
    line.Flag("--check-only", &check_only_, "say what is wrong with the input, adjust and write nothing");
    line.Choice("--plain", {"rpb", "text", "tif"}, &plain_,
                "write plain models too: NAME.RPB, NAME_RPC.TXT, or NAME.tif, a copy of the image with its model");
    line.Flag("--geojson", &geojson_, "write the ground points as points.geojson too");
    line.Text("--columns", "NAMES", &columns_,
              "names of the columns of measurements joined by commas (default: the header line, or the order above)");
    origin_.Declare(line);
    line.Flag("--json", &json_, "report as one JSON object, as in report.json");
    line.Count("--threads", "N", 1, 1024, &threads_, "threads that compute (default: one a processor)");
    reading_.Declare(line);
  }

  int Run() override {
    CheckOptions();
    const Interruption interruption;
    if (threads_) SatCommonUtils::ZxSetThreadsCount(*threads_);
    BlockImages images(models_);
    std::optional<ResultFolder> folder;
    if (!check_only_) folder.emplace(out_);
    images.Read(reading_);
    frame_.SetGeoid(dem_.TakeGeoid());
    frame_.Open();
    const auto surface = dem_.Open();
    BlockData data;
    ReadFiles(&images, &data);
    if (folder) folder->RefuseToReplaceAny(Inputs(images), Outputs(images));
    TBlockOptions options = Options();
    options.surface = surface;
    const TBlockProblem problem = MakeProblem(&images, &data, choices_, surface.get(), options.sigmaSurface);
    const TBlockResult result = Solve(problem, options);
    std::vector<Finding> findings = FindingsOf(problem, data, result);
    std::vector<ImageFiles> files;
    if (!check_only_) {
      // Steps that did not come to rest leave numbers that nobody should use.
      if (result.state != TBlockState::Adjusted) Fail(result, findings);
      std::vector<std::string> notes;
      files = AddModelFiles(images, result, PlainOf(), &*folder, &notes);
      for (const std::string& note : notes) findings.push_back({false, note});
    }
    const BlockStory story{problem, result, findings, files, check_only_ ? "" : out_};
    if (folder) WriteResults(story, &*folder);
    Print(json_ ? BlockJson(story) : BlockText(story));
    return HasErrors(result, findings) ? kFailure : kSuccess;
  }

 private:
  void CheckOptions() {
    if (out_.empty() && !check_only_) throw UsageError("--out DIR is needed, or --check-only");
    if (measurements_.empty() && matches_.empty()) throw UsageError("--measurements FILE is needed");
    for (const auto& [name, value] :
         {std::pair{"--sigma", sigma_}, std::pair{"--sigma-shift", sigma_shift_},
          std::pair{"--sigma-drift", sigma_drift_}, std::pair{"--sigma-horizontal", sigma_horizontal_},
          std::pair{"--sigma-vertical", sigma_vertical_}, std::pair{"--sigma-dem", sigma_dem_}}) {
      if (value && !(*value > 0.0)) throw UsageError(std::string(name) + " must be above 0");
    }
    if (sigma_dem_ && !dem_.IsGiven()) throw UsageError("--sigma-dem needs --dem");
    constexpr SatCommonUtils::TBlockCorrection kTypes[] = {
        SatCommonUtils::TBlockCorrection::Automatic, SatCommonUtils::TBlockCorrection::None,
        SatCommonUtils::TBlockCorrection::Shift, SatCommonUtils::TBlockCorrection::Drift,
        SatCommonUtils::TBlockCorrection::Affine};
    choices_.correction = kTypes[type_];
  }

  void ReadFiles(BlockImages* images, BlockData* data) const {
    MeasurementReader reader(images, data, columns_, origin_.Shift());
    for (const std::string& path : measurements_) reader.Read(path);
    for (const std::string& given : matches_) reader.ReadPair(given);
    reader.Finish();
    if (!subset_) RefuseUnknown(*images, *data);
    for (const std::string& path : control_) ReadBlockControl(path, frame_, data);
  }

  /// The files that are read.
  std::vector<std::string> Inputs(const BlockImages& images) const {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < images.size(); ++i) {
      const Model& model = images.ModelOf(i);
      names.push_back(model.name);
      if (model.file.form != SatCommonUtils::TRPCFileForm::Image) continue;
      const std::string stem = model.name.substr(0, model.name.size() - SuffixOf(model.name).size());
      for (int beside : {0, 1}) names.push_back(stem + kPlainSuffixes[beside]);  // its model may stand there
    }
    for (const std::string& given : matches_) names.push_back(given.substr(given.find('=') + 1));
    for (const std::vector<std::string>* more : {&measurements_, &control_, &dem_.Files()}) {
      names.insert(names.end(), more->begin(), more->end());
    }
    return names;
  }

  /// The files that may be written into the folder.
  std::vector<std::string> Outputs(const BlockImages& images) const {
    std::vector<std::string> names{"block.xml", "points.csv", "points.geojson", "report.html", "report.json"};
    for (std::size_t i = 0; i < images.size(); ++i) {
      names.push_back(images.Name(i) + ".xml");
      if (plain_ >= 0) names.push_back(images.Name(i) + kPlainSuffixes[plain_]);
    }
    return names;
  }

  TBlockOptions Options() const {
    TBlockOptions options;
    options.robust = !keep_all_;
    options.checkOnly = check_only_;
    options.sigmaMeasurement = sigma_.value_or(options.sigmaMeasurement);
    options.sigmaShift = sigma_shift_.value_or(options.sigmaShift);
    options.sigmaDrift = sigma_drift_.value_or(options.sigmaDrift);
    options.sigmaHorizontal = sigma_horizontal_.value_or(options.sigmaHorizontal);
    options.sigmaVertical = sigma_vertical_.value_or(options.sigmaVertical);
    options.sigmaSurface = sigma_dem_.value_or(options.sigmaSurface);
    return options;
  }

  static TBlockResult Solve(const TBlockProblem& problem, TBlockOptions options) {
    WorkProgress progress("adjusting");
    options.progress = &progress;
    TBlockResult result = SatCommonUtils::AdjustBlock(problem, options);
    if (result.state == TBlockState::Cancelled) throw Failure(kInterrupted);
    return result;
  }

  /// An adjustment without a result: why, and what is wrong with the input.
  [[noreturn]] static void Fail(const TBlockResult& result, const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) Note(finding.text);
    for (const std::string& note : result.notes) Note(note);
    throw Failure("no adjustment, nothing was written: " + result.message);
  }

  PlainForm PlainOf() const {
    constexpr PlainForm kForms[] = {PlainForm::Rpb, PlainForm::Text, PlainForm::Image};
    return plain_ < 0 ? PlainForm::None : kForms[plain_];
  }

  void WriteResults(const BlockStory& story, ResultFolder* folder) const {
    folder->Add("points.csv", PointsCsv(story.problem, story.result));
    if (geojson_) folder->Add("points.geojson", PointsGeoJson(story.problem, story.result));
    folder->Add("report.html", BlockPageHtml(story));
    folder->Add("report.json", BlockJson(story));
    folder->Commit();
  }

  static bool HasErrors(const TBlockResult& result, const std::vector<Finding>& findings) {
    if (result.state != TBlockState::Checked && result.state != TBlockState::Adjusted) return true;
    for (const Finding& finding : findings) {
      if (finding.is_error) return true;
    }
    return false;
  }

  static void Print(const std::string& text) { WriteToStandardOutput(text); }

  std::vector<std::string> models_;
  std::vector<std::string> measurements_;
  std::vector<std::string> matches_;
  std::vector<std::string> control_;
  std::string out_;
  int type_ = 0;
  ImageChoices choices_;
  std::optional<double> sigma_;
  std::optional<double> sigma_shift_;
  std::optional<double> sigma_drift_;
  std::optional<double> sigma_horizontal_;
  std::optional<double> sigma_vertical_;
  std::optional<double> sigma_dem_;
  GroundFrame frame_;
  DemChoice dem_;
  bool keep_all_ = false;
  bool subset_ = false;
  bool check_only_ = false;
  int plain_ = -1;
  bool geojson_ = false;
  std::string columns_;
  PixelOrigin origin_;
  bool json_ = false;
  std::optional<int> threads_;
  ModelReading reading_;
};

}  // namespace

std::unique_ptr<Command> MakeAdjust() { return std::make_unique<Adjust>(); }

}  // namespace orbmath_tool
