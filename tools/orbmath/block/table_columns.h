#pragma once
/// \file
/// Columns of the tables of a block.

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "points/table_layout.h"

namespace orbmath_tool {

/// A column of texts.
inline TableColumn TextColumn(const char* name, std::vector<std::string> others, bool required) {
  TableColumn column{name, std::move(others), required};
  column.is_text = true;
  return column;
}

/// A number that a row need not have.
inline TableColumn OpenColumn(TableColumn column, bool required) {
  column.required = required;
  column.fallback = std::numeric_limits<double>::quiet_NaN();
  column.may_be_missing = true;
  return column;
}

}  // namespace orbmath_tool
