// orbmath fit: a model from correspondences of ground and image.

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "points/control_table.h"
#include "points/point_options.h"
#include "refine/refinement_fit.h"
#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"
#include "report/fixed_digits.h"
#include "report/page_option.h"
#include "report/progress_line.h"
#include "report/report.h"
#include "report/residual_page.h"
#include "report/residual_report.h"
#include "rpc/rpc_fields.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;
using SatCommonUtils::TRPCEstimationDataSet;
using SatCommonUtils::TRPCEstimationPoint;
using SatCommonUtils::TRPCFileForm;
using SatCommonUtils::TWrittenModel;

namespace {

constexpr std::size_t kWorstPoints = 5;

/// The points of a table, those of the fit apart from those that check it.
struct FitPoints {
  TRPCEstimationDataSet fit;
  std::vector<std::size_t> fit_rows;
  std::vector<TRPCEstimationPoint> check;
  std::vector<std::size_t> check_rows;
};

/// Longitudes come in the turn of the first one: points on both sides of the antimeridian lie side by side.
/// \param check_every each such point is kept for checking, 0 for none but those whose role it is.
FitPoints SplitPoints(const ControlTable& control, std::size_t check_every) {
  FitPoints points;
  const GroundPoints& ground = control.ground;
  points.fit.Points.reserve(control.table.size());
  points.fit_rows.reserve(control.table.size());
  for (std::size_t row = 0; row < control.table.size(); ++row) {
    const double turns = std::round((ground.lon[row] - ground.lon[0]) / 360.0);
    const TRPCEstimationPoint point{ground.lat[row], ground.lon[row] - 360.0 * turns, ground.height[row],
                                    control.line[row], control.sample[row]};
    if (control.is_check[row] || (check_every > 0 && row % check_every == check_every - 1)) {
      points.check.push_back(point);
      points.check_rows.push_back(row);
      continue;
    }
    points.fit.Points.push_back(point);
    points.fit_rows.push_back(row);
  }
  return points;
}

std::vector<double> WeightsOf(const std::vector<double>& sigma, const std::vector<std::size_t>& rows) {
  std::vector<double> weights;
  weights.reserve(rows.size());
  for (const std::size_t row : rows) weights.push_back(1.0 / (sigma[row] * sigma[row]));
  return weights;
}

void CopyScalars(const TRPCData& from, TRPCData* to) {
  for (const SatCommonUtils::TRPCScalarField& field : SatCommonUtils::RPCScalarFields()) {
    to->*field.value = from.*field.value;
  }
}

/// The points in the units of the record's offsets and scales, in the turn of its longitude.
TRPCEstimationDataSet Normalized(const TRPCEstimationDataSet& data, const TRPCData& record) {
  TRPCEstimationDataSet normalized;
  normalized.IsNormalized = true;
  normalized.Points.reserve(data.Points.size());
  for (const TRPCEstimationPoint& point : data.Points) {
    normalized.Points.push_back(
        {(point.Lat - record.latOffset) / record.latScale, (point.Lon - record.longOffset) / record.longScale,
         (point.Height - record.heightOffset) / record.heightScale, (point.Line - record.lineOffset) / record.lineScale,
         (point.Sample - record.sampOffset) / record.sampScale});
  }
  return normalized;
}

/// \param bad places in `points` of those that are bad.
void AppendResiduals(const TRPC& model, const std::vector<TRPCEstimationPoint>& points,
                     const std::vector<std::size_t>& rows, const std::vector<std::size_t>& bad, const char* set,
                     std::vector<PointResidual>* residuals) {
  for (std::size_t i = 0; i < points.size(); ++i) {
    const bool is_bad = std::binary_search(bad.begin(), bad.end(), i);
    const TRPCEstimationPoint& point = points[i];
    double line = 0.0;
    double sample = 0.0;
    model.CalculateLineSample(point.Lat, point.Lon, point.Height, &line, &sample, nullptr, nullptr);
    residuals->push_back({rows[i], point.Line - line, point.Sample - sample, is_bad ? "bad" : set});
  }
}

/// Robust or plain, onto the offsets and scales that the form of the file can hold.
class Fitter {
 public:
  Fitter(const PointTable& table, const FitPoints& points, TRPCFileForm form, std::string out)
      : table_(table), points_(points), form_(form), out_(std::move(out)) {}

