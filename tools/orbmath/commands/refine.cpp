// orbmath refine: a correction from control points.

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "accuracy/error_model.h"
#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "points/control_table.h"
#include "points/dem_options.h"
#include "points/point_options.h"
#include "refine/adjusted_rpc.h"
#include "refine/refinement_fit.h"
#include "report/output_file.h"
#include "report/page_option.h"
#include "report/refinement_report.h"
#include "report/report.h"
#include "report/residual_page.h"

namespace orbmath_tool {

using SatCommonUtils::TAdjustedRPC;
using SatCommonUtils::TRefinementFit;
using SatCommonUtils::TRefinementTie;
using SatCommonUtils::TRPCRefinementTransformType;

namespace {

constexpr int kDigits = 4;

/// The rows of a table of image ties as ties of the raw model.
std::vector<TRefinementTie> ImageTies(const Model& model, const PointTable& table, double shift) {
  std::vector<TRefinementTie> ties;
  ties.reserve(table.size());
  for (std::size_t row = 0; row < table.size(); ++row) {
    ties.push_back({table.Values(0)[row] - shift, table.Values(1)[row] - shift, table.Values(2)[row] - shift,
                    table.Values(3)[row] - shift, table.Values(4)[row]});
  }
  const auto* adjusted = dynamic_cast<const TAdjustedRPC*>(model.rpc.get());
  if (adjusted == nullptr || !adjusted->IsAdjusted()) return ties;
  return SatCommonUtils::RawTies(*adjusted, ties);
}

/// The rows of a table of ground control, which loses what only the fit asks for: heights and sigmas.
std::vector<SatCommonUtils::TGroundControlPoint> TakeGroundControl(ControlTable* control) {
  const std::vector<double> heights = std::move(control->ground.height);
  const std::vector<double> sigmas = std::move(control->sigma);
  std::vector<SatCommonUtils::TGroundControlPoint> points;
  points.reserve(control->table.size());
  for (std::size_t row = 0; row < control->table.size(); ++row) {
    points.push_back({control->ground.lat[row], control->ground.lon[row], heights[row], control->line[row],
                      control->sample[row], sigmas[row]});
  }
  return points;
}

/// A note about points outside the model's box, the first of many by name.
void NoteOutside(const PointTable& table, const std::vector<std::size_t>& outside) {
  constexpr std::size_t kMostNames = 10;
  std::string names;
  for (std::size_t i = 0; i < outside.size() && i < kMostNames; ++i) {
    names += (i == 0 ? "" : ", ") + table.Place(outside[i]);
  }
  if (outside.size() > kMostNames) names += " and " + std::to_string(outside.size() - kMostNames) + " more";
  if (!outside.empty()) Note("outside the model's box: " + names);
}

class Refine : public Command {
 public:
  const char* Notes() const override {
    return "Each line of POINTS is 'lat lon height line sample [sigma]' (ground control: degrees, degrees, "
           "metres, pixels) or, with --ties, 'line sample measured_line measured_sample [sigma]' (pixels: where "
           "the model puts a point and where it was measured). sigma is the standard deviation of the "
           "measurement, 1 pixel when it is not given. A shift needs 1 point, an affine correction 3, a "
           "projective one 4; two more let a bad point be found. 'auto' takes the kind that number and spread of "
           "the points bear. Bad points are named and left out. A misfit beyond reason is refused, with the columns "
           "that seem to be exchanged; points outside the model's box are noted. A refinement that the model already "
           "has is replaced. The report has the parameters with their standard deviations and correlations, and what "
           "decided on the kind. Points with the role 'check' in a column 'role', or of the file of --check, take no "
           "part; the report says how far the refined model misses them, root mean square and CE90 in pixels and in "
           "metres on the ground at their heights. With --height or --dem control points need no height: lines are "
           "'lat lon line sample [sigma "
           "[height]]', or a table with named columns, which may name the points too ('id'). --crs says in which "
           "reference system control points are, and --geoid, without --dem, what their heights count from. OUT is an "
           "XML file; 'orbmath export' makes a plain model of it.\n\n"
           "Example:\n"
           "  orbmath refine image.RPB control.txt adjusted.xml --type shift\n"
           "  orbmath refine image.RPB ties.txt adjusted.xml --columns sample,line,lon,lat --height 189";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form");
    line.Argument("POINTS", &points_, "file of points, '-' for standard input");
    line.OutputArgument("OUT", &out_, "adjusted model to be written as XML, '-' for standard output");
    line.Choice("--type", {"auto", "shift", "affine", "projective"}, &type_, "kind of correction (default: auto)");
    line.Flag("--ties", &ties_, "the points are image ties");
    line.Flag("--keep-all", &keep_all_, "name bad points, but keep them in the fit");
    line.Flag("--known-sigmas", &sigmas_are_known_,
              "the points' sigmas are true: the correction's uncertainty is not scaled by the residuals");
    line.Number("--max-misfit", "PX", &max_misfit_, "accept a root mean square up to this (default: 20 px or 20 m)");
    line.Text("--check", "FILE", &check_, "control points that take no part in the fit and check it");
    dem_.Declare(line);
    PointTable::DeclareColumns(line, &columns_);
    frame_.DeclareOrder(line);
    frame_.DeclareHeight(line, "height of control points that give none, metres");
    origin_.Declare(line);
    line.Flag("--json", &json_, "report as one JSON object");
    page_.Declare(line);
    reading_.Declare(line);
  }

