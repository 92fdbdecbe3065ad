// A plane by least median of squares, then an M-estimate of a polynomial; sources in the header.

#include "refine/estimation/suspects.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>

#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"
#include "refine/estimation/design_rows.h"
#include "rpc/polynomial_kernel.h"

namespace SatCommonUtils::estimation {

namespace {

// Points that judge; more of them, spread over all, say the same.
constexpr std::size_t kMostJudges = 1024;
constexpr int kPlanes = 200;
// A residual from the plane this many times the typical one is no curvature of an image, as long as it is gross in
// units of the image as well (half of its range is 1).
constexpr double kFarOffPlane = 25.0;
constexpr double kGrossOffPlane = 0.02;
constexpr int kAbsoluteSteps = 8;
constexpr int kBisquareSteps = 4;
// Tukey's constant for two coordinates at 95 % efficiency, and where a residual stands out, in standard deviations.
constexpr double kBisquare = 5.12;
constexpr double kStandsOut = 6.0;
// Median length of a plane vector of two standard normal coordinates.
constexpr double kMedianLength = 1.1774100225154747;
// Residuals below this, half of the range of the image being 1, are rounding.
constexpr double kRounding = 1e-9;

// A point in units of the half-ranges, from the medians, so that no bad point moves the others.
struct TScaled {
  double ground[3];
  double image[2];
  double root_weight;
};

double MiddleOf(std::vector<double>* values, std::size_t rank) {
  const auto at = values->begin() + static_cast<std::ptrdiff_t>(rank);
  std::nth_element(values->begin(), at, values->end());
  return *at;
}

// Offset and scale of a coordinate: its median, and the range of its middle 80 %.
struct TResistantRange {
  double offset = 0.0;
  double scale = 1.0;
};

template <class Get>
TResistantRange RangeOf(std::size_t count, const Get& get) {
  std::vector<double> values(count);
  for (std::size_t i = 0; i < count; ++i) values[i] = get(i);
  TResistantRange range;
  range.offset = MiddleOf(&values, count / 2);
  const double low = MiddleOf(&values, count / 10);
  const double high = MiddleOf(&values, count - 1 - count / 10);
  if (high > low) range.scale = 0.625 * (high - low);  // uniform points end up in [-1, 1]
  return range;
}

std::vector<TScaled> Scale(TPointSpan points, const double* root_weights) {
  const auto range = [&](double TRPCEstimationPoint::*slot) {
    return RangeOf(points.count, [&](std::size_t i) { return points.points[i].*slot; });
  };
  const TResistantRange lat = range(&TRPCEstimationPoint::Lat), lon = range(&TRPCEstimationPoint::Lon),
                        height = range(&TRPCEstimationPoint::Height), line = range(&TRPCEstimationPoint::Line),
                        sample = range(&TRPCEstimationPoint::Sample);
  std::vector<TScaled> scaled(points.count);
  for (std::size_t i = 0; i < points.count; ++i) {
    const TRPCEstimationPoint& p = points.points[i];
    scaled[i] = {
        {(p.Lat - lat.offset) / lat.scale, (p.Lon - lon.offset) / lon.scale, (p.Height - height.offset) / height.scale},
        {(p.Line - line.offset) / line.scale, (p.Sample - sample.offset) / sample.scale},
        root_weights == nullptr ? 1.0 : root_weights[i]};
  }
  return scaled;
}

// Linear functions of the ground for line and sample: constant, latitude, longitude, height.
using TPlane = std::array<std::array<double, 4>, 2>;

double SquareFrom(const TPlane& plane, const TScaled& point) {
  double squares = 0.0;
  for (std::size_t axis = 0; axis < 2; ++axis) {
    const auto& a = plane[axis];
    const double off =
        a[0] + a[1] * point.ground[0] + a[2] * point.ground[1] + a[3] * point.ground[2] - point.image[axis];
    squares += off * off;
  }
  return squares;
}

// Least squares of a plane by normal equations with a touch of a ridge: points that share a height leave its slope 0.
template <class Index>
bool FitPlane(const std::vector<TScaled>& points, const std::vector<Index>& chosen, TPlane* plane) {
  constexpr double kRidge = 1e-9;
  double m[4][6] = {};
  for (const Index i : chosen) {
    const TScaled& p = points[i];
    const double row[6] = {1.0, p.ground[0], p.ground[1], p.ground[2], p.image[0], p.image[1]};
    for (std::size_t r = 0; r < 4; ++r) {
      for (std::size_t c = 0; c < 6; ++c) m[r][c] += row[r] * row[c];
    }
  }
  const double ridge = kRidge * (m[0][0] + m[1][1] + m[2][2] + m[3][3]);
  for (std::size_t r = 0; r < 4; ++r) m[r][r] += ridge;
  // Gauss-Jordan without pivoting: the matrix is symmetric and positive definite.
  for (std::size_t r = 0; r < 4; ++r) {
    if (!(m[r][r] > 0.0)) return false;
    const double pivot = m[r][r];
    for (double& element : m[r]) element /= pivot;
    for (std::size_t other = 0; other < 4; ++other) {
      if (other == r) continue;
      const double factor = m[other][r];
      for (std::size_t c = r; c < 6; ++c) m[other][c] -= factor * m[r][c];
    }
  }
  for (std::size_t r = 0; r < 4; ++r) {
    (*plane)[0][r] = m[r][4];
    (*plane)[1][r] = m[r][5];
  }
  return true;
}

// The rank among the residuals of a set of points that makes up for `fitted` points that a fit goes through.
std::size_t TypicalRank(std::size_t count, std::size_t fitted) { return std::min((count + fitted) / 2, count - 1); }

double TypicalOf(std::vector<double> values, std::size_t fitted) {
  return MiddleOf(&values, TypicalRank(values.size(), fitted));
}

// A generator of its own: those of the standard library may differ in their distributions.
class TDraws {
 public:
  std::size_t Below(std::size_t count) {
    state_ = state_ * 6364136223846793005u + 1442695040888963407u;  // Knuth's MMIX
    return static_cast<std::size_t>(state_ >> 33) % count;
  }

