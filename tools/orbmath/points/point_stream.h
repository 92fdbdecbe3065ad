#pragma once
/// \file
/// The driver of every command that turns point lines into result lines.

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "points/line_block.h"
#include "points/table_layout.h"

namespace orbmath_tool {

/// What a command's results look like.
class ResultTask {
 public:
  virtual ~ResultTask() = default;
  virtual const std::vector<OutputColumn>& Columns() const = 0;
  /// Where ground points stand, or nothing when there are none.
  virtual std::optional<GroundPlace> Place() const { return std::nullopt; }
  /// Sees each block after it has been computed, one at a time and in order: the place for counting.
  virtual void Observe(const LineBlock& block) { static_cast<void>(block); }
};

/// What a command adds to the driver: its columns and its arithmetic.
class PointTask : public ResultTask {
 public:
  /// The numbers of a point, in the order in which they stand in files without names; those with a fallback come last.
  virtual const std::vector<TableColumn>& Input() const = 0;
  /// Fills `block->out`, already of the right size, from `block->in`; calls `block->Fail` for points without a result.
  /// Called from several threads at once, each with a block of its own.
  virtual void Compute(LineBlock* block) const = 0;
};

/// Where the lines come from and how the results look.
struct StreamOptions {
  enum class Form { Lines, Csv, Json, GeoJson };

  std::vector<std::string> inputs;  ///< Files, "-" for standard input; none at all is standard input too.
  std::vector<std::string> points;  ///< Points of the command line, which take the place of files.
  std::string columns;              ///< Names of the files' columns; empty: as the files say.
  Form form = Form::Lines;
  std::string output = "-";  ///< The file of the results, "-" for standard output.
};

/// What went through.
struct StreamResult {
  std::size_t points = 0;
  std::size_t errors = 0;  ///< Lines that became error lines.
};

/// Reads, computes and writes the results in blocks, in order. Blocks are computed by as many threads as the
/// library may use, one reads and one writes, and a fixed number of blocks is in the machine, so memory does not
/// depend on the length of the input. When the input pauses, everything read so far is computed and written.
/// \throws Failure when a file cannot be read or the output cannot be written, and what the task throws.
StreamResult RunPointStream(const StreamOptions& options, PointTask* task);

}  // namespace orbmath_tool
