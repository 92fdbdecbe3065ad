// The terms of one point, for callers outside the kernels. Elementary.

#include "rpc/rpc_terms.h"

#include "rpc/polynomial_kernel.h"

namespace SatCommonUtils {

void FormRPCTerms(const TNormalizedGroundPoint& point, double* terms) noexcept {
  rpc::FormTerms(point.lat, point.lon, point.h, terms);
}

double SumRPCTerms(const double* coefficients, const double* terms) noexcept {
  double value;
  rpc::PolynomialValue(coefficients, terms, value);
  return value;
}

}  // namespace SatCommonUtils
