// The resistant fit of a record: sorts the points, fits both outputs in each degree, and lets points leave and come
// back. Sources with each part: rational_fit.h, ridge_spectrum.h, suspects.h, bad_points.h.

#include "refine/robust_fit.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include "frame/zxstd/text.h"
#include "refine/estimation/bad_points.h"
#include "refine/estimation/estimation_steps.h"
#include "refine/estimation/fit_residuals.h"
#include "refine/estimation/rational_fit.h"
#include "refine/estimation/sorted_points.h"
#include "refine/estimation/suspects.h"

namespace SatCommonUtils {

namespace {

using namespace estimation;

// One more than the unknowns of each degree, 1 to 3.
constexpr std::size_t kTermsOf[] = {4, 10, 20};
constexpr std::size_t kLeastPoints[] = {8, 20, 40};
// The first-order reference takes just enough of a ridge to survive points on a line: 1e-5 pixels or less.
constexpr double kFirstOrderRidge = 1e-11;
// A higher degree has to bring the score down by this, divided by the number of points: more than chance does.
constexpr double kWorthOfADegree = 6.0;
// With many points a ridge may end this much below that of the share of them that made the start.
constexpr double kRidgeFallOfManyPoints = 1e-3;
// Heights (metres, or normalised) this close together are one height.
constexpr double kFlat = 1e-3;
constexpr double kFlatNormalized = 1e-6;

int DegreeOf(std::size_t terms) { return terms == 4 ? 1 : terms == 10 ? 2 : 3; }

// A share of the work, told to the caller's handler as the work advances. How many fits there will be is not known, so
// each takes four fifths of what is left; nor are their passes, of which each takes a third of what is left of its
// part.
class TProgress {
 public:
  explicit TProgress(TZxProgressHandler* handler) : handler_(handler) {}
  // The next fit, which has so many parts.
  void NextFit(int parts) {
    begin_ += share_;
    share_ = 0.8 * (1.0 - begin_);
    parts_ = parts;
    part_ = -1;
  }
  void NextPart() { part_ = std::min(part_ + 1, parts_ - 1); }
  bool AfterPass(int passes) {
    if (handler_ == nullptr) return true;
    double left = 1.0;
    for (int i = 0; i < passes; ++i) left *= 2.0 / 3.0;
    // A part that is tried again does not go back.
    told_ = std::max(told_, begin_ + share_ * (part_ + 1.0 - left) / parts_);
    return handler_->Progress(told_);
  }
  bool Finish() const { return handler_ == nullptr || handler_->Progress(1.0); }

 private:
  TZxProgressHandler* handler_;
  double begin_ = 0.0;  // of the present fit
  double share_ = 0.0;  // of the present fit
  int parts_ = 1;
  int part_ = -1;
  double told_ = 0.0;
};

// The fits of one output.
struct TFittedDegrees {
  TFitResult first;  // first-order: the reference of the others
  TFitResult best;
  std::size_t terms = 0;  // of the best
};

// A fit to a set of points.
struct TSetFit {
  TPointRanges ranges{};
  bool flat = false;
  TRPCNormalization box;
  TFittedDegrees line, sample;
};

// The fit of both outputs, and the search for the points that do not belong to the others.
class TRecordFit {
 public:
  TRecordFit(const TRPCEstimationDataSet& data, const TRPCFitOptions& options, TRPCFitReport* report)
      : data_(data), options_(options), report_(report), progress_(options.progress) {}

  bool Run(TRPCData* rpc) {
    if (!CheckInput(*rpc)) return false;
    points_ = SortPoints(data_, options_);
    TSetFit fit;
    std::vector<char> is_bad(points_.candidates.count, 0);
    if (!FitAllPoints(&fit)) return false;
    if (options_.badPoints != TRPCBadPoints::NotSought && !LeaveOutBad(&fit, &is_bad)) return false;
    TRPCData result;
    if (!MakeRecord(fit, *rpc, &result)) {
      return Fail("the fitted model cannot be expressed with the given offsets and scales");
    }
    if (!Explains(result, is_bad)) return false;
    Describe(result, fit, is_bad);
    if (!progress_.Finish()) return Fail(kStopped);
    report_->success = true;
    *rpc = result;
    return true;
  }

 private:
  static constexpr const char* kStopped = "stopped by the caller";

  bool Fail(const std::string& message) {
    *report_ = TRPCFitReport();
    report_->message = message;
    return false;
  }