  /// \throws Failure with the sentence of the fit's report.
  TRPCData FitRobust(const SatCommonUtils::TRPCFitOptions& options) {
    TRPCData record;
    if (!SatCommonUtils::FitRPC(points_.fit, options, &record, &story_)) {
      throw Failure(table_.Name() + ": no model can be fitted: " + story_.message);
    }
    return record;
  }

  TRPCData FitPlain() {
    TRPCData record;
    RunPlain(points_.fit, &record);
    if (Rounds()) {
      RoundScalars(&record);
      RunPlain(Normalized(points_.fit, record), &record);
    }
    return record;
  }

  /// The story of the last robust fit; "not run" after a plain one.
  const SatCommonUtils::TRPCFitReport& Story() const { return story_; }

 private:
  bool Rounds() const { return form_ == TRPCFileForm::RPB || form_ == TRPCFileForm::Text; }

  void RoundScalars(TRPCData* record) const { CopyScalars(FormatModel(TRPC(*record), {}, form_, out_).record, record); }

  void RunPlain(const TRPCEstimationDataSet& data, TRPCData* record) const {
    if (!SatCommonUtils::EstimateRPC(data, record)) {
      throw Failure(
          "no model can be fitted: the plain method needs 40 points or more that spread in all five "
          "coordinates and do not make its equations singular; --method robust does with less");
    }
  }

  const PointTable& table_;
  const FitPoints& points_;
  const TRPCFileForm form_;
  const std::string out_;
  SatCommonUtils::TRPCFitReport story_;
};

void AddOutput(const std::string& key, const SatCommonUtils::TRPCFitOutputReport& output, Report* report) {
  report->Text(key, key,
               "order " + std::to_string(output.order) + ", rank " + std::to_string(output.rank) + " of " +
                   std::to_string(output.unknowns) + ", effective unknowns " + Fixed(output.freedom, 1) + ", " +
                   std::to_string(output.iterations) + " iterations" + (output.converged ? "" : ", not converged"));
}

class Fit : public Command {
 public:
  const char* Notes() const override {
    return "Each line of POINTS is 'lat lon height line sample [sigma]' (degrees, degrees, metres above the "
           "ellipsoid, pixels; sigma is the standard deviation of the point, pixels), or a table with named columns, "
           "which may name the points ('id') and say which of them only check the fit ('role': control or check). "
           "With --height the columns without names are 'lat lon line sample [sigma [height]]'. --geoid says what "
           "the points' heights count from, --crs in which reference system the points are. The robust method holds "
           "with few, with noisy and with bad points: these are named and left out. The plain one is the undamped "
           "fit of all 78 coefficients, for which sigma does not count. RPB and text files hold rounded offsets and "
           "scales: the model is expressed with the rounded ones, and the residuals are those of the written "
           "file.\n\n"
           "Example:\n"
           "  orbmath fit points.csv image.RPB --columns id,lon,lat,height,sample,line --check 5";
  }

  void Declare(CommandLine& line) override {
    line.Argument("POINTS", &points_, "file of points, '-' for standard input");
    line.Argument("OUT", &out_, "model file to be written, '-' for standard output");
    form_.Declare(line);
    PointTable::DeclareColumns(line, &columns_);
    frame_.DeclareOrder(line);
    frame_.DeclareHeight(line, "height of points that give none, metres");
    frame_.DeclareGeoid(line);
    origin_.Declare(line);
    line.Choice("--method", {"robust", "plain"}, &method_, "how to fit (default: robust)");
    line.Count("--order", "N", 1, 3, &order_, "degree of the polynomials (default: the best for each of the two)");
    line.Number("--ridge", "R", &ridge_, "ridge of the robust method, 0 or above (default: the best)");
    line.Flag("--keep-all", &keep_all_, "name bad points, but keep them in the fit");
    line.Count("--check", "N", 2, 1000000, &check_, "keep each N-th point out of the fit and check the model with it");
    line.Text("--residuals", "FILE", &residuals_, "write the residuals, one line a point");
    line.Flag("--json", &json_, "report as one JSON object");
    page_.Declare(line);
  }

