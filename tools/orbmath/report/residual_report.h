#pragma once
/// \file
/// Residuals of a fit: their statistics, the worst points, and a file with all of them.

#include <cstddef>
#include <string>
#include <vector>

#include "points/point_table.h"
#include "refine/robust_fit.h"
#include "report/output_file.h"
#include "report/report.h"

namespace orbmath_tool {

/// One measured image point and how far a model misses it.
struct PointResidual {
  std::size_t row = 0;      ///< row of the table
  double line = 0.0;        ///< measured minus computed, pixels
  double sample = 0.0;      ///< measured minus computed, pixels
  const char* set = "fit";  ///< what the point was used for, one word

  double Distance() const;
};

/// Adds the table of root mean square, 95 % and maximum of line, sample and distance.
/// \param key, title of the table, for programs and for people. \param unit of the residuals.
void AddStatistics(const std::string& key, const std::string& title, const SatCommonUtils::TRPCFitResiduals& residuals,
                   const std::string& unit, Report* report);

/// Adds the points with the largest residuals, at most `count`, by their places in the table.
void AddWorst(const PointTable& table, const std::vector<PointResidual>& residuals, std::size_t count, Report* report);

/// Writes one line a point: number of its line in the table's file, residuals, distance, set. \throws Failure
void WriteResiduals(const PointTable& table, const std::vector<PointResidual>& residuals, OutputFile* file);

}  // namespace orbmath_tool
