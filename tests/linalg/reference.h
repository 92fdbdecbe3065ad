#pragma once
// The plain loops in index order that every routine must match bit for bit, and matrices to try them on.

#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "linalg/matrix.h"
#include "linalg/raw_arrays.h"
#include "support/bits.h"
#include "support/random.h"

namespace orbmath_test {

using Rows = std::vector<std::vector<double>>;

/// A raw matrix of the library for the time of a test, filled with the poison unless values are given.
class RawMatrix {
 public:
  RawMatrix(std::size_t rows, std::size_t columns)
      : height_(rows), width_(columns), rows_(SatCommonUtils::CreateMatrix(columns, rows)) {
    for (std::size_t i = 0; i < rows; ++i) std::fill_n(rows_[i], columns, kPoison);
  }
  explicit RawMatrix(const Rows& values) : RawMatrix(values.size(), values.empty() ? 0 : values[0].size()) {
    for (std::size_t i = 0; i < height_; ++i) std::copy(values[i].begin(), values[i].end(), rows_[i]);
  }
  RawMatrix(const RawMatrix&) = delete;
  RawMatrix& operator=(const RawMatrix&) = delete;
  ~RawMatrix() { SatCommonUtils::ReleaseMatrix(rows_, height_); }

  double** Get() { return rows_; }
  Rows Values() const {
    Rows values;
    for (std::size_t i = 0; i < height_; ++i) values.emplace_back(rows_[i], rows_[i] + width_);
    return values;
  }

 private:
  std::size_t height_;
  std::size_t width_;
  double** rows_;
};

inline ::testing::AssertionResult SameBits(const Rows& a, const Rows& b) {
  if (a.size() != b.size()) return ::testing::AssertionFailure() << a.size() << " and " << b.size() << " rows";
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (a[i].size() != b[i].size()) return ::testing::AssertionFailure() << "row " << i << " differs in length";
    const ::testing::AssertionResult same = SameBits(a[i].data(), b[i].data(), a[i].size());
    if (!same) return ::testing::AssertionFailure() << "row " << i << ", " << same.message();
  }
  return ::testing::AssertionSuccess();
}

inline Rows RowsOf(const SatCommonUtils::TMatrix& matrix) {
  Rows values(matrix.GetHeight());
  for (std::size_t i = 0; i < values.size(); ++i) {
    values[i].assign(matrix[i].GetData(), matrix[i].GetData() + matrix[i].GetSize());
  }
  return values;
}

inline SatCommonUtils::TMatrix MatrixOf(const Rows& values) {
  SatCommonUtils::TMatrix matrix(values.empty() ? 0 : values[0].size(), values.size());
  for (std::size_t i = 0; i < values.size(); ++i) {
    matrix.SetRow(i, SatCommonUtils::TVector(values[i].size(), values[i].data()));
  }
  return matrix;
}

/// What the elements of a test matrix are like.
enum class Kind {
  Normal,  ///< Around 1.
  Wide,    ///< Exponents over the whole range: sums cancel, products over- and underflow.
  Small,   ///< Few small integers: ties, zeros of both signs, exact singularity.
  Special  ///< NaN, infinities, denormal numbers among ordinary ones.
};
constexpr Kind kKinds[] = {Kind::Normal, Kind::Wide, Kind::Small, Kind::Special};

inline double RandomElement(Random* random, Kind kind) {
  switch (kind) {
    case Kind::Wide:
      return std::ldexp(random->Normal(1.0), static_cast<int>(random->Index(600)) - 300);
    case Kind::Small:
      return random->Index(3) == 0 ? -0.0 : static_cast<double>(random->Index(5)) - 2.0;
    case Kind::Special: {
      const std::vector<double> special = SpecialDoubles();
      const std::size_t index = random->Index(20 * special.size());
      return index < special.size() ? special[index] : random->Normal(1.0);
    }
    case Kind::Normal:
      break;
  }
  return random->Normal(1.0);
}

inline std::vector<double> RandomVector(Random* random, std::size_t n, Kind kind) {
  std::vector<double> values(n);
  for (double& value : values) value = RandomElement(random, kind);
  return values;
}

