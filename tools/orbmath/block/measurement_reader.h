#pragma once
/// \file
/// Reads measurements of whatever form.

#include <string>
#include <vector>

#include "block/block_data.h"
#include "block/foreign_ties.h"

namespace orbmath_tool {

/// Fills `BlockData` from files. Neither images nor data are owned.
class MeasurementReader {
 public:
  /// \param columns names of a table's columns joined by commas; empty: those of its header, or else the usual order.
  /// \param shift what coordinates have more than those of the models, pixels; COLMAP's have their own.
  MeasurementReader(BlockImages* images, BlockData* data, std::string columns, double shift)
      : images_(images), data_(data), columns_(std::move(columns)), shift_(shift), pairs_(images, data) {}

  /// Takes a table 'point image line sample [sigma]', the text form of COLMAP's images, or a folder of tie points as
  /// MicMac writes them. \throws Failure, UsageError
  void Read(const std::string& path);
  /// Takes a file of lines 'sample1 line1 sample2 line2'. \param given "IMAGE,IMAGE=FILE". \throws Failure, UsageError
  void ReadPair(const std::string& given);
  /// Joins what came in pairs; comes last.
  void Finish() { pairs_.Finish(shift_); }

 private:
  void ReadTable(const std::string& path);

  BlockImages* images_;
  BlockData* data_;
  const std::string columns_;
  const double shift_;
  PairJoiner pairs_;
};

}  // namespace orbmath_tool
