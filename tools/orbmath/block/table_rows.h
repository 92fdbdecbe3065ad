#pragma once
/// \file
/// The rows of a large table with texts in it, block by block.

#include <functional>
#include <string>
#include <vector>

#include "points/line_block.h"
#include "points/table_layout.h"

namespace orbmath_tool {

/// Where rows come from, for messages.
struct RowPlaces {
  const std::string* file;
  const std::vector<std::size_t>* lines;  ///< the number of each row's line in the file

  std::string Of(std::size_t row) const { return *file + ":" + std::to_string((*lines)[row]); }
};

/// What is wrong with the rows of a file: the first ones are named, in the end nothing is taken of any.
class RowRefusals {
 public:
  void Add(std::string place, const std::string& reason);
  /// \throws Failure after notes about the first refused rows, when there are any. \param what a row should be.
  void Throw(const std::string& file, const std::string& what) const;

 private:
  std::vector<std::string> first_;
  std::size_t count_ = 0;
};

/// Reads a file ("-" is standard input) and hands its rows to `take` in blocks.
/// \param wanted the columns in the order in which a file without names has them; optional ones come last.
/// \param named the names of the file's columns joined by commas; empty: those of its header, or else that order.
/// \param what a row should be, for messages.
/// \throws UsageError when `named` lacks a required column. \throws Failure naming file and line, after notes about the
/// first refused rows; `take` adds to them.
void ForEachBlock(
    const std::string& file, const std::vector<TableColumn>& wanted, const std::string& named, const std::string& what,
    const std::function<void(const LineBlock& block, const RowPlaces& places, RowRefusals* refused)>& take);

}  // namespace orbmath_tool
