#pragma once
/// \file
/// The options that commands on points share.

#include <optional>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "points/block_task.h"
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
  /// Declares `--csv`, `--json`, `--geojson`, `--output`, `--precision`, `--dms` and `--threads`.
  void DeclareOutput(CommandLine& line);
  /// Declares the files of points as the last arguments, and `--point`.
  void DeclareFiles(CommandLine& line);
  /// Declares the files of points as the option `--points`, and `--point`, for a command whose arguments are all
  /// models.
  void DeclareFilesOption(CommandLine& line);

  /// Digits after the point of a column whose usual count is `usual`.
  int Digits(int usual) const { return precision_.value_or(usual); }
  /// Columns of results: latitude and longitude as the options want angles.
  OutputColumn Latitude() const { return Angle("lat", "NS"); }
  OutputColumn Longitude() const { return Angle("lon", "EW"); }

  /// Streams the points through `task`, and says on standard error how many lines failed. \return the exit status.
  int Run(PointTask* task) const;
  /// The same for results that do not come from lines one by one.
  int Run(BlockTask* task) const;
  /// The one file of points, "-" for standard input. \throws UsageError when there are several.
  std::string OneFile() const;
  /// Makes sure that none of the files `read`, of which the command reads more than points, is what it writes.
  /// \throws UsageError
  void KeepFromReplacing(const std::vector<std::string>& read) const;
  /// The files of points as they were named.
  const std::vector<std::string>& Files() const { return stream_.inputs; }
  const std::string& ColumnNames() const { return stream_.columns; }

 private:
  void DeclareInput(CommandLine& line);
  OutputColumn Angle(const char* name, const char* letters) const;
  StreamOptions Checked() const;
  int StatusOf(const StreamResult& result) const;

  StreamOptions stream_;
  bool csv_ = false;
  bool json_ = false;
  bool geojson_ = false;
  bool dms_ = false;
  std::optional<int> precision_;
  std::optional<int> threads_;
};

}  // namespace orbmath_tool
