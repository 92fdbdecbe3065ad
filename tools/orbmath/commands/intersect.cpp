// orbmath intersect: ground points from several images.

#include <cmath>
#include <optional>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "points/dem_options.h"
#include "points/ground_marks.h"
#include "points/point_options.h"
#include "points/terrain_task.h"
#include "rpc/ground_solution.h"
#include "terrain/terrain_locator.h"

namespace orbmath_tool {

using SatCommonUtils::TGroundIntersection;
using SatCommonUtils::TRPCCoordsDataItem;

namespace {

/// What is asked of every point.
struct IntersectionOptions {
  std::optional<double> height;           ///< metres
  std::optional<double> height_variance;  ///< square metres
  std::optional<double> sigma;            ///< standard deviation of an image coordinate, pixels
  bool covariance = false;
  bool status = false;
  bool extrapolate = false;
  std::optional<double> largest_rms;  ///< pixels
};

class IntersectTask : public PointTask {
 public:
  IntersectTask(const std::vector<Model>& models, const IntersectionOptions& intersection, double shift,
                const PointOptions& options)
      : models_(models), intersection_(intersection), sigma_(intersection.sigma.value_or(1.0)), shift_(shift) {
    for (std::size_t i = 1; i <= models.size(); ++i) {
      layout_.columns.push_back({"line" + std::to_string(i)});
      layout_.columns.push_back({"sample" + std::to_string(i)});
    }
    columns_ = {{"lat", options.Digits(kDegreeDigits)},
                {"lon", options.Digits(kDegreeDigits)},
                {"height", options.Digits(kMetreDigits)},
                {"rms_pixels", options.Digits(kPixelDigits)}};
    if (intersection.covariance) {
      for (const char* name : {"sigma_east", "sigma_north", "sigma_up"}) {
        columns_.push_back({name, options.Digits(kMetreDigits)});
      }
    }
    if (intersection.status) columns_.push_back({"status", 0, StatusWords()});
  }

  const LineLayout& Layout() const override { return layout_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }

  void Compute(LineBlock* block) const override {
    std::vector<TRPCCoordsDataItem> items(models_.size());
    for (std::size_t m = 0; m < items.size(); ++m) items[m].model = models_[m].rpc.get();
    block->marks.resize(block->count);
    for (std::size_t i = 0; i < block->count; ++i) {
      for (std::size_t m = 0; m < items.size(); ++m) {
        items[m].line = block->in[2 * m][i] - shift_;
        items[m].sample = block->in[2 * m + 1][i] - shift_;
      }
      const TGroundIntersection point = Solve(items);
      if (!IsGiven(point, intersection_.extrapolate)) block->Fail(i, WhyLost(point));
      block->marks[i] = StatusOf(point);
      Store(point, i, block);
    }
  }

  void Observe(const LineBlock& block) override { marks_.Add(block); }

  const MarkCounter& Marks() const { return marks_; }

 private:
  TGroundIntersection Solve(const std::vector<TRPCCoordsDataItem>& items) const {
    SatCommonUtils::TIntersectionOptions options;
    options.largestRms = intersection_.largest_rms.value_or(options.largestRms);
    if (!intersection_.height) return SatCommonUtils::SolveLatLonH(items, options);
    if (!intersection_.height_variance) return SatCommonUtils::SolveLatLon(items, *intersection_.height, options);
    // The library counts variances in those of an image coordinate.
    return SatCommonUtils::SolveLatLonH(items, *intersection_.height,
                                        *intersection_.height_variance / (sigma_ * sigma_), options);
  }

  void Store(const TGroundIntersection& point, std::size_t index, LineBlock* block) const {
    std::size_t column = 0;
    for (const double value : {point.lat, point.lon, point.h, point.residual}) block->out[column++][index] = value;
    if (intersection_.covariance) {
      double sigmas[3] = {};
      SatCommonUtils::GroundSigmas(point.lat, point.h, point.covariance, sigmas);
      for (const double value : sigmas) block->out[column++][index] = sigma_ * value;
    }
    if (intersection_.status) block->out[column++][index] = block->marks[index];
  }

