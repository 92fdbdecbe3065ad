#pragma once
/// \file
/// The results of a stream on their way out: form, header, file.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "points/line_block.h"
#include "points/point_stream.h"
#include "report/output_file.h"

namespace orbmath_tool {

/// Prints blocks of results, and writes them with what stands before and behind all of them.
class ResultWriter {
 public:
  /// \throws UsageError when the form needs ground points and the task has none. \throws Failure when the file cannot
  /// be written.
  ResultWriter(const StreamOptions& options, const ResultTask& task);

  /// Prints a block; from any thread. \return how many of its lines are errors.
  std::size_t Print(const LineBlock& block, const Travellers& travellers, CharBuffer* out) const;
  /// Writes what a block has printed. \throws Failure when blocks of CSV do not have the same columns.
  void Write(std::string_view printed, const Travellers& travellers);
  /// Ends the output; without it a file stays as it was.
  void Finish();

 private:
  void Put(std::string_view text);

  const StreamOptions& options_;
  const ResultTask& task_;
  const std::optional<GroundPlace> place_;
  std::optional<OutputFile> file_;                 ///< none: standard output, block by block
  std::optional<std::vector<std::string>> names_;  ///< of the texts that travel, once the header has been written
  bool has_feature_ = false;
};

}  // namespace orbmath_tool
