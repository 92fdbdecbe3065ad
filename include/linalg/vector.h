#pragma once
/// \file
/// The dense vector of doubles.

#include <cstddef>
#include <memory>
#include <string>
#include <type_traits>

#include "../frame/api.h"

namespace SatCommonUtils {

class TZxXIniReader;
class TZxXIniWriter;

/// A dense vector of doubles that owns its elements.
///
/// Sums over elements (dot product, lengths) run in index order. Arithmetic does not compare sizes: the right
/// operand has at least as many elements as the left one. Distinct objects may be used from distinct threads; one
/// object is safe for concurrent reads. Memory exhaustion throws `std::bad_alloc`.
class ORBMATH_API TVector {
 public:
  /// Empty: size 0, no array.
  TVector() noexcept = default;
  /// \param n number of elements, all 0.0; no array when it is 0.
  explicit TVector(std::size_t n);
  /// The unit vector: `n` zeros with element `k` 1.0.
  /// \throws TZxMessage "@SatCommonUtils::TVector::TVector: TVector index error" when `k >= n`.
  TVector(std::size_t n, std::size_t k);
  /// The unit vector for an index of any integer type, so that a plain literal 0 is an index and no null pointer.
  template <class Index, class = std::enable_if_t<std::is_integral<Index>::value>>
  TVector(std::size_t n, Index k) : TVector(n, static_cast<std::size_t>(k)) {}
  /// \param n number of elements. \param src `n` values to copy.
  TVector(std::size_t n, const double* src);
  /// Three elements.
  TVector(double x, double y, double z);
  /// Reads the numbers of a text such as "(1;2;3)": see `GetString`. The characters ( ) ; separate tokens; a token
  /// that does not begin with a number is skipped, and what follows the number in a token is ignored.
  /// A token of 128 or more characters stops the process: use `InitializeFromXML` for text of unknown origin.
  /// \throws const char* "TVector::TVector(const char* src)" when there is no number.
  explicit TVector(const std::string& text);
  TVector(const TVector& other);
  /// The source is empty afterwards.
  TVector(TVector&& other) noexcept;
  virtual ~TVector();

  TVector& operator=(const TVector& other);
  /// The source is empty afterwards.
  TVector& operator=(TVector&& other) noexcept;

  /// Checked access. \throws std::runtime_error "double& TVector::operator[] (size_t index)" when `index` is not
  /// below the size.
  double& operator[](std::size_t index);
  /// Unchecked read.
  double operator()(std::size_t index) const { return data_[index]; }
  /// True when there is at least one element.
  explicit operator bool() const noexcept { return size_ != 0 && data_ != nullptr; }
  /// Number of elements.
  std::size_t GetSize() const noexcept { return size_; }
  /// The elements, null when there are none; valid until the size changes.
  double* GetData() noexcept { return data_.get(); }
  /// The elements to read, null when there are none; valid until the size changes.
  const double* GetData() const noexcept { return data_.get(); }
  /// Exchanges two elements, unchecked.
  void SwapElements(std::size_t i, std::size_t j);

  /// Element by element over the size of this vector.
  TVector& operator+=(const TVector& other);
  /// Subtracts element by element over the size of this vector.
  TVector& operator-=(const TVector& other);
  /// The same for every element. Division is a true division; zero is not tested for.
  TVector& operator+=(double value);
  /// Subtracts `value` from every element.
  TVector& operator-=(double value);
  /// Multiplies every element.
  TVector& operator*=(double value);
  /// Divides every element, a true division; zero is not tested for.
  TVector& operator/=(double value);

  /// Euclidean length, 0.0 for an empty vector; squares are summed in index order, without scaling.
  double Norma() const;
  /// Largest absolute element; -1.0 for an empty vector, by which callers know it. A NaN counts as absent.
  double Norma1() const;
  /// Divides every element by `Norma()` when that is greater than 0; otherwise changes nothing.
  TVector& Normalize();
  /// A copy, normalised likewise.
  TVector GetNormalized() const;
  /// True when the vector is empty or every element is 0.0 (of either sign).
  bool IsNull() const;