  const std::vector<Model>& models_;
  const IntersectionOptions& intersection_;
  const double sigma_;
  const double shift_;
  LineLayout layout_;
  std::vector<OutputColumn> columns_;
  MarkCounter marks_;
};

class Intersect : public Command {
 public:
  const char* Notes() const override {
    return "Each line 'line1 sample1 line2 sample2 ...', two fields a model (pixels), becomes 'lat lon height "
           "rms_pixels' (degrees, degrees, metres, pixels). The height is free; --height fixes it, and with "
           "--height-variance it is an observation among the others. With --covariance three more columns "
           "follow: standard deviations of the point towards east, north and up (metres), for image coordinates "
           "with the standard deviation of --sigma. A point without a solution is an error line that says why, and so "
           "is one that no image can mean: missed by more than --max-rms, behind a sensor, far outside the models' "
           "heights or ground; --extrapolate gives those too. Where one "
           "image is left, --dem gives the heights: each line is 'line1 sample1'.\n\n"
           "Example:\n"
           "  orbmath intersect left.RPB right.RPB --points ties.txt --covariance --sigma 0.3";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("MODEL", &names_, 1, "model files of any form, two or more; one with --dem");
    options_.DeclareFilesOption(line);
    line.Number("--height", "H", &intersection_.height, "height of all points, metres above the ellipsoid");
    line.Number("--height-variance", "V", &intersection_.height_variance,
                "variance of that height, square metres: it is observed, not fixed");
    line.Flag("--covariance", &intersection_.covariance, "add standard deviations towards east, north and up");
    line.Number("--sigma", "PX", &intersection_.sigma, "standard deviation of an image coordinate, pixels (default 1)");
    dem_.Declare(line);
    line.Flag("--status", &intersection_.status, "add a status: 'ok' or what the point lies outside of");
    line.Number("--max-rms", "PX", &intersection_.largest_rms,
                "largest root mean square of the residuals, pixels (default 100)");
    line.Flag("--extrapolate", &intersection_.extrapolate, "give points that no image can mean instead of error lines");
    origin_.Declare(line);
    options_.DeclareOutput(line);
    reading_.Declare(line);
  }

  int Run() override {
    if (intersection_.height_variance && !intersection_.height) throw UsageError("--height-variance needs --height");
    if (intersection_.height_variance.value_or(1.0) <= 0.0) throw UsageError("--height-variance must be above 0");
    if (intersection_.sigma.value_or(1.0) <= 0.0) throw UsageError("--sigma must be above 0");
    if (intersection_.largest_rms.value_or(1.0) <= 0.0) throw UsageError("--max-rms must be above 0");
    if (dem_.IsGiven() && names_.size() > 1)
      throw UsageError("--dem takes the place of a second image: give one MODEL");
    if (!dem_.IsGiven() && names_.size() < 2) throw UsageError("MODEL: At least 2 required, or 1 with --dem");
    if (const auto surface = dem_.Open()) return OnTerrain(*surface);
    std::vector<Model> models;
    for (const std::string& name : names_) models.push_back(ReadGroundModel(name, reading_));
    IntersectTask task(models, intersection_, origin_.Shift(), options_);
    const int status = options_.Run(&task);
    task.Marks().Report();
    return status;
  }

 private:
  /// One image of a pair is left: heights come from the terrain.
  int OnTerrain(const SatCommonUtils::THeightSurface& surface) {
    if (intersection_.height || intersection_.covariance || intersection_.status) {
      throw UsageError("--height, --covariance and --status do not go with --dem");
    }
    const Model model = ReadGroundModel(names_[0], reading_);
    const SatCommonUtils::TTerrainLocator locator(*model.rpc, surface);
    TerrainTask task(locator, {"line1", "sample1", "rms_pixels", false}, origin_.Shift(), options_);
    return options_.Run(&task);
  }

  DemChoice dem_;
  ModelReading reading_;
  std::vector<std::string> names_;
  IntersectionOptions intersection_;
  PixelOrigin origin_;
  PointOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeIntersect() { return std::make_unique<Intersect>(); }

}  // namespace orbmath_tool