 private:
  std::uint64_t state_ = 20051120u;
};

// The plane through four points with the least typical distance from the others; false when none can be laid.
bool FindPlane(const std::vector<TScaled>& points, TPlane* best) {
  const std::size_t stride = (points.size() + kMostJudges / 4 - 1) / (kMostJudges / 4);
  std::vector<double> squares((points.size() + stride - 1) / stride);
  const std::size_t rank = TypicalRank(squares.size(), 4);
  // The typical square of a plane, or anything not below `least` when it cannot be: too many are not, which most planes
  // show early.
  const auto typical_square = [&](const TPlane& plane, double least) {
    std::size_t not_below = 0;
    for (std::size_t i = 0; i < squares.size(); ++i) {
      squares[i] = SquareFrom(plane, points[i * stride]);
      if (!(squares[i] < least) && ++not_below + rank >= squares.size()) return least;
    }
    return MiddleOf(&squares, rank);
  };
  constexpr double kNone = std::numeric_limits<double>::infinity();
  double least = kNone;
  TDraws draws;
  std::vector<std::size_t> chosen;
  for (int trial = 0; trial < kPlanes; ++trial) {
    chosen.clear();
    while (chosen.size() < 4) {
      const std::size_t candidate = draws.Below(points.size());
      if (std::find(chosen.begin(), chosen.end(), candidate) == chosen.end()) chosen.push_back(candidate);
    }
    TPlane plane;
    if (!FitPlane(points, chosen, &plane)) continue;
    const double typical = typical_square(plane, least);
    if (!(typical < least)) continue;
    least = typical;
    *best = plane;
  }
  return least < kNone;
}

// Marks points far off the plane that most of them share.
void MarkFarOffPlane(const std::vector<TScaled>& points, std::vector<char>* suspect) {
  TPlane best{};
  if (!FindPlane(points, &best)) return;
  // Once more through the better half: four points carry their own errors.
  std::vector<double> squares;
  squares.reserve(points.size());
  for (const TScaled& point : points) squares.push_back(SquareFrom(best, point));
  const double half = TypicalOf(squares, 4);
  std::vector<std::size_t> near;
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (squares[i] <= half) near.push_back(i);
  }
  if (!FitPlane(points, near, &best)) return;
  for (std::size_t i = 0; i < points.size(); ++i) squares[i] = SquareFrom(best, points[i]);
  const double limit = std::max(kFarOffPlane * kFarOffPlane * TypicalOf(squares, 4), kGrossOffPlane * kGrossOffPlane);
  for (std::size_t i = 0; i < points.size(); ++i) {
    if (squares[i] > limit) (*suspect)[i] = 1;
  }
}

// Points by coordinate, as they are evaluated together.
struct TScaledBlock {
  TPointBlock block;
  alignas(64) double root_weight[TPointBlock::kSize];

