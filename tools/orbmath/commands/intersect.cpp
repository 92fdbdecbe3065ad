// orbmath intersect: ground points from several images.

#include <cmath>
#include <optional>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "points/block_task.h"
#include "points/dem_options.h"
#include "points/ground_frame.h"
#include "points/ground_marks.h"
#include "points/point_options.h"
#include "points/terrain_task.h"
#include "points/track_table.h"
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

/// Why a point that `count` images see has no ground point.
std::string WhyTooFew(std::size_t count) {
  return (count == 0 ? "no image sees" : "one image alone sees") + std::string(" the point, two are needed");
}

/// The measurements of a block's points, which are added in ascending order.
class BlockMeasurements {
 public:
  void AddImage(const Model& model, double line, double sample) { items_.push_back({model.rpc.get(), line, sample}); }

  /// Ends the point `index`, whose images have been added. A reason to refuse it may be given.
  void EndPoint(std::size_t index, const std::string& reason = {}) {
    const std::size_t images = items_.size() - first_.back();
    if (reason.empty() && images >= 2) {
      first_.push_back(items_.size());
      indices_.push_back(index);
      return;
    }
    refused_.push_back({index, reason.empty() ? WhyTooFew(images) : reason});
    items_.resize(first_.back());
  }

  SatCommonUtils::TMeasuredPoints Points() const { return {indices_.size(), first_.data(), items_.data()}; }
  /// Of the points, their places in the block.
  const std::vector<std::size_t>& Indices() const { return indices_; }
  std::vector<TRPCCoordsDataItem> ItemsOf(std::size_t point) const {
    return {items_.data() + first_[point], items_.data() + first_[point + 1]};
  }
  const std::vector<Refusal>& Refused() const { return refused_; }

 private:
  std::vector<TRPCCoordsDataItem> items_;
  std::vector<std::size_t> first_ = {0};
  std::vector<std::size_t> indices_;
  std::vector<Refusal> refused_;
};

/// Points of two images or more into the columns of results.
class Intersector {
 public:
  Intersector(const IntersectionOptions& intersection, const GroundFrame& frame, UncertaintyColumns* uncertainty,
              const PointOptions& options)
      : intersection_(intersection),
        frame_(frame),
        uncertainty_(*uncertainty),
        sigma_(intersection.sigma.value_or(1.0)) {
    columns_ = frame.ResultColumns(options);
    columns_.push_back({"rms_pixels", options.Digits(kPixelDigits)});
    if (intersection.covariance) {
      for (const char* name : {"sigma_east", "sigma_north", "sigma_up"}) {
        columns_.push_back({name, options.Digits(kMetreDigits)});
      }
    }
    if (intersection.status) columns_.push_back({"status", 0, StatusWords()});
    uncertainty->AppendTo(&columns_);
  }

  const std::vector<OutputColumn>& Columns() const { return columns_; }
  const GroundFrame& Frame() const { return frame_; }

  /// Computes the points of a block.
  void Compute(const BlockMeasurements& measurements, LineBlock* block) const {
    const std::vector<TGroundIntersection> solutions = Solve(measurements.Points());
    block->marks.assign(block->count, 0);
    auto refused = measurements.Refused().begin();
    for (std::size_t i = 0; i <= solutions.size(); ++i) {
      const std::size_t index = i < solutions.size() ? measurements.Indices()[i] : block->count;
      for (; refused != measurements.Refused().end() && refused->index < index; ++refused) {
        block->Fail(refused->index, refused->reason);
      }
      if (i < solutions.size()) Take(measurements, i, solutions[i], block);
    }
    frame_.FromGround(block->count, block->out[0].data(), block->out[1].data(), block->out[2].data());
  }

 private:
  SatCommonUtils::TIntersectionHeight Height() const {
    if (!intersection_.height) return SatCommonUtils::TIntersectionHeight::Free;
    return intersection_.height_variance ? SatCommonUtils::TIntersectionHeight::Observed
                                         : SatCommonUtils::TIntersectionHeight::Known;
  }

  /// The library counts variances in those of an image coordinate.
  double SolvedHeightVariance() const { return intersection_.height_variance.value_or(0.0) / (sigma_ * sigma_); }

  std::vector<TGroundIntersection> Solve(const SatCommonUtils::TMeasuredPoints& points) const {
    SatCommonUtils::TIntersectionOptions options;
    options.largestRms = intersection_.largest_rms.value_or(options.largestRms);
    std::vector<TGroundIntersection> solutions(points.count);
    const std::vector<double> heights(intersection_.height ? points.count : 0, intersection_.height.value_or(0.0));
    if (!intersection_.height) {
      SatCommonUtils::SolveLatLonHArray(points, solutions.data(), options);
    } else if (!intersection_.height_variance) {
      SatCommonUtils::SolveLatLonArray(points, heights.data(), solutions.data(), options);
    } else {
      SatCommonUtils::SolveLatLonHArray(points, heights.data(), SolvedHeightVariance(), solutions.data(), options);
    }
    return solutions;
  }

