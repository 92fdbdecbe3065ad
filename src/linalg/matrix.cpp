// Storage, access and element-wise arithmetic of the dense matrix; elementary.

#include "linalg/matrix.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "linalg/kernels.h"
#include "linalg/raw_arrays.h"
#include "linalg/row_pointers.h"

namespace SatCommonUtils {

TMatrix::TMatrix(const std::string& name) : debug_name_(name) {}

TMatrix::TMatrix(std::size_t width, std::size_t height)
    : rows_(height == 0 ? nullptr : new TVector[height]), width_(width), height_(height) {
  for (std::size_t i = 0; i < height; ++i) rows_[i].Reset(width);
}

TMatrix::TMatrix(std::size_t n) : TMatrix(n, n) {
  for (std::size_t i = 0; i < n; ++i) rows_[i][i] = 1.0;
}

TMatrix::TMatrix(const TVector& diagonal) : TMatrix(diagonal.GetSize(), diagonal.GetSize()) {
  for (std::size_t i = 0; i < height_; ++i) rows_[i][i] = diagonal(i);
}

TMatrix::TMatrix(const TMatrix& other)
    : rows_(other.height_ == 0 ? nullptr : new TVector[other.height_]), width_(other.width_), height_(other.height_) {
  std::copy_n(other.rows_.get(), height_, rows_.get());
}

TMatrix::TMatrix(TMatrix&& other) noexcept
    : rows_(std::move(other.rows_)), width_(std::exchange(other.width_, 0)), height_(std::exchange(other.height_, 0)) {}

TMatrix& TMatrix::operator=(const TMatrix& other) {
  if (this != &other) *this = TMatrix(other);
  return *this;
}

TMatrix& TMatrix::operator=(TMatrix&& other) noexcept {
  if (this == &other) return *this;
  rows_ = std::move(other.rows_);
  width_ = std::exchange(other.width_, 0);
  height_ = std::exchange(other.height_, 0);
  return *this;
}

void TMatrix::Reset(std::size_t width, std::size_t height) { *this = TMatrix(width, height); }

double TMatrix::operator()(std::size_t row, std::size_t column) const {
  const TVector& elements = rows_[row];
  if (column >= elements.GetSize()) ThrowIndexError();
  return elements(column);
}

TVector TMatrix::GetColomn(std::size_t column) const {
  TVector result(height_);
  for (std::size_t i = 0; i < height_; ++i) result[i] = (*this)(i, column);
  return result;
}

void TMatrix::SetColomn(std::size_t column, const TVector& column_values) {
  if (column_values.GetSize() < height_) ThrowIndexError();
  for (std::size_t i = 0; i < height_; ++i) rows_[i][column] = column_values(i);
}

void TMatrix::AddToDiag(const TVector& other) {
  if (height_ < width_ || other.GetSize() < width_) ThrowIndexError();
  for (std::size_t i = 0; i < width_; ++i) rows_[i][i] += other(i);
}

void TMatrix::SubtractFromDiag(const TVector& other) {
  if (height_ < width_ || other.GetSize() < width_) ThrowIndexError();
  for (std::size_t i = 0; i < width_; ++i) rows_[i][i] -= other(i);
}

void TMatrix::SwapRows(std::size_t i, std::size_t j) { std::swap(rows_[i], rows_[j]); }

void TMatrix::SwapColomns(std::size_t i, std::size_t j) {
  for (std::size_t row = 0; row < height_; ++row) rows_[row].SwapElements(i, j);
}

void TMatrix::InsertSubmatrix(std::size_t column, std::size_t row, const TMatrix& part) {
  for (std::size_t i = 0; i < part.height_; ++i) rows_[row + i].InsertSubVector(column, part.rows_[i]);
}

bool TMatrix::Clip(std::size_t width, std::size_t height) {
  if (width == 0 || height == 0 || width > width_ || height > height_) return false;
  // Whatever takes memory comes first: rows of unlike lengths would be left behind when there is none.
  std::unique_ptr<TVector[]> kept(new TVector[height]);
  for (std::size_t i = 0; i < height; ++i) {
    if (rows_[i].GetSize() > width) kept[i] = rows_[i].GetSubVector(0, width);
  }
  for (std::size_t i = 0; i < height; ++i) {
    if (rows_[i].GetSize() <= width) kept[i] = std::move(rows_[i]);
  }
  rows_ = std::move(kept);
  height_ = height;
  width_ = width;
  return true;
}

void TMatrix::FillWithZeroes() {
  for (std::size_t i = 0; i < height_; ++i) rows_[i].FillWithZeroes();
}

void TMatrix::FillFromBuffer(const double* const* rows) {
  for (std::size_t i = 0; i < height_; ++i) std::copy_n(rows[i], width_, rows_[i].GetData());
}

double** TMatrix::Put2Buffer() const {
  double** const buffer = CreateMatrix(width_, height_);
  for (std::size_t i = 0; i < height_; ++i) std::copy_n(rows_[i].GetData(), width_, buffer[i]);
  return buffer;
}

bool TMatrix::PutToBuffer(double* dst) const {
  if (GetElementsCount() == 0) return false;
  for (std::size_t i = 0; i < height_; ++i) std::copy_n(rows_[i].GetData(), width_, dst + i * width_);
  return true;
}

double TMatrix::Norma1() const {
  double largest = -1.0;
  for (std::size_t i = 0; i < height_; ++i) {
    double sum = 0.0;
    for (std::size_t j = 0; j < rows_[i].GetSize(); ++j) sum += std::fabs(rows_[i](j));
    if (sum > largest) largest = sum;
  }
  return largest;
}

TMatrix& TMatrix::operator+=(const TMatrix& other) {
  for (std::size_t i = 0; i < height_; ++i) rows_[i] += other.rows_[i];
  return *this;
}

TMatrix& TMatrix::operator-=(const TMatrix& other) {
  for (std::size_t i = 0; i < height_; ++i) rows_[i] -= other.rows_[i];
  return *this;
}

TMatrix operator+(TMatrix a, const TMatrix& b) {
  a += b;
  return a;
}

TMatrix operator-(TMatrix a, const TMatrix& b) {
  a -= b;
  return a;
}

TMatrix operator*(TMatrix a, double value) {
  for (std::size_t i = 0; i < a.GetHeight(); ++i) a[i] *= value;
  return a;
}

TMatrix operator*(double value, TMatrix a) { return std::move(a) * value; }

TMatrix operator/(TMatrix a, double value) {
  for (std::size_t i = 0; i < a.GetHeight(); ++i) a[i] /= value;
  return a;
}

TMatrix operator-(TMatrix a) { return std::move(a) * -1.0; }

}  // namespace SatCommonUtils
