#pragma once
/// \file
/// How the blocks of a stream of points are read: each file's layout, found from its front.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "points/line_block.h"
#include "points/line_source.h"
#include "points/table_layout.h"

namespace orbmath_tool {

/// How the lines of a file become points.
struct StreamLayout {
  bool plain = true;  ///< Numbers in their order, between blanks or commas: the fast way.
  LineLayout numbers;
  TableLayout table;
  Travellers travellers;
  std::string header_comment;  ///< What takes the place of a line of names among lines of results.
};

/// Finds the layouts of a stream's files, one after the other.
class StreamLayouts {
 public:
  /// \param input columns of the points. \param output those of the results, whose names no traveller may have; both
  /// must outlive this. \param names the option `--columns`. \throws UsageError when these lack a column.
  StreamLayouts(const std::vector<TableColumn>& input, const std::vector<OutputColumn>& output,
                const std::string& names);

  /// The layout of a block of whole lines that `source` has just given. A line of names in it is made a comment.
  /// \param line number of the block's first line. \param header becomes the place of a line of names in the block, or
  /// stays. \throws Failure when a file's names lack a column.
  std::shared_ptr<const StreamLayout> For(const LineSource& source, std::size_t line, CharBuffer* block,
                                          std::optional<std::size_t>* header);

 private:
  std::shared_ptr<const StreamLayout> Make(const LayoutFinder& finder) const;
  void StartFile(std::size_t number);

  const std::vector<TableColumn>& input_;
  const std::vector<OutputColumn>& output_;
  std::vector<std::string> names_;
  std::size_t file_ = 0;
  std::optional<LayoutFinder> finder_;
  std::shared_ptr<const StreamLayout> plain_;
  std::shared_ptr<const StreamLayout> current_;  ///< null: not known yet
};

/// Reads a block by a layout.
void ParseBlock(std::string_view text, const StreamLayout& layout, LineBlock* block);

}  // namespace orbmath_tool
