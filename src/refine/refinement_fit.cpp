// The choice of a kind and the story of a fit; the fit itself is robust_plane_fit.h. The F test of nested models is
// textbook: N. Draper and H. Smith, "Applied Regression Analysis" (1998), chapter 6.

#include "refine/refinement_fit.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

#include "frame/zxstd/text.h"
#include "refine/estimation/copies.h"
#include "refine/plane_similarity.h"
#include "refine/refinement.h"
#include "refine/refinement_kinds.h"
#include "refine/robust_plane_fit.h"

namespace SatCommonUtils {
namespace {

using refine::TPlaneFit;
using refine::TPlaneMap;
using refine::TPlaneStarts;
using refine::TPlaneTie;
using refine::TRobustPlaneFit;
using TIndices = std::vector<std::size_t>;
using Type = TRPCRefinementTransformType;

/// Residuals below this count as this, pixels: what a good point is tested against in data without noise.
constexpr double kNoiseFloor = 1e-3;
/// The correction at a corner may be so much more uncertain than one point: for a kind that the caller wants, and for
/// one that is chosen.
constexpr double kLargestCornerFactor = 30.0;
constexpr double kLargestChosenCornerFactor = 2.0;

/// The frame in which the maps are fitted: raw coordinates, centred and scaled to at most 1, both axes alike.
struct TFrame {
  double center[2] = {0.0, 0.0};
  double scale = 1.0;

  double ToFrame(double value, std::size_t axis) const { return (value - center[axis]) / scale; }
};

/// Least and largest of both coordinates.
struct TBox {
  double least[2] = {std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  double largest[2] = {-std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()};

  void Add(double line, double sample) {
    least[0] = std::min(least[0], line), largest[0] = std::max(largest[0], line);
    least[1] = std::min(least[1], sample), largest[1] = std::max(largest[1], sample);
  }
  double HalfSide() const { return 0.5 * std::max(largest[0] - least[0], largest[1] - least[1]); }
  double Center(std::size_t axis) const { return 0.5 * (least[axis] + largest[axis]); }
  /// The square of the same centre that just holds the box.
  TBox Square() const {
    const double half = HalfSide();
    TBox square;
    square.Add(Center(0) - half, Center(1) - half);
    square.Add(Center(0) + half, Center(1) + half);
    return square;
  }
};

/// A kind with its fit.
struct TCandidate {
  Type type = Type::None;
  bool is_fitted = false;
  TRobustPlaneFit robust;
  double corner_factor = 0.0;
};

/// Squares of larger numbers, by weights of smaller sigmas, would not end in the range of numbers.
constexpr double kLargestNumber = 1e60;

bool AreBelow(const TRefinementTie& tie, double limit) {
  const double values[] = {tie.line, tie.sample, tie.measuredLine, tie.measuredSample, tie.sigma};
  return std::all_of(std::begin(values), std::end(values), [&](double v) { return std::fabs(v) <= limit; });
}

bool IsFinite(const TRefinementTie& tie) { return AreBelow(tie, std::numeric_limits<double>::max()); }

bool IsGood(const TRefinementTie& tie) { return tie.sigma >= 1.0 / kLargestNumber && AreBelow(tie, kLargestNumber); }

double TypicalSigma(const std::vector<TRefinementTie>& ties) {
  std::vector<double> sigmas;
  sigmas.reserve(ties.size());
  for (const TRefinementTie& tie : ties) sigmas.push_back(tie.sigma);
  const auto middle = sigmas.begin() + static_cast<std::ptrdiff_t>(sigmas.size() / 2);
  std::nth_element(sigmas.begin(), middle, sigmas.end());
  return *middle;
}

TBox BoxOf(const std::vector<TRefinementTie>& ties) {
  TBox box;
  for (const TRefinementTie& tie : ties) box.Add(tie.line, tie.sample);
  return box;
}

TBox BoxOf(const std::vector<TPlaneTie>& ties, const TIndices& chosen) {
  TBox box;
  for (const std::size_t i : chosen) box.Add(ties[i].from[0], ties[i].from[1]);
  return box;
}

/// The work on one set of ties.
class TFitter {
 public:
  TFitter(const std::vector<TRefinementTie>& ties, const TRefinementFitOptions& options);

