#pragma once
/// \file
/// A vector of doubles that keeps only some of its elements.

#include <cstddef>
#include <map>
#include <string>
#include <type_traits>

#include "../frame/api.h"

namespace SatCommonUtils {

/// A vector with a logical size in which only the stored elements take memory; all others read as 0.0.
///
/// A stored element may be 0.0: writing through `operator[]` makes one; `Compress` removes it. Arithmetic with a scalar
/// concerns the stored elements only. Distinct objects may be used from distinct threads; one object is safe for
/// concurrent calls of const operations.
class ORBMATH_API TSparseVector {
 public:
  /// Size 0, nothing stored.
  TSparseVector() = default;
  /// \param size logical size; nothing is stored.
  explicit TSparseVector(std::size_t size);
  /// The unit vector: element `pos` stored as 1.0.
  /// \throws std::runtime_error "TSparseVector::TSparseVector(size_t size, size_t pos)" when `pos >= size`.
  TSparseVector(std::size_t size, std::size_t pos);
  /// The unit vector for an index of any integer type, so that a plain literal 0 is an index and no null pointer.
  template <class Index, class = std::enable_if_t<std::is_integral<Index>::value>>
  TSparseVector(std::size_t size, Index pos) : TSparseVector(size, static_cast<std::size_t>(pos)) {}
  /// Stores the values that are not 0.0. \param src `size` values.
  TSparseVector(std::size_t size, const double* src);
  /// Reads the numbers of a text such as "(1;0;3)" as `TVector` does; size is their count, and those that are not 0.0
  /// are stored. A text without a number gives size 0. A token of 128 or more characters stops the process.
  explicit TSparseVector(const std::string& text);
  TSparseVector(const TSparseVector& other) = default;
  /// The source is empty, of size 0, afterwards.
  TSparseVector(TSparseVector&& other) noexcept;
  ~TSparseVector() = default;

  TSparseVector& operator=(const TSparseVector& other) = default;
  /// The source is empty, of size 0, afterwards.
  TSparseVector& operator=(TSparseVector&& other) noexcept;

  /// The element for writing; one that is not stored is stored as 0.0 first.
  /// \throws std::runtime_error "double& TSparseVector::operator[](size_t index)" when `index` is not below the size.
  double& operator[](std::size_t index);
  /// The element, 0.0 when it is not stored; stores nothing. \throws std::runtime_error as `operator[]`, the same text.
  double operator()(std::size_t index) const;
  /// True when the size is not 0.
  explicit operator bool() const noexcept { return size_ != 0; }
  /// Logical size.
  std::size_t GetSize() const noexcept { return size_; }
  /// The stored elements by index.
  const std::map<std::size_t, double>& GetElements() const noexcept { return elements_; }

  /// A copy with every stored element negated.
  TSparseVector operator-() const;
  /// Changes the stored elements only: zeros that are not stored stay zero.
  TSparseVector& operator+=(double value);
  /// Subtracts `value` from every stored element.
  TSparseVector& operator-=(double value);
  /// Multiplies every stored element.
  TSparseVector& operator*=(double value);
  /// Divides every stored element, a true division; zero is not tested for.
  TSparseVector& operator/=(double value);

  /// Removes the stored elements that are 0.0.
  void Compress();
  /// Sets the size and removes all stored elements.
  void Reset(std::size_t size);
  /// Sets the size and removes the stored elements outside it.
  void Resize(std::size_t size);
  /// The elements `first_pos` to `first_pos + length - 1`. \throws std::runtime_error "TSparseVector
  /// TSparseVector::GetSubVector(size_t first_pos, size_t length) const" when the last of them is outside.
  TSparseVector GetSubVector(std::size_t first_pos, std::size_t length) const;
  /// Replaces the elements from `pos` on by those of `other`, zeros included.
  /// \throws std::runtime_error "void TSparseVector::InsertSubVector(size_t pos, const TSparseVector& v)", changing
  /// nothing, when they do not fit.
  void InsertSubVector(std::size_t pos, const TSparseVector& other);

 private:
  template <class Change>
  TSparseVector& ForStored(Change change);

  std::size_t size_ = 0;
  std::map<std::size_t, double> elements_;
};

}  // namespace SatCommonUtils
