// Lines of sight on terrain, block by block.

#include "points/terrain_task.h"

#include <string>

#include "errors.h"

namespace orbmath_tool {

TerrainTask::TerrainTask(const SatCommonUtils::TTerrainLocator& locator, const SatCommonUtils::THeightSurface& surface,
                         const TerrainColumns& names, const GroundFrame& frame, double shift,
                         UncertaintyColumns* uncertainty, const PointOptions& options)
    : locator_(locator),
      surface_(surface),
      frame_(frame),
      uncertainty_(*uncertainty),
      shift_(shift),
      input_{names.line, names.sample},
      columns_(frame.ResultColumns(options)) {
  if (names.residual != nullptr) columns_.push_back({names.residual, options.Digits(kPixelDigits)});
  if (names.status) columns_.push_back({"status", 0, {"ok", "after-void"}});
  own_columns_ = columns_.size();
  uncertainty->AppendTo(&columns_);
}

void TerrainTask::Compute(LineBlock* block) const {
  for (std::vector<double>& coordinate : block->in) {
    for (double& pixels : coordinate) pixels -= shift_;
  }
  std::vector<SatCommonUtils::TTerrainSolution> solutions(block->count);
  locator_.LocateArray(block->count, block->in[0].data(), block->in[1].data(), solutions.data());
  const std::vector<SatCommonUtils::TGroundUncertainty> uncertainties = uncertainty_.At(solutions, surface_);
  block->marks.resize(block->count);
  for (std::size_t i = 0; i < block->count; ++i) {
    const SatCommonUtils::TTerrainSolution& solution = solutions[i];
    if (!solution) {
      block->Fail(i, SatCommonUtils::DescribeTerrainState(solution.state));
    } else if (uncertainty_.IsGiven()) {
      uncertainty_.Store(uncertainties[i], i, block);
    }
    block->marks[i] = solution.state == SatCommonUtils::TTerrainState::FoundAfterVoid ? 1 : 0;
    const double values[] = {solution.lat, solution.lon, solution.h, solution.residual,
                             static_cast<double>(block->marks[i])};
    for (std::size_t c = 0; c < own_columns_; ++c) block->out[c][i] = values[c];
  }
  frame_.FromGround(block->count, block->out[0].data(), block->out[1].data(), block->out[2].data());
}

void TerrainTask::Observe(const LineBlock& block) {
  for (const int mark : block.marks) after_voids_ += static_cast<std::size_t>(mark);
}

void TerrainTask::ReportVoids() const {
  if (after_voids_ == 0) return;
  Note(std::to_string(after_voids_) +
       " points lie behind places without a height, where terrain may hide them (status after-void)");
}

}  // namespace orbmath_tool
