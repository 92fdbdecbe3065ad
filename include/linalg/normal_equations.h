#pragma once
/// \file
/// Normal equations of weighted least squares from matrix objects.
///
/// A design matrix has one row an observation (m of them) and one column an unknown (n). Sums over the observations
/// run in index order. The outputs may be among the inputs.

#include "../frame/api.h"
#include "matrix.h"
#include "vector.h"

namespace SatCommonUtils {

/// N(i, j) = Σ A(k, i)·w(k)·A(k, j), multiplied from left to right for j ≤ i and mirrored.
/// \param A m x n design matrix. \param w m weights. \param N becomes n x n.
/// \return false, leaving `*N` untouched, when n or m is 0 or `w` has not m elements.
ORBMATH_API bool NormalEquationsMatrix(const TMatrix& A, const TVector& w, TMatrix* N);

/// The cross block N(i, j) = Σ A(k, i)·w(k)·B(k, j) of two groups of unknowns.
/// \param A m x n. \param w m weights. \param B m x p. \param N becomes n rows of p.
/// \return false, leaving `*N` untouched, when n, m or p is 0, or `B` has not m rows or `w` not m elements.
ORBMATH_API bool NormalEquationsSubMatrix(const TMatrix& A, const TVector& w, const TMatrix& B, TMatrix* N);

/// The right-hand side b(i) = Σ t(k)·A(k, i) with t(k) = w(k)·l(k).
/// \param A m x n. \param w m weights. \param l m observations. \param b becomes n values.
/// \return false, leaving `*b` untouched, when n or m is 0 or `w` or `l` has not m elements.
ORBMATH_API bool NormalEquationsFreeTerm(const TMatrix& A, const TVector& w, const TVector& l, TVector* b);

}  // namespace SatCommonUtils