  int Run() override {
    if (max_misfit_ && !(*max_misfit_ > 0.0)) throw UsageError("--max-misfit must be above 0");
    const auto suffix = SatCommonUtils::RPCFileFormOfName(out_);
    if (suffix && *suffix != SatCommonUtils::TRPCFileForm::XML) {
      throw UsageError("an adjusted model is an XML file, name OUT so; 'orbmath export' makes a plain model of it");
    }
    RefuseOneForTwo({out_, page_.Path()});
    for (const std::string& name : {out_, page_.Path()}) {
      RefuseToReplace(name, {points_, check_});
      RefuseToReplace(name, dem_.Files());
    }
    RefuseToReplace(page_.Path(), {model_});
    const Model model = ReadGroundModel(model_, reading_, {points_});
    if (ties_ && !check_.empty()) throw UsageError("--check takes ground control, not --ties");
    if (ties_ && dem_.IsGiven()) throw UsageError("--ties and --dem exclude each other");
    if (dem_.IsGiven() && frame_.Height()) throw UsageError("--height and --dem exclude each other");
    return ties_ ? RefineByTies(model) : RefineByControl(model);
  }

 private:
  int RefineByTies(const Model& model) {
    const PointTable table(points_,
                           {columns::kLine, columns::kSample, columns::kMeasuredLine, columns::kMeasuredSample,
                            columns::kSigma, columns::kId},
                           columns_);
    RefuseBadSigma(table, 4);
    TRefinementFit fit;
    const std::vector<TRefinementTie> ties = ImageTies(model, table, origin_.Shift());
    SatCommonUtils::FitImageTies(*model.rpc, ties, FitOptions(model), &fit);
    RefinementPlaces places;
    for (const TRefinementTie& tie : ties) {
      places.line.push_back(tie.measuredLine);
      places.sample.push_back(tie.measuredSample);
    }
    return Finish(model, table, places, {}, fit);
  }

  int RefineByControl(const Model& model) {
    frame_.SetGeoid(dem_.TakeGeoid());
    frame_.Open();
    const auto surface = dem_.Open();
    ControlTable control = ReadControl(points_, columns_, frame_, origin_.Shift(), surface.get());
    std::vector<ControlTable> checks = {TakeChecks(&control)};
    if (!check_.empty()) checks.push_back(ReadControl(check_, columns_, frame_, origin_.Shift(), surface.get()));
    TRefinementFit fit;
    SatCommonUtils::FitGroundControl(*model.rpc, TakeGroundControl(&control), FitOptions(model), &fit);
    const RefinementPlaces places{std::move(control.ground.lat), std::move(control.ground.lon), std::move(control.line),
                                  std::move(control.sample)};
    return Finish(model, control.table, places, checks, fit);
  }