  int Run() override {
    if (method_ == 1 && (order_ || ridge_ || keep_all_)) {
      throw UsageError("--order, --ridge and --keep-all belong to --method robust");
    }
    if (ridge_.value_or(0.0) < 0.0) throw UsageError("--ridge must be 0 or above");
    const TRPCFileForm form = form_.Of(out_);
    frame_.Open();
    ControlTable control = ReadControl(points_, columns_, frame_, origin_.Shift(), nullptr);
    const PointTable& table = control.table;
    const FitPoints points = SplitPoints(control, static_cast<std::size_t>(check_.value_or(0)));
    std::vector<double> weights = method_ == 0 ? WeightsOf(control.sigma, points.fit_rows) : std::vector<double>();
    RefuseOneForTwo({out_, residuals_, page_.Path()});
    for (const std::string& name : {out_, residuals_, page_.Path()}) RefuseToReplace(name, {points_});
    OutputFile out(out_);
    std::optional<OutputFile> residuals;
    if (!residuals_.empty()) residuals.emplace(residuals_);
    std::optional<OutputFile> page = page_.Open();
    DropNumbers(page.has_value(), &control);
    Fitter fitter(table, points, form, out_);
    const TRPCData record = method_ == 0 ? FitRobust(std::move(weights), &fitter) : fitter.FitPlain();
    const TWrittenModel written = WriteModel(TRPC(record), {}, form, &out);
    const Report report = MakeReport(table, points, fitter.Story(), written, residuals ? &*residuals : nullptr);
    if (page) WritePage(control, points, fitter.Story(), written, &*page);
    OutputFile::Commit({&out, residuals ? &*residuals : nullptr, page ? &*page : nullptr});
    report.Print(json_, out_ == "-" || residuals_ == "-" || page_.IsStandardOutput());
    return kSuccess;
  }

 private:
  /// Gives back the memory of what stands among the points to be fitted. \param with_page a page needs the places.
  static void DropNumbers(bool with_page, ControlTable* control) {
    control->sigma = std::vector<double>();
    control->ground.height = std::vector<double>();
    if (with_page) return;
    control->ground = GroundPoints();
    control->line = std::vector<double>();
    control->sample = std::vector<double>();
  }

  TRPCData FitRobust(std::vector<double> weights, Fitter* fitter) const {
    WorkProgress progress("fitting");
    SatCommonUtils::TRPCFitOptions options;
    options.weights = std::move(weights);
    options.order = order_.value_or(0);
    options.ridge = ridge_.value_or(-1.0);
    options.badPoints = keep_all_ ? SatCommonUtils::TRPCBadPoints::Kept : SatCommonUtils::TRPCBadPoints::LeftOut;
    options.progress = &progress;
    return fitter->FitRobust(options);
  }

  /// The points that the fit took.
  std::vector<TRPCEstimationPoint> Taken(const FitPoints& points, const SatCommonUtils::TRPCFitReport& story) const {
    std::vector<TRPCEstimationPoint> taken;
    taken.reserve(points.fit.Points.size());
    for (std::size_t i = 0; i < points.fit.Points.size(); ++i) {
      const bool is_bad = std::binary_search(story.bad.begin(), story.bad.end(), i);
      if (keep_all_ || !is_bad) taken.push_back(points.fit.Points[i]);
    }
    return taken;
  }

  /// The bad points by name, the first of many; for programs the numbers of their lines.
  static void AddBad(const PointTable& table, const FitPoints& points, const std::vector<std::size_t>& bad,
                     Report* report) {
    constexpr std::size_t kMostNames = 20;
    std::string names;
    JsonWriter lines;
    lines.BeginArray();
    for (std::size_t i = 0; i < bad.size(); ++i) {
      const std::size_t row = points.fit_rows[bad[i]];
      if (i < kMostNames) names += (names.empty() ? "" : ", ") + table.Place(row);
      lines.Value(table.Line(row));
    }
    if (bad.size() > kMostNames) names += " and " + std::to_string(bad.size() - kMostNames) + " more";
    report->Lines("bad points: " + (names.empty() ? "none" : names) + "\n");
    report->Json("bad", lines.EndArray());
  }

