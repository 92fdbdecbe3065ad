// Elementary algebra of similarities. The fit is Gauss-Newton on the seven parameters themselves, without linearizing
// the rotation, so that large angles are found too.

#include "transform/seven_params.h"

#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "geometry/rotation.h"
#include "linalg/linear_systems.h"
#include "linalg/normal_equations.h"

namespace SatCommonUtils {
namespace {

/// The fields in the record's order.
constexpr TKeyedField<T7Params> kFields[] = {
    {"Alpha", &T7Params::Alpha}, {"Beta", &T7Params::Beta}, {"Gamma", &T7Params::Gamma}, {"dm", &T7Params::dm},
    {"dX", &T7Params::dX},       {"dY", &T7Params::dY},     {"dZ", &T7Params::dZ}};

/// The same fields in the order in which they are written: the scale last.
constexpr TKeyedField<T7Params> kSavedFields[] = {kFields[0], kFields[1], kFields[2], kFields[4],
                                                  kFields[5], kFields[6], kFields[3]};

constexpr std::size_t kUnknowns = 7;

/// What the fit moves: angles, scale factor m, shift.
struct TState {
  double alpha = 0.0, beta = 0.0, gamma = 0.0;
  double m = 1.0;
  TVector shift{3};
};

/// A 3 x 3 matrix for work on many points.
struct TRows {
  explicit TRows(const TMatrix& matrix) {
    for (std::size_t row = 0; row < 3; ++row) {
      for (std::size_t column = 0; column < 3; ++column) rows[row][column] = matrix(row, column);
    }
  }
  /// Element `row` of the product with a point's source.
  double Times(const T7ParamsSourceDataItem& p, std::size_t row) const {
    return rows[row][0] * p.Xfrom + rows[row][1] * p.Yfrom + rows[row][2] * p.Zfrom;
  }
  double rows[3][3];
};

/// The linearized equations of all points at a state: three rows a point, seven columns.
void SetEquations(const std::vector<T7ParamsSourceDataItem>& points, const TState& state, TMatrix* design,
                  TVector* misfit) {
  TMatrix rx(3), ry(3), rz(3), drx(3), dry(3), drz(3);
  RzyxGetRx(state.alpha, &rx);
  RzyxGetRy(state.beta, &ry);
  RzyxGetRz(state.gamma, &rz);
  RzyxGet_dRx_dalpha(state.alpha, &drx);
  RzyxGet_dRy_dbeta(state.beta, &dry);
  RzyxGet_dRz_dgamma(state.gamma, &drz);
  const TRows rotation(rz * ry * rx), by_alpha(rz * ry * drx), by_beta(rz * dry * rx), by_gamma(drz * ry * rx);

  for (std::size_t i = 0; i < points.size(); ++i) {
    const T7ParamsSourceDataItem& point = points[i];
    const double target[3] = {point.Xto, point.Yto, point.Zto};
    for (std::size_t k = 0; k < 3; ++k) {
      const double rotated = rotation.Times(point, k);
      double* row = (*design)[3 * i + k].GetData();
      row[0] = state.m * by_alpha.Times(point, k);
      row[1] = state.m * by_beta.Times(point, k);
      row[2] = state.m * by_gamma.Times(point, k);
      row[3] = rotated;
      for (std::size_t axis = 0; axis < 3; ++axis) row[4 + axis] = axis == k ? 1.0 : 0.0;
      misfit->GetData()[3 * i + k] = target[k] - (state.m * rotated + state.shift(k));
    }
  }
}

void Add(const TVector& increment, TState* state) {
  state->alpha += increment(0);
  state->beta += increment(1);
  state->gamma += increment(2);
  state->m += increment(3);
  for (std::size_t axis = 0; axis < 3; ++axis) state->shift[axis] += increment(4 + axis);
}

bool IsSmall(const TVector& increment) {
  constexpr double kLimits[kUnknowns] = {
      4.84813681109536e-08, 4.84813681109536e-08, 4.84813681109536e-08, 1e-7, 1e-4, 1e-4, 1e-4};
  for (std::size_t i = 0; i < kUnknowns; ++i) {
    if (!(std::fabs(increment(i)) < kLimits[i])) return false;
  }
  return true;
}

/// Root of the mean over the points of the squared length of their misfit, as a running mean.
double RootMeanSquare(const TVector& misfit) {
  double mean = 0.0;
  for (std::size_t i = 0; 3 * i < misfit.GetSize(); ++i) {
    const double x = misfit(3 * i), y = misfit(3 * i + 1), z = misfit(3 * i + 2);
    mean += (x * x + y * y + z * z - mean) / static_cast<double>(i + 1);
  }
  return std::sqrt(mean);
}

}  // namespace

bool Calculate7Params(const std::vector<T7ParamsSourceDataItem>& points, T7Params* out) {
  constexpr int kMostRounds = 20;
  constexpr double kSmallError = 1e-5;
  constexpr double kErrorAtRest = 1e-6;
  if (points.size() < 3) {
    *out = T7Params();
    return false;
  }
  const std::size_t equations = 3 * points.size();
  TMatrix design(kUnknowns, equations), normal;
  TVector misfit(equations), weights(equations), free_term, increment;
  weights.FillWithValue(1.0);

  TState state;
  double previous_error = std::numeric_limits<double>::max();
  for (int round = 0; round < kMostRounds; ++round) {
    SetEquations(points, state, &design, &misfit);
    if (!NormalEquationsMatrix(design, weights, &normal) ||
        !NormalEquationsFreeTerm(design, weights, misfit, &free_term) || !Cholesky(normal, free_term, increment)) {
      return false;
    }
    Add(increment, &state);
    // The misfit is that before the step: of a step this small it differs by less than the limits below.
    if (!IsSmall(increment)) continue;
    const double error = RootMeanSquare(misfit);
    if (error < kSmallError || std::fabs(previous_error - error) < kErrorAtRest) break;
    previous_error = error;
  }
  // The limit of the contract, on m and not on 1 + dm: a negative scale factor passes, which no similarity has.
  if (!(state.m > -1.0)) return false;
  *out = {state.alpha, state.beta, state.gamma, state.m - 1.0, state.shift(0), state.shift(1), state.shift(2)};
  return true;
}

void Combine7Params(const T7Params& first, const T7Params& second, T7Params* out) {
  TMatrix r1(3), r2(3);
  RzyxGetR(first.Alpha, first.Beta, first.Gamma, &r1);
  RzyxGetR(second.Alpha, second.Beta, second.Gamma, &r2);
  const double m1 = 1.0 + first.dm;
  const double m2 = 1.0 + second.dm;
  const TVector shift = (r2 * TVector(first.dX, first.dY, first.dZ)) * m2 + TVector(second.dX, second.dY, second.dZ);
  T7Params result;
  RzyxGetAlphaBetaGamma(r2 * r1, &result.Alpha, &result.Beta, &result.Gamma);
  result.dm = m2 * m1 - 1.0;
  result.dX = shift(0);
  result.dY = shift(1);
  result.dZ = shift(2);
  *out = result;
}

void Combine7ParamsLinearized(const T7Params& first, const T7Params& second, T7Params* out) {
  const T7Params& a = first;
  const T7Params& b = second;
  T7Params result;
  result.Alpha = a.Alpha + b.Alpha;
  result.Beta = a.Beta + b.Beta;
  result.Gamma = a.Gamma + b.Gamma;
  result.dm = b.dm * a.dm + (b.dm + a.dm);
  result.dX = a.dX + b.dX + a.dX * b.dm + a.dY * b.Gamma - b.Beta * a.dZ;
  result.dY = a.dY + b.dY + a.dY * b.dm - a.dX * b.Gamma + a.dZ * b.Alpha;
  result.dZ = a.dZ + b.dZ + a.dZ * b.dm + a.dX * b.Beta - a.dZ * b.Alpha;
  *out = result;
}

void InvertParams(const T7Params& src, T7Params* out) {
  TMatrix rotation(3);
  RzyxGetR(src.Alpha, src.Beta, src.Gamma, &rotation);
  const TMatrix inverse = !rotation;
  const double m = 1.0 + src.dm;
  const TVector shift = (inverse * TVector(src.dX, src.dY, src.dZ)) * (-1.0 / m);
  T7Params result;
  RzyxGetAlphaBetaGamma(inverse, &result.Alpha, &result.Beta, &result.Gamma);
  result.dm = 1.0 / m - 1.0;
  result.dX = shift(0);
  result.dY = shift(1);
  result.dZ = shift(2);
  *out = result;
}

void InvertParamsLinearized(const T7Params& /*src*/, T7Params* /*out*/) { throw std::runtime_error("Not imlemented"); }

bool InitializeFromXML(TZxXIniReader* src, T7Params* out) { return LoadFields(src, kFields, out); }

bool InitializeFromXML(TZxXIniReader* src, std::string key, T7Params* out) {
  return ReadSection(src, key, [&] { return InitializeFromXML(src, out); });
}

bool SaveToXML(const T7Params& params, TZxXIniWriter* dst) { return SaveFields(dst, kSavedFields, params); }

bool SaveToXML(const T7Params& params, TZxXIniWriter* dst, std::string key) {
  return WriteSection(dst, key, [&] { return SaveToXML(params, dst); });
}

}  // namespace SatCommonUtils
