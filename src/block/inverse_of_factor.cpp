// The inverse of a full normal matrix from its factor: R = U^-1 by backward substitution, then R R' (G. H. Golub, C. F.
// Van Loan, Matrix Computations, 4th ed., 2013, 4.2). Both leave out what is zero, so that it takes twice the work of
// the factor.

#include <algorithm>
#include <vector>

#include "block/block_factor.h"
#include "block/parallel.h"
#include "linalg/kernels.h"
#include "linalg/row_kernels.h"
#include "linalg/simd.h"
#include "linalg/team.h"

namespace SatCommonUtils::block {
namespace {

/// Columns that are made together: the widest strip of `CombineRows` at the widest vectors.
constexpr std::size_t kColumns = 48;
/// Terms of a product that are added together.
constexpr std::size_t kPanel = 64;

/// Columns [range) of the inverse of the upper triangle u.
struct TTriangleInversion {
  std::size_t n;
  kernels::TConstRows u;
  kernels::TRange range;
  kernels::TRows inverse;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t i = range.last; i-- > 0;) {
      double* const row = inverse[i];
      kernels::CombineRows<Width, kernels::TTerm::Subtracted>(u[i] + i + 1, inverse + i + 1, range.last - i - 1, range,
                                                              row);
      for (std::size_t c = range.first; c < range.last; ++c) row[c] /= u[i][i];
    }
  }
};

}  // namespace

void InvertFactor(std::size_t n, const double* const* u, double** inverse) {
  const WorkMatrix triangle(n, n);
  double** const work = triangle.GetRows();
  ForRuns(n, kColumns, [&](std::size_t first, std::size_t last) {
    for (std::size_t i = 0; i < n; ++i) std::fill(work[i] + first, work[i] + last, 0.0);
    for (std::size_t i = first; i < last; ++i) work[i][i] = 1.0;
    simd::Dispatch(TTriangleInversion{n, u, {first, last}, work});
  });
  for (std::size_t i = 0; i < n; ++i) std::fill_n(inverse[i], n, 0.0);
  const std::size_t team = kernels::SolverTeamSize(n);
  std::vector<const double*> panel(n);
  for (std::size_t first = 0; first < n; first += kPanel) {
    const std::size_t last = std::min(first + kPanel, n);
    for (std::size_t i = 0; i < last; ++i) panel[i] = work[i] + first;
    kernels::TProduct product{{panel.data(), true}, {panel.data(), true}, last - first, last, last};
    product.add = true;
    const std::vector<kernels::TWorkspace> workspaces = kernels::Workspaces(product, team);
    kernels::OnTeamOrAlone(team, [&](std::size_t thread, std::size_t threads) {
      kernels::MultiplyUpper(product, {thread, threads}, inverse, workspaces[thread]);
    });
  }
}

}  // namespace SatCommonUtils::block
