// The sparse vector: a map from indices to what has been written; elementary.

#include "linalg/sparse_vector.h"

#include <stdexcept>
#include <utility>

#include "linalg/number_list.h"
#include "linalg/vector.h"

namespace SatCommonUtils {

namespace {

void CheckIndex(std::size_t index, std::size_t size) {
  if (index >= size) throw std::runtime_error("double& TSparseVector::operator[](size_t index)");
}

// Whether `length` elements from `first` on lie within `size`.
bool Fits(std::size_t first, std::size_t length, std::size_t size) { return length <= size && first <= size - length; }

}  // namespace

template <class Change>
TSparseVector& TSparseVector::ForStored(Change change) {
  for (auto& element : elements_) change(element.second);
  return *this;
}

TSparseVector::TSparseVector(std::size_t size) : size_(size) {}

TSparseVector::TSparseVector(std::size_t size, std::size_t pos) : size_(size) {
  if (pos >= size) throw std::runtime_error("TSparseVector::TSparseVector(size_t size, size_t pos)");
  elements_[pos] = 1.0;
}

TSparseVector::TSparseVector(std::size_t size, const double* src) : size_(size) {
  for (std::size_t i = 0; i < size; ++i) {
    if (src[i] != 0.0) elements_.emplace_hint(elements_.end(), i, src[i]);
  }
}

TSparseVector::TSparseVector(const std::string& text) : size_(ReadNumberList(text.c_str(), kVectorDelimiters)) {
  TVector values(size_);
  ReadNumberList(text.c_str(), kVectorDelimiters, values.GetData(), size_);
  *this = TSparseVector(size_, values.GetData());
}

TSparseVector::TSparseVector(TSparseVector&& other) noexcept { *this = std::move(other); }

TSparseVector& TSparseVector::operator=(TSparseVector&& other) noexcept {
  if (this == &other) return *this;
  elements_.clear();
  elements_.swap(other.elements_);
  size_ = std::exchange(other.size_, 0);
  return *this;
}

double& TSparseVector::operator[](std::size_t index) {
  CheckIndex(index, size_);
  return elements_[index];
}

double TSparseVector::operator()(std::size_t index) const {
  CheckIndex(index, size_);
  const auto element = elements_.find(index);
  return element == elements_.end() ? 0.0 : element->second;
}

TSparseVector TSparseVector::operator-() const {
  TSparseVector result(*this);
  result.ForStored([](double& element) { element = -element; });
  return result;
}

TSparseVector& TSparseVector::operator+=(double value) {
  return ForStored([value](double& element) { element += value; });
}

TSparseVector& TSparseVector::operator-=(double value) {
  return ForStored([value](double& element) { element -= value; });
}

TSparseVector& TSparseVector::operator*=(double value) {
  return ForStored([value](double& element) { element *= value; });
}

TSparseVector& TSparseVector::operator/=(double value) {
  return ForStored([value](double& element) { element /= value; });
}

void TSparseVector::Compress() {
  for (auto element = elements_.begin(); element != elements_.end();) {
    element = element->second == 0.0 ? elements_.erase(element) : std::next(element);
  }
}

void TSparseVector::Reset(std::size_t size) {
  size_ = size;
  elements_.clear();
}

void TSparseVector::Resize(std::size_t size) {
  elements_.erase(elements_.lower_bound(size), elements_.end());
  size_ = size;
}

TSparseVector TSparseVector::GetSubVector(std::size_t first_pos, std::size_t length) const {
  if (length == 0) return TSparseVector();
  if (!Fits(first_pos, length, size_)) {
    throw std::runtime_error("TSparseVector TSparseVector::GetSubVector(size_t first_pos, size_t length) const");
  }
  TSparseVector result(length);
  const auto end = elements_.lower_bound(first_pos + length);
  for (auto element = elements_.lower_bound(first_pos); element != end; ++element) {
    result.elements_.emplace_hint(result.elements_.end(), element->first - first_pos, element->second);
  }
  return result;
}

void TSparseVector::InsertSubVector(std::size_t pos, const TSparseVector& other) {
  if (!Fits(pos, other.size_, size_)) {
    throw std::runtime_error("void TSparseVector::InsertSubVector(size_t pos, const TSparseVector& v)");
  }
  if (this == &other) return;  // it fits into itself at 0 only
  const auto next = elements_.lower_bound(pos + other.size_);
  elements_.erase(elements_.lower_bound(pos), next);
  for (const auto& element : other.elements_) elements_.emplace_hint(next, pos + element.first, element.second);
}

}  // namespace SatCommonUtils
