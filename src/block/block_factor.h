#pragma once
// Cholesky's factor of a symmetric matrix of square blocks, and its inverse where the factor has blocks.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "block/pattern.h"
#include "linalg/work_matrix.h"

namespace SatCommonUtils::block {

/// Where the factor has blocks. Groups stand in the order of their elimination. The columns before `dense` are kept by
/// blocks; what remains once they are eliminated is so full that it is factored as one full matrix.
struct TFactorPattern {
  explicit TFactorPattern(const TPattern& pattern);

  std::size_t Count() const { return order.size(); }

  std::vector<std::uint32_t> order;       ///< The group at each place.
  std::vector<std::uint32_t> place;       ///< Of each group.
  std::size_t dense = 0;                  ///< The first place of the full rest.
  std::vector<std::size_t> columnFirst;   ///< Blocks below the diagonal of column j, for j below `dense`.
  std::vector<std::uint32_t> row;         ///< Their rows, ascending in each column.
  std::vector<std::size_t> rowFirst;      ///< Blocks left of the diagonal in row i: places in `left`.
  std::vector<std::uint32_t> leftColumn;  ///< Their columns, ascending.
  std::vector<std::size_t> left;          ///< Their places in `row`.
  /// Columns that need each other stand in different levels: each needs those of lower levels (for the factor) and the
  /// rows of its blocks, which are of higher ones (for the inverse).
  std::vector<std::vector<std::uint32_t>> levels;
  std::vector<std::vector<std::uint32_t>> depths;  ///< The same from the other end.
};

/// The factor for blocks of Q x Q numbers by rows.
template <int Q>
class TBlockFactor {
 public:
  static constexpr std::size_t kBlock = static_cast<std::size_t>(Q) * Q;

  explicit TBlockFactor(const TPattern& pattern);

  /// Factors the matrix of those blocks, in the order of the pattern. \return false when it is not positive.
  bool Factor(const TPattern& pattern, const std::vector<double>& blocks);
  /// Solves in place, Q numbers a group.
  void Solve(std::vector<double>* right) const;
  /// The blocks of the inverse. They last until the next factor is made.
  void Invert();
  /// Block (a, b) of the inverse by rows. \return false when the factor has no such block.
  bool InverseBlock(std::uint32_t a, std::uint32_t b, double* block) const;
  /// The whole matrix was factored as a full one.
  bool IsDense() const { return pattern_.dense == 0; }

 private:
  bool FactorColumn(std::uint32_t column, const TPattern& pattern, const std::vector<double>& blocks);
  void MakeRest(const TPattern& pattern, const std::vector<double>& blocks);
  void InvertColumn(std::uint32_t column);
  void InverseOf(std::uint32_t i, std::uint32_t k, std::size_t* hint, double* block) const;

  TFactorPattern pattern_;
  std::vector<double> below_;     ///< Blocks of `row`.
  std::vector<double> diagonal_;  ///< Lower triangles.
  std::vector<double> inverseBelow_;
  std::vector<double> inverseDiagonal_;
  std::unique_ptr<WorkMatrix> rest_;    ///< Upper triangle of the full rest; later of its inverse.
  std::unique_ptr<WorkMatrix> factor_;  ///< U of the rest.
};

/// Upper triangle of the inverse of U'U; needs room for one matrix more while it works.
void InvertFactor(std::size_t n, const double* const* u, double** inverse);

}  // namespace SatCommonUtils::block