  void Take(const BlockMeasurements& measurements, std::size_t i, const TGroundIntersection& point,
            LineBlock* block) const {
    const std::size_t index = measurements.Indices()[i];
    if (!IsGiven(point, intersection_.extrapolate)) {
      block->Fail(index, WhyLost(point));
    } else if (uncertainty_.IsGiven()) {
      uncertainty_.Store(uncertainty_.Of(measurements.ItemsOf(i), point, Height(), intersection_.height_variance,
                                         SolvedHeightVariance()),
                         index, block);
    }
    block->marks[index] = StatusOf(point);
    Store(point, index, block);
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

  const IntersectionOptions& intersection_;
  const GroundFrame& frame_;
  const UncertaintyColumns& uncertainty_;
  const double sigma_;
  std::vector<OutputColumn> columns_;
};

/// Two columns an image, empty where the image does not see the point.
class IntersectTask : public PointTask {
 public:
  IntersectTask(const std::vector<Model>& models, const std::vector<NamedImage>& images, const Intersector& intersector,
                double shift)
      : models_(models), intersector_(intersector), shift_(shift) {
    for (std::size_t i = 0; i < models.size(); ++i) {
      AddColumn(columns::kLine, std::to_string(i + 1), images[i].name);
      AddColumn(columns::kSample, std::to_string(i + 1), images[i].name);
    }
  }

  const std::vector<TableColumn>& Input() const override { return input_; }
  const std::vector<OutputColumn>& Columns() const override { return intersector_.Columns(); }
  std::optional<GroundPlace> Place() const override { return intersector_.Frame().ResultPlace(); }

  void Compute(LineBlock* block) const override {
    BlockMeasurements measurements;
    for (std::size_t i = 0; i < block->count; ++i) {
      std::string reason;
      for (std::size_t m = 0; m < models_.size(); ++m) {
        const double line = block->in[2 * m][i] - shift_;
        const double sample = block->in[2 * m + 1][i] - shift_;
        if (std::isnan(line) != std::isnan(sample)) {
          reason = "image " + std::to_string(m + 1) + " has one coordinate of the point alone";
        }
        if (!std::isnan(line) && !std::isnan(sample)) measurements.AddImage(models_[m], line, sample);
      }
      measurements.EndPoint(i, reason);
    }
    intersector_.Compute(measurements, block);
  }

  void Observe(const LineBlock& block) override { marks_.Add(block); }

  const MarkCounter& Marks() const { return marks_; }

 private:
  /// A coordinate of an image: "line1" and the like, or with the image's name before or behind.
  void AddColumn(const TableColumn& coordinate, const std::string& number, const std::string& image) {
    TableColumn column{coordinate.name + number, {}};
    std::vector<std::string> names = coordinate.other_names;
    names.insert(names.begin(), coordinate.name);
    for (const std::string& name : names) {
      for (const std::string& full : {name + number, name + image, image + name}) {
        column.other_names.push_back(KeyOfName(full));
      }
    }
    column.may_be_missing = true;
    if (input_.empty()) column.hint = "--tracks reads one measurement a line";
    input_.push_back(column);
  }

  const std::vector<Model>& models_;
  const Intersector& intersector_;
  const double shift_;
  std::vector<TableColumn> input_;
  MarkCounter marks_;
};

/// Tracks of a long table, in blocks.
class TrackTask : public BlockTask {
 public:
  TrackTask(const std::vector<Model>& models, const TrackTable& table, const Intersector& intersector)
      : models_(models), table_(table), intersector_(intersector), columns_(intersector.Columns()) {
    columns_.push_back({"images", 0});
  }

  const std::vector<OutputColumn>& Columns() const override { return columns_; }
  std::optional<GroundPlace> Place() const override { return intersector_.Frame().ResultPlace(); }
  std::size_t Count() const override { return table_.Tracks().size(); }
  std::string Name() const override { return "point"; }

  void Compute(std::size_t first, LineBlock* block) const override {
    BlockMeasurements measurements;
    for (std::size_t i = 0; i < block->count; ++i) {
      const Track& track = table_.Tracks()[first + i];
      block->texts[0][i] = track.point;
      block->out.back()[i] = static_cast<double>(track.rays.size());
      for (const TrackRay& ray : track.rays) measurements.AddImage(models_[ray.image], ray.line, ray.sample);
      measurements.EndPoint(i);
    }
    intersector_.Compute(measurements, block);
  }

  void Observe(const LineBlock& block) override { marks_.Add(block); }

  const MarkCounter& Marks() const { return marks_; }

