#pragma once
/// \file
/// The options and columns that tell how uncertain ground points are.

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "accuracy/error_model.h"
#include "accuracy/ground_uncertainty.h"
#include "commands/command_line.h"
#include "models/model.h"
#include "points/line_block.h"
#include "points/point_options.h"
#include "rpc/ground_solution.h"
#include "terrain/terrain_locator.h"

namespace orbmath_tool {

/// `--uncertainty` and what goes with it.
class UncertaintyChoice {
 public:
  /// Declares `--uncertainty` and its options for one image.
  void Declare(CommandLine& line);
  /// Declares those that several images need beside these.
  void DeclareForSeveral(CommandLine& line);
  bool IsGiven() const { return given_; }
  /// \param dem whether heights come from a DEM. \throws UsageError for options that need others, and values below 0.
  void Check(bool dem) const;

 private:
  friend class UncertaintyColumns;
  std::vector<double> SigmasOf(std::size_t images, double sigma) const;

  bool given_ = false;
  std::optional<double> bias_;
  std::optional<double> random_;
  std::optional<double> height_sigma_;
  std::optional<double> dem_sigma_;
  std::optional<double> correlation_;
  std::string sigmas_;
};

/// The columns of uncertainties behind those of a task; none when they were not asked for.
class UncertaintyColumns {
 public:
  /// Appends the columns to a task's, and says on standard error what errors each image has from where.
  /// \param models, choice must outlive this. \param sigma of an image coordinate, pixels; absent: 1.
  /// \throws Failure, UsageError
  UncertaintyColumns(const UncertaintyChoice& choice, const std::vector<const Model*>& models,
                     const std::optional<double>& sigma, const PointOptions& options);

  bool IsGiven() const { return choice_.given_; }
  void AppendTo(std::vector<OutputColumn>* columns);

  /// The uncertainties of points of the first image at their heights; empty when they were not asked for.
  std::vector<SatCommonUtils::TGroundUncertainty> At(const std::vector<SatCommonUtils::TGroundSolution>& points) const;
  /// The same on a terrain.
  std::vector<SatCommonUtils::TGroundUncertainty> At(const std::vector<SatCommonUtils::TTerrainSolution>& points,
                                                     const SatCommonUtils::THeightSurface& surface) const;
  /// The uncertainty of a point that some of the images see. \param height_variance of an observed height, square
  /// metres. \param solved_variance what the solution had in its place.
  SatCommonUtils::TGroundUncertainty Of(const std::vector<SatCommonUtils::TRPCCoordsDataItem>& items,
                                        const SatCommonUtils::TGroundIntersection& point,
                                        SatCommonUtils::TIntersectionHeight height,
                                        const std::optional<double>& height_variance, double solved_variance) const;

  /// Puts the uncertainty of a point into the columns. \return false, the point failed, when it is not known.
  bool Store(const SatCommonUtils::TGroundUncertainty& uncertainty, std::size_t index, LineBlock* block) const;

 private:
  const UncertaintyChoice& choice_;
  const int digits_of_metres_;
  const int digits_of_square_metres_;
  std::size_t first_ = 0;
  const SatCommonUtils::TRPC* image_ = nullptr;  ///< the first
  std::map<const SatCommonUtils::TRPC*, SatCommonUtils::TImageErrors> errors_;
};

}  // namespace orbmath_tool