  TFitTask TaskFor(TOutput output) {
    TFitTask task;
    task.output = output;
    task.go_on = [this](int passes) { return progress_.AfterPass(passes); };
    return task;
  }

  bool KeepsNormalization() const { return data_.IsNormalized || options_.keepNormalization; }
  std::size_t LeastPoints() const { return kLeastPoints[std::max(options_.order, 1) - 1]; }
  const double* RootWeights() const { return points_.RootWeights(); }

  bool CheckInput(const TRPCData& rpc);
  bool ChooseBox(TPointSpan points, TSetFit* fit);
  bool FitAllPoints(TSetFit* fit);
  std::vector<TRPCEstimationPoint> Others(const std::vector<char>& left_out) const;
  bool FitWithout(const std::vector<char>& left_out, TSetFit* fit, bool* usable);
  bool LeaveOutBad(TSetFit* fit, std::vector<char>* is_bad);
  TStandardized Standardized(const TSetFit& fit, const std::vector<char>& left_out) const;
  bool FitSet(const TFitPoints& set, TSetFit* fit);
  bool FitOutput(const TFitPoints& all, TOutput output, TFittedDegrees* fitted);
  bool FitOneDegree(const TFitPoints& points, TFitTask task, TFitResult* best);
  bool FitDegrees(const TFitPoints& points, TOutput output, TFittedDegrees* fitted);
  bool MakeRecord(const TSetFit& fit, const TRPCData& given, TRPCData* result) const;
  bool Explains(const TRPCData& rpc, const std::vector<char>& is_bad);
  void Describe(const TRPCData& rpc, const TSetFit& fit, const std::vector<char>& is_bad);

