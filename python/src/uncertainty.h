#pragma once
// Uncertainties of ground points as arrays.

#include <optional>
#include <vector>

#include "accuracy/ground_uncertainty.h"
#include "model.h"

namespace orbmath_python {

/// The errors of a model's image: those given, or else of its refinement, or of its file.
/// \throws std::invalid_argument for what is no standard deviation.
SatCommonUtils::TImageErrors ErrorsOf(const TModel& model, std::optional<double> sigma, std::optional<double> bias,
                                      std::optional<double> random);

/// Covariances (..., 3, 3) of all errors and of the shared ones, CE90, CE95, LE90 and states. \param shape a tuple.
nb::object UncertaintyArrays(const nb::object& shape,
                             const std::vector<SatCommonUtils::TGroundUncertainty>& uncertainties);

}  // namespace orbmath_python
