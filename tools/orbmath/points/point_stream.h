#pragma once
/// \file
/// The driver of every command that turns point lines into result lines.

#include <cstddef>
#include <string>
#include <vector>

#include "points/line_block.h"

namespace orbmath_tool {

/// What a command adds to the driver: its columns and its arithmetic.
class PointTask {
 public:
  virtual ~PointTask() = default;
  virtual const LineLayout& Layout() const = 0;
  virtual const std::vector<OutputColumn>& Columns() const = 0;
  /// Fills `block->out`, already of the right size, from `block->in`; calls `block->Fail` for points without a result.
  /// Called from several threads at once, each with a block of its own.
  virtual void Compute(LineBlock* block) const = 0;
  /// Sees each block after it has been computed, one at a time and in order: the place for counting.
  virtual void Observe(const LineBlock& block) { static_cast<void>(block); }
};

/// Where the lines come from and how the results look.
struct StreamOptions {
  std::vector<std::string> inputs;  ///< Files, "-" for standard input; none at all is standard input too.
  bool json = false;
};

/// What went through.
struct StreamResult {
  std::size_t points = 0;
  std::size_t errors = 0;  ///< Lines that became error lines.
};

/// Reads, computes and writes to standard output in blocks, in order. Blocks are computed by as many threads as the
/// library may use, one reads and one writes, and a fixed number of blocks is in the machine, so memory does not
/// depend on the length of the input. When the input pauses, everything read so far is computed and written.
/// \throws Failure when a file cannot be read or the output cannot be written, and what the task throws.
StreamResult RunPointStream(const StreamOptions& options, PointTask* task);

}  // namespace orbmath_tool