  const TRPCEstimationDataSet& data_;
  const TRPCFitOptions& options_;
  TRPCFitReport* report_;
  TProgress progress_;
  TSortedPoints points_;
};

bool TRecordFit::CheckInput(const TRPCData& rpc) {
  if (options_.order < 0 || options_.order > 3) return Fail("the order is not 0, 1, 2 or 3");
  if (std::isnan(options_.ridge) || std::isinf(options_.ridge)) return Fail("the ridge is not finite");
  if (options_.holdOut == 1) return Fail("every point would be held out");
  if (!options_.weights.empty() && options_.weights.size() != data_.Points.size()) {
    return Fail("there are not as many weights as points");
  }
  for (const double weight : options_.weights) {
    if (!std::isfinite(weight) || weight < 0.0) return Fail("a weight is negative or not finite");
  }
  for (const std::vector<TRPCEstimationPoint>* points : {&data_.Points, &options_.checkPoints}) {
    const TPointSpan span{points->data(), points->size()};
    if (!estimation::AllFinite(span)) return Fail("a coordinate is not finite");
    if (!estimation::AllBelow(span, kLargestNumber)) {
      return Fail(Zentarix::ssprintf("a coordinate is beyond %lg", kLargestNumber));
    }
  }
  const auto beyond_the_pole = [](const TRPCEstimationPoint& point) { return std::fabs(point.Lat) > 90.0; };
  const auto beyond = std::count_if(data_.Points.begin(), data_.Points.end(), beyond_the_pole);
  if (!data_.IsNormalized && 2 * static_cast<std::size_t>(beyond) > data_.Points.size()) {
    return Fail("most latitudes are beyond 90 degrees: are they exchanged with longitudes, or in other units?");
  }
  if (KeepsNormalization() && !TRPCNormalization(rpc).IsUsable()) {
    return Fail("the given offsets and scales are not usable");
  }
  return true;
}

bool TRecordFit::ChooseBox(TPointSpan points, TSetFit* fit) {
  const std::size_t count = points.count;
  if (count < LeastPoints()) {
    const std::string copies =
        points_.copies.empty() ? "" : Zentarix::ssprintf(" (%zu copies of them do not count)", points_.copies.size());
    return Fail(
        Zentarix::ssprintf("%zu points to fit%s, at least %zu are needed", count, copies.c_str(), LeastPoints()));
  }
  fit->ranges = RangesOf(points);
  const double heights = fit->ranges.largest.Height - fit->ranges.least.Height;
  fit->flat = heights <= (data_.IsNormalized ? kFlatNormalized : kFlat);
  TPointRanges spread = fit->ranges;
  if (fit->flat) {
    spread.least.Height -= 1.0;
    spread.largest.Height += 1.0;
  }
  if (!NormalizationOfRanges(spread, &fit->box)) {
    return Fail("all points share one latitude, longitude, line or sample");
  }
  return true;
}

bool TRecordFit::FitSet(const TFitPoints& set, TSetFit* fit) {
  progress_.NextFit(set.points.count <= kMaxFactoredPoints ? 6 : 8);
  return (FitOutput(set, TOutput::Line, &fit->line) && FitOutput(set, TOutput::Sample, &fit->sample)) || Fail(kStopped);
}

bool TRecordFit::FitAllPoints(TSetFit* fit) {
  return ChooseBox(points_.candidates, fit) && FitSet({points_.candidates, &fit->box, RootWeights()}, fit);
}

std::vector<TRPCEstimationPoint> TRecordFit::Others(const std::vector<char>& left_out) const {
  std::vector<TRPCEstimationPoint> others;
  others.reserve(static_cast<std::size_t>(std::count(left_out.begin(), left_out.end(), 0)));
  for (std::size_t i = 0; i < left_out.size(); ++i) {
    if (left_out[i] == 0) others.push_back(points_.candidates.points[i]);
  }
  return others;
}

// \param usable receives false, and nothing is fitted, when too few points or none that spread are left.
bool TRecordFit::FitWithout(const std::vector<char>& left_out, TSetFit* fit, bool* usable) {
  const std::vector<TRPCEstimationPoint> others = Others(left_out);
  std::vector<double> weights;
  if (RootWeights() != nullptr) {
    weights.reserve(others.size());
    for (std::size_t i = 0; i < left_out.size(); ++i) {
      if (left_out[i] == 0) weights.push_back(RootWeights()[i]);
    }
  }
  const TFitPoints set{{others.data(), others.size()}, &fit->box, weights.empty() ? nullptr : weights.data()};
  const TRPCFitReport report = *report_;
  *usable = ChooseBox(set.points, fit);
  *report_ = report;
  return !*usable || FitSet(set, fit);
}

TStandardized TRecordFit::Standardized(const TSetFit& fit, const std::vector<char>& left_out) const {
  const TFitPoints all{points_.candidates, &fit.box, RootWeights()};
  const TOutputStory line = Judge(all, TOutput::Line, fit.line.terms, fit.line.best, left_out);
  const TOutputStory sample = Judge(all, TOutput::Sample, fit.sample.terms, fit.sample.best, left_out);
  return Combine(line, sample, left_out);
}

// Suspects are left out if the others do much better without them; from there points leave and come back by the test of
// their residual against the others. Bounded: a point at the limit may go to and fro.
bool TRecordFit::LeaveOutBad(TSetFit* fit, std::vector<char>* is_bad) {
  constexpr int kMostRounds = 8;
  TStandardized judged = Standardized(*fit, *is_bad);
  if (judged.is_rounding) return true;
  const std::vector<std::size_t> suspects = FindSuspects(points_.candidates, RootWeights());
  std::vector<char> left_out(is_bad->size(), 0);
  bool usable = true;
  if (!suspects.empty()) {
    for (const std::size_t i : suspects) left_out[i] = 1;
    TSetFit without;
    if (!FitWithout(left_out, &without, &usable)) return false;
    if (usable) {
      TStandardized others = Standardized(without, left_out);
      if (IsMuchBetter(judged, others, suspects.size())) {
        *fit = std::move(without);
        *is_bad = left_out;
        judged = std::move(others);
      }
    }
  }
  for (int round = 0; round < kMostRounds; ++round) {
    left_out = BadOnes(judged);
    if (left_out == *is_bad) break;
    TSetFit next;
    if (!FitWithout(left_out, &next, &usable)) return false;
    if (!usable) break;
    *fit = std::move(next);
    *is_bad = left_out;
    judged = Standardized(*fit, *is_bad);
  }
  const bool none = std::count(is_bad->begin(), is_bad->end(), 0) == static_cast<std::ptrdiff_t>(is_bad->size());
  return none || options_.badPoints == TRPCBadPoints::LeftOut || FitAllPoints(fit);
}

// The fit of one degree, tried in more than one way where one may fail.
bool TRecordFit::FitOneDegree(const TFitPoints& points, TFitTask task, TFitResult* best) {
  if (!FitRational(points, task, best)) return false;
  const auto try_again = [&] {
    TFitResult fit;
    if (!FitRational(points, task, &fit)) return false;
    if (fit.score < best->score) *best = fit;
    return true;
  };
  // On its way to points without noise a cautious choice of the ridge gets stuck, with noise another is bold.
  const double redundant = static_cast<double>(points.points.count) - static_cast<double>(2 * task.terms - 1);
  if (redundant < kFewRedundant && task.ridge < 0.0) {
    task.score = &CautiousScore;
    if (!try_again()) return false;
  }
  // A model far from the first-order one may be out of reach from there.
  if (best->converged) return true;
  task.start = AlgebraicFit(points, task.output, task.terms);
  task.least_ridge = kLeastRidge;
  task.first_steps = 0;
  return try_again();
}

bool TRecordFit::FitDegrees(const TFitPoints& points, TOutput output, TFittedDegrees* fitted) {
  TFitTask task = TaskFor(output);
  task.terms = kTermsOf[0];
  task.ridge = kFirstOrderRidge;
  progress_.NextPart();
  if (!FitRational(points, task, &fitted->first)) return false;
  fitted->best = fitted->first;
  fitted->terms = task.terms;
  task.ridge = options_.ridge;
  task.reference = task.start = fitted->first.rational;
  for (int degree = 2; degree <= 3; ++degree) {
    progress_.NextPart();
    const bool wanted = options_.order == 0 || options_.order == degree;
    if (!wanted || points.points.count < kLeastPoints[degree - 1]) continue;
    task.terms = kTermsOf[degree - 1];
    TFitResult fit;
    if (!FitOneDegree(points, task, &fit)) return false;
    const double worth = 1.0 - kWorthOfADegree / static_cast<double>(points.points.count);
    if (options_.order == 0 && !(fit.score < worth * fitted->best.score)) continue;
    fitted->best = fit;
    fitted->terms = task.terms;
  }
  return true;
}

bool TRecordFit::FitOutput(const TFitPoints& all, TOutput output, TFittedDegrees* fitted) {
  const double* const roots = all.root_weights;
  if (all.points.count <= kMaxFactoredPoints) return FitDegrees(all, output, fitted);

  // A share of the points, spread over all of them, finds the degree and a start.
  std::vector<TRPCEstimationPoint> share;
  std::vector<double> share_roots;
  for (std::size_t i = 0; i < kMaxFactoredPoints; ++i) {
    const std::size_t index = i * (all.points.count - 1) / (kMaxFactoredPoints - 1);
    share.push_back(all.points.points[index]);
    if (roots != nullptr) share_roots.push_back(roots[index]);
  }
  const TFitPoints shared{
      {share.data(), share.size()}, all.normalization, roots == nullptr ? nullptr : share_roots.data()};
  if (!FitDegrees(shared, output, fitted)) return false;

  progress_.NextPart();
  TFitTask task = TaskFor(output);
  task.terms = fitted->terms;
  task.start = fitted->best.rational;
  task.first_steps = 0;
  if (task.terms == kTermsOf[0]) {
    task.ridge = kFirstOrderRidge;
  } else {
    task.reference = fitted->first.rational;
    task.ridge = options_.ridge;
    task.least_ridge = fitted->best.ridge * kRidgeFallOfManyPoints;
  }
  return FitRational(all, task, &fitted->best);
}

bool TRecordFit::MakeRecord(const TSetFit& fit, const TRPCData& given, TRPCData* result) const {
  TRPCNormalization box = fit.box;
  const double center = box.longitude.GetOffset();
  if (!data_.IsNormalized) {
    box.longitude.Reset(LongitudeNear(KeepsNormalization() ? given.longOffset : 0.0, center), box.longitude.GetScale());
  }
  TRPCData in_box;
  SetRecord({fit.line.best.rational, fit.sample.best.rational}, &box, &in_box);
  *result = in_box;
  if (!KeepsNormalization()) return true;
  // Points that came normalised are in units of the given record: there its pairs are the identity.
  if (data_.IsNormalized) {
    TRPCNormalization().CopyTo(result);
  } else {
    TRPCNormalization(given).CopyTo(result);
  }
  const bool converted = RenormalizeRPC(in_box, result);
  TRPCNormalization(given).CopyTo(result);
  return converted;
}

// A model of points that have little to do with each other, as with a wrong column, is none.
bool TRecordFit::Explains(const TRPCData& rpc, const std::vector<char>& is_bad) {
  constexpr double kLeastShare = 0.9;
  const bool leaves_out = options_.badPoints == TRPCBadPoints::LeftOut;
  const TExplained explained =
      ExplainedBy(rpc, points_.candidates, RootWeights(), leaves_out ? is_bad.data() : nullptr, data_.IsNormalized);
  return (explained.line >= kLeastShare && explained.sample >= kLeastShare) ||
         Fail(Zentarix::ssprintf("the best model explains only %.0f %% of the lines and %.0f %% of the samples: do the "
                                 "columns of ground and image belong together?",
                                 100.0 * explained.line, 100.0 * explained.sample));
}

TRPCFitOutputReport ReportOf(const TFittedDegrees& fitted) {
  TRPCFitOutputReport report;
  report.order = DegreeOf(fitted.terms);
  report.unknowns = static_cast<int>(2 * fitted.terms - 1);
  report.rank = fitted.best.rank;
  report.freedom = fitted.best.freedom;
  report.ridge = fitted.best.ridge;
  report.iterations = fitted.best.passes;
  report.converged = fitted.best.converged;
  report.leastDenominator = fitted.best.least_denominator;
  return report;
}

void TRecordFit::Describe(const TRPCData& rpc, const TSetFit& fit, const std::vector<char>& is_bad) {
  report_->line = ReportOf(fit.line);
  report_->sample = ReportOf(fit.sample);
  report_->flat = fit.flat;
  const bool some_out = options_.badPoints == TRPCBadPoints::LeftOut &&
                        std::any_of(is_bad.begin(), is_bad.end(), [](char bad) { return bad != 0; });
  const std::vector<TRPCEstimationPoint> others = some_out ? Others(is_bad) : std::vector<TRPCEstimationPoint>();
  const TPointSpan fitted = some_out ? TPointSpan{others.data(), others.size()} : points_.candidates;
  report_->coverage = CoverageOf(fitted, fit.ranges, fit.flat);
  report_->fitted = ResidualsOf(rpc, fitted, data_.IsNormalized);
  report_->check = ResidualsOf(rpc, {points_.check.data(), points_.check.size()}, data_.IsNormalized);
  for (std::size_t i = 0; i < is_bad.size(); ++i) {
    if (is_bad[i] != 0) report_->bad.push_back(points_.PlaceOf(i));
  }
  for (const auto& [place, original] : points_.copies) {
    if (is_bad[original] != 0) report_->bad.push_back(place);
  }
  std::sort(report_->bad.begin(), report_->bad.end());
  report_->copies = points_.copies.size();
  std::string& message = report_->message;
  message = Zentarix::ssprintf(
      "orders %d (line) and %d (sample) fitted to %zu points, residuals %.3g rms, %.3g at most", report_->line.order,
      report_->sample.order, report_->fitted.count, report_->fitted.distance.rms, report_->fitted.distance.maximum);
  if (report_->check.count > 0) {
    message += Zentarix::ssprintf("; %zu check points %.3g rms, %.3g at most", report_->check.count,
                                  report_->check.distance.rms, report_->check.distance.maximum);
  }
  if (!report_->bad.empty()) {
    message += Zentarix::ssprintf("; %zu bad points %s", report_->bad.size(),
                                  options_.badPoints == TRPCBadPoints::LeftOut ? "left out" : "kept");
  }
  if (report_->copies > 0) message += Zentarix::ssprintf("; copies of points, not counted: %zu", report_->copies);
  if (report_->flat) message += "; all points share one height, the model holds there only";
  const int dimensions = DimensionsOf(fitted, fit.ranges);
  if (dimensions == 1) message += "; all points lie on one line on the ground, the model holds there only";
  if (dimensions == 2 && !fit.flat)
    message += "; all points lie in one plane on the ground, the model holds there only";
  if (report_->coverage < 0.5) {
    message += Zentarix::ssprintf("; the points fill only %.0f %% of their box", 100.0 * report_->coverage);
  }
}

}  // namespace

bool FitRPC(const TRPCEstimationDataSet& data, const TRPCFitOptions& options, TRPCData* rpc, TRPCFitReport* report) {
  TRPCFitReport own;
  TRPCFitReport* const story = report != nullptr ? report : &own;
  *story = TRPCFitReport();
  return TRecordFit(data, options, story).Run(rpc);
}

}  // namespace SatCommonUtils
