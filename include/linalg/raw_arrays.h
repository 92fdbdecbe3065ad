#pragma once
/// \file
/// Matrices as arrays of row pointers, vectors as arrays: allocation, parallel products, Cholesky and Gauss solvers.
///
/// A matrix is an array of row pointers, row i at index i; a vector is an array of doubles. The caller owns both.
/// Sizes are not checked.
///
/// **Argument orders.** Whatever makes or fills a matrix or multiplies a vector takes (columns, rows); the products of
/// two matrices take (rows, columns) of the first and then the one size of the second that the first leaves open.
/// Sizes always are those of the stored arrays, not of their transposes.
///
/// **Polls.** `int (*poll)(void)` is the caller's hook for progress and cancelling:
/// | routine | called after each | null allowed | non-zero result |
/// |---|---|---|---|
/// | products | row (element) of the result, by the thread that made it | no | ignored |
/// | `Cholesky` | row of the factor, element of either pass | yes | false |
/// | `CholeskyMatrixInversion` | column of the inverse | yes | ignored |
/// | `Gauss` | column, twice around the determinant, each element of x above the last | yes | 0.0 |
///
/// What a poll is called for stands in the output by then. Rows and columns are made several at a time, and their polls
/// come together after them; those of Aᵀ·A (`MultiplyATbyA`, `CalculateNormalMatrix`) come in one burst at the end,
/// because all its elements grow together while the observations go by.
///
/// **Threads.** Products run as OpenMP loops over the rows of the result, shared out in equal runs over
/// `ZxGetThreadsCount()` threads; Cholesky and elimination use them from 150 unknowns on, and call their polls from the
/// caller's thread. Results do not depend on that number: every sum runs in index order. The output of
/// a product must not be one of its inputs.

#include <cstddef>

#include "../frame/api.h"
#include "matrix.h"
#include "vector.h"

namespace SatCommonUtils {

/// A matrix counts as not positive definite when a pivot of its Cholesky factorisation is at most this, in the unit of
/// its diagonal.
inline constexpr double kSmallestCholeskyPivot = 1e-20;

/// `rows` arrays of `columns` zeros.
ORBMATH_API double** CreateMatrix(std::size_t columns, std::size_t rows);
/// The `n` x `n` identity.
ORBMATH_API double** CreateMatrix(std::size_t n);
/// `n` zeros.
ORBMATH_API double* CreateVector(std::size_t n);
/// Frees each of the `rows` rows and the pointer array. A null pointer is accepted.
ORBMATH_API void ReleaseMatrix(double** m, std::size_t rows);
/// Frees the array. A null pointer is accepted.
ORBMATH_API void ReleaseVector(double* v);
/// Zeroes `n` values.
ORBMATH_API void SetToZero(double* v, std::size_t n);
/// Zeroes `rows` rows of `columns` values.
ORBMATH_API void SetToZero(double** m, std::size_t columns, std::size_t rows);

/// y = A·x. \param A `rows` x `columns`. \param x `columns` values. \param y room for `rows` values.
ORBMATH_API void MatrixByVector(double** A, std::size_t columns, std::size_t rows, double* x, double* y,
                                int (*poll)(void));
/// y = Aᵀ·x. \param A `rows` x `columns`. \param x `rows` values. \param y room for `columns` values. \return true.
ORBMATH_API bool MatrixTByVector(double** A, std::size_t columns, std::size_t rows, double* x, double* y,
                                 int (*poll)(void));
/// N(i, j) = Σ A(k, i)·A(k, j) / w(k), each term divided after it is multiplied.
/// \param A `rows` x `columns`. \param w `rows` **variances**, not weights. \param N room for `columns` x `columns`.
ORBMATH_API void CalculateNormalMatrix(double** A, std::size_t rows, std::size_t columns, double* w, double** N,
                                       int (*poll)(void));
/// N = Aᵀ·A. \param A `rows` x `columns`. \param N room for `columns` x `columns`. \return true.
ORBMATH_API bool CalculateNormalMatrix(double** A, std::size_t rows, std::size_t columns, double** N,
                                       int (*poll)(void));
/// C = Aᵀ·A. \param A `rows` x `columns`. \param C room for `columns` x `columns`. \return true.
ORBMATH_API bool MultiplyATbyA(double** A, std::size_t rows, std::size_t columns, double** C, int (*poll)(void));
/// C = Aᵀ·B. \param A `rows` x `columns`. \param B `rows` x `b_columns`. \param C room for `columns` x `b_columns`.
ORBMATH_API void MultiplyATbyB(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_columns,
                               double** C, int (*poll)(void));
/// C = A·Bᵀ. \param A `rows` x `columns`. \param B `b_rows` x `columns`. \param C room for `rows` x `b_rows`.
ORBMATH_API void MultiplyAbyBT(double** A, std::size_t rows, std::size_t columns, double** B, std::size_t b_rows,
                               double** C, int (*poll)(void));
/// C = A·B. \param A `rows` x `columns`. \param B `columns` x `b_columns`. \param C room for `rows` x `b_columns`.
ORBMATH_API void MatrixMultiplication(double** A, std::size_t rows, std::size_t columns, double** B,
                                      std::size_t b_columns, double** C, int (*poll)(void));

/// Solves A·x = b for a symmetric positive definite A by A = Uᵀ·U (any textbook, e.g. Golub and Van Loan, Matrix
/// Computations, 4.2). Reads the upper triangle of A only; A and b stay.
/// \param n size of the system. \return false when a pivot is at most `kSmallestCholeskyPivot` or the poll cancels; `x`
/// is then undefined.
ORBMATH_API bool Cholesky(double** A, double* b, double* x, std::size_t n, int (*poll)(void));
/// The inverse of a symmetric positive definite matrix, of which the upper triangle is read.
/// \param Ainv room for `n` x `n`. \return false, leaving `Ainv` alone, when a pivot is at most
/// `kSmallestCholeskyPivot`.
ORBMATH_API bool CholeskyMatrixInversion(double** A, double** Ainv, std::size_t n, int (*poll)(void));
/// The same for objects, n being the width of `A`. `*Ainv` becomes n x n and may be `A` itself.
/// \throws std::runtime_error when `A` has fewer rows than columns (a checked access).
ORBMATH_API bool CholeskyMatrixInversion(const TMatrix& A, TMatrix* Ainv, int (*poll)(void));
/// Solves A·x = b by elimination with partial pivoting; of equal pivots the upper row is taken.
/// Destroys A, whose row pointers it exchanges, and b.
/// \return the determinant of A; 0.0 for a singular A and after a cancel, `x` is then incomplete.
ORBMATH_API double Gauss(double** A, double* b, double* x, std::size_t n, int (*poll)(void));
/// The same elimination on objects, in place. The size n is that of `b`.
/// \param x at least n elements, of which none is written when `A` is singular.
/// \return the determinant of A, or 0.0 for a singular one. \throws std::runtime_error when `A` is smaller, or `x` is
/// and `A` is regular (a checked access).
ORBMATH_API double GaussTriangle(TMatrix& A, TVector& b, TVector& x);
/// `GaussTriangle` on copies of `A` and `b`.
ORBMATH_API double Gauss(const TMatrix& A, const TVector& b, TVector& x);
/// The condition number of a square matrix in the norm of the largest row sum: `A.Norma1() * (~A).Norma1()`.
ORBMATH_API double Cond(const TMatrix& A);

}  // namespace SatCommonUtils
