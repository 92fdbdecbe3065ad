// Covariances of a block against those of the whole normal matrix, inverted at once with derivatives from differences.

#include <gtest/gtest.h>

#include "block/block_adjustment.h"
#include "block/blocks.h"
#include "rpc/ground_solution.h"

namespace {

using namespace orbmath_test;
using namespace SatCommonUtils;

using Rows = std::vector<std::vector<double>>;

/// A plane that climbs towards north and falls towards east.
class TiltedPlane : public THeightSurface {
 public:
  void GetHeights(std::size_t count, const double* lat, const double* lon, double* h) const override {
    for (std::size_t i = 0; i < count; ++i) h[i] = 240.0 + 9000.0 * (lat[i] - 43.6) - 15000.0 * (lon[i] - 1.4);
  }
  THeightRange GetRange(const TTerrainBox&) const override { return {}; }
};

Rows InverseOf(Rows a) {
  const std::size_t n = a.size();
  Rows inverse(n, std::vector<double>(n, 0.0));
  for (std::size_t i = 0; i < n; ++i) inverse[i][i] = 1.0;
  for (std::size_t k = 0; k < n; ++k) {  // a positive matrix needs no pivots
    const double pivot = a[k][k];
    for (std::size_t c = 0; c < n; ++c) a[k][c] /= pivot, inverse[k][c] /= pivot;
    for (std::size_t r = 0; r < n; ++r) {
      const double factor = r == k ? 0.0 : a[r][k];
      for (std::size_t c = 0; c < n; ++c) a[r][c] -= factor * a[k][c], inverse[r][c] -= factor * inverse[k][c];
    }
  }
  return inverse;
}

/// The normal matrix of a block at its solution: six unknowns an image, then east, north and up of the points.
class WholeMatrix {
 public:
  WholeMatrix(const TBlockProblem& problem, const TBlockResult& result)
      : problem_(problem), result_(result), first_(6 * problem.images.size()) {
    normal_.assign(first_ + 3 * problem.points.size(), {});
    for (auto& row : normal_) row.assign(normal_.size(), 0.0);
  }

  void AddMeasurement(std::size_t i) {
    const TBlockMeasurements& m = problem_.measurements;
    const std::size_t image = 6 * m.image[i];
    const std::size_t point = first_ + 3 * m.point[i];
    std::vector<std::size_t> places;
    for (std::size_t p = 0; p < 6; ++p) places.push_back(image + p);
    for (std::size_t p = 0; p < 3; ++p) places.push_back(point + p);
    std::vector<double> rows[2];
    for (std::size_t p = 0; p < 9; ++p) {
      const auto ahead = Projected(i, p, 0.5);
      const auto behind = Projected(i, p, -0.5);
      for (int axis = 0; axis < 2; ++axis) rows[axis].push_back(ahead[axis] - behind[axis]);
    }
    for (const auto& row : rows) Add(places, row, m.sigma[i]);
  }
  void AddPoint(std::size_t point, const std::vector<double>& row, double sigma) {
    const std::size_t at = first_ + 3 * point;
    Add({at, at + 1, at + 2}, row, sigma);
  }
  void AddParameter(std::size_t place, double sigma) { Add({place}, {1.0}, sigma); }

  /// The 3 x 3 or 6 x 6 block of the inverse.
  std::vector<double> Block(const Rows& inverse, bool ofPoint, std::size_t index) const {
    const std::size_t size = ofPoint ? 3 : 6;
    const std::size_t at = ofPoint ? first_ + 3 * index : 6 * index;
    std::vector<double> block;
    for (std::size_t r = 0; r < size; ++r) {
      block.insert(block.end(), inverse[at + r].begin() + at, inverse[at + r].begin() + at + size);
    }
    return block;
  }
  const Rows& Normal() const { return normal_; }