inline Rows RandomRows(Random* random, std::size_t rows, std::size_t columns, Kind kind) {
  Rows values(rows);
  for (auto& row : values) row = RandomVector(random, columns, kind);
  return values;
}

inline Rows Transposed(const Rows& a) {
  Rows result(a.empty() ? 0 : a[0].size(), std::vector<double>(a.size()));
  for (std::size_t i = 0; i < a.size(); ++i) {
    for (std::size_t j = 0; j < a[i].size(); ++j) result[j][i] = a[i][j];
  }
  return result;
}

/// Element (i, j) is the sum of term(x(k, i), y(k, j), k) over k in index order.
template <class Term>
Rows SumOfTerms(const Rows& x, const Rows& y, Term term) {
  Rows c(x.empty() ? 0 : x[0].size(), std::vector<double>(y.empty() ? 0 : y[0].size()));
  for (std::size_t i = 0; i < c.size(); ++i) {
    for (std::size_t j = 0; j < c[i].size(); ++j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < x.size(); ++k) sum += term(x[k][i], y[k][j], k);
      c[i][j] = sum;
    }
  }
  return c;
}

inline Rows ProductXtY(const Rows& x, const Rows& y) {
  return SumOfTerms(x, y, [](double a, double b, std::size_t) { return a * b; });
}

/// U with a = Uᵀ·U; false when a pivot is at most 1e-20.
inline bool ReferenceCholesky(const Rows& a, Rows* u) {
  const std::size_t n = a.size();
  u->assign(n, std::vector<double>(n));
  for (std::size_t i = 0; i < n; ++i) {
    for (std::size_t j = i; j < n; ++j) {
      double sum = 0.0;
      for (std::size_t k = 0; k < i; ++k) sum += (*u)[k][i] * (*u)[k][j];
      if (j == i && a[i][i] - sum <= 1e-20) return false;
      (*u)[i][j] = j == i ? std::sqrt(a[i][i] - sum) : (a[i][j] - sum) / (*u)[i][i];
    }
  }
  return true;
}

inline std::vector<double> ReferenceCholeskySolve(const Rows& u, const std::vector<double>& b) {
  const std::size_t n = u.size();
  std::vector<double> y(n), x(n);
  for (std::size_t i = 0; i < n; ++i) {
    double sum = 0.0;
    for (std::size_t k = 0; k < i; ++k) sum += u[k][i] * y[k];
    y[i] = (b[i] - sum) / u[i][i];
  }
  for (std::size_t i = n; i-- > 0;) {
    double sum = 0.0;
    for (std::size_t k = i + 1; k < n; ++k) sum += u[i][k] * x[k];
    x[i] = (y[i] - sum) / u[i][i];
  }
  return x;
}

/// Elimination with partial pivoting in place; x stays as it is when the determinant is 0.0.
/// \param columns after which a poll stops the work.
inline double ReferenceGauss(Rows* system, std::vector<double>* b, std::vector<double>* x,
                             std::size_t columns = static_cast<std::size_t>(-1)) {
  Rows& a = *system;
  const std::size_t n = a.size();
  double det = 1.0;
  for (std::size_t c = 0; c + 1 < n; ++c) {
    if (c == columns) return 0.0;
    std::size_t pivot = c;
    for (std::size_t r = c + 1; r < n; ++r) {
      if (std::fabs(a[r][c]) > std::fabs(a[pivot][c])) pivot = r;
    }
    if (a[pivot][c] == 0.0) return 0.0;
    if (pivot != c) {
      std::swap(a[pivot], a[c]);
      std::swap((*b)[pivot], (*b)[c]);
      det = -det;
    }
    for (std::size_t r = c + 1; r < n; ++r) {
      const double f = a[r][c] / a[c][c];
      for (std::size_t j = 0; j < n; ++j) a[r][j] -= f * a[c][j];
      (*b)[r] -= f * (*b)[c];
    }
  }
  for (std::size_t i = 0; i < n; ++i) det *= a[i][i];
  if (det == 0.0) return det;
  for (std::size_t i = n; i-- > 0;) {
    double sum = 0.0;
    for (std::size_t k = i + 1; k < n; ++k) sum += a[i][k] * (*x)[k];
    (*x)[i] = ((*b)[i] - sum) / a[i][i];
  }
  return det;
}

}  // namespace orbmath_test
