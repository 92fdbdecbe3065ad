#pragma once
// One row of a table, whatever it was written as, on its way into a block.

#include <string_view>
#include <vector>

#include "points/line_block.h"
#include "points/table_layout.h"

namespace orbmath_tool {

/// The values of a row in the places that a layout gives them.
struct ParsedRow {
  std::vector<double> values;           ///< as `TableLayout::numbers`
  std::vector<std::string_view> texts;  ///< as `TableLayout::texts`
  bool filled = false;                  ///< a fallback stood in

  /// Adds the row to the columns of a block.
  void AppendTo(const TableLayout& layout, LineBlock* block) const {
    for (std::size_t i = 0; i < values.size(); ++i) {
      if (layout.texts[i].empty()) block->in[i].push_back(values[i]);
    }
    for (std::size_t i = 0; i < texts.size(); ++i) {
      if (!layout.texts[i].empty()) block->texts[i].push_back(texts[i]);
    }
    block->filled += filled ? 1 : 0;
  }
};

}  // namespace orbmath_tool
