#pragma once
// Derivatives by central differences: the only difference quotient of the tests.

namespace orbmath_test {

/// (f(x + step) - f(x - step)) / (2 step), with an error of about step² f''' / 6 plus eps |f| / step.
template <class Function>
double CentralDifference(const Function& f, double x, double step) {
  return (f(x + step) - f(x - step)) / (2.0 * step);
}

}  // namespace orbmath_test