  /// Sets every element to 0.0.
  void FillWithZeroes();
  /// Sets every element to `value`.
  void FillWithValue(double value);
  /// \param src `GetSize()` values to copy.
  void FillFromBuffer(const double* src);
  /// A new array with a copy of the elements, owned by the caller; `ReleaseVector` frees it.
  double* Put2Buffer() const;
  /// \param dst room for `GetSize()` values. \return the size.
  std::size_t Put2Buffer(double* dst) const;
  /// A new vector of elements `start` to `start + count - 1`, unchecked.
  TVector GetSubVector(std::size_t start, std::size_t count) const;
  /// Copies all of `other` over the elements from `start` on, unchecked.
  void InsertSubVector(std::size_t start, const TVector& other);
  /// Keeps the first `n` elements. \return false, changing nothing, when `n` is 0 or greater than the size.
  bool Clip(std::size_t n);
  /// Makes `n` zeros when `n` differs from the size; otherwise changes nothing. \return the size before.
  std::size_t Reset(std::size_t n);

  /// The elements in the form "(1;2;3)", as printed by "%.20lg": reading it back restores every element bit for bit
  /// (a NaN stays a NaN). "()" for an empty vector. The process's locale plays no part.
  std::string GetString() const;
  /// The same frame for people: elements as printed by "%9.4f".
  std::string Output() const;
  /// Sends `Output()` to the debug print.
  void DebugOutput() const;
  /// Sends the title, a blank, `Output()` and "\r\n" to the debug print. A null title counts as empty.
  void DebugOutput(const char* title) const;
  /// Sends the title, a blank, `Output()` and "\r\n" to the debug print.
  void DebugOutput(const std::string& title) const;

  /// Writes `GetString()` as the value of `key`. \return the writer's result.
  bool SaveToXML(TZxXIniWriter* writer, std::string key) const;
  /// Reads the value of `key` in the form of `GetString`; the size becomes the count of numbers in it.
  /// \return false, leaving the vector as it was, when there is no such item, no number in it, or a token of 128 or
  /// more characters.
  bool InitializeFromXML(TZxXIniReader* reader, std::string key);

 private:
  std::size_t size_ = 0;
  std::unique_ptr<double[]> data_;
};

/// A copy of `a` with each element plus the matching element of `b`.
ORBMATH_API TVector operator+(TVector a, const TVector& b);
/// A copy of `a` with each element minus the matching element of `b`.
ORBMATH_API TVector operator-(TVector a, const TVector& b);
/// A copy of `a` with the scalar applied to each element.
ORBMATH_API TVector operator+(TVector a, double value);
/// A copy of `a` with `value` added to each element.
ORBMATH_API TVector operator+(double value, TVector a);
/// A copy of `a` with `value` subtracted from each element.
ORBMATH_API TVector operator-(TVector a, double value);
/// A copy of `a` with each element times `value`.
ORBMATH_API TVector operator*(TVector a, double value);
/// A copy of `a` with each element times `value`.
ORBMATH_API TVector operator*(double value, TVector a);
/// A copy of `a` with each element divided by `value`, a true division; zero is not tested for.
ORBMATH_API TVector operator/(TVector a, double value);
/// A copy of `a` with each element multiplied by -1.0.
ORBMATH_API TVector operator-(TVector a);
/// The dot product over the size of `a`, summed in index order.
ORBMATH_API double operator*(const TVector& a, const TVector& b);
/// The cross product of the first three elements of each.
ORBMATH_API TVector operator^(const TVector& a, const TVector& b);
/// Concatenation, the elements of `a` first.
ORBMATH_API TVector operator|(const TVector& a, const TVector& b);

}  // namespace SatCommonUtils
