// orbmath locate: image points to ground points.

#include <cmath>
#include <optional>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "models/model.h"
#include "points/dem_options.h"
#include "points/ground_frame.h"
#include "points/ground_marks.h"
#include "points/point_options.h"
#include "points/terrain_task.h"
#include "points/uncertainty_columns.h"
#include "rpc/ground_solution.h"
#include "terrain/terrain_locator.h"

namespace orbmath_tool {

namespace {

class LocateTask : public PointTask {
 public:
  LocateTask(const Model& model, const GroundFrame& frame, std::optional<double> height, bool status, bool extrapolate,
             double shift, UncertaintyColumns* uncertainty, const PointOptions& options)
      : model_(model),
        frame_(frame),
        uncertainty_(*uncertainty),
        extrapolate_(extrapolate),
        shift_(shift),
        says_height_(!height && !frame.HasGeoid()),
        height_(height.value_or(model.rpc->GetAverageHeight())),
        input_{columns::kLineOrY, columns::kSampleOrX, HeightColumn(frame, height)},
        columns_(frame.ResultColumns(options)) {
    if (status) {
      columns_.push_back({"residual", options.Digits(kPixelDigits)});
      columns_.push_back({"status", 0, StatusWords()});
    }
    own_columns_ = columns_.size();
    uncertainty->AppendTo(&columns_);
  }

  const std::vector<TableColumn>& Input() const override { return input_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }
  std::optional<GroundPlace> Place() const override { return frame_.ResultPlace(); }

  void Compute(LineBlock* block) const override {
    for (int i = 0; i < 2; ++i) {
      for (double& pixels : block->in[i]) pixels -= shift_;
    }
    std::vector<SatCommonUtils::TGroundSolution> solutions(block->count);
    if (frame_.HasGeoid()) {
      SolveAboveGeoid(block, &solutions);
    } else {
      Solve(*block, block->in[2].data(), &solutions);
    }
    const std::vector<SatCommonUtils::TGroundUncertainty> uncertainties = uncertainty_.At(solutions);
    block->marks.resize(block->count);
    for (std::size_t i = 0; i < block->count; ++i) {
      const SatCommonUtils::TGroundSolution& solution = solutions[i];
      if (std::isnan(block->in[2][i])) {
        block->Fail(i, "the geoid has no height there");
      } else if (!IsGiven(solution, extrapolate_)) {
        block->Fail(i, WhyLost(solution));
      } else if (uncertainty_.IsGiven()) {
        uncertainty_.Store(uncertainties[i], i, block);
      }
      block->marks[i] = StatusOf(solution);
      const double values[] = {solution.lat, solution.lon, solution.h, solution.residual,
                               static_cast<double>(block->marks[i])};
      for (std::size_t c = 0; c < own_columns_; ++c) block->out[c][i] = values[c];
    }
    frame_.FromGround(block->count, block->out[0].data(), block->out[1].data(), block->out[2].data());
  }

  void Observe(const LineBlock& block) override {
    marks_.Add(block);
    if (!says_height_ || block.filled == 0) return;
    says_height_ = false;
    Note("height " + SatCommonUtils::FormatDouble(height_) +
         " m, the model's height offset, for points that give none");
  }

  const MarkCounter& Marks() const { return marks_; }

 private:
  /// Points without a height get `height_`, which counts from the ellipsoid unless it was given.
  TableColumn HeightColumn(const GroundFrame& frame, std::optional<double> given) const {
    if (given || !frame.HasGeoid()) return columns::kHeight.Optional(height_);
    TableColumn column = columns::kHeight;
    column.hint = "--height H gives points one that have none";
    return column;
  }

  void Solve(const LineBlock& block, const double* heights,
             std::vector<SatCommonUtils::TGroundSolution>* solutions) const {
    SatCommonUtils::SolveLatLonArray(*model_.rpc, block.count, block.in[0].data(), block.in[1].data(), heights,
                                     solutions->data());
  }

  /// The geoid's height is that where the point is, which is where the height puts it. A wrong height moves the point
  /// by the tangent of the line of sight's angle, and the geoid rises by less than a thousandth of that: each round
  /// leaves some thousandth of the error, of at most a hundred metres, so that after four less than 1e-7 m is left. The
  /// number of rounds is fixed, so that a point's result does not depend on its neighbours.
  void SolveAboveGeoid(LineBlock* block, std::vector<SatCommonUtils::TGroundSolution>* solutions) const {
    constexpr int kRounds = 4;
    const std::vector<double> above_geoid = block->in[2];
    const auto& axes = model_.rpc->GetNormalization();
    std::vector<double> lat(block->count, axes.latitude.GetOffset());
    std::vector<double> lon(block->count, axes.longitude.GetOffset());
    for (int round = 0; round < kRounds; ++round) {
      std::vector<double>& heights = block->in[2];
      frame_.ToEllipsoid(block->count, lat.data(), lon.data(), above_geoid.data(), heights.data());
      for (std::size_t i = 0; i < block->count && round == 0; ++i) {
        // A geoid of a country that ends before the middle of the image may well have the point.
        if (std::isnan(heights[i])) heights[i] = above_geoid[i];
      }
      Solve(*block, heights.data(), solutions);
      for (std::size_t i = 0; i < block->count; ++i) {
        if (!IsGiven((*solutions)[i], extrapolate_)) continue;  // its place means nothing
        lat[i] = (*solutions)[i].lat;
        lon[i] = (*solutions)[i].lon;
      }
    }
  }