  void Add(const TScaled& point) {
    const std::size_t i = block.count++;
    block.P[i] = point.ground[0], block.L[i] = point.ground[1], block.H[i] = point.ground[2];
    block.line[i] = point.image[0], block.sample[i] = point.image[1];
    root_weight[i] = point.root_weight;
  }
};

// A polynomial in the ground coordinates for line and sample.
class TPolynomial {
 public:
  explicit TPolynomial(std::size_t terms) : terms_(terms) {}

  // Weighted distances of the points of a block.
  void LengthsFrom(const TScaledBlock& points, double* lengths) const {
    TOutputValues line, sample;
    EvaluateOutput(points.block, TOutput::Line, outputs_[0], &line);
    EvaluateOutput(points.block, TOutput::Sample, outputs_[1], &sample);
    for (std::size_t i = 0; i < points.block.count; ++i) {
      const double square = line.residual[i] * line.residual[i] + sample.residual[i] * sample.residual[i];
      lengths[i] = std::sqrt(square) * points.root_weight[i];
    }
  }

  // \param rows sums of products of (terms, line, sample).
  bool Solve(const TNormalSums& sums) {
    constexpr double kRidge = 1e-12;
    TMatrix matrix(terms_, terms_);
    double trace = 0.0;
    for (std::size_t i = 0; i < terms_; ++i) {
      for (std::size_t j = 0; j < terms_; ++j) matrix[i][j] = sums.At(i, j);
      trace += sums.At(i, i);
    }
    for (std::size_t i = 0; i < terms_; ++i) matrix[i][i] += kRidge * trace;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      TVector right_side(terms_), solution;
      for (std::size_t i = 0; i < terms_; ++i) right_side[i] = sums.At(i, terms_ + axis);
      if (!Cholesky(matrix, right_side, solution)) return false;
      for (std::size_t i = 0; i < terms_; ++i) outputs_[axis].numerator[i] = solution(i);
    }
    return true;
  }

 private:
  std::size_t terms_;
  TRational outputs_[2];  // denominators of 1
};

// Reweighted fits of a polynomial to the points that are no suspects yet.
class TReweighting {
 public:
  TReweighting(const std::vector<TScaled>& points, std::vector<std::size_t> judges, std::size_t terms)
      : points_(points), judges_(std::move(judges)), terms_(terms), polynomial_(terms) {
    rows_.resize(judges_.size() * kTerms);
    for (std::size_t j = 0; j < judges_.size(); ++j) {
      const TScaled& point = points_[judges_[j]];
      rpc::FormTerms(point.ground[0], point.ground[1], point.ground[2], rows_.data() + j * kTerms);
      if (j % TPointBlock::kSize == 0) blocks_.emplace_back();
      blocks_.back().Add(point);
    }
    lengths_.resize(judges_.size());
  }

  bool Run() {
    std::vector<double> weights(judges_.size(), 1.0);
    if (!Fit(weights)) return false;
    for (int step = 0; step < kAbsoluteSteps; ++step) {
      // 1/|residual| makes a sum of squares one of absolute values; small ones must not take everything.
      const double floor = std::max(0.1 * typical_, kRounding);
      for (std::size_t j = 0; j < weights.size(); ++j) weights[j] = typical_ / std::max(lengths_[j], floor);
      if (typical_ <= kRounding || !Fit(weights)) break;
    }
    for (int step = 0; step < kBisquareSteps && typical_ > kRounding; ++step) {
      for (std::size_t j = 0; j < weights.size(); ++j) {
        const double share = lengths_[j] / (kBisquare * Deviation());
        weights[j] = share < 1.0 ? (1.0 - share * share) * (1.0 - share * share) : 0.0;
      }
      if (!Fit(weights)) break;
    }
    return true;
  }

