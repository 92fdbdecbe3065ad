// Gauss-Newton with a ridge; see the header for the method and its sources. What stands here is how steps are accepted.

#include "refine/estimation/rational_fit.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <vector>

namespace SatCommonUtils::estimation {

namespace {

constexpr int kMaxPasses = 50;
constexpr int kMaxRejections = 14;
// A denominator below this, 1 being its value at the centre of the box, is a pole in the making.
constexpr double kLeastDenominator = 0.02;
// What a chosen ridge may fall by from one accepted step to the next, and what it rises by when a step is refused.
constexpr double kRidgeFall = 1e-6;
constexpr double kRidgeRise = 100.0;
constexpr double kLeastRefusedRidge = 1e-12;
// A change of the (normalised) residuals, root mean square, that is rounding.
constexpr double kRoundingChange = 1e-14;
// A change of the residuals below this share of them does not matter.
constexpr double kSmallChange = 1e-5;
// While the lower limit of the ridge binds, the residuals have to fall to this share of their squares to go on.
constexpr double kWorthwhile = 0.98;

using TUnknowns = double[TRidgeSpectrum::kMaxUnknowns];

// The unknowns of the first `terms` terms, in the order of the design columns.
void Pack(const TRational& rational, std::size_t terms, double* unknowns) {
  std::copy_n(rational.numerator, terms, unknowns);
  std::copy(rational.denominator + 1, rational.denominator + terms, unknowns + terms);
}

TRational Unpack(const double* unknowns, std::size_t terms) {
  TRational rational;
  std::copy_n(unknowns, terms, rational.numerator);
  std::copy_n(unknowns + terms, terms - 1, rational.denominator + 1);
  return rational;
}

// The nodes of a grid over the box of the points, where a denominator is looked at.
const std::vector<TRPCEstimationPoint>& BoxNodes() {
  static const std::vector<TRPCEstimationPoint> nodes = [] {
    std::vector<TRPCEstimationPoint> grid;
    constexpr int kSteps = 8;
    for (int i = 0; i <= kSteps; ++i) {
      for (int j = 0; j <= kSteps; ++j) {
        for (int k = 0; k <= kSteps; ++k) grid.push_back({i * 0.25 - 1.0, j * 0.25 - 1.0, k * 0.25 - 1.0, 0.0, 0.0});
      }
    }
    return grid;
  }();
  return nodes;
}

// The linearised problem at one set of coefficients.
struct TPass {
  TTriangularFactor factor;
  double residual_squares = 0.0;
  double least_denominator = 0.0;
};

class TPasses {
 public:
  TPasses(const TFitPoints& points, TOutput output, std::size_t terms)
      : points_(points), output_(output), terms_(terms), work_(std::make_unique<TWork>()) {}

  // The linearised problem at given coefficients.
  TPass At(const TRational& rational) {
    const double least_on_nodes = LeastOnNodes(rational);
    TPass pass = Linearised([&] { EvaluateOutput(work_->block, output_, rational, &work_->values); });
    pass.least_denominator = std::min(pass.least_denominator, least_on_nodes);
    return pass;
  }

  // The problem of `AlgebraicFit`: that of coefficients 0 whose value is the observation.
  TPass Algebraic() {
    return Linearised([&] {
      const double* const observed = output_ == TOutput::Line ? work_->block.line : work_->block.sample;
      std::fill_n(work_->values.denominator, TPointBlock::kSize, 1.0);
      std::copy_n(observed, TPointBlock::kSize, work_->values.value);
      std::transform(observed, observed + TPointBlock::kSize, work_->values.residual, std::negate<double>());
    });
  }

 private:
  struct TWork {
    TPointBlock block;
    TOutputValues values;
    TDesignRows rows;
    TNormalSums sums;
  };

  // \param evaluate fills the values of the loaded block.
  template <class Evaluate>
  TPass Linearised(const Evaluate& evaluate) {
    TPass pass;
    pass.least_denominator = std::numeric_limits<double>::infinity();
    const bool factored = points_.points.count <= kMaxFactoredPoints;
    work_->sums = TNormalSums{};
    for (std::size_t first = 0; first < points_.points.count; first += TPointBlock::kSize) {
      LoadBlock(points_.points, first, points_.normalization, &work_->block);
      evaluate();
      pass.least_denominator = std::min(pass.least_denominator, LeastInBlock());
      FormDesignRows(work_->block, work_->values, terms_, &work_->rows);
      if (points_.root_weights != nullptr) WeighRows(points_.root_weights + first);
      if (factored) {
        TakeUpRows(&work_->rows, &pass.factor);
      } else {
        AddNormalProducts(work_->rows, &work_->sums);
      }
    }
    if (!factored) pass.factor = FactorOfNormalSums(work_->sums, 2 * terms_ - 1);
    pass.residual_squares = pass.factor.ResidualSquares();
    pass.factor.DivideColumns(terms_, kDenominatorWeight);
    return pass;
  }

