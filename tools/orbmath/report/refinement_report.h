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

/// Every point with its residuals, and the bad ones by name. \param json whether the points come for programs; only one
/// of the two forms is made, since either of many points is large.
void AddPoints(const PointTable& table, const std::vector<SatCommonUtils::TRefinementResidual>& points, bool json,
               Report* report);

/// Points that the fit has not seen, by the refined model: each with its residuals, and their root mean squares and
/// CE90 in pixels and in metres on the ground, at the points' heights. \param tables of any number; without a point
/// nothing is added.
void AddCheck(const SatCommonUtils::TRPC& refined, const std::vector<ControlTable>& tables, Report* report);

}  // namespace orbmath_tool