  /// \param residual_file may be null.
  Report MakeReport(const PointTable& table, const FitPoints& points, const SatCommonUtils::TRPCFitReport& story,
                    const TWrittenModel& written, OutputFile* residual_file) const {
    Report report;
    report.Text("file", "written", out_);
    report.Text("method", "method", method_ == 0 ? "robust" : "plain");
    if (method_ == 0) {
      AddOutput("line", story.line, &report);
      AddOutput("sample", story.sample, &report);
      report.Number("coverage", "coverage of the box", 100.0 * story.coverage, 0, "%");
      report.Text("message", "in short", story.message);
      AddBad(table, points, story.bad, &report);
    }
    const TRPC model(written.record);
    report.Number("cost_px", "cost of the file's digits", written.worst, 9, "px");
    const SatCommonUtils::TRPCFitResiduals fitted =
        SatCommonUtils::ResidualsOfRPC(written.record, Taken(points, story), false);
    AddStatistics("fit", "residuals of the fitted points", fitted, "px", &report);
    if (!(fitted.distance.rms <= SatCommonUtils::kReasonableMisfit)) {
      Note("warning: " + out_ + ": misses the points that it was made of by " + Fixed(fitted.distance.rms, 0) +
           " px (root mean square): are they points of one image, and their columns what they are taken for?");
    }
    if (!points.check.empty()) {
      AddStatistics("check", "residuals of the check points",
                    SatCommonUtils::ResidualsOfRPC(written.record, points.check, false), "px", &report);
    }
    const std::vector<PointResidual> residuals = ResidualsOf(model, points, story);
    AddWorst(table, residuals, kWorstPoints, &report);
    if (residual_file != nullptr) WriteResiduals(table, residuals, residual_file);
    return report;
  }

  /// The points of the fit, then those that check it.
  static std::vector<PointResidual> ResidualsOf(const TRPC& model, const FitPoints& points,
                                                const SatCommonUtils::TRPCFitReport& story) {
    std::vector<PointResidual> residuals;
    residuals.reserve(points.fit_rows.size() + points.check_rows.size());
    AppendResiduals(model, points.fit.Points, points.fit_rows, story.bad, "fit", &residuals);
    AppendResiduals(model, points.check, points.check_rows, {}, "check", &residuals);
    return residuals;
  }

  void WritePage(const ControlTable& control, const FitPoints& points, const SatCommonUtils::TRPCFitReport& story,
                 const TWrittenModel& written, OutputFile* file) const {
    const PointTable& table = control.table;
    const TRPC model(written.record);
    ResidualPage page;
    page.command = "fit";
    page.title = "Fit of " + FileName(out_) + " to " + FileName(table.Name());
    page.lead = method_ == 0 ? story.message : "The plain fit of all 78 coefficients.";
    page.names = {"fitted", "check", "bad"};
    page.facts = {{"points", table.Name()},
                  {"written", out_},
                  {"points fitted", PageCount(Taken(points, story).size()) + " of " + PageCount(table.size())},
                  {"points that check", PageCount(points.check.size())},
                  {"bad points", PageCount(story.bad.size())},
                  {"cost of the file's digits", PageNumber(written.worst, 9) + " px"}};
    const auto statistics = [&](const std::vector<TRPCEstimationPoint>& set) {
      return SatCommonUtils::ResidualsOfRPC(written.record, set, false);
    };
    std::vector<std::pair<std::string, SatCommonUtils::TRPCFitResiduals>> sets;
    sets.emplace_back("fitted points", statistics(Taken(points, story)));
    if (!points.check.empty()) sets.emplace_back("check points", statistics(points.check));
    page.tables.push_back(StatisticsTable(sets));
    for (const PointResidual& residual : ResidualsOf(model, points, story)) {
      MeasuredPoint point;
      point.name = RowName(table, residual.row);
      point.tone = std::string_view(residual.set) == "bad"     ? PageTone::Bad
                   : std::string_view(residual.set) == "check" ? PageTone::Second
                                                               : PageTone::Plain;
      point.lat = control.ground.lat[residual.row];
      point.lon = control.ground.lon[residual.row];
      point.line = control.line[residual.row] + origin_.Shift();
      point.sample = control.sample[residual.row] + origin_.Shift();
      point.line_off = residual.line;
      point.sample_off = residual.sample;
      page.points.push_back(std::move(point));
    }
    file->Write(ResidualPageHtml(page, model, origin_.Shift()));
  }

  std::string points_;
  std::string out_;
  OutputForm form_;
  std::string columns_;
  GroundFrame frame_;
  PixelOrigin origin_;
  int method_ = 0;
  std::optional<int> order_;
  std::optional<double> ridge_;
  bool keep_all_ = false;
  std::optional<int> check_;
  std::string residuals_;
  bool json_ = false;
  PageOption page_;
};

}  // namespace

std::unique_ptr<Command> MakeFit() { return std::make_unique<Fit>(); }

}  // namespace orbmath_tool
