#pragma once
// Arrays in NumPy's file form, written rectangle by rectangle.

#include <mutex>
#include <string>
#include <vector>

#include "map_output.h"

namespace SatCommonUtils {

/// An array of doubles of shape (bands, rows, columns) that comes whole or not at all. Threads may write at once.
class NpyOutput {
 public:
  NpyOutput() = default;
  NpyOutput(const NpyOutput&) = delete;
  NpyOutput& operator=(const NpyOutput&) = delete;
  ~NpyOutput();

  bool Create(const std::string& path, int bands, int rows, int columns, std::string* error);
  /// \param values bands one behind the other.
  bool Put(const PixelRect& rect, const std::vector<double>& values, std::string* error);
  bool Finish(std::string* error);

 private:
  GrowingFolder folder_;
  std::string path_;
  std::string name_;
  int file_ = -1;
  int bands_ = 0;
  int rows_ = 0;
  int columns_ = 0;
  std::size_t header_ = 0;
};

}  // namespace SatCommonUtils
