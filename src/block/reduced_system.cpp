// Elimination of the ground points (D. Brown 1958; B. Triggs, P. McLauchlan, R. Hartley, A. Fitzgibbon, "Bundle
// adjustment - a modern synthesis", 2000, doi:10.1007/3-540-44480-7_21, section 6). With V the normal matrix of a
// point, E and B the derivatives of its rays by ground and corrections and w their weights, two rays a and b of a point
// bring w_a B_a' (delta_ab - E_a V^-1 E_b' w_b) B_b to the block of their groups. As B is (1, u, v) for either
// coordinate, that is the product of a 2 x 2 with two vectors of three.

#include "block/reduced_system.h"

#include "block/block_factor.h"
#include "block/parallel.h"

namespace SatCommonUtils::block {
namespace {

constexpr std::size_t kPointRun = 1024;
constexpr std::size_t kBlockRun = 16;

/// Which terms of (1, u, v) groups of Q parameters have.
template <int Q>
constexpr std::array<int, static_cast<std::size_t>(Q) / 2> Terms() {
  if constexpr (Q == 2) {
    return {0};
  } else if constexpr (Q == 4) {
    return {0, 2};
  } else {
    return {0, 1, 2};
  }
}

template <int Q>
class TSystem final : public TReducedSystem {
 public:
  explicit TSystem(const TNetwork& network) : TReducedSystem(network), factor_(pattern_) {}

  bool Factor(const TEquations& equations, double damping) override {
    std::vector<double> blocks(pattern_.column.size() * kBlock);
    ForRuns(pattern_.column.size(), kBlockRun, [&](std::size_t first, std::size_t last) {
      for (std::size_t n = first; n < last; ++n) Assemble(n, equations, blocks.data() + n * kBlock);
    });
    for (std::uint32_t a = 0; a < pattern_.Rows(); ++a) {
      for (std::size_t n = pattern_.rowFirst[a]; n < pattern_.rowFirst[a + 1]; ++n) {
        Finish(equations, a, n, damping, blocks.data() + n * kBlock);
      }
    }
    return factor_.Factor(pattern_, blocks);
  }

  std::vector<std::array<double, 6>> Solve(const TEquations& equations) const override {
    std::vector<double> right(pattern_.Rows() * Q, 0.0);
    ForRuns(pattern_.Rows(), 1,
            [&](std::size_t group, std::size_t) { RightSide(equations, group, right.data() + group * Q); });
    factor_.Solve(&right);
    std::vector<std::array<double, 6>> step(pattern_.Rows());
    for (std::size_t g = 0; g < step.size(); ++g) {
      step[g] = {};
      for (int p = 0; p < Q; ++p) step[g][Slot(p)] = right[g * Q + p];
    }
    return step;
  }

  void Invert() override { factor_.Invert(); }

  bool Covariance(std::uint32_t a, std::uint32_t b, std::array<double, 36>* covariance) const override {
    double block[kBlock];
    covariance->fill(0.0);
    if (!factor_.InverseBlock(a, b, block)) return false;
    for (int p = 0; p < Q; ++p) {
      for (int q = 0; q < Q; ++q) {
        if (Has(a, p) && Has(b, q)) (*covariance)[Slot(p) * 6 + Slot(q)] = block[p * Q + q];
      }
    }
    return true;
  }

  bool IsDense() const override { return factor_.IsDense(); }

 private:
  static constexpr int kTerms = Q / 2;
  static constexpr std::size_t kBlock = static_cast<std::size_t>(Q) * Q;

  /// The place of parameter p among b0, b1, b2, a0, a1, a2.
  static int Slot(int p) { return p / kTerms * 3 + Terms<Q>()[p % kTerms]; }
  bool Has(std::uint32_t group, int p) const { return TermsOf(network_.groups[group].kind)[Terms<Q>()[p % kTerms]]; }

  static void TermsAt(const TEliminatedRay& ray, double* terms) {
    const double all[3] = {1.0, ray.u, ray.v};
    for (int t = 0; t < kTerms; ++t) terms[t] = all[Terms<Q>()[t]];
  }

  /// block -= M (x) (terms of a) (terms of b)'.
  static void Subtract(const double* m, const double* a, const double* b, double* block) {
    for (int r = 0; r < 2; ++r) {
      for (int p = 0; p < kTerms; ++p) {
        double* const row = block + (r * kTerms + p) * Q;
        for (int c = 0; c < 2; ++c) {
          const double factor = m[r * 2 + c] * a[p];
          for (int q = 0; q < kTerms; ++q) row[c * kTerms + q] -= factor * b[q];
        }
      }
    }
  }

  void Assemble(std::size_t n, const TEquations& equations, double* block) const {
    std::fill(block, block + kBlock, 0.0);
    for (std::size_t k = pattern_.pairFirst[n]; k < pattern_.pairFirst[n + 1]; ++k) {
      const auto [i, j] = pattern_.pairs[k];
      const TEliminatedRay& a = rays_[i];
      const TEliminatedRay& b = rays_[j];
      double m[4];
      for (int r = 0; r < 2; ++r) {
        for (int c = 0; c < 2; ++c) {
          const double* const x = a.f + 3 * r;
          const double* const y = b.f + 3 * c;
          m[r * 2 + c] = x[0] * y[0] + x[1] * y[1] + x[2] * y[2];
        }
      }
      double p[kTerms];
      double q[kTerms];
      TermsAt(a, p);
      TermsAt(b, q);
      if (i == j) {
        const double weight = points_[network_.pointOf[i]].used ? equations.Weight(i) : 0.0;
        m[0] -= weight;
        m[3] -= weight;
      }
      Subtract(m, p, q, block);
      // Two rays of one group: the block has their transposed part as well.
      if (i == j || network_.groupOf[network_.rays[i].image] != network_.groupOf[network_.rays[j].image]) continue;
      const double t[4] = {m[0], m[2], m[1], m[3]};
      Subtract(t, q, p, block);
    }
  }