  int Finish(const Model& model, const PointTable& table, const RefinementPlaces& places,
             const std::vector<ControlTable>& checks, const TRefinementFit& fit) const {
    NoteOutside(table, fit.outside);
    if (!fit.success) throw Failure(table.Name() + ": no refinement can be fitted: " + fit.message);
    TAdjustedRPC adjusted(&model.file.record, fit.data.get());
    SatCommonUtils::CopyMarginAndRaster(*model.rpc, &adjusted);
    adjusted.SetRefinementCovariance(fit.covariance);
    OutputFile out(out_);
    std::optional<OutputFile> page = page_.Open();
    WriteModel(adjusted, model.file.extras, SatCommonUtils::TRPCFileForm::XML, &out);
    if (page) page->Write(RefinementPageHtml({model_, out_, table, places, origin_.Shift()}, fit, adjusted, checks));
    OutputFile::Commit({&out, page ? &*page : nullptr});
    PrintReport(table, checks, adjusted, fit);
    return kSuccess;
  }

  SatCommonUtils::TRefinementFitOptions FitOptions(const Model& model) const {
    constexpr TRPCRefinementTransformType kTypes[] = {
        TRPCRefinementTransformType::Affine,  // not used: the kind is chosen
        TRPCRefinementTransformType::Shift, TRPCRefinementTransformType::Affine,
        TRPCRefinementTransformType::Projective};
    SatCommonUtils::TRefinementFitOptions options;
    options.automatic = type_ == 0;
    options.type = kTypes[type_];
    options.keepAll = keep_all_;
    options.sigmasAreKnown = sigmas_are_known_;
    options.largestMisfit = max_misfit_.value_or(0.0);
    int width = 0;
    int height = 0;
    if (model.rpc->GetRasterDims(&width, &height)) {
      options.lines = height;
      options.samples = width;
    }
    return options;
  }

  void PrintReport(const PointTable& table, const std::vector<ControlTable>& checks, const TAdjustedRPC& adjusted,
                   const TRefinementFit& fit) const {
    const SatCommonUtils::TExportedErrors errors = SatCommonUtils::ErrorsOfExport(adjusted);
    Report report;
    report.Text("file", "written", out_);
    report.Text("type", "kind", SatCommonUtils::GetRPCRefinementTransformTypeName(fit.type));
    report.Count("points_used", "points used", fit.used);
    report.Count("points_given", "points given", table.size());
    report.Number("rms_before_px", "rms before", fit.rmsBefore, kDigits, "px");
    report.Number("rms_after_px", "rms after", fit.rmsAfter, kDigits, "px");
    report.Number("sigma_factor", "true sigma / given sigma", fit.sigmaFactor, kDigits, "");
    if (errors.bias) report.Number("bias_m", "bias left per axis", *errors.bias, kDigits, "m");
    if (errors.random) report.Number("random_m", "point error per axis", *errors.random, kDigits, "m");
    report.Text("message", "in short", fit.message);
    AddKinds(fit, &report);
    AddParameters(fit, &report);
    AddPoints(table, fit.points, &report);
    AddCheck(adjusted, checks, &report);
    report.Print(json_, out_ == "-" || page_.IsStandardOutput());
  }

  DemChoice dem_;
  ModelReading reading_;
  std::string model_;
  std::string points_;
  std::string out_;
  std::string check_;
  int type_ = 0;
  bool ties_ = false;
  bool keep_all_ = false;
  bool sigmas_are_known_ = false;
  std::optional<double> max_misfit_;
  std::string columns_;
  GroundFrame frame_;
  PixelOrigin origin_;
  bool json_ = false;
  PageOption page_;
};

}  // namespace

std::unique_ptr<Command> MakeRefine() { return std::make_unique<Refine>(); }

}  // namespace orbmath_tool
