// The first-order rational approximation of a model, from which its inversions start.
//
// num.g / den.g = value becomes num.g - value · den.g = 0, linear in the coefficients once the denominator's constant
// is 1: the equations of the direct linear transformation (Y. I. Abdel-Aziz and H. M. Karara, 1971, reprinted 2015,
// doi:10.14358/PERS.81.2.103), by least squares over a grid. They count a node the more the larger its denominator is,
// which does not matter where denominators are nearly constant. Degrees, metres and pixels stay as they are: the normal
// equations are then badly scaled, and a fit that fell victim to that shows in the miss at the nodes.

#include <cmath>
#include <cstddef>
#include <mutex>
#include <vector>

#include "linalg/linear_systems.h"
#include "linalg/matrix.h"
#include "linalg/vector.h"
#include "rpc/rpc_model.h"

namespace SatCommonUtils {

namespace {

/// A ground point (latitude, longitude, height) and the image coordinate being fitted.
struct TNode {
  double ground[3];
  double line;
  double sample;
};

/// Value of num.g / den.g, g = (latitude, longitude, height, 1).
double Ratio(const double* num, const double* den, const double* ground) {
  const double above = num[0] * ground[0] + num[1] * ground[1] + num[2] * ground[2] + num[3];
  const double below = den[0] * ground[0] + den[1] * ground[1] + den[2] * ground[2] + den[3];
  return above / below;
}

/// Least squares of one image coordinate: num.g - value · den.g = 0 with the constant of the denominator at 1, or
/// num.g = value with a denominator of 1.
void Fit(const std::vector<TNode>& nodes, double TNode::*coordinate, bool rational, double* num, double* den) {
  const std::size_t unknowns = rational ? 7 : 4;
  TMatrix design(unknowns, nodes.size());
  TVector values(nodes.size());
  for (std::size_t row = 0; row < nodes.size(); ++row) {
    const double value = nodes[row].*coordinate;
    values[row] = value;
    for (std::size_t i = 0; i < 3; ++i) design.SetElement(i, row, nodes[row].ground[i]);
    design.SetElement(3, row, 1.0);
    for (std::size_t i = 4; i < unknowns; ++i) design.SetElement(i, row, -nodes[row].ground[i - 4] * value);
  }
  TVector solution;
  TOverdefinedLinearSystem(design, values).Solution(solution);
  for (std::size_t i = 0; i < 4; ++i) num[i] = solution[i];
  for (std::size_t i = 0; i < 3; ++i) den[i] = rational ? solution[i + 4] : 0.0;
  den[3] = 1.0;
}

/// Whether num / den comes within less than the largest miss of every node.
bool FitsNodes(const std::vector<TNode>& nodes, double TNode::*coordinate, const double* num, const double* den) {
  for (const TNode& node : nodes) {
    const double miss = std::fabs(Ratio(num, den, node.ground) - node.*coordinate);
    if (!(miss < kRPCLargestApproximationMiss)) return false;
  }
  return true;
}

/// Taken while an approximation is built. One for all models: builds are rare and short, and a derived model's
/// projection may ask for the approximation of another model meanwhile.
std::recursive_mutex& BuildMutex() {
  static std::recursive_mutex mutex;
  return mutex;
}

}  // namespace

bool TRPC::CreateApproximation(int n) const {
  hasApproximation_ = false;
  if (!line_ || n < 1) return false;
  const double step = 2.0 / n;
  std::vector<TNode> nodes;
  for (int i = 0; i < n; ++i) {
    const double lat = latitude_->Normalized2Initial(-1.0 + i * step);
    for (int j = 0; j < n; ++j) {
      const double lon = longitude_->Normalized2Initial(-1.0 + j * step);
      for (int k = 0; k < n; ++k) {
        TNode node = {{lat, lon, height_->Normalized2Initial(-1.0 + k * step)}, 0.0, 0.0};
        CalculateLineSample(node.ground[0], node.ground[1], node.ground[2], &node.line, &node.sample, nullptr, nullptr);
        nodes.push_back(node);
      }
    }
  }
  TApproximation fit;
  const std::size_t needed = 7;
  bool rational = nodes.size() >= needed;
  if (rational) {
    Fit(nodes, &TNode::sample, true, fit.sampleNum, fit.sampleDenom);
    Fit(nodes, &TNode::line, true, fit.lineNum, fit.lineDenom);
    rational = FitsNodes(nodes, &TNode::sample, fit.sampleNum, fit.sampleDenom) &&
               FitsNodes(nodes, &TNode::line, fit.lineNum, fit.lineDenom);
  }
  if (!rational) {
    if (nodes.size() < 4) return false;
    Fit(nodes, &TNode::sample, false, fit.sampleNum, fit.sampleDenom);
    Fit(nodes, &TNode::line, false, fit.lineNum, fit.lineDenom);
  }
  approximation_ = fit;
  hasApproximation_ = true;
  return true;
}

bool TRPC::EnsureApproximation() const {
  if (hasApproximation_) return true;
  const std::lock_guard<std::recursive_mutex> lock(BuildMutex());
  return hasApproximation_ || CreateApproximation(kRPCApproximationGrid);
}

bool TRPC::GetApproximation(double* A, double* B, double* C, double* D) const {
  if (!EnsureApproximation()) return false;
  for (int i = 0; i < 4; ++i) {
    A[i] = approximation_.lineNum[i];
    B[i] = approximation_.lineDenom[i];
    C[i] = approximation_.sampleNum[i];
    D[i] = approximation_.sampleDenom[i];
  }
  return true;
}

void TRPC::CalculateLineSampleApproximately(const double& lat, const double& lon, const double& h, double* line,
                                            double* sample) const {
  EnsureApproximation();
  const double ground[] = {lat, lon, h};
  *line = Ratio(approximation_.lineNum, approximation_.lineDenom, ground);
  *sample = Ratio(approximation_.sampleNum, approximation_.sampleDenom, ground);
}

}  // namespace SatCommonUtils
