// Covariances of refinements. Propagation to first order: textbook, e.g. E. Mikhail, "Observations and least squares"
// (1976), chapter 4.

#include "refine/refinement_covariance.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <string>
#include <utility>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/message.h"
#include "refine/refinement_kinds.h"

namespace SatCommonUtils {

namespace {

constexpr const char* kTypeKey = "RPCRefinementType";
constexpr const char* kSigmaKey = "Sigma";
constexpr const char* kRedundancyKey = "Redundancy";
constexpr const char* kValuesSection = "Covariance";

/// Parameters of a record of a kind, 0 for none and for no kind.
std::size_t CountOf(TRPCRefinementTransformType type) {
  const auto record = CreateRefinementDataN(type);
  return record ? record->GetParametersNames().size() : 0;
}

/// The covariance in the current section. \throws TZxMessage when a key is missing or no number.
TRefinementCovariance ReadFrom(TZxXIniReader* src) {
  TRefinementCovariance read;
  read.type = static_cast<TRPCRefinementTransformType>(src->ReadE<int>(src->FindFE(kTypeKey, 0)));
  read.sigma = src->ReadE<double>(src->FindFE(kSigmaKey, 0));
  read.redundancy = static_cast<std::size_t>(src->ReadE<unsigned long long>(src->FindFE(kRedundancyKey, 0)));
  const std::size_t count = CountOf(read.type);
  read.values.resize(count * count);
  const bool good = ReadSection(src, kValuesSection, [&] {
    std::size_t key = 0;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t j = i; j < count; ++j) {
        const double value = src->ReadE<double>(src->FindFE(std::to_string(key++), 0));
        read.values[i * count + j] = read.values[j * count + i] = value;
      }
    }
    return true;
  });
  if (!good) throw TZxMessage("TRefinementCovariance: no section of values");
  return read;
}

}  // namespace

bool TRefinementCovariance::IsValid() const {
  const std::size_t count = CountOf(type);
  if (count == 0 || values.size() != count * count || !(sigma >= 0.0) || !std::isfinite(sigma)) return false;
  for (std::size_t i = 0; i < count; ++i) {
    if (!(values[i * count + i] >= 0.0)) return false;
    for (std::size_t j = 0; j < count; ++j) {
      if (!std::isfinite(values[i * count + j]) || values[i * count + j] != values[j * count + i]) return false;
    }
  }
  return true;
}

bool TRefinementCovariance::InitializeFromXML(TZxXIniReader* src) {
  *this = TRefinementCovariance();
  if (src == nullptr) return false;
  try {
    TRefinementCovariance read = ReadFrom(src);
    if (!read.IsValid()) return false;
    *this = std::move(read);
    return true;
  } catch (const TZxMessage&) {
    return false;
  }
}

bool TRefinementCovariance::SaveToXML(TZxXIniWriter* dst) const {
  if (dst == nullptr || !IsValid()) return false;
  const std::size_t count = CountOf(type);
  return dst->WriteS<int>(kTypeKey, static_cast<int>(type)) && dst->WriteS<double>(kSigmaKey, sigma) &&
         dst->WriteS<unsigned long long>(kRedundancyKey, redundancy) && WriteSection(dst, kValuesSection, [&] {
           std::size_t key = 0;
           for (std::size_t i = 0; i < count; ++i) {
             for (std::size_t j = i; j < count; ++j) {
               if (!dst->WriteS<double>(std::to_string(key++), values[i * count + j])) return false;
             }
           }
           return true;
         });
}

TRefinementPropagation::TRefinementPropagation(const TRPCRefinementDataBase& refinement,
                                               const TRefinementCovariance& covariance)
    : matrix_{}, parameters_{}, covariance_(covariance.values) {
  const TRefinementKind* const kind = FindRefinementKind(refinement.type);
  if (kind == nullptr || covariance.type != refinement.type || !covariance.IsValid()) {
    std::fill(std::begin(matrix_), std::end(matrix_), std::numeric_limits<double>::quiet_NaN());
    return;
  }
  // The record's own matrix, whatever it is a multiple of: the covariance is that of its elements.
  const auto* const projective = dynamic_cast<const TRPCRefinementDataProjective*>(&refinement);
  const matr3x3 matrix = projective != nullptr ? projective->matr : kind->matrixOf(refinement);
  for (std::size_t i = 0; i < 9; ++i) matrix_[i] = matrix[i / 3][i % 3];
  count_ = CountOf(refinement.type);
  for (std::size_t i = 0; i < count_; ++i) parameters_[i] = count_ == 9 ? i : kind->parameters[i];
}

TImageCovariance TRefinementPropagation::At(double line, double sample) const noexcept {
  const double x[3] = {line, sample, 1.0};
  const auto row = [&](std::size_t i) {
    return matrix_[3 * i] * x[0] + matrix_[3 * i + 1] * x[1] + matrix_[3 * i + 2] * x[2];
  };
  const double w = row(2);
  const double refined[2] = {row(0) / w, row(1) / w};
  // Derivatives of both refined coordinates by the parameters.
  double design[2][9];
  for (std::size_t k = 0; k < count_; ++k) {
    const std::size_t i = parameters_[k] / 3;
    const double by = x[parameters_[k] % 3] / w;
    for (std::size_t axis = 0; axis < 2; ++axis) {
      design[axis][k] = i == 2 ? -refined[axis] * by : (i == axis ? by : 0.0);
    }
  }
  const auto form = [&](std::size_t a, std::size_t b) {
    double sum = 0.0 * w;  // NaN where there is no refinement
    for (std::size_t i = 0; i < count_; ++i) {
      double inner = 0.0;
      for (std::size_t j = 0; j < count_; ++j) inner += covariance_[i * count_ + j] * design[b][j];
      sum += design[a][i] * inner;
    }
    return sum;
  };
  return {form(0, 0), form(0, 1), form(1, 1)};
}

}  // namespace SatCommonUtils
