#pragma once
/// \file
/// Image points on a DEM.

#include <cstddef>
#include <vector>

#include "points/point_options.h"
#include "terrain/terrain_locator.h"

namespace orbmath_tool {

/// What a command calls the columns; latitude, longitude and height stand between those of input and `residual`.
struct TerrainColumns {
  const char* line;
  const char* sample;
  const char* residual;  ///< null: none
  bool status;           ///< the last column, behind `residual`
};

/// The first point of the terrain on the line of sight of each image point.
class TerrainTask : public PointTask {
 public:
  /// \param locator must outlive the task. \param shift what the points have more than the model, pixels.
  TerrainTask(const SatCommonUtils::TTerrainLocator& locator, const TerrainColumns& names, double shift,
              const PointOptions& options);

  const LineLayout& Layout() const override { return layout_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }
  void Compute(LineBlock* block) const override;
  void Observe(const LineBlock& block) override;

  /// Says on standard error how many points lie behind voids, if any.
  void ReportVoids() const;

 private:
  const SatCommonUtils::TTerrainLocator& locator_;
  const double shift_;
  std::size_t after_voids_ = 0;
  LineLayout layout_;
  std::vector<OutputColumn> columns_;
};

}  // namespace orbmath_tool