  void MarkWhatStandsOut(std::vector<char>* suspect) const {
    double lengths[TPointBlock::kSize];
    const double limit = kStandsOut * Deviation() + kRounding;
    TScaledBlock block{};
    for (std::size_t first = 0; first < points_.size(); first += TPointBlock::kSize) {
      block.block.count = 0;
      const std::size_t last = std::min(first + TPointBlock::kSize, points_.size());
      for (std::size_t i = first; i < last; ++i) block.Add(points_[i]);
      polynomial_.LengthsFrom(block, lengths);
      for (std::size_t i = first; i < last; ++i) {
        if (lengths[i - first] > limit) (*suspect)[i] = 1;
      }
    }
  }

 private:
  double Deviation() const { return typical_ / kMedianLength; }

  bool Fit(const std::vector<double>& weights) {
    sums_ = TNormalSums{};
    rows_of_block_.SetUnknowns(terms_ + 1);
    const std::size_t stride = rows_of_block_.stride;
    for (std::size_t first = 0; first < judges_.size(); first += TPointBlock::kSize) {
      rows_of_block_.count = std::min(TPointBlock::kSize, judges_.size() - first);
      for (std::size_t i = 0; i < rows_of_block_.count; ++i) {
        const TScaled& point = points_[judges_[first + i]];
        const double root = std::sqrt(weights[first + i]) * point.root_weight;
        double* const row = rows_of_block_.values + i * stride;
        for (std::size_t k = 0; k < terms_; ++k) row[k] = root * rows_[(first + i) * kTerms + k];
        row[terms_] = root * point.image[0];
        row[terms_ + 1] = root * point.image[1];
        std::fill(row + terms_ + 2, row + stride, 0.0);
      }
      AddNormalProducts(rows_of_block_, &sums_);
    }
    if (!polynomial_.Solve(sums_)) return false;
    for (std::size_t b = 0; b < blocks_.size(); ++b) {
      polynomial_.LengthsFrom(blocks_[b], lengths_.data() + b * TPointBlock::kSize);
    }
    typical_ = TypicalOf(lengths_, terms_);
    return std::isfinite(typical_);
  }

  const std::vector<TScaled>& points_;
  std::vector<std::size_t> judges_;
  std::size_t terms_;
  TPolynomial polynomial_;
  std::vector<double> rows_;
  std::vector<TScaledBlock> blocks_;
  std::vector<double> lengths_;
  double typical_ = 0.0;
  TDesignRows rows_of_block_;
  TNormalSums sums_;
};

}  // namespace

std::vector<std::size_t> FindSuspects(TPointSpan points, const double* root_weights) {
  const std::vector<TScaled> scaled = Scale(points, root_weights);
  std::vector<char> suspect(points.count, 0);
  MarkFarOffPlane(scaled, &suspect);
  std::vector<std::size_t> judges;
  for (std::size_t i = 0; i < points.count; ++i) {
    if (suspect[i] == 0) judges.push_back(i);
  }
  const std::size_t stride = (judges.size() + kMostJudges - 1) / kMostJudges;
  for (std::size_t j = 0; stride > 1 && j * stride < judges.size(); ++j) judges[j] = judges[j * stride];
  if (stride > 1) judges.resize((judges.size() + stride - 1) / stride);
  // Half as many unknowns as points at most: fewer leave no majority to speak of.
  const std::size_t terms = judges.size() >= 2 * kTerms ? kTerms : judges.size() >= 20 ? 10 : 4;
  if (judges.size() >= 2 * terms) {
    const auto reweighting = std::make_unique<TReweighting>(scaled, judges, terms);
    if (reweighting->Run()) reweighting->MarkWhatStandsOut(&suspect);
  }
  std::vector<std::size_t> suspects;
  for (std::size_t i = 0; i < points.count; ++i) {
    if (suspect[i] != 0) suspects.push_back(i);
  }
  return suspects;
}

}  // namespace SatCommonUtils::estimation