  double LeastInBlock() const {
    return *std::min_element(work_->values.denominator, work_->values.denominator + work_->block.count);
  }

  double LeastOnNodes(const TRational& rational) {
    const TPointSpan nodes{BoxNodes().data(), BoxNodes().size()};
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t first = 0; first < nodes.count; first += TPointBlock::kSize) {
      LoadBlock(nodes, first, nullptr, &work_->block);
      EvaluateOutput(work_->block, TOutput::Line, rational, &work_->values);
      least = std::min(least, LeastInBlock());
    }
    return least;
  }

  void WeighRows(const double* root_weights) {
    TDesignRows& rows = work_->rows;
    for (std::size_t i = 0; i < rows.count; ++i) {
      for (std::size_t j = 0; j < rows.stride; ++j) rows.values[i * rows.stride + j] *= root_weights[i];
    }
  }

  TFitPoints points_;
  TOutput output_;
  std::size_t terms_;
  std::unique_ptr<TWork> work_;
};

// The state of the iteration: the accepted unknowns, the linearised problem there, and the ridge of the next trial.
class TDampedFit {
 public:
  TDampedFit(const TFitPoints& points, const TFitTask& task)
      : task_(task),
        passes_(points, task.output, task.terms),
        count_(points.points.count),
        unknown_count_(2 * task.terms - 1),
        least_ridge_(task.least_ridge) {
    Pack(task.reference, task.terms, reference_);
    Pack(task.start, task.terms, trial_);
  }

  bool Run(TFitResult* result) {
    result_.score = std::numeric_limits<double>::infinity();
    result_.rational = task_.start;
    bool going = true;
    for (int passes = 1; going && passes <= kMaxPasses; ++passes) {
      const TPass pass = passes_.At(Unpack(trial_, task_.terms));
      going = Acceptable(pass) ? Accept(pass) : Refuse(pass);
      result_.passes = passes;
      if (task_.go_on && !task_.go_on(passes)) return false;
    }
    *result = result_;
    return true;
  }

 private:
  // Penalty of unknowns, for a ridge of 1.
  double Penalty(const double* unknowns) const {
    double sum = 0.0;
    for (std::size_t i = 0; i < unknown_count_; ++i) {
      const double distance = (unknowns[i] - reference_[i]) * WeightOf(i);
      sum += distance * distance;
    }
    return sum;
  }

  double WeightOf(std::size_t unknown) const { return unknown < task_.terms ? 1.0 : kDenominatorWeight; }

  double Objective(const TPass& pass) const { return pass.residual_squares + ridge_ * Penalty(trial_); }

  bool Acceptable(const TPass& pass) const {
    if (accepted_steps_ == 0) return true;
    return Objective(pass) < objective_ * (1.0 + 1e-12) && pass.least_denominator >= kLeastDenominator;
  }

  // \return whether to go on.
  bool Refuse(const TPass& pass) {
    if (pass.least_denominator >= kLeastDenominator && Objective(pass) < objective_ * (1.0 + 1e-6)) {
      result_.converged = true;  // the two differ by rounding
      return false;
    }
    if (++refused_steps_ > kMaxRejections) return false;
    fall_ = std::sqrt(fall_);
    ridge_ = std::max(ridge_ * kRidgeRise, kLeastRefusedRidge * spectrum_->LargestSquare());
    least_ridge_ = ridge_ / spectrum_->LargestSquare();
    NextTrial();
    return true;
  }

