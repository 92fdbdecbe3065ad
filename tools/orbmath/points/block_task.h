#pragma once
/// \file
/// The driver of commands whose results come from a whole table instead of line by line.

#include <cstddef>
#include <string>

#include "points/point_stream.h"

namespace orbmath_tool {

/// Results by their numbers, each with a name that travels to the output.
class BlockTask : public ResultTask {
 public:
  virtual std::size_t Count() const = 0;
  /// What the names are called.
  virtual std::string Name() const = 0;
  /// Fills `block->out` and `block->texts[0]` (the names), already of the right sizes, for the results from number
  /// `first` on; calls `block->Fail` for those that are none. Called from several threads at once, each with a block of
  /// its own.
  virtual void Compute(std::size_t first, LineBlock* block) const = 0;
};

/// Computes blocks on as many threads as the library may use and writes them in order. \throws Failure
StreamResult RunBlocks(const StreamOptions& options, BlockTask* task);

}  // namespace orbmath_tool
