#pragma once
/// \file
/// The options that commands on points share.

#include <optional>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "points/point_stream.h"

namespace orbmath_tool {

/// Digits after the point when `--precision` does not say otherwise.
constexpr int kPixelDigits = 6;
constexpr int kDegreeDigits = 10;
constexpr int kMetreDigits = 4;

/// Where the points' line and sample count from.
class PixelOrigin {
 public:
  void Declare(CommandLine& line);
  /// What a coordinate in the points has more than one of the model, pixels.
  double Shift() const;

 private:
  int choice_ = 0;
};

/// Points in, results out: files, digits, form.
class PointOptions {
 public:
  /// Declares `--precision`, `--json` and `--threads`.
  void DeclareOutput(CommandLine& line);
  /// Declares the files of points as the last arguments.
  void DeclareFiles(CommandLine& line);
  /// Declares the files of points as the option `--points`, for a command whose arguments are all models.
  void DeclareFilesOption(CommandLine& line);

  /// Digits after the point of a column whose usual count is `usual`.
  int Digits(int usual) const { return precision_.value_or(usual); }

  /// Streams the points through `task`, and says on standard error how many lines failed. \return the exit status.
  int Run(PointTask* task) const;

 private:
  StreamOptions stream_;
  std::optional<int> precision_;
  std::optional<int> threads_;
};

}  // namespace orbmath_tool
