#pragma once
/// \file
/// Image points on a DEM.

#include <cstddef>
#include <vector>

#include "points/ground_frame.h"
#include "points/point_options.h"
#include "points/uncertainty_columns.h"
#include "terrain/terrain_locator.h"

namespace orbmath_tool {

/// What a command calls the columns; latitude, longitude and height stand between those of input and `residual`.
struct TerrainColumns {
  TableColumn line;
  TableColumn sample;
  const char* residual;  ///< null: none
  bool status;           ///< behind `residual`
};

/// The first point of the terrain on the line of sight of each image point.
class TerrainTask : public PointTask {
 public:
  /// \param locator, surface, frame, uncertainty must outlive the task. \param shift what the points have more than
  /// the model, pixels.
  TerrainTask(const SatCommonUtils::TTerrainLocator& locator, const SatCommonUtils::THeightSurface& surface,
              const TerrainColumns& names, const GroundFrame& frame, double shift, UncertaintyColumns* uncertainty,
              const PointOptions& options);

  const std::vector<TableColumn>& Input() const override { return input_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }
  std::optional<GroundPlace> Place() const override { return frame_.ResultPlace(); }
  void Compute(LineBlock* block) const override;
  void Observe(const LineBlock& block) override;

  /// Says on standard error how many points lie behind voids, if any.
  void ReportVoids() const;

 private:
  const SatCommonUtils::TTerrainLocator& locator_;
  const SatCommonUtils::THeightSurface& surface_;
  const GroundFrame& frame_;
  const UncertaintyColumns& uncertainty_;
  const double shift_;
  std::size_t own_columns_ = 0;
  std::size_t after_voids_ = 0;
  std::vector<TableColumn> input_;
  std::vector<OutputColumn> columns_;
};

}  // namespace orbmath_tool
