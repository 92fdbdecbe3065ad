#pragma once
/// \file
/// The dense matrix of doubles.

#include <cstddef>
#include <memory>
#include <string>

#include "../frame/api.h"
#include "vector.h"

namespace SatCommonUtils {

class TZxStream;
class TZxXIniReader;
class TZxXIniWriter;

/// A dense matrix of doubles that owns its rows.
///
/// **Argument orders.** Sizes are (width, height), that is (columns, rows), and `GetElement`/`SetElement` take
/// (column, row). Only `operator()(row, column)` and `operator[](row)` take the row first.
///
/// "Checked" operations throw `std::runtime_error` "double& TVector::operator[] (size_t index)" for an index outside
/// its row or vector; all others check nothing and take operands as conformable. Sums run in index order. Distinct
/// objects may be used from distinct threads; one object is safe for concurrent reads.
///
/// The debug name belongs to the object: copies and moves neither take it along nor replace the target's.
class ORBMATH_API TMatrix {
 public:
  /// Empty: 0 x 0, no debug name.
  TMatrix() = default;
  /// Empty: 0 x 0. \param name the debug name.
  explicit TMatrix(const std::string& name);
  /// `height` rows of `width` zeros.
  TMatrix(std::size_t width, std::size_t height);
  /// The `n` x `n` identity.
  explicit TMatrix(std::size_t n);
  /// The square matrix with `diagonal` on its diagonal and zeros elsewhere.
  explicit TMatrix(const TVector& diagonal);
  TMatrix(const TMatrix& other);
  /// The source is empty (0 x 0) afterwards and keeps its debug name.
  TMatrix(TMatrix&& other) noexcept;
  ~TMatrix() = default;

  TMatrix& operator=(const TMatrix& other);
  /// The source is empty (0 x 0) afterwards; both keep their debug names.
  TMatrix& operator=(TMatrix&& other) noexcept;

  /// Makes `height` rows of `width` zeros, also when the size stays.
  void Reset(std::size_t width, std::size_t height);

  /// A row, unchecked. Changing its length breaks the matrix.
  TVector& operator[](std::size_t row) { return rows_[row]; }
  /// A row to read, unchecked.
  const TVector& operator[](std::size_t row) const { return rows_[row]; }
  /// Element by (row, column); the column is checked, the row is not.
  double operator()(std::size_t row, std::size_t column) const;
  /// Element by (column, row), unchecked.
  double GetElement(std::size_t column, std::size_t row) const { return rows_[row](column); }
  /// Writes the element at (column, row); the column is checked, the row is not.
  void SetElement(std::size_t column, std::size_t row, double value) { rows_[row][column] = value; }
  /// A copy of a row, unchecked.
  TVector GetRow(std::size_t row) const { return rows_[row]; }
  /// A column as a new vector of `GetHeight()` elements, checked.
  TVector GetColomn(std::size_t column) const;
  /// As `GetColomn`.
  TVector operator()(std::size_t column) const { return GetColomn(column); }
  /// The row becomes a copy of `row_values`, whose size is the width.
  void SetRow(std::size_t row, const TVector& row_values) { rows_[row] = row_values; }
  /// Element `column` of each row takes the element of `column_values` with the row's index, checked.
  void SetColomn(std::size_t column, const TVector& column_values);
  /// Adds `other` to a row, unchecked: it has at least as many elements.
  void AddToRow(std::size_t row, const TVector& other) { rows_[row] += other; }
  /// Subtracts `other` from a row, unchecked likewise.
  void SubtractFromRow(std::size_t row, const TVector& other) { rows_[row] -= other; }
  /// Adds `other[i]` to element (i, i) for i below the width, checked.
  void AddToDiag(const TVector& other);
  /// Subtracts `other[i]` from element (i, i) for i below the width, checked.
  void SubtractFromDiag(const TVector& other);
  /// Exchanges two rows, unchecked.
  void SwapRows(std::size_t i, std::size_t j);
  /// Exchanges elements i and j of every row, unchecked.
  void SwapColomns(std::size_t i, std::size_t j);
  /// Copies row r of `part` over row `row + r` from element `column` on, unchecked.
  void InsertSubmatrix(std::size_t column, std::size_t row, const TMatrix& part);
  /// Keeps the top left block. \return false, changing nothing, when a value is 0 or greater than the size.
  bool Clip(std::size_t width, std::size_t height);
  /// Sets every element to 0.0.
  void FillWithZeroes();
  /// \param rows `GetHeight()` pointers to `GetWidth()` values each.
  void FillFromBuffer(const double* const* rows);
  /// Number of columns.
  std::size_t GetWidth() const noexcept { return width_; }
  /// Number of rows.
  std::size_t GetHeight() const noexcept { return height_; }
  /// Width times height.
  std::size_t GetElementsCount() const noexcept { return width_ * height_; }
  /// The name that `DebugOutput` sends first; empty unless it was set.
  const std::string& GetDebugName() const noexcept { return debug_name_; }
  /// Sets that name.
  void SetDebugName(const std::string& name) { debug_name_ = name; }

