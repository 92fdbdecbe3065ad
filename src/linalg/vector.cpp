// Storage and arithmetic of the dense vector; elementary.

#include "linalg/vector.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "frame/zxstd/message.h"
#include "linalg/checked_access.h"
#include "linalg/kernels.h"
#include "linalg/number_list.h"

namespace SatCommonUtils {

TVector::TVector(std::size_t n) : size_(n), data_(n == 0 ? nullptr : new double[n]()) {}

TVector::TVector(std::size_t n, std::size_t k) : TVector(n) {
  if (k >= n) throw TZxMessage("@SatCommonUtils::TVector::TVector: TVector index error");
  data_[k] = 1.0;
}

TVector::TVector(std::size_t n, const double* src) : size_(n), data_(n == 0 ? nullptr : new double[n]) {
  std::copy_n(src, n, data_.get());
}

TVector::TVector(double x, double y, double z) : size_(3), data_(new double[3]{x, y, z}) {}

TVector::TVector(const std::string& text) : TVector(ReadNumberList(text.c_str(), kVectorDelimiters)) {
  if (size_ == 0) throw "TVector::TVector(const char* src)";
  ReadNumberList(text.c_str(), kVectorDelimiters, data_.get(), size_);
}

TVector::TVector(const TVector& other) : TVector(other.size_, other.data_.get()) {}

TVector::TVector(TVector&& other) noexcept : size_(std::exchange(other.size_, 0)), data_(std::move(other.data_)) {}

TVector::~TVector() = default;

TVector& TVector::operator=(const TVector& other) {
  if (this == &other) return *this;
  if (size_ != other.size_) {
    data_.reset(other.size_ == 0 ? nullptr : new double[other.size_]);
    size_ = other.size_;
  }
  std::copy_n(other.data_.get(), size_, data_.get());
  return *this;
}

TVector& TVector::operator=(TVector&& other) noexcept {
  if (this == &other) return *this;
  size_ = std::exchange(other.size_, 0);
  data_ = std::move(other.data_);
  return *this;
}

double& TVector::operator[](std::size_t index) {
  if (index >= size_) ThrowIndexError();
  return data_[index];
}

void TVector::SwapElements(std::size_t i, std::size_t j) { std::swap(data_[i], data_[j]); }

TVector& TVector::operator+=(const TVector& other) {
  for (std::size_t i = 0; i < size_; ++i) data_[i] += other.data_[i];
  return *this;
}

TVector& TVector::operator-=(const TVector& other) {
  for (std::size_t i = 0; i < size_; ++i) data_[i] -= other.data_[i];
  return *this;
}

TVector& TVector::operator+=(double value) {
  for (std::size_t i = 0; i < size_; ++i) data_[i] += value;
  return *this;
}

TVector& TVector::operator-=(double value) {
  for (std::size_t i = 0; i < size_; ++i) data_[i] -= value;
  return *this;
}

TVector& TVector::operator*=(double value) {
  for (std::size_t i = 0; i < size_; ++i) data_[i] *= value;
  return *this;
}

TVector& TVector::operator/=(double value) {
  for (std::size_t i = 0; i < size_; ++i) data_[i] /= value;
  return *this;
}

double TVector::Norma() const { return std::sqrt(kernels::Dot(data_.get(), data_.get(), size_)); }

double TVector::Norma1() const {
  double largest = -1.0;
  for (std::size_t i = 0; i < size_; ++i) {
    const double magnitude = std::fabs(data_[i]);
    if (magnitude > largest) largest = magnitude;
  }
  return largest;
}

TVector& TVector::Normalize() {
  const double length = Norma();
  if (length > 0.0) *this /= length;
  return *this;
}

TVector TVector::GetNormalized() const {
  TVector result(*this);
  result.Normalize();
  return result;
}

bool TVector::IsNull() const {
  return std::all_of(data_.get(), data_.get() + size_, [](double value) { return value == 0.0; });
}

void TVector::FillWithZeroes() { FillWithValue(0.0); }

void TVector::FillWithValue(double value) { std::fill_n(data_.get(), size_, value); }

void TVector::FillFromBuffer(const double* src) { std::copy_n(src, size_, data_.get()); }

double* TVector::Put2Buffer() const {
  double* const buffer = new double[size_];
  Put2Buffer(buffer);
  return buffer;
}

std::size_t TVector::Put2Buffer(double* dst) const {
  std::copy_n(data_.get(), size_, dst);
  return size_;
}

TVector TVector::GetSubVector(std::size_t start, std::size_t count) const {
  return TVector(count, data_.get() + start);
}

void TVector::InsertSubVector(std::size_t start, const TVector& other) {
  std::copy_n(other.data_.get(), other.size_, data_.get() + start);
}

bool TVector::Clip(std::size_t n) {
  if (n == 0 || n > size_) return false;
  if (n < size_) *this = GetSubVector(0, n);
  return true;
}

std::size_t TVector::Reset(std::size_t n) {
  const std::size_t previous = size_;
  if (n != previous) *this = TVector(n);
  return previous;
}

TVector operator+(TVector a, const TVector& b) {
  a += b;
  return a;
}

TVector operator-(TVector a, const TVector& b) {
  a -= b;
  return a;
}

TVector operator+(TVector a, double value) {
  a += value;
  return a;
}

TVector operator+(double value, TVector a) { return std::move(a) + value; }

TVector operator-(TVector a, double value) {
  a -= value;
  return a;
}

TVector operator*(TVector a, double value) {
  a *= value;
  return a;
}

TVector operator*(double value, TVector a) { return std::move(a) * value; }

TVector operator/(TVector a, double value) {
  a /= value;
  return a;
}

TVector operator-(TVector a) { return std::move(a) * -1.0; }

double operator*(const TVector& a, const TVector& b) { return kernels::Dot(a.GetData(), b.GetData(), a.GetSize()); }

TVector operator^(const TVector& a, const TVector& b) {
  return TVector(a(1) * b(2) - a(2) * b(1), a(2) * b(0) - a(0) * b(2), a(0) * b(1) - a(1) * b(0));
}

TVector operator|(const TVector& a, const TVector& b) {
  TVector result(a.GetSize() + b.GetSize());
  result.InsertSubVector(0, a);
  result.InsertSubVector(a.GetSize(), b);
  return result;
}

}  // namespace SatCommonUtils