 private:
  /// Line and sample with unknown p of nine moved.
  std::array<double, 2> Projected(std::size_t i, std::size_t p, double step) const {
    const TBlockMeasurements& m = problem_.measurements;
    const TRPC& model = *problem_.images[m.image[i]].model;
    TBlockParameters parameters = result_.images[m.image[i]].parameters;
    if (p < 6) (p < 3 ? parameters.sample : parameters.line)[p % 3] += step;
    const TBlockPointResult& at = result_.points[m.point[i]];
    const TGroundScale scale = GroundScaleAt(at.lat, at.height);
    double line = 0.0;
    double sample = 0.0;
    model.CalculateLineSample(at.lat + (p == 7 ? step / scale.north : 0.0), at.lon + (p == 6 ? step / scale.east : 0.0),
                              at.height + (p == 8 ? step : 0.0), &line, &sample, nullptr, nullptr);
    return Corrected(model, parameters, line, sample);
  }
  void Add(const std::vector<std::size_t>& places, const std::vector<double>& row, double sigma) {
    for (std::size_t a = 0; a < places.size(); ++a) {
      for (std::size_t b = 0; b < places.size(); ++b) {
        normal_[places[a]][places[b]] += row[a] * row[b] / (sigma * sigma);
      }
    }
  }

  const TBlockProblem& problem_;
  const TBlockResult& result_;
  std::size_t first_;
  Rows normal_;
};

/// Ties on the plane, seen well enough to take part, and control.
TBlockProblem OnThePlane(TBlockOptions* options) {
  options->surface = std::make_shared<TiltedPlane>();
  options->sigmaSurface = 0.6;
  options->sigmaShift = 5.0, options->sigmaDrift = 2.0;
  options->robust = false;
  Random random("whole");
  BlockPlan plan;
  plan.images = 4, plan.ties = 20, plan.control = 6, plan.checks = 0;
  SimulatedBlock block = SimulateBlock(plan, &random);
  block.problem.measurements = {};
  for (std::uint32_t j = 0; j < block.ground.size(); ++j) {
    TBlockPoint& point = block.problem.points[j];
    point.height = block.ground[j][2] = options->surface->GetHeight(block.ground[j][0], block.ground[j][1]);
    if (point.role == TBlockPointRole::Control) point.sigmaHorizontal = 0.5, point.sigmaVertical = 0.8;
    Measure(plan, block.ground[j], j, &block, &random);
  }
  return block.problem;
}

TEST(BlockCovariance, IsThatOfTheWholeMatrix) {
  TBlockOptions options;
  const TBlockProblem problem = OnThePlane(&options);
  const TBlockResult result = AdjustBlock(problem, options);
  ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
  WholeMatrix whole(problem, result);
  for (std::size_t i = 0; i < problem.measurements.Size(); ++i) {
    if (result.measurements.state[i] == TBlockMeasurementState::Used) whole.AddMeasurement(i);
  }
  for (std::size_t j = 0; j < problem.points.size(); ++j) {
    const TBlockPoint& point = problem.points[j];
    if (result.points[j].state != TBlockPointState::Used) {
      for (int p = 0; p < 3; ++p) whole.AddPoint(j, {p == 0 ? 1.0 : 0.0, p == 1 ? 1.0 : 0.0, p == 2 ? 1.0 : 0.0}, 1.0);
    } else if (point.role == TBlockPointRole::Control) {
      whole.AddPoint(j, {1.0, 0.0, 0.0}, point.sigmaHorizontal);
      whole.AddPoint(j, {0.0, 1.0, 0.0}, point.sigmaHorizontal);
      whole.AddPoint(j, {0.0, 0.0, 1.0}, point.sigmaVertical);
    } else {
      const TGroundScale scale = GroundScaleAt(result.points[j].lat, result.points[j].height);
      whole.AddPoint(j, {15000.0 / scale.east, -9000.0 / scale.north, 1.0}, options.sigmaSurface);
    }
  }
  for (std::size_t p = 0; p < 6 * problem.images.size(); ++p) {
    whole.AddParameter(p, p % 3 == 0 ? options.sigmaShift : options.sigmaDrift);
  }
  const Rows inverse = InverseOf(whole.Normal());
  constexpr double kAgreement = 1e-3;  // of the largest element: derivatives by differences, weak points
  const double variance = result.sigma0 * result.sigma0;
  const auto compare = [&](const double* got, const std::vector<double>& expected) {
    const double largest = *std::max_element(expected.begin(), expected.end());
    for (std::size_t n = 0; n < expected.size(); ++n) {
      EXPECT_NEAR(got[n], variance * expected[n], kAgreement * variance * largest);
    }
  };
  for (std::size_t k = 0; k < problem.images.size(); ++k) {
    ASSERT_EQ(result.images[k].state, TBlockImageState::Adjusted);
    compare(result.images[k].covariance.data(), whole.Block(inverse, false, k));
  }
  std::size_t points = 0;
  for (std::size_t j = 0; j < problem.points.size(); ++j) {
    if (result.points[j].state != TBlockPointState::Used) continue;
    SCOPED_TRACE(problem.points[j].name);
    compare(result.points[j].covariance.data(), whole.Block(inverse, true, j));
    ++points;
  }
  EXPECT_GT(points, 15u);
  // A control point is expected to miss its place by what its own sigma leaves beside the adjusted point's.
  for (const TBlockMisclosure& one : result.control) {
    const std::vector<double> c = whole.Block(inverse, true, one.point);
    EXPECT_NEAR(one.sigmaEast, std::sqrt(variance * (0.25 - c[0])), 1e-3);
    EXPECT_NEAR(one.sigmaUp, std::sqrt(variance * (0.64 - c[8])), 1e-3);
  }
}

TEST(BlockCovariance, StaysWithTheAdjustedModel) {
  TBlockOptions options;
  TBlockProblem problem = OnThePlane(&options);
  const auto first = AdjustedModelOf(*problem.images[1].model, {{1.0, 9.0, -25.0}, {-2.0, 12.0, 7.0}});
  problem.images[1].model = first;
  problem.images[3].correction = TBlockCorrection::None;
  const TBlockResult result = AdjustBlock(problem, options);
  ASSERT_EQ(result.state, TBlockState::Adjusted) << result.message;
  for (const std::size_t k : {std::size_t{0}, std::size_t{1}}) {
    const TRPC& model = *problem.images[k].model;
    const auto adjusted = AdjustedModelOf(model, result.images[k].parameters);
    ASSERT_TRUE(adjusted->SetRefinementCovariance(CovarianceOfBlock(model, result, k)));
    const TRefinementCovariance& covariance = *adjusted->FindRefinementCovariance();
    EXPECT_EQ(covariance.redundancy, static_cast<std::size_t>(result.redundancy));
    EXPECT_GT(covariance.sigma, result.rms);
    const TRefinementPropagation propagation(*adjusted->GetRPCRefinementData(), covariance);
    // The point where the record puts it, and where the model did that was adjusted.
    const double raw[2] = {2100.0, 900.0};
    double before[2] = {raw[0], raw[1]};
    if (k == 1) first->GetRefinement()->RawToRefined(raw[0], raw[1], before, before + 1, nullptr, nullptr);
    const double terms[3] = {1.0, model.GetNormalization().sample.Initial2Normalized(before[1]),
                             model.GetNormalization().line.Initial2Normalized(before[0])};
    const auto expected = [&](int rows, int columns) {
      double sum = 0.0;
      for (int p = 0; p < 9; ++p) {
        const int place = (rows + p / 3) * 6 + columns + p % 3;
        sum += terms[p / 3] * terms[p % 3] * result.images[k].covariance[static_cast<std::size_t>(place)];
      }
      return sum;
    };
    const TImageCovariance got = propagation.At(raw[0], raw[1]);
    EXPECT_NEAR(got.sampleSample, expected(0, 0), 1e-7 * expected(0, 0));
    EXPECT_NEAR(got.lineLine, expected(3, 3), 1e-7 * expected(3, 3));
    EXPECT_NEAR(got.lineSample, expected(3, 0), 1e-7 * expected(3, 3));
  }
  EXPECT_FALSE(CovarianceOfBlock(*problem.images[3].model, result, 3).IsValid());
}

}  // namespace