  bool Accept(const TPass& pass) {
    const double previous_squares = residual_squares_;
    std::copy_n(trial_, unknown_count_, accepted_);
    residual_squares_ = pass.residual_squares;
    spectrum_ = std::make_shared<TRidgeSpectrum>(pass.factor);
    Remember(pass);
    if (++accepted_steps_ > task_.first_steps && bound_ && residual_squares_ > kWorthwhile * previous_squares)
      return false;

    double distance[TRidgeSpectrum::kMaxUnknowns];
    Distance(distance);
    const double unit = spectrum_->LargestSquare();
    if (task_.ridge >= 0.0) {
      ridge_ = task_.ridge * unit;
    } else {
      ridge_ = spectrum_->ChooseRidge(distance, least_ridge_ * unit, count_, task_.score);
      bound_ = least_ridge_ > kLeastRidge && ridge_ <= least_ridge_ * unit * 1.8;
      least_ridge_ = std::max(least_ridge_ * fall_, kLeastRidge);
    }
    if (accepted_steps_ == 1) DescribeStart(pass);
    const double change = NextTrial();
    const double points = static_cast<double>(count_);
    const bool small =
        change < kSmallChange * std::sqrt(residual_squares_) && !bound_ && accepted_steps_ > task_.first_steps;
    result_.converged = small || change < kRoundingChange * std::sqrt(points);
    return !result_.converged;
  }

  // Keeps the accepted unknowns if their score is the best so far.
  void Remember(const TPass& pass) {
    const TFreedom freedom = spectrum_->FreedomAt(ridge_);
    const double score = CautiousScore(residual_squares_, freedom, count_);
    if (accepted_steps_ > 0 && !(score < result_.score)) return;
    // The start counts only until there is a step: its ridge is not known.
    result_.score = accepted_steps_ > 0 ? score : std::numeric_limits<double>::infinity();
    result_.rational = Unpack(accepted_, task_.terms);
    DescribeRidge();
    result_.rank = spectrum_->Rank();
    result_.least_denominator = pass.least_denominator;
  }

  // A fitted start may already be the best: its score is that of the ridge which would follow.
  void DescribeStart(const TPass& pass) {
    DescribeRidge();
    if (task_.first_steps > 0 || pass.least_denominator < kLeastDenominator) return;
    result_.score = CautiousScore(residual_squares_, spectrum_->FreedomAt(ridge_), count_);
  }

  void DescribeRidge() {
    result_.ridge = spectrum_->LargestSquare() > 0.0 ? ridge_ / spectrum_->LargestSquare() : 0.0;
    result_.freedom = spectrum_->FreedomAt(ridge_).trace;
    result_.spectrum = spectrum_;
    result_.absolute_ridge = ridge_;
  }

  void Distance(double* distance) const {
    for (std::size_t i = 0; i < unknown_count_; ++i) distance[i] = (accepted_[i] - reference_[i]) * WeightOf(i);
  }

  // The trial of the present ridge. \return the norm of the change of the residuals to expect.
  double NextTrial() {
    double distance[TRidgeSpectrum::kMaxUnknowns];
    double step[TRidgeSpectrum::kMaxUnknowns];
    Distance(distance);
    const double change = spectrum_->Step(distance, ridge_, step);
    for (std::size_t i = 0; i < unknown_count_; ++i) trial_[i] = accepted_[i] + step[i] / WeightOf(i);
    objective_ = residual_squares_ + ridge_ * Penalty(accepted_);
    return change;
  }

  const TFitTask& task_;
  TPasses passes_;
  std::size_t count_;
  std::size_t unknown_count_;
  TUnknowns reference_;
  TUnknowns trial_;
  TUnknowns accepted_ = {};
  double residual_squares_ = 0.0;
  double objective_ = 0.0;
  double ridge_ = 0.0;
  double least_ridge_;  // share of the largest squared singular value
  double fall_ = kRidgeFall;
  bool bound_ = false;  // the lower limit, not the score, chose the ridge
  int accepted_steps_ = 0;
  int refused_steps_ = 0;
  std::shared_ptr<const TRidgeSpectrum> spectrum_;
  TFitResult result_;
};

}  // namespace

TRational AlgebraicFit(const TFitPoints& points, TOutput output, std::size_t terms) {
  const TPass pass = TPasses(points, output, terms).Algebraic();
  const TRidgeSpectrum spectrum(pass.factor);
  const TUnknowns zero = {};
  TUnknowns unknowns;
  spectrum.Step(zero, kLeastRidge * spectrum.LargestSquare(), unknowns);
  for (std::size_t k = terms; k < 2 * terms - 1; ++k) unknowns[k] /= kDenominatorWeight;
  return Unpack(unknowns, terms);
}

bool FitRational(const TFitPoints& points, const TFitTask& task, TFitResult* result) {
  return TDampedFit(points, task).Run(result);
}

}  // namespace SatCommonUtils::estimation