  /// A-priori knowledge, damping, and ones for parameters that a group does not have.
  void Finish(const TEquations& equations, std::uint32_t a, std::size_t n, double damping, double* block) const {
    const std::uint32_t b = pattern_.column[n];
    for (int p = 0; p < Q; ++p) {
      for (int q = 0; q < Q; ++q) {
        double& value = block[p * Q + q];
        if (!Has(a, p) || !Has(b, q)) value = a == b && p == q ? 1.0 : 0.0;
      }
      if (a != b || !Has(a, p)) continue;
      double& diagonal = block[p * Q + p];
      diagonal = diagonal * (1.0 + damping) + equations.PriorWeight(a, Slot(p));
    }
  }

  void RightSide(const TEquations& equations, std::size_t group, double* right) const {
    for (const std::uint32_t image : network_.groups[group].images) {
      if (!network_.TakesPart(image)) continue;
      for (std::size_t n = network_.imageFirst[image]; n < network_.imageFirst[image + 1]; ++n) {
        const std::uint32_t i = network_.imageRays[n];
        const TEliminatedPoint& point = points_[network_.pointOf[i]];
        const double weight = equations.Weight(i);
        if (!point.used || weight == 0.0) continue;
        double terms[kTerms];
        TermsAt(rays_[i], terms);
        for (int r = 0; r < 2; ++r) {
          const double* const f = rays_[i].f + 3 * r;
          const double value =
              weight * equations.rays[i].residual[r] - (f[0] * point.y[0] + f[1] * point.y[1] + f[2] * point.y[2]);
          for (int t = 0; t < kTerms; ++t) right[r * kTerms + t] += value * terms[t];
        }
      }
    }
    for (int p = 0; p < Q; ++p) {
      if (!Has(static_cast<std::uint32_t>(group), p)) {
        right[p] = 0.0;
      } else {
        right[p] -= equations.PriorWeight(group, Slot(p)) * equations.unknowns.correction[group][Slot(p)];
      }
    }
  }

  TBlockFactor<Q> factor_;
};

}  // namespace

std::unique_ptr<TReducedSystem> TReducedSystem::Create(const TNetwork& network, int parameters) {
  if (parameters <= 2) return std::make_unique<TSystem<2>>(network);
  if (parameters <= 4) return std::make_unique<TSystem<4>>(network);
  return std::make_unique<TSystem<6>>(network);
}

void TReducedSystem::EliminatePoints(const TEquations& equations, double damping) {
  ForRuns(network_.PointCount(), kPointRun, [&](std::size_t first, std::size_t last) {
    for (std::size_t j = first; j < last; ++j) {
      TEliminatedPoint& point = points_[j];
      TPointEquations own;
      const bool takes = network_.pointState[j] == TBlockPointState::Used;
      for (std::size_t i = network_.first[j]; takes && i < network_.first[j + 1]; ++i) {
        const double weight = equations.Weight(i);
        if (weight != 0.0) own.Add(equations.rays[i], weight);
      }
      TKnownEquation known[3];
      const int count = takes ? equations.Known(j, known) : 0;
      for (int n = 0; n < count; ++n) own.Add(known[n].row, known[n].value, known[n].weight);
      for (const int c : {0, 3, 5}) own.normal[c] *= 1.0 + damping;
      point.used = takes && Factor3(own.normal, point.factor);
      for (int c = 0; c < 3; ++c) point.y[c] = own.right[c];
      if (point.used) SolveLower3(point.factor, point.y);
      for (std::size_t i = network_.first[j]; i < network_.first[j + 1]; ++i) {
        const double weight = point.used ? equations.Weight(i) : 0.0;
        TEliminatedRay& ray = rays_[i];
        ray = {};
        if (weight == 0.0) continue;
        ray.u = equations.rays[i].u;
        ray.v = equations.rays[i].v;
        for (int r = 0; r < 2; ++r) {
          for (int c = 0; c < 3; ++c) ray.f[3 * r + c] = weight * equations.rays[i].e[3 * r + c];
          SolveLower3(point.factor, ray.f + 3 * r);
        }
      }
    }
  });
}

std::array<double, 3> TReducedSystem::PointStep(std::size_t point,
                                                const std::vector<std::array<double, 6>>& step) const {
  const TEliminatedPoint& own = points_[point];
  std::array<double, 3> move{};
  if (!own.used) return move;
  std::copy(own.y, own.y + 3, move.begin());
  for (std::size_t i = network_.first[point]; i < network_.first[point + 1]; ++i) {
    const std::uint32_t group = network_.groupOf[network_.rays[i].image];
    if (group == kNobody) continue;
    const TEliminatedRay& ray = rays_[i];
    const std::array<double, 6>& s = step[group];
    const double sample = s[0] + s[1] * ray.u + s[2] * ray.v;
    const double line = s[3] + s[4] * ray.u + s[5] * ray.v;
    for (int c = 0; c < 3; ++c) move[c] -= ray.f[c] * sample + ray.f[3 + c] * line;
  }
  SolveUpper3(own.factor, move.data());
  return move;
}

}  // namespace SatCommonUtils::block