  /// Element by element over the size of this matrix.
  TMatrix& operator+=(const TMatrix& other);
  /// Subtracts element by element over the size of this matrix.
  TMatrix& operator-=(const TMatrix& other);

  /// The transpose.
  TMatrix operator!() const;
  /// The inverse of a square matrix of size n; the n x n zero matrix when it is singular.
  ///
  /// It is the solution of one system of n² unknowns, n copies of the matrix along its diagonal, by elimination with
  /// partial pivoting (`Gauss`); "singular" means that the determinant of that system, the n-th power of the
  /// matrix's, comes out as 0.0, also by underflow. Only one copy is eliminated, in n³ steps, n of them where pivots
  /// are equal in size or something is not finite; the bits are those of the whole system. \throws std::runtime_error
  /// when the matrix has fewer rows than columns (a checked access).
  TMatrix operator~() const;
  /// Largest absolute row sum; -1.0 for a matrix without rows. A NaN sum counts as absent.
  double Norma1() const;

  /// The rows' `TVector::Output()` texts, each followed by "\n".
  std::string Output() const;
  /// Sends the debug name, when there is one, and then each row's `Output()` and "\n" to the debug print.
  void DebugOutput() const;
  /// Sends a picture of the matrix to the debug print, one message a line, each with its "\n": `GetWidth() + 2` times
  /// "=", and then each row between "|" and "|", one character an element by the first rule that fits:
  /// | element | character |
  /// |---|---|
  /// | zero | "0" with `show_zeros`, otherwise " " |
  /// | one, with `show_ones` | "1" |
  /// | not positive, with `show_signs` | "-" |
  /// | positive, with `show_signs` | "+" |
  /// | NaN or infinite | "!" |
  /// | any other | "*" |
  void DebugOutputPortrait(bool show_zeros, bool show_ones, bool show_signs) const;

  /// A new array of `GetHeight()` pointers to new arrays of `GetWidth()` values, owned by the caller;
  /// `ReleaseMatrix` frees it.
  double** Put2Buffer() const;
  /// Copies the elements row after row. \param dst room for `GetElementsCount()` values.
  /// \return false when the matrix has no element.
  bool PutToBuffer(double* dst) const;
  /// Writes the elements row after row as 8-byte doubles of this machine.
  /// \return false when the matrix has no element or the stream takes fewer bytes than it is given.
  bool PutToStream(TZxStream* stream) const;

  /// Writes the section `key`: "MatrixWidth", "MatrixHeight" and the section "MatrixRows" with one item a row, whose
  /// key is the row's index. \return false when the writer could not write. \throws TZxMessage from the writer.
  bool SaveToXML(TZxXIniWriter* writer, std::string key) const;
  /// Reads what `SaveToXML` wrote. The stored rows are counted before memory is taken for the stated size.
  /// \return false, leaving the matrix as it was, when the section or its "MatrixRows" is missing, or a row is
  /// missing, not of the stated width or not readable (see `TVector::InitializeFromXML`).
  /// \throws TZxMessage when a size is missing or no number; the matrix stays as it was.
  bool InitializeFromXML(TZxXIniReader* reader, std::string key);

 private:
  std::unique_ptr<TVector[]> rows_;
  std::size_t width_ = 0;
  std::size_t height_ = 0;
  std::string debug_name_;
};

/// The matrix product; each element is summed over the length of a row of `a`.
ORBMATH_API TMatrix operator*(const TMatrix& a, const TMatrix& b);
/// Every element times `value`.
ORBMATH_API TMatrix operator*(TMatrix a, double value);
/// Every element times `value`.
ORBMATH_API TMatrix operator*(double value, TMatrix a);
/// Every element divided by `value`, a true division.
ORBMATH_API TMatrix operator/(TMatrix a, double value);
/// The sum, element by element over the size of `a`.
ORBMATH_API TMatrix operator+(TMatrix a, const TMatrix& b);
/// The difference, element by element over the size of `a`.
ORBMATH_API TMatrix operator-(TMatrix a, const TMatrix& b);
/// Each element negated.
ORBMATH_API TMatrix operator-(TMatrix a);
/// Element i is `v` times row i of `m`, summed over the size of `v`.
ORBMATH_API TVector operator*(const TMatrix& m, const TVector& v);
/// Element j is `v` times column j of `m`, summed over the size of `v`.
ORBMATH_API TVector operator*(const TVector& v, const TMatrix& m);

/// The product of `a` and `b` into `*c`, which may be one of them.
/// \param poll called after each row of the result, which stands in `*c` by then unless `c` is a factor; its value is
/// ignored. It must not be null.
ORBMATH_API void MatrixMultiplication(const TMatrix& a, const TMatrix& b, TMatrix* c, int (*poll)(void));

}  // namespace SatCommonUtils
