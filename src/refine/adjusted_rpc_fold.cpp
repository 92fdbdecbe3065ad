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
#include <vector>

#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/normal_equations.h"
#include "linalg/vector.h"
#include "refine/adjusted_rpc.h"
#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"
#include "rpc/polynomial_kernel.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {
namespace {

constexpr std::size_t kTermCount = 20;
using TCubic = std::array<double, kTermCount>;

/// Where the result may miss the adjusted model at most, pixels.
constexpr double kLargestError = 0.01;

struct TNode {
  double lat = 0.0, lon = 0.0, height = 0.0;  // degrees, metres
  double p = 0.0, l = 0.0, h = 0.0;           // the same, normalised
  double line = 0.0, sample = 0.0;            // refined, pixels
};

TCubic CubicOf(const double (&coefficients)[kTermCount]) {
  TCubic cubic;
  std::copy(std::begin(coefficients), std::end(coefficients), cubic.begin());
  return cubic;
}

/// The twenty terms in their order.
TCubic TermsAt(double p, double l, double h) {
  TCubic terms;
  rpc::FormTerms(p, l, h, terms.data());
  return terms;
}

double ValueAt(const TCubic& cubic, const TCubic& terms) {
  double sum = 0.0;
  for (std::size_t k = 0; k < kTermCount; ++k) sum += cubic[k] * terms[k];
  return sum;
}

/// The refinement as a matrix for (line, sample, 1); one that has no perspective ends with the row (0, 0, 1).
matr3x3 MatrixOf(const TRPCRefinementDataBase& data) {
  matr3x3 matrix;
  matrix.fill_unity();
  if (const auto* shift = dynamic_cast<const TRPCRefinementDataShift*>(&data)) {
    matrix.m[0][2] = shift->d_line;
    matrix.m[1][2] = shift->d_sample;
  } else if (const auto* affine = dynamic_cast<const TRPCRefinementDataAffine*>(&data)) {
    matrix = {{{affine->LineDrift, affine->LineTilt, affine->LineBias},
               {affine->SampleDrift, affine->SampleTilt, affine->SampleBias},
               {0.0, 0.0, 1.0}}};
  } else if (const auto* projective = dynamic_cast<const TRPCRefinementDataProjective*>(&data)) {
    matrix = projective->matr;
    const double last = projective->matr[2][2];
    if (projective->matr[2][0] == 0.0 && projective->matr[2][1] == 0.0) {
      for (auto& row : matrix.m) {
        for (double& element : row) element /= last;
      }
    }
  }
  return matrix;
}

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

/// First and last value of an axis of a grid.
struct TSpan {
  double first, last;
};

/// Points of the adjusted model's box: a grid over the image (the raster, when its size is known, or what the raw box
/// becomes) at heights over the height range. Those count that the model maps back to where they came from.
/// \param cells of the grid along each axis. \param offset of the first node, in cells.
std::vector<TNode> SampleBox(const TAdjustedRPC& model, int cells, double offset) {
  constexpr double kMappedBack = 1e-3;  // pixels
  TSpan lines = {model.GetMinLine(), model.GetMaxLine()};
  TSpan samples = {model.GetMinSample(), model.GetMaxSample()};
  const TSpan heights = {model.GetMinHeight(), model.GetMaxHeight()};
  int width = 0, height = 0;
  const bool has_raster = model.GetRasterDims(&width, &height);
  if (has_raster) {
    lines = {0.0, height - 1.0};
    samples = {0.0, width - 1.0};
  }
  const auto at = [offset, cells](const TSpan& span, int i) {
    return span.first + (span.last - span.first) * ((i + offset) / cells);
  };
  std::vector<TNode> nodes;
  const int count = offset == 0.0 ? cells + 1 : cells;
  for (int i = 0; i < count * count * count; ++i) {
    double line = at(lines, i / (count * count));
    double sample = at(samples, i / count % count);
    if (!has_raster) model.GetRefinement()->RawToRefined(line, sample, &line, &sample, nullptr, nullptr);
    TNode node;
    node.height = at(heights, i % count);
    if (!model.CalculateLatLon(line, sample, node.height, &node.lat, &node.lon)) continue;
    model.CalculateLineSample(node.lat, node.lon, node.height, &node.line, &node.sample, nullptr, nullptr);
    if (!(std::hypot(node.line - line, node.sample - sample) < kMappedBack)) continue;
    node.p = model.GetLatitudeNormalization()->Initial2Normalized(node.lat);
    node.l = model.GetLongitudeNormalization()->Initial2Normalized(node.lon);
    node.h = model.GetHeightNormalization()->Initial2Normalized(node.height);
    if (std::fabs(node.p) <= 1.0 && std::fabs(node.l) <= 1.0) nodes.push_back(node);
  }
  return nodes;
}

/// The cubic closest to numerator·denominator/other_denominator over the nodes, in units of the quotient by
/// `denominator`. \return false when the nodes do not determine one.
bool FitProduct(const std::vector<TNode>& nodes, const TCubic& numerator, const TCubic& denominator,
                const TCubic& other_denominator, TCubic* product) {
  constexpr double kRidge = 1e-13;  // of the mean diagonal element: keeps directions without support at zero
  double scale[3] = {0.0, 0.0, 0.0};
  for (const TNode& node : nodes) {
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

/// True when the record says what the model does, within the bound, at every node.
bool Agrees(const TRPCData& record, const std::vector<TNode>& nodes) {
  const TRPC plain(record, nullptr);
  return std::all_of(nodes.begin(), nodes.end(), [&plain](const TNode& node) {
    double line, sample;
    plain.CalculateLineSample(node.lat, node.lon, node.height, &line, &sample, nullptr, nullptr);
    return std::hypot(line - node.line, sample - node.sample) <= kLargestError;
  });
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

/// As above, with cubics fitted for T.
bool FoldWithFittedProducts(const std::vector<TNode>& nodes, const matr3x3& b, TRPCData* record) {
  const TCubic line_num = CubicOf(record->lineNumCoef), line_den = CubicOf(record->lineDenCoef);
  const TCubic samp_num = CubicOf(record->sampNumCoef), samp_den = CubicOf(record->sampDenCoef);
  TCubic line_product, sample_product;
  return FitProduct(nodes, samp_num, line_den, samp_den, &line_product) &&
         FitProduct(nodes, line_num, samp_den, line_den, &sample_product) &&
         FoldBoth(b, line_product, sample_product, record);
}

/// Fits all coefficients to the nodes; offsets and scales stay.
bool FitAnew(const std::vector<TNode>& nodes, TRPCData* record) {
  const TLinearNormalization lines = TLinearNormalization::Unchecked(record->lineOffset, record->lineScale);
  const TLinearNormalization samples = TLinearNormalization::Unchecked(record->sampOffset, record->sampScale);
  TRPCEstimationDataSet set;
  set.IsNormalized = true;
  for (const TNode& node : nodes) {
    set.Points.push_back(
        {node.p, node.l, node.h, lines.Initial2Normalized(node.line), samples.Initial2Normalized(node.sample)});
  }
  TRPCFitOptions options;
  options.badPoints = TRPCBadPoints::NotSought;  // computed points have no blunders
  return FitRPC(set, options, record);
}

}  // namespace

bool TAdjustedRPC::ExportRefined(TRPCData* out) const {
  constexpr int kCells = 10;
  constexpr std::size_t kLeastNodes = 5 * kTermCount;
  TRPCData record;
  GetRPCData(&record);
  const var_a<TRPCRefinementDataBase*> refinement = GetRPCRefinementData();
  if (!refinement || refinement->IsUnity()) {
    *out = record;
    return true;
  }
  const matr3x3 b = Normalized(MatrixOf(*refinement), record);
  if (!NeedsProducts(b) || CubicOf(record.lineDenCoef) == CubicOf(record.sampDenCoef)) {
    if (!FoldBoth(b, CubicOf(record.sampNumCoef), CubicOf(record.lineNumCoef), &record)) return false;
    *out = record;
    return true;
  }
  const std::vector<TNode> nodes = SampleBox(*this, kCells, 0.0);
  const std::vector<TNode> checks = SampleBox(*this, kCells, 0.5);
  if (nodes.size() < kLeastNodes || checks.size() < kLeastNodes) return false;
  TRPCData folded = record;
  if (FoldWithFittedProducts(nodes, b, &folded) && Agrees(folded, checks)) {
    *out = folded;
    return true;
  }
  if (!FitAnew(nodes, &record) || !Agrees(record, checks)) return false;
  *out = record;
  return true;
}

}  // namespace SatCommonUtils