 private:
  const std::vector<Model>& models_;
  const TrackTable& table_;
  const Intersector& intersector_;
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
           "An image that does not see a point has '-' or 'nan' in its fields, or nothing between two commas; two have "
           "to "
           "see it. With --uncertainty nine more columns follow, which docs/uncertainty.md explains. With --tracks "
           "each line is 'point image line sample' in any order of lines, the image a model's "
           "NAME "
           "or the name of its file; each point becomes one line, which ends with the number of its images and its "
           "name.\n\n"
           "Example:\n"
           "  orbmath intersect left.RPB right.RPB --points ties.txt --covariance --sigma 0.3\n"
           "  orbmath intersect *_RPC.TXT --tracks --points measurements.csv --csv";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("MODEL", &names_, 1, "model files of any form, PATH or NAME=PATH, two or more; one with --dem");
    options_.DeclareFilesOption(line);
    line.Flag("--tracks", &tracks_, "points are a table of one measurement a line: point, image, line, sample");
    line.Number("--height", "H", &intersection_.height, "height of all points, metres above the ellipsoid");
    line.Number("--height-variance", "V", &intersection_.height_variance,
                "variance of that height, square metres: it is observed, not fixed");
    line.Flag("--covariance", &intersection_.covariance, "add standard deviations towards east, north and up");
    line.Number("--sigma", "PX", &intersection_.sigma, "standard deviation of an image coordinate, pixels (default 1)");
    frame_.DeclareOrder(line);
    dem_.Declare(line);
    uncertainty_.Declare(line);
    uncertainty_.DeclareForSeveral(line);
    line.Flag("--status", &intersection_.status, "add a status: 'ok' or what the point lies outside of");
    line.Number("--max-rms", "PX", &intersection_.largest_rms,
                "largest root mean square of the residuals, pixels (default 100)");
    line.Flag("--extrapolate", &intersection_.extrapolate, "give points that no image can mean instead of error lines");
    origin_.Declare(line);
    options_.DeclareOutput(line);
    reading_.Declare(line);
  }

  int Run() override {
    for (const std::string& name : names_) options_.KeepFromReplacing({NamedImageOf(name).path});
    options_.KeepFromReplacing(dem_.Files());
    if (intersection_.height_variance && !intersection_.height) throw UsageError("--height-variance needs --height");
    if (intersection_.height_variance.value_or(1.0) <= 0.0) throw UsageError("--height-variance must be above 0");
    if (intersection_.sigma.value_or(1.0) <= 0.0) throw UsageError("--sigma must be above 0");
    if (intersection_.largest_rms.value_or(1.0) <= 0.0) throw UsageError("--max-rms must be above 0");
    if (dem_.IsGiven() && names_.size() > 1)
      throw UsageError("--dem takes the place of a second image: give one MODEL");
    if (!dem_.IsGiven() && names_.size() < 2) throw UsageError("MODEL: At least 2 required, or 1 with --dem");
    uncertainty_.Check(dem_.IsGiven());
    frame_.Open();
    if (const auto surface = dem_.Open()) return OnTerrain(*surface);
    std::vector<Model> models;
    std::vector<NamedImage> images;
    for (const std::string& name : names_) {
      images.push_back(NamedImageOf(name));
      models.push_back(ReadGroundModel(images.back().path, reading_));
    }
    std::vector<const Model*> each;
    each.reserve(models.size());
    for (const Model& model : models) each.push_back(&model);
    UncertaintyColumns uncertainty(uncertainty_, each, intersection_.sigma, options_);
    const Intersector intersector(intersection_, frame_, &uncertainty, options_);
    if (tracks_) return OfTracks(models, images, intersector);
    IntersectTask task(models, images, intersector, origin_.Shift());
    const int status = options_.Run(&task);
    task.Marks().Report();
    return status;
  }

 private:
  int OfTracks(const std::vector<Model>& models, const std::vector<NamedImage>& images,
               const Intersector& intersector) {
    const TrackTable table(options_.OneFile(), options_.ColumnNames(), images, origin_.Shift());
    if (table.HasSigmas()) Note("sigmas are passed over: every image counts alike ('orbmath adjust' weighs them)");
    TrackTask task(models, table, intersector);
    const int status = options_.Run(&task);
    task.Marks().Report();
    return status;
  }

  /// One image of a pair is left: heights come from the terrain.
  int OnTerrain(const SatCommonUtils::THeightSurface& surface) {
    if (intersection_.height || intersection_.covariance || intersection_.status) {
      throw UsageError("--height, --covariance and --status do not go with --dem");
    }
    if (tracks_) throw UsageError("--tracks and --dem exclude each other");
    const Model model = ReadGroundModel(NamedImageOf(names_[0]).path, reading_);
    const SatCommonUtils::TTerrainLocator locator(*model.rpc, surface);
    TableColumn line = columns::kLine;
    TableColumn sample = columns::kSample;
    line.name += "1";
    sample.name += "1";
    UncertaintyColumns uncertainty(uncertainty_, {&model}, intersection_.sigma, options_);
    TerrainTask task(locator, surface, {line, sample, "rms_pixels", false}, frame_, origin_.Shift(), &uncertainty,
                     options_);
    return options_.Run(&task);
  }

  bool tracks_ = false;
  GroundFrame frame_;
  DemChoice dem_;
  UncertaintyChoice uncertainty_;
  ModelReading reading_;
  std::vector<std::string> names_;
  IntersectionOptions intersection_;
  PixelOrigin origin_;
  PointOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeIntersect() { return std::make_unique<Intersect>(); }

}  // namespace orbmath_tool
