// A plain record that carries a refinement, by algebra instead of a new fit.
//
// In homogeneous coordinates every refinement is a 3 x 3 matrix. Brought to normalised image coordinates it is B, and
// with the model line = N1/D1, sample = N2/D2 the refined line is
//     (B00 N1 + B01 T + B02 D1) / (B20 N1 + B21 T + B22 D1),   T = N2 D1/D2,
// and the sample likewise with T = N1 D2/D1. Everything but T is a cubic polynomial as it stands. T is one too when the
// denominators are the same, and is not needed at all when B01 and B21 are zero; otherwise its closest cubic stands in.
// Denominators of real models are nearly constant, so T - N2 is small and smooth, and the small off-diagonal elements
// of B scale its error down again. Where that is not so, because the refinement turns the image, say, all coefficients
// are fitted anew. Elementary.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <string>
#include <vector>

#include "frame/zxstd/text.h"
#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/normal_equations.h"
#include "linalg/vector.h"
#include "refine/adjusted_rpc.h"
#include "refine/image_nodes.h"
#include "refine/refinement_kinds.h"
#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_terms.h"

namespace SatCommonUtils {
namespace {

using refine::TImageNode;
using refine::TImageSampler;

constexpr std::size_t kTermCount = kRPCTermCount;
using TCubic = std::array<double, kTermCount>;

TCubic CubicOf(const double (&coefficients)[kTermCount]) {
  TCubic cubic;
  std::copy(std::begin(coefficients), std::end(coefficients), cubic.begin());
  return cubic;
}

/// The twenty terms in their order.
TCubic TermsAt(double p, double l, double h) {
  TCubic terms;
  FormRPCTerms({p, l, h}, terms.data());
  return terms;
}

double ValueAt(const TCubic& cubic, const TCubic& terms) { return SumRPCTerms(cubic.data(), terms.data()); }

/// B of the comment above. Differences of nearly equal numbers are taken before they are multiplied by an offset.
matr3x3 Normalized(const matr3x3& h, const TRPCData& rpc) {
  const double offset[2] = {rpc.lineOffset, rpc.sampOffset};
  const double scale[2] = {rpc.lineScale, rpc.sampScale};
  const double perspective = h[2][0] * offset[0] + h[2][1] * offset[1];
  matr3x3 b;
  for (std::size_t i = 0; i < 2; ++i) {
    const std::size_t other = 1 - i;
    b[i][i] = h[i][i] - offset[i] * h[2][i];
    b[i][other] = (h[i][other] - offset[i] * h[2][other]) * scale[other] / scale[i];
    b[i][2] =
        ((h[i][i] - h[2][2]) * offset[i] + h[i][other] * offset[other] + h[i][2] - offset[i] * perspective) / scale[i];
    b[2][i] = h[2][i] * scale[i];
  }
  b[2][2] = perspective + h[2][2];
  return b;
}

/// The cubic closest to numerator·denominator/other_denominator over the nodes, in units of the quotient by
/// `denominator`. \return false when the nodes do not determine one.
bool FitProduct(const std::vector<TImageNode>& nodes, const TCubic& numerator, const TCubic& denominator,
                const TCubic& other_denominator, TCubic* product) {
  constexpr double kRidge = 1e-13;  // of the mean diagonal element: keeps directions without support at zero
  double scale[3] = {0.0, 0.0, 0.0};
  for (const TImageNode& node : nodes) {
    scale[0] = std::max(scale[0], std::fabs(node.p));
    scale[1] = std::max(scale[1], std::fabs(node.l));
    scale[2] = std::max(scale[2], std::fabs(node.h));
  }
  for (double& s : scale) s = s > 0.0 ? s : 1.0;
  const TCubic term_scales = TermsAt(scale[0], scale[1], scale[2]);

  TMatrix design(kTermCount, nodes.size()), normal;
  TVector target(nodes.size()), weights(nodes.size()), free_term, x;
  weights.FillWithValue(1.0);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const TCubic terms = TermsAt(nodes[i].p, nodes[i].l, nodes[i].h);
    const double below = ValueAt(denominator, terms);
    const double value = ValueAt(numerator, terms);
    for (std::size_t k = 0; k < kTermCount; ++k) design[i][k] = terms[k] / term_scales[k] / below;
    target[i] = value / ValueAt(other_denominator, terms) - value / below;
  }
  if (!NormalEquationsMatrix(design, weights, &normal) ||
      !NormalEquationsFreeTerm(design, weights, target, &free_term)) {
    return false;
  }
  double trace = 0.0;
  for (std::size_t k = 0; k < kTermCount; ++k) trace += normal(k, k);
  TVector ridge(kTermCount);
  ridge.FillWithValue(kRidge * trace / kTermCount);
  normal.AddToDiag(ridge);
  if (!Cholesky(normal, free_term, x)) return false;
  for (std::size_t k = 0; k < kTermCount; ++k) (*product)[k] = numerator[k] + x(k) / term_scales[k];
  return true;
}

/// One coordinate of the refined model: `b` holds the elements of B for (own numerator, T, own denominator), the row of
/// the coordinate first and the last row second. \return false when the denominator has no constant term.
bool Fold(const double (&b)[2][3], const TCubic& product, double (&numerator)[kTermCount],
          double (&denominator)[kTermCount]) {
  double result[2][kTermCount];
  for (std::size_t row = 0; row < 2; ++row) {
    for (std::size_t k = 0; k < kTermCount; ++k) {
      result[row][k] = b[row][0] * numerator[k] + b[row][2] * denominator[k];
      if (b[row][1] != 0.0) result[row][k] += b[row][1] * product[k];
    }
  }
  const double divisor = result[1][0] / denominator[0];
  if (!(std::fabs(divisor) > 0.0) || !std::isfinite(divisor)) return false;
  for (std::size_t k = 0; k < kTermCount; ++k) {
    numerator[k] = result[0][k] / divisor;
    denominator[k] = result[1][k] / divisor;
  }
  return true;
}

/// Distance in pixels of a record from the model at a node; infinite where there is none.
double DistanceAt(const TRPC& plain, const TImageNode& node) {
  double line, sample;
  plain.CalculateLineSample(node.lat, node.lon, node.height, &line, &sample, nullptr, nullptr);
  const double d_line = line - node.line, d_sample = sample - node.sample;
  const double distance = std::sqrt(d_line * d_line + d_sample * d_sample);
  return std::isnan(distance) ? std::numeric_limits<double>::infinity() : distance;
}

/// The largest distance in pixels of a record from the model: the largest at the nodes, and from that node uphill as
/// far as the image goes, since errors grow towards its corners, between any nodes.
double WorstOf(const TRPCData& record, const TImageSampler& sampler, const std::vector<TImageNode>& nodes) {
  constexpr double kReach = 0.1, kSmallestReach = 1e-3;  // normalised
  const TRPC plain(record, nullptr);
  double worst = -1.0;
  TImageNode at;
  for (const TImageNode& node : nodes) {
    const double distance = DistanceAt(plain, node);
    if (distance > worst) worst = distance, at = node;
  }
  for (double reach = kReach; reach > kSmallestReach && std::isfinite(worst);) {
    bool moved = false;
    for (int direction = 0; direction < 6; ++direction) {
      const double step = direction % 2 == 0 ? reach : -reach;
      TImageNode next;
      const bool shown =
          sampler.NodeAt(at.p + (direction / 2 == 0 ? step : 0.0), at.l + (direction / 2 == 1 ? step : 0.0),
                         std::clamp(at.h + (direction / 2 == 2 ? step : 0.0), -1.0, 1.0), &next);
      const double distance = shown ? DistanceAt(plain, next) : 0.0;
      if (!(distance > worst)) continue;
      worst = distance;
      at = next;
      moved = true;
    }
    if (!moved) reach *= 0.5;
  }
  return std::max(worst, 0.0);
}

/// True when B brings line and sample together, so that the polynomials called T above take part.
bool NeedsProducts(const matr3x3& b) { return b[0][1] != 0.0 || b[1][0] != 0.0 || b[2][0] != 0.0 || b[2][1] != 0.0; }

/// Folds B into a record, given T of the line and of the sample. \return false when the result is no usable record.
bool FoldBoth(const matr3x3& b, const TCubic& line_product, const TCubic& sample_product, TRPCData* record) {
  const double line_rows[2][3] = {{b[0][0], b[0][1], b[0][2]}, {b[2][0], b[2][1], b[2][2]}};
  const double sample_rows[2][3] = {{b[1][1], b[1][0], b[1][2]}, {b[2][1], b[2][0], b[2][2]}};
  return Fold(line_rows, line_product, record->lineNumCoef, record->lineDenCoef) &&
         Fold(sample_rows, sample_product, record->sampNumCoef, record->sampDenCoef) &&
         VisitRPCNumbers(*record, [](double number) { return std::isfinite(number); });
}

/// Folds B into a record with cubics fitted for T.
bool FoldWithFittedProducts(const std::vector<TImageNode>& nodes, const matr3x3& b, TRPCData* record) {
  const TCubic line_num = CubicOf(record->lineNumCoef), line_den = CubicOf(record->lineDenCoef);
  const TCubic samp_num = CubicOf(record->sampNumCoef), samp_den = CubicOf(record->sampDenCoef);
  TCubic line_product, sample_product;
  return FitProduct(nodes, samp_num, line_den, samp_den, &line_product) &&
         FitProduct(nodes, line_num, samp_den, line_den, &sample_product) &&
         FoldBoth(b, line_product, sample_product, record);
}

/// Fits all coefficients to the nodes; offsets and scales stay.
bool FitAnew(const std::vector<TImageNode>& nodes, TRPCData* record) {
  const TLinearNormalization lines = TLinearNormalization::Unchecked(record->lineOffset, record->lineScale);
  const TLinearNormalization samples = TLinearNormalization::Unchecked(record->sampOffset, record->sampScale);
  TRPCEstimationDataSet set;
  set.IsNormalized = true;
  for (const TImageNode& node : nodes) {
    set.Points.push_back(
        {node.p, node.l, node.h, lines.Initial2Normalized(node.line), samples.Initial2Normalized(node.sample)});
  }
  TRPCFitOptions options;
  options.badPoints = TRPCBadPoints::NotSought;  // computed points have no blunders
  return FitRPC(set, options, record);
}

/// True when every parameter is a finite number.
bool IsFinite(const TRPCRefinementDataBase& refinement) {
  std::vector<double> values;
  refinement.GetParametersValues(&values);
  return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

/// True when the line that the refinement sends to infinity runs through the raw image.
bool SendsImageToInfinity(const matr3x3& b) {
  const double range = std::fabs(b[2][0]) + std::fabs(b[2][1]);
  return !(std::fabs(b[2][2]) > range);
}

/// The work on one export.
class TExporter {
 public:
  explicit TExporter(const TAdjustedRPC& model) : model_(model) { model.GetRPCData(&record_); }

  TRefinedExport Run() {
    const var_a<TRPCRefinementDataBase*> refinement = model_.GetRPCRefinementData();
    if (!refinement || refinement->IsUnity()) {
      result_.worst = 0.0;
      return Success(record_, "there is no correction to carry");
    }
    if (!IsFinite(*refinement)) return Failure("a parameter of the refinement is not finite");
    const matr3x3 b = Normalized(FindRefinementKind(refinement->type)->matrixOf(*refinement), record_);
    if (SendsImageToInfinity(b)) return Failure("the refinement sends a part of the image to infinity");
    const TImageSampler sampler(model_);
    const bool is_exact = !NeedsProducts(b) || CubicOf(record_.lineDenCoef) == CubicOf(record_.sampDenCoef);
    // Middles of a finer grid, none of whose planes is one of the grid that cubics are fitted to.
    const std::vector<TImageNode> checks = sampler.Nodes({kFitAcross * 2 - 1, kFitAcross * 2 - 1, true});
    if (is_exact) {
      TRPCData folded = record_;
      if (!FoldBoth(b, CubicOf(record_.sampNumCoef), CubicOf(record_.lineNumCoef), &folded)) {
        return Failure("the numbers of the folded model are not finite");
      }
      constexpr const char* kHow = "folded into the polynomials without loss";
      if (checks.empty()) return Success(folded, kHow);
      result_.worst = WorstOf(folded, sampler, checks);
      return Judge(folded, kHow);
    }
    if (sampler.ShowsPole()) return Failure("a denominator of the model comes to zero in the image");
    const std::vector<TImageNode> nodes = sampler.Nodes({kFitAcross, kFitAcross, false});
    if (nodes.size() < kLeastNodes || checks.size() < kLeastNodes) {
      return Failure("the image shows too little of the model's ground box");
    }
    return Approximate(b, nodes, checks, sampler);
  }

 private:
  static constexpr int kFitAcross = 11;
  static constexpr std::size_t kLeastNodes = 5 * kTermCount;

  TRefinedExport Approximate(const matr3x3& b, const std::vector<TImageNode>& nodes,
                             const std::vector<TImageNode>& checks, const TImageSampler& sampler) {
    TRPCData folded = record_;
    if (FoldWithFittedProducts(nodes, b, &folded)) {
      result_.worst = WorstOf(folded, sampler, checks);
      if (result_.worst <= kRefinedExportError) return Judge(folded, "folded into the closest polynomials");
    }
    TRPCData fitted = record_;
    if (FitAnew(nodes, &fitted)) {
      const double worst = WorstOf(fitted, sampler, checks);
      if (!(worst > result_.worst)) result_.worst = worst;
      if (worst <= kRefinedExportError) return Judge(fitted, "all coefficients fitted anew");
    }
    return Missed();
  }

  /// Takes a record if it is within the bound.
  TRefinedExport Judge(const TRPCData& record, const std::string& how) {
    if (result_.worst <= kRefinedExportError) return Success(record, how);
    return Missed();
  }
  TRefinedExport Missed() {
    if (std::isnan(result_.worst)) return Failure("no rational polynomials could be found for it");
    return Failure(
        Zentarix::ssprintf("no rational polynomials come within %.3lg pixels of it, the closest miss by %.3lg",
                           kRefinedExportError, result_.worst));
  }
  TRefinedExport Success(const TRPCData& record, const std::string& message) {
    result_.success = true;
    result_.record = record;
    result_.message = message;
    return result_;
  }
  TRefinedExport Failure(const std::string& reason) {
    result_.message = reason;
    return result_;
  }

  const TAdjustedRPC& model_;
  TRPCData record_;
  TRefinedExport result_;
};

}  // namespace

TRefinedExport TAdjustedRPC::ExportRefined() const { return TExporter(*this).Run(); }

bool TAdjustedRPC::ExportRefined(TRPCData* out) const {
  const TRefinedExport result = ExportRefined();
  if (result.success) *out = result.record;
  return result.success;
}

}  // namespace SatCommonUtils