  /// Fits the kind that the caller wants. \return false with `reason`.
  bool FitGiven(TCandidate* best, std::string* reason) const;
  /// Fits the kind that the points bear. \return false with `reason`.
  bool FitChosen(TCandidate* best, std::vector<TRefinementKindTest>* tests, std::string* reason) const;
  /// Fits all points, good and bad.
  bool FitAll(TCandidate* candidate) const;
  /// The record of a fitted map.
  var_a<TRPCRefinementDataBase*> RecordOf(const TCandidate& candidate) const;
  /// The covariance of the parameters of that record.
  TRefinementCovariance CovarianceOf(const TCandidate& candidate) const;
  /// Gives back the memory of the ties: no more fits.
  void DropTies() { std::vector<TPlaneTie>().swap(ties_); }

 private:
  bool Fit(Type type, TCandidate* candidate) const;
  double CornerFactor(const TCandidate& candidate, const TBox& box) const;
  bool IsSignificantlyBetter(const TCandidate& richer, const TCandidate& simpler, TRefinementKindTest* test) const;
  bool IsBorne(Type type, TCandidate* simpler, TCandidate* richer, std::string* reason) const;

  const TRefinementFitOptions& options_;
  TFrame frame_;
  double typical_sigma_;
  std::vector<TPlaneTie> ties_;
  std::optional<TPlaneStarts> starts_;
};

TFitter::TFitter(const std::vector<TRefinementTie>& ties, const TRefinementFitOptions& options)
    : options_(options), typical_sigma_(TypicalSigma(ties)) {
  const TBox box = BoxOf(ties);
  frame_ = {{box.Center(0), box.Center(1)}, box.HalfSide() > 0.0 ? box.HalfSide() : 1.0};
  ties_.reserve(ties.size());
  for (const TRefinementTie& tie : ties) {
    ties_.push_back({{frame_.ToFrame(tie.line, 0), frame_.ToFrame(tie.sample, 1)},
                     {frame_.ToFrame(tie.measuredLine, 0), frame_.ToFrame(tie.measuredSample, 1)},
                     frame_.scale * typical_sigma_ / tie.sigma});  // weighted residuals are pixels
  }
  starts_.emplace(ties_);
}

double TFitter::CornerFactor(const TCandidate& candidate, const TBox& box) const {
  double worst = 0.0;
  for (const double x : {box.least[0], box.largest[0]}) {
    for (const double y : {box.least[1], box.largest[1]}) {
      const double variance = candidate.robust.fit.VarianceAt(candidate.type, x, y);
      if (!(variance >= 0.0) || !std::isfinite(variance)) return std::numeric_limits<double>::infinity();
      worst = std::max(worst, variance);
    }
  }
  return frame_.scale * std::sqrt(worst);
}

bool TFitter::Fit(Type type, TCandidate* candidate) const {
  candidate->type = type;
  if (!refine::FitRobustly(type, ties_, *starts_, kNoiseFloor, &candidate->robust)) return false;
  const TBox square = BoxOf(ties_, candidate->robust.inside).Square();
  candidate->corner_factor = CornerFactor(*candidate, square);
  if (!(candidate->corner_factor <= kLargestCornerFactor)) return false;
  if (options_.lines > 0.0 && options_.samples > 0.0) {
    TBox image;
    image.Add(frame_.ToFrame(0.0, 0), frame_.ToFrame(0.0, 1));
    image.Add(frame_.ToFrame(options_.lines - 1.0, 0), frame_.ToFrame(options_.samples - 1.0, 1));
    candidate->corner_factor = CornerFactor(*candidate, image);
  }
  candidate->is_fitted = true;
  return true;
}

bool TFitter::FitGiven(TCandidate* best, std::string* reason) const {
  const char* name = GetRPCRefinementTransformTypeName(options_.type);
  const std::size_t least = LeastRefinementPoints(options_.type);
  if (least == 0) {
    *reason = Zentarix::ssprintf("a refinement of the kind %s cannot be fitted", name);
    return false;
  }
  if (ties_.size() < least) {
    *reason = Zentarix::ssprintf("the kind %s needs at least %zu points, there are %zu", name, least, ties_.size());
    return false;
  }
  if (Fit(options_.type, best)) return true;
  *reason = Zentarix::ssprintf(
      "the good points lie at one place or too near to one line for the kind %s, which would be uncertain beside it",
      name);
  return false;
}

bool TFitter::IsSignificantlyBetter(const TCandidate& richer, const TCandidate& simpler,
                                    TRefinementKindTest* test) const {
  const TIndices& common = richer.robust.inside;
  const char* const name = GetRPCRefinementTransformTypeName(simpler.type);
  TPlaneFit plain;
  if (simpler.is_fitted && common == simpler.robust.inside) {
    plain = simpler.robust.fit;
  } else if (!refine::FitPlaneMap(simpler.type, ties_, common, &plain)) {
    test->reason = Zentarix::ssprintf("%s has no fit to the same points", name);
    return true;
  }
  test->numerator = refine::FreeParameters(richer.type) - refine::FreeParameters(simpler.type);
  test->denominator = 2 * common.size() - refine::FreeParameters(richer.type);
  const double freedom = static_cast<double>(test->denominator);
  const double rest = richer.robust.fit.sum_of_squares + freedom * kNoiseFloor * kNoiseFloor;
  const double gain = plain.sum_of_squares - richer.robust.fit.sum_of_squares;
  test->ratio = std::max(0.0, gain) / static_cast<double>(test->numerator) / (rest / freedom);
  test->probability = refine::FDistributionTail(test->numerator, test->denominator, test->ratio);
  const bool better = test->probability < kRefinementKindLevel;
  test->reason = Zentarix::ssprintf("%s better than %s", better ? "significantly" : "not significantly", name);
  return better;
}

// Whether number and spread of the points bear a kind.
bool TFitter::IsBorne(Type type, TCandidate* simpler, TCandidate* richer, std::string* reason) const {
  const std::size_t enough = refine::FreeParameters(type);
  if (ties_.size() < enough) {
    *reason = Zentarix::ssprintf("it needs %zu points to be tested", enough);
    return false;
  }
  if (!Fit(type, richer)) {
    *reason = "the points lie too near to one place or one line for it";
    return false;
  }
  if (!(richer->corner_factor <= kLargestChosenCornerFactor)) {
    *reason = Zentarix::ssprintf("at a corner it would be uncertain by %.2lg times a point's error, more than %lg",
                                 richer->corner_factor, kLargestChosenCornerFactor);
    return false;
  }
  // A rich map can pass through the few good points of its choice: small sets must not pay for it with points.
  const auto inside_of = [&](const TCandidate& candidate) {
    return starts_->CountOf(type, candidate.robust.inside, richer->robust.inside);
  };
  const std::size_t inside = inside_of(*richer);
  if (inside >= 2 * enough) return true;
  const bool is_fitted = simpler->is_fitted || Fit(simpler->type, simpler);
  if (inside >= enough && is_fitted && inside >= inside_of(*simpler)) return true;
  *reason = Zentarix::ssprintf("it would fit %zu points alone", inside);
  return false;
}

bool TFitter::FitChosen(TCandidate* best, std::vector<TRefinementKindTest>* tests, std::string* reason) const {
  // A shift is fitted when it is needed: where an affine map has enough points of its own, the shift of these alone is
  // what it is tested against.
  best->type = Type::Shift;
  tests->emplace_back();
  tests->back().type = Type::Shift;
  tests->back().taken = true;
  tests->back().reason = "the simplest";
  for (const TRefinementKind& kind : RefinementKinds()) {
    if (kind.parameterCount <= refine::FreeParameters(Type::Shift)) continue;
    TRefinementKindTest test;
    test.type = kind.type;
    TCandidate richer;
    test.taken = IsBorne(kind.type, best, &richer, &test.reason) && IsSignificantlyBetter(richer, *best, &test);
    if (test.taken) *best = std::move(richer);
    tests->push_back(test);
  }
  if (best->is_fitted || Fit(best->type, best)) return true;
  tests->clear();
  *reason = "the numbers are too large for a fit";
  return false;
}

bool TFitter::FitAll(TCandidate* candidate) const {
  TRobustPlaneFit& robust = candidate->robust;
  robust.inside = refine::AllPlaces(ties_.size());
  if (!refine::FitPlaneMap(candidate->type, ties_, robust.inside, &robust.fit)) return false;
  const std::size_t equations = 2 * ties_.size(), unknowns = refine::FreeParameters(candidate->type);
  robust.variance = equations > unknowns ? robust.fit.sum_of_squares / static_cast<double>(equations - unknowns) : 0.0;
  return true;
}

// The map in pixels: frame to pixels · map · pixels to frame. Differences of nearly equal numbers are taken before they
// are multiplied by a coordinate; without a perspective nothing is divided but by 1.
var_a<TRPCRefinementDataBase*> TFitter::RecordOf(const TCandidate& candidate) const {
  const TPlaneMap& a = candidate.robust.fit.map;
  const double s = frame_.scale;
  const double* const center = frame_.center;
  const double perspective[2] = {a[6] / s, a[7] / s};
  const double at_center = perspective[0] * center[0] + perspective[1] * center[1];
  const double last = 1.0 - at_center;
  matr3x3 matrix;
  for (std::size_t i = 0; i < 2; ++i) {
    const double* const row = a.data() + 3 * i;
    for (std::size_t j = 0; j < 2; ++j) matrix[i][j] = (row[j] + center[i] * perspective[j]) / last;
    matrix[i][2] =
        (s * row[2] + (1.0 - row[i]) * center[i] - row[1 - i] * center[1 - i] - center[i] * at_center) / last;
    matrix[2][i] = perspective[i] / last;
  }
  matrix[2][2] = 1.0;
  return FindRefinementKind(candidate.type)->recordOf(matrix);
}

// The record's matrix is M = S A S^-1 over its last element m, with A the matrix of the map and S from the frame to
// pixels: dM / m - M dm / m.
TRefinementCovariance TFitter::CovarianceOf(const TCandidate& candidate) const {
  const TPlaneMap& a = candidate.robust.fit.map;
  const TRefinementKind& kind = *FindRefinementKind(candidate.type);
  const refine::TPlaneSimilarity to_pixels{frame_.scale, {frame_.center[0], frame_.center[1]}};
  const double last = 1.0 - (a[6] * frame_.center[0] + a[7] * frame_.center[1]) / frame_.scale;
  const matr3x3 matrix = kind.matrixOf(*RecordOf(candidate));
  double steps[9][8];  // of the record's elements by the free parameters
  for (std::size_t k = 0; k < kind.parameterCount; ++k) {
    const std::size_t from = kind.parameters[k];
    for (std::size_t to = 0; to < 9; ++to) {
      steps[to][k] = (to_pixels.Step(to, from) - matrix[to / 3][to % 3] * to_pixels.Step(8, from)) / last;
    }
  }
  const std::size_t equations = 2 * candidate.robust.inside.size();
  const bool scaled = !options_.sigmasAreKnown;
  TRefinementCovariance covariance;
  if (scaled && equations <= kind.parameterCount) return covariance;  // nothing tells the scale
  covariance.type = candidate.type;
  covariance.sigma = scaled ? std::sqrt(candidate.robust.variance) : typical_sigma_;
  covariance.redundancy = scaled ? equations - kind.parameterCount : 0;
  const double variance = covariance.sigma * covariance.sigma;
  // The last element of a projective record is one of its parameters, and fixed.
  const bool projective = candidate.type == Type::Projective;
  const std::size_t count = projective ? 9 : kind.parameterCount;
  covariance.values.resize(count * count);
  for (std::size_t row = 0; row < count; ++row) {
    for (std::size_t column = row; column < count; ++column) {
      const double* const left = steps[projective ? row : kind.parameters[row]];
      const double* const right = steps[projective ? column : kind.parameters[column]];
      const double value = variance * candidate.robust.fit.Bilinear(candidate.type, left, right);
      covariance.values[row * count + column] = covariance.values[column * count + row] = value;
    }
  }
  return covariance;
}

/// Residuals of every tie, and their statistics.
void Describe(const std::vector<TRefinementTie>& ties, const TRPCRefinementBase& refinement,
              const TCandidate& candidate, const std::vector<char>& is_bad, TRefinementFit* result) {
  const TIndices& used = candidate.robust.inside;
  double before = 0.0, after = 0.0;
  result->points.reserve(ties.size());
  for (std::size_t i = 0; i < ties.size(); ++i) {
    double line, sample;
    refinement.RawToRefined(ties[i].line, ties[i].sample, &line, &sample, nullptr, nullptr);
    TRefinementResidual point;
    point.lineBefore = ties[i].measuredLine - ties[i].line;
    point.sampleBefore = ties[i].measuredSample - ties[i].sample;
    point.lineAfter = ties[i].measuredLine - line;
    point.sampleAfter = ties[i].measuredSample - sample;
    point.standardized = candidate.robust.standardized[i];
    point.isBad = is_bad[i] != 0;
    result->points.push_back(point);
    if (!std::binary_search(used.begin(), used.end(), i)) continue;
    before += point.lineBefore * point.lineBefore + point.sampleBefore * point.sampleBefore;
    after += point.lineAfter * point.lineAfter + point.sampleAfter * point.sampleAfter;
  }
  result->used = used.size();
  result->rmsBefore = std::sqrt(before / static_cast<double>(used.size()));
  result->rmsAfter = std::sqrt(after / static_cast<double>(used.size()));
}

/// The fit of ties of which none is a copy of another.
bool FitTies(const std::vector<TRefinementTie>& ties, const TRefinementFitOptions& options, TRefinementFit* result) {
  TFitter fitter(ties, options);
  TCandidate best;
  const bool found = options.automatic ? fitter.FitChosen(&best, &result->kinds, &result->message)
                                       : fitter.FitGiven(&best, &result->message);
  if (!found) {
    return false;
  }
  std::vector<char> is_bad(ties.size(), 1);
  for (const std::size_t i : best.robust.inside) is_bad[i] = 0;
  const std::size_t bad = ties.size() - best.robust.inside.size();
  const char* name = GetRPCRefinementTransformTypeName(best.type);
  if (options.keepAll && !fitter.FitAll(&best)) {
    result->message = Zentarix::ssprintf("all points together do not determine the kind %s", name);
    return false;
  }
  const var_a<TRPCRefinementDataBase*> record = fitter.RecordOf(best);
  const var_a<TRPCRefinementBase*> refinement = CreateRefinementN(*record);
  if (!refinement) {
    result->message = Zentarix::ssprintf("the fitted map of the kind %s has no inverse", name);
    return false;
  }
  result->success = true;
  result->type = best.type;
  result->data = record;
  result->sigmaFactor = std::sqrt(best.robust.variance) / TypicalSigma(ties);
  result->cornerFactor = best.corner_factor;
  result->covariance = fitter.CovarianceOf(best);
  fitter.DropTies();
  Describe(ties, *refinement, best, is_bad, result);
  result->message = Zentarix::ssprintf("%s from %zu of %zu points (%zu bad), root mean square %.4lf pixels", name,
                                       result->used, ties.size(), bad, result->rmsAfter);
  return true;
}

}  // namespace

std::vector<TRefinementTie> TiesOfGroundControl(const TRPC& model, const std::vector<TGroundControlPoint>& points) {
  std::vector<TRefinementTie> ties;
  ties.reserve(points.size());
  for (const TGroundControlPoint& point : points) {
    TRefinementTie tie = {0.0, 0.0, point.line, point.sample, point.sigma};
    model.TRPC::CalculateLineSample(point.lat, point.lon, point.height, &tie.line, &tie.sample, nullptr, nullptr);
    ties.push_back(tie);
  }
  return ties;
}

std::vector<TRefinementTie> RawTies(const TAdjustedRPC& model, const std::vector<TRefinementTie>& ties) {
  std::vector<TRefinementTie> raw = ties;
  if (!model.IsAdjusted()) return raw;
  for (TRefinementTie& tie : raw) {
    model.GetRefinement()->RefinedToRaw(tie.line, tie.sample, &tie.line, &tie.sample, nullptr, nullptr);
  }
  return raw;
}

std::size_t LeastRefinementPoints(TRPCRefinementTransformType type) noexcept {
  const TRefinementKind* const kind = FindRefinementKind(type);
  return kind == nullptr ? 0 : kind->leastPoints;
}

bool FitRefinement(const std::vector<TRefinementTie>& ties, const TRefinementFitOptions& options,
                   TRefinementFit* result) {
  *result = TRefinementFit();
  for (std::size_t i = 0; i < ties.size(); ++i) {
    if (!IsGood(ties[i])) {
      result->message = Zentarix::ssprintf("point %zu: a number is not finite, or its sigma is not above 0", i + 1);
      if (IsFinite(ties[i]) && ties[i].sigma > 0.0) {
        result->message = Zentarix::ssprintf("point %zu: a number is beyond %lg, or its sigma below %lg", i + 1,
                                             kLargestNumber, 1.0 / kLargestNumber);
      }
      return false;
    }
  }
  if (ties.empty()) {
    result->message = "there are no points";
    return false;
  }
  const std::vector<std::size_t> first = estimation::FirstOfCopies(ties.size(), [&](std::size_t i) {
    const TRefinementTie& tie = ties[i];
    return std::array<double, 5>{tie.line, tie.sample, tie.measuredLine, tie.measuredSample, tie.sigma};
  });
  if (first.empty()) return FitTies(ties, options, result);
  // A copy shares the fate of the first of its kind.
  std::vector<TRefinementTie> different;
  std::vector<std::size_t> place(ties.size());
  for (std::size_t i = 0; i < ties.size(); ++i) {
    place[i] = first[i] == i ? different.size() : place[first[i]];
    if (first[i] == i) different.push_back(ties[i]);
  }
  FitTies(different, options, result);
  result->copies = ties.size() - different.size();
  result->message += Zentarix::ssprintf("; copies of points, not counted: %zu", result->copies);
  if (!result->success) return false;
  const std::vector<TRefinementResidual> points = std::move(result->points);
  result->points.clear();
  result->points.reserve(ties.size());
  for (const std::size_t at : place) result->points.push_back(points[at]);
  return true;
}

}  // namespace SatCommonUtils
