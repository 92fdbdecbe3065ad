// Arrays at the border between Python and the library.

#include "arrays.h"

#include <limits>
#include <stdexcept>

namespace orbmath_python {

namespace {

// Looked up once and kept to the end of the process: a look-up costs as much as a hundred points.
struct TNumpy {
  nb::handle asarray, broadcastArrays, empty, require, array, maskedArray;
};

const TNumpy& Numpy() {
  static const TNumpy numpy = [] {
    const nb::module_ module = nb::module_::import_("numpy");
    const auto keep = [&module](const char* name) { return nb::object(module.attr(name)).release(); };
    return TNumpy{keep("asarray"), keep("broadcast_arrays"),
                  keep("empty"),   keep("require"),
                  keep("ndarray"), nb::object(module.attr("ma").attr("MaskedArray")).release()};
  }();
  return numpy;
}

bool SameShape(const TInput& a, const TInput& b) {
  if (a.ndim() != b.ndim()) return false;
  for (std::size_t i = 0; i < a.ndim(); ++i) {
    if (a.shape(i) != b.shape(i)) return false;
  }
  return true;
}

/// True for an array of numpy's own class: the classes derived from it, masked arrays for one, say more than the
/// numbers that they hold.
bool IsPlainArray(nb::handle value) { return value.type().is(Numpy().array); }

/// An array of doubles; what a masked array masks is NaN.
nb::object Doubles(nb::handle value) {
  if (!nb::isinstance(value, Numpy().maskedArray)) return Numpy().asarray(value, "float64");
  return value.attr("astype")("float64").attr("filled")(std::numeric_limits<double>::quiet_NaN());
}

}  // namespace

bool IsNumber(nb::handle value) { return PyFloat_Check(value.ptr()) || PyLong_Check(value.ptr()); }

double AsNumber(nb::handle value) {
  const double number = PyFloat_AsDouble(value.ptr());
  if (number == -1.0 && PyErr_Occurred() != nullptr) throw nb::python_error();
  return number;
}

TNewArray NewArray(const nb::object& shape) {
  TNewArray array;
  array.object = Numpy().empty(shape);
  array.data = nb::cast<TOutput>(array.object).data();
  return array;
}

nb::object NewObject(const nb::object& shape, const char* type) { return Numpy().empty(shape, type); }

nb::object ScalarOrArray(const nb::object& array) {
  return nb::cast<std::size_t>(array.attr("ndim")) == 0 ? array.attr("item")() : array;
}

TBroadcast::TBroadcast(std::initializer_list<nb::handle> arguments) {
  if (arguments.size() > kMost) throw std::logic_error("too many arrays to bring together");
  if (!TakeAsTheyAre(arguments)) Convert(arguments);
  size_ = arrays_[0].size();
}

bool TBroadcast::TakeAsTheyAre(std::initializer_list<nb::handle> arguments) {
  std::size_t i = 0;
  for (const nb::handle argument : arguments) {
    if (!IsPlainArray(argument) || !nb::try_cast(argument, arrays_[i], false)) return false;
    if (i > 0 && !SameShape(arrays_[0], arrays_[i])) return false;
    ++i;
  }
  shape_ = nb::borrow(*arguments.begin()).attr("shape");
  return true;
}

void TBroadcast::Convert(std::initializer_list<nb::handle> arguments) {
  nb::list arrays;
  for (const nb::handle argument : arguments) arrays.append(Doubles(argument));
  const nb::object together = Numpy().broadcastArrays(*arrays);
  shape_ = nb::object(together[0]).attr("shape");
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    // `ascontiguousarray` would make one dimension of none, `require` keeps them.
    arrays_[i] = nb::cast<TInput>(Numpy().require(together[i], "float64", "C"));
  }
}

}  // namespace orbmath_python
