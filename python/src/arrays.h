#pragma once
// Arrays at the border between Python and the library: what a caller passes becomes contiguous doubles of one
// broadcast shape, without a copy where it is that already.

#include <nanobind/nanobind.h>
#include <nanobind/ndarray.h>

#include <array>
#include <cstddef>
#include <string>

namespace orbmath_python {

namespace nb = nanobind;

/// Contiguous doubles that numpy holds.
using TInput = nb::ndarray<const double, nb::c_contig, nb::device::cpu>;
using TOutput = nb::ndarray<double, nb::c_contig, nb::device::cpu>;

/// True for a Python float or int (numpy's double is a float): the way of single points, which makes no array.
bool IsNumber(nb::handle value);
/// \throws nb::python_error when it does not fit a double.
double AsNumber(nb::handle value);

/// A new array of doubles; its object for Python and its numbers for the library.
struct TNewArray {
  nb::object object;
  double* data = nullptr;
};
TNewArray NewArray(const nb::object& shape);
nb::object NewObject(const nb::object& shape, const char* type);
/// The same of another numpy type, "int8" or "bool", say, whose elements are as wide as `T`.
template <class T>
T* NewArrayOf(const nb::object& shape, const char* type, nb::object* object) {
  *object = NewObject(shape, type);
  return nb::cast<nb::ndarray<T, nb::c_contig, nb::device::cpu>>(*object).data();
}

/// An array of zero dimensions becomes a plain number, any other stays.
nb::object ScalarOrArray(const nb::object& array);

/// Brings arguments to one shape by numpy's rules. Holds what it refers to.
class TBroadcast {
 public:
  /// \throws nb::python_error when shapes do not fit or something is no number.
  explicit TBroadcast(std::initializer_list<nb::handle> arguments);

  std::size_t size() const { return size_; }
  const double* operator[](std::size_t argument) const { return arrays_[argument].data(); }
  /// A tuple of ints.
  const nb::object& shape() const { return shape_; }

 private:
  static constexpr std::size_t kMost = 8;

  bool TakeAsTheyAre(std::initializer_list<nb::handle> arguments);
  void Convert(std::initializer_list<nb::handle> arguments);

  std::array<TInput, kMost> arrays_;
  nb::object shape_;
  std::size_t size_ = 0;
};

}  // namespace orbmath_python
