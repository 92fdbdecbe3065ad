#pragma once
/// \file
/// The page of checked models: a map of their footprints, a table of models, a table of findings.

#include <string>
#include <vector>

#include "models/model_list.h"
#include "rpc/model_check.h"

namespace orbmath_tool {

/// The page as HTML. \param checks one of each model; those of models that could not be read do not count.
std::string CheckPageHtml(const std::vector<ListedModel>& models,
                          const std::vector<SatCommonUtils::TModelCheck>& checks);

}  // namespace orbmath_tool
