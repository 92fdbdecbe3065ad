#pragma once
/// \file
/// What a refinement is worth: its parameters, why it is of its kind, its points, and points that were not in its fit.

#include <string>
#include <vector>

#include "points/control_table.h"
#include "points/point_table.h"
#include "refine/refinement_fit.h"
#include "report/report.h"
#include "rpc/rpc_model.h"

namespace orbmath_tool {

/// The parameters with their standard deviations and correlations.
void AddParameters(const SatCommonUtils::TRefinementFit& fit, Report* report);

/// How the kinds fared among which one was chosen; nothing where none was.
void AddKinds(const SatCommonUtils::TRefinementFit& fit, Report* report);

/// Every point with its residuals, and the bad ones by name. The texts of the points are made while the report is
/// printed: `table` and `points` must live until then.
void AddPoints(const PointTable& table, const std::vector<SatCommonUtils::TRefinementResidual>& points, Report* report);

/// Points that the fit has not seen, by the refined model: each with its residuals, and their root mean squares and
/// CE90 in pixels and in metres on the ground, at the points' heights. \param tables of any number; without a point
/// nothing is added.
void AddCheck(const SatCommonUtils::TRPC& refined, const std::vector<ControlTable>& tables, Report* report);

}  // namespace orbmath_tool