  const Model& model_;
  const GroundFrame& frame_;
  const UncertaintyColumns& uncertainty_;
  std::size_t own_columns_ = 0;
  const bool extrapolate_;
  const double shift_;
  bool says_height_;
  const double height_;
  const std::vector<TableColumn> input_;
  std::vector<OutputColumn> columns_;
  MarkCounter marks_;
};

class Locate : public Command {
 public:
  const char* Notes() const override {
    return "Each line 'line sample [height]' (pixels, metres above the ellipsoid) becomes 'lat lon height' "
           "(degrees, degrees, metres). A point without a height gets that of --height, or else the model's "
           "height offset, which is said on standard error. With --geoid and no --dem the given heights count from the "
           "geoid, those of the results from the ellipsoid. A point without a solution is an error line that "
           "says why, and so is one that the model cannot know: beyond a pole or a fold of its polynomials, or far "
           "outside its ground box; --extrapolate gives those too. A point outside the image, the height range, the "
           "ground box or the margin is computed, counted on standard error and named in the status column. With "
           "--status two more columns follow: how far the result projects from the "
           "given image point (pixels), and 'ok' or 'outside-' with what the point lies outside of: image, "
           "height, ground, margin, joined by '+'.\n\n"
           "With --dem each line 'line sample' becomes the first point of the terrain that its line of sight meets. "
           "Voids and places off the DEM are error lines; the status is 'ok', or 'after-void' where terrain of "
           "unknown height may lie before the point.\n\n"
           "With --uncertainty nine more columns follow, which docs/uncertainty.md explains; what errors the image was "
           "taken to have, of its file, its refinement or the options, is said on standard error.\n\n"
           "Example:\n"
           "  echo '1000 2000' | orbmath locate image.RPB --height -5\n"
           "  orbmath locate image.RPB points.txt --dem srtm.tif --geoid egm96";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form");
    options_.DeclareFiles(line);
    line.Number("--height", "H", &height_, "height of points that give none, metres above the ellipsoid");
    frame_.DeclareOrder(line);
    dem_.Declare(line);
    uncertainty_.Declare(line);
    line.Number("--sigma", "PX", &sigma_, "with --uncertainty: standard deviation of an image coordinate (default 1)");
    line.Flag("--status", &status_, "add residual and status");
    line.Flag("--extrapolate", &extrapolate_, "give points that the model cannot know instead of error lines");
    origin_.Declare(line);
    options_.DeclareOutput(line);
    reading_.Declare(line);
  }

  int Run() override {
    options_.KeepFromReplacing({model_});
    options_.KeepFromReplacing(dem_.Files());
    const Model model = ReadGroundModel(model_, reading_, options_.Files());
    if (dem_.IsGiven() && height_) throw UsageError("--height and --dem exclude each other");
    if (sigma_ && !uncertainty_.IsGiven()) throw UsageError("--sigma needs --uncertainty");
    if (sigma_.value_or(0.0) < 0.0) throw UsageError("--sigma must not be below 0");
    uncertainty_.Check(dem_.IsGiven());
    frame_.SetGeoid(dem_.TakeGeoid());
    frame_.Open();
    UncertaintyColumns uncertainty(uncertainty_, {&model}, sigma_, options_);
    if (const auto surface = dem_.Open()) {
      const SatCommonUtils::TTerrainLocator locator(*model.rpc, *surface);
      const TerrainColumns names{columns::kLineOrY, columns::kSampleOrX, status_ ? "residual" : nullptr, status_};
      TerrainTask task(locator, *surface, names, frame_, origin_.Shift(), &uncertainty, options_);
      const int status = options_.Run(&task);
      task.ReportVoids();
      return status;
    }
    LocateTask task(model, frame_, height_, status_, extrapolate_, origin_.Shift(), &uncertainty, options_);
    const int status = options_.Run(&task);
    task.Marks().Report();
    return status;
  }

 private:
  ModelReading reading_;
  std::string model_;
  std::optional<double> height_;
  bool status_ = false;
  bool extrapolate_ = false;
  GroundFrame frame_;
  DemChoice dem_;
  UncertaintyChoice uncertainty_;
  std::optional<double> sigma_;
  PixelOrigin origin_;
  PointOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeLocate() { return std::make_unique<Locate>(); }

}  // namespace orbmath_tool
