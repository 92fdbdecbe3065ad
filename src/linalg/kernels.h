#pragma once
// The arithmetic under both the matrix class and the raw arrays.
//
// Every result has the bits of the plain loop in index order: each sum starts at 0.0 and takes one rounded product
// after the other. Speed comes from working on many sums at once, never from splitting one. Matrices are arrays of row
// pointers; "element (k, i)" is row k, column i.

#include <cstddef>

#include "linalg/aligned_buffer.h"
#include "linalg/raw_arrays.h"

namespace SatCommonUtils::kernels {

using TConstRows = const double* const*;
using TRows = double* const*;
using TPoll = int (*)();

/// Asks a poll, which may be null, whether the work ends here.
inline bool Stops(TPoll poll) { return poll != nullptr && poll() != 0; }

/// A run of output rows, `first` up to and without `last`.
struct TRange {
  std::size_t first;
  std::size_t last;
};

/// Doubles that one access to memory brings.
inline constexpr std::size_t kCacheLine = 8;

/// Σ a(k)·b(k), k below `n`.
double Dot(const double* a, const double* b, std::size_t n);

/// y(i) = Σ a(i, k)·x(k), k below `columns`, for the rows of `range`.
void MatrixByVector(TConstRows a, std::size_t columns, TRange range, const double* x, double* y);

/// One factor of a product: a matrix read as element (k, i), where k is the index of the sum.
struct TFactor {
  TConstRows rows;
  /// The stored matrix is the transpose: element (k, i) is `rows[i][k]`.
  bool transposed = false;
  /// Element (k, i) is `rows[k][i] * weights[k]`; null for no weights. Not together with `transposed`.
  const double* weights = nullptr;
};

/// What happens to a product of two elements before it joins its sum.
enum class TTerm {
  Plain,       ///< sum + x·y
  Subtracted,  ///< sum − x·y
  Times,       ///< sum + (x·y)·w(k)
  Divided      ///< sum + (x·y)/w(k), a true division
};

/// Σ x(k, i)·y(k, j) over k, a matrix of `rows` x `columns`.
struct TProduct {
  TFactor x;
  TFactor y;
  std::size_t inner;    ///< Terms of each sum.
  std::size_t rows;     ///< Rows of the result.
  std::size_t columns;  ///< Columns of the result.
  TTerm term = TTerm::Plain;
  const double* weights = nullptr;  ///< w of the term, if it has one.
  bool add = false;                 ///< The sums go on from what the result holds, instead of starting at 0.0.
};

/// Memory for one thread's part of a product.
class TWorkspace {
 public:
  explicit TWorkspace(const TProduct& product);

  double* GetY() const { return buffer_.Get(); }
  double* GetX() const { return buffer_.Get() + x_offset_; }

 private:
  TWorkspace(std::size_t y_size, std::size_t x_size);

  TAlignedBuffer buffer_;
  std::size_t x_offset_;
};

/// The rows of `range` of a product.
void Multiply(const TProduct& product, TRange range, TRows c, const TWorkspace& workspace);

/// One of several threads that share a product.
struct TShare {
  std::size_t thread = 0;
  std::size_t threads = 1;
};

/// The part of a square product from the diagonal on that falls to one thread. Elements near and below the diagonal
/// are overwritten as well; `MirrorUpper` gives them their values once every part is done.
void MultiplyUpper(const TProduct& product, TShare share, TRows c, const TWorkspace& workspace);

/// c(i, j) = c(j, i) for the rows i of `range` and j below i.
void MirrorUpper(TRange range, TRows c);

/// The whole of a product of which the part below the diagonal mirrors the part above.
void MultiplySymmetric(const TProduct& product, TRows c);

/// y(i) = Σ x(k, i)·v(k), k below `inner`, with the terms of a product with the column v.
void FactorByVector(const TFactor& x, TTerm term, const double* weights, TRange range, std::size_t inner,
                    const double* v, double* y);

/// How a factorisation ended. Only `Done` leaves a whole factor.
enum class TFactorState {
  Done,
  NotPositive,  ///< A pivot was at most `kSmallestCholeskyPivot`.
  Cancelled     ///< A poll ended the work.
};

/// Factors the upper triangle of `a` into the upper triangle of `u` (n x n), a = uᵀ·u.
/// \param poll null, or called after each row; a non-zero result ends the work.
/// \param u the rows of a `WorkMatrix`; nothing below the diagonal has a meaning afterwards.
TFactorState CholeskyFactor(TConstRows a, std::size_t n, TPoll poll, TRows u);

/// Solves uᵀ·u·x = b. \param y work space of n values. \param poll as above, after each element of both passes; the
/// backward pass runs even when the forward pass was ended. \return false when a poll ended a pass.
bool CholeskySolve(TConstRows u, const double* b, std::size_t n, TPoll poll, double* y, double* x);

/// Factors and solves, which spares large systems a pass over the factor. `x` is there when the factor is.
/// \return as `CholeskyFactor`, and `Cancelled` when a poll ended a pass.
TFactorState CholeskyFactorAndSolve(TConstRows a, const double* b, std::size_t n, TPoll poll, double* x);

/// Solves normal equations by Cholesky, or by elimination when the matrix is not positive definite.
/// \param normal stays as it is. \param right_side overwritten by elimination. \param poll as above.
/// \return false for a singular matrix or a cancel.
bool SolveNormalEquations(TConstRows normal, double* right_side, double* x, std::size_t n, TPoll poll);

/// The inverse of uᵀ·u into `inverse` (n x n).
/// \param poll null, or called for each column once that is there; its result is ignored.
void CholeskyInvert(TConstRows u, std::size_t n, TPoll poll, TRows inverse);

/// What elimination does to the columns left of the pivot, which no later step reads.
enum class TLeftColumns {
  Eliminate,  ///< They take part like all others: what the caller sees in the matrix is that of the plain loops.
  Skip        ///< Nobody looks at the matrix afterwards.
};

/// Solves a·x = b by elimination with partial pivoting. Exchanges the row pointers in `a` and overwrites rows and `b`.
/// \param poll null, or asked whether to stop after each column, twice around the determinant and after each element
/// of x but the last one, which is found first.
/// \return the determinant, or 0.0 when it is zero or a poll ended the work; `x` is then incomplete.
double Gauss(double** a, double* b, double* x, std::size_t n, TPoll poll);

/// The same where nobody looks at the matrix afterwards, which stays as it is: only `b` is overwritten.
double GaussOfCopy(TConstRows a, double* b, double* x, std::size_t n, TPoll poll);

/// The inverse of `a` (n x n), with the bits of the elimination of one system of n² unknowns that holds n copies of it;
/// all zeros when that system's determinant is 0.0.
void InvertAsOneSystem(TConstRows a, std::size_t n, TRows inverse);

}  // namespace SatCommonUtils::kernels
