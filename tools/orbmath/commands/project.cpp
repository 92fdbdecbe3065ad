// orbmath project: ground points to image points, and an inverse model the other way.

#include <cmath>
#include <memory>
#include <optional>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "points/dem_options.h"
#include "points/ground_frame.h"
#include "points/ground_marks.h"
#include "points/point_options.h"
#include "rpc/inverse_rpc.h"
#include "terrain/terrain_locator.h"

namespace orbmath_tool {

namespace {

/// The six derivatives, in the order of their columns.
constexpr const char* kDerivatives[] = {"dline_dlat",   "dline_dlon",   "dline_dheight",
                                        "dsample_dlat", "dsample_dlon", "dsample_dheight"};

/// With an inverse model: line, sample and height in, latitude and longitude out.
class InverseTask : public PointTask {
 public:
  InverseTask(const Model& model, double shift, const PointOptions& options)
      : inverse_(model.file.record), shift_(shift) {
    columns_ = {options.Latitude(), options.Longitude()};
  }

  const std::vector<TableColumn>& Input() const override { return input_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }

  void Compute(LineBlock* block) const override {
    for (int i = 0; i < 2; ++i) {
      for (double& pixels : block->in[i]) pixels -= shift_;
    }
    inverse_.Evaluate(block->count, block->in[0].data(), block->in[1].data(), block->in[2].data(), block->out[0].data(),
                      block->out[1].data());
  }

 private:
  const SatCommonUtils::TInverseRPC inverse_;
  const double shift_;
  const std::vector<TableColumn> input_{columns::kLine, columns::kSample, columns::kHeight};
  std::vector<OutputColumn> columns_;
};

class ProjectTask : public PointTask {
 public:
  /// \param frame how the points are written. \param surface null, or where heights that are not given come from.
  /// \param locator null, or what tells which points are visible.
  ProjectTask(const Model& model, const GroundFrame& frame, bool derivatives, double shift, const PointOptions& options,
              const SatCommonUtils::THeightSurface* surface, const SatCommonUtils::TTerrainLocator* locator)
      : model_(model),
        frame_(frame),
        derivatives_(derivatives),
        shift_(shift),
        surface_(surface),
        locator_(locator),
        input_(frame.PlaceColumns()) {
    input_.push_back(frame.HeightColumn(surface != nullptr));
    columns_ = {{"line", options.Digits(kPixelDigits)}, {"sample", options.Digits(kPixelDigits)}};
    for (int i = 0; i < 6 && derivatives; ++i) {
      // Pixels per degree, and pixels per metre.
      columns_.push_back({kDerivatives[i], options.Digits(i % 3 == 2 ? kDegreeDigits : kPixelDigits)});
    }
    if (locator != nullptr) columns_.push_back({"visible", 0, {"visible", "visible-void", "hidden", "no-line"}});
  }

  const std::vector<TableColumn>& Input() const override { return input_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }
  std::optional<GroundPlace> Place() const override { return GroundPlace{true, 0, 1, 2}; }

  void Compute(LineBlock* block) const override {
    frame_.ToGround(block->count, block->in[0].data(), block->in[1].data(), block->in[2].data());
    if (surface_ != nullptr) FillHeights(block);
    double* d[6] = {};
    for (std::size_t i = 0; i < 6 && derivatives_; ++i) d[i] = block->out[i + 2].data();
    model_.rpc->CalculateLineSampleArray(block->count, block->in[0].data(), block->in[1].data(), block->in[2].data(),
                                         block->out[0].data(), block->out[1].data(), derivatives_ ? d : nullptr,
                                         derivatives_ ? d + 3 : nullptr);
    for (int i = 0; i < 2; ++i) {
      for (double& pixels : block->out[i]) pixels += shift_;
    }
    block->marks.resize(block->count);
    for (std::size_t i = 0; i < block->count; ++i) {
      const double lat = block->in[0][i];
      const double lon = block->in[1][i];
      if (std::isnan(lat))
        block->Fail(i, frame_.WhyNowhere());
      else if (!IsGround(lat, lon))
        block->Fail(i, WhyNoGround(lat, lon));
      else if (std::isnan(block->in[2][i]))
        block->Fail(i, kNoTerrainHeight);
      block->marks[i] = StatusOf(*model_.rpc, lat, lon, block->in[2][i]);
    }
    if (locator_ != nullptr) Look(block);
  }

  void Observe(const LineBlock& block) override {
    marks_.Add(block);
    exchanged_ += CountExchanged(*model_.rpc, block);
  }

  /// Says on standard error what is strange about the points.
  void Report() const {
    marks_.ReportGiven();
    if (exchanged_ == 0) return;
    Note("with latitude and longitude exchanged " + std::to_string(exchanged_) +
         " of them would be inside: see to their order (--lonlat, --columns)");
  }

 private:
  void FillHeights(LineBlock* block) const {
    std::vector<double> h(block->count);
    surface_->GetHeights(block->count, block->in[0].data(), block->in[1].data(), h.data());
    for (std::size_t i = 0; i < block->count; ++i) {
      if (std::isnan(block->in[2][i])) block->in[2][i] = h[i];
    }
  }

  void Look(LineBlock* block) const {
    std::vector<SatCommonUtils::TVisibility> seen(block->count);
    locator_->GetVisibilityArray(block->count, block->in[0].data(), block->in[1].data(), block->in[2].data(),
                                 seen.data());
    // The words stand in the order of the states, the first of which is "not run".
    for (std::size_t i = 0; i < block->count; ++i) block->out.back()[i] = static_cast<double>(seen[i]) - 1.0;
  }

  const Model& model_;
  const GroundFrame& frame_;
  const bool derivatives_;
  const double shift_;
  const SatCommonUtils::THeightSurface* const surface_;
  const SatCommonUtils::TTerrainLocator* const locator_;
  std::vector<TableColumn> input_;
  std::vector<OutputColumn> columns_;
  MarkCounter marks_;
  std::size_t exchanged_ = 0;
};

class Project : public Command {
 public:
  const char* Notes() const override {
    return "Each line 'lat lon height' (degrees, degrees, metres above the ellipsoid) becomes 'line sample' "
           "(pixels). With --derivatives six more columns follow: of the line, then of the sample, by latitude "
           "and longitude (pixels per degree) and by height (pixels per metre). With an inverse model, as 'orbmath "
           "invert' writes it, each line 'line sample height' becomes 'lat lon'.\n\n"
           "With --dem a point without a height gets that of the terrain, and --visible adds a column: 'visible', "
           "'visible-void' (as far as heights are known), 'hidden' or 'no-line'.\n\n"
           "Example:\n"
           "  echo '43.55 1.49 200' | orbmath project image.RPB";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form");
    options_.DeclareFiles(line);
    line.Flag("--derivatives", &derivatives_, "add the six derivatives");
    frame_.DeclareOrder(line);
    frame_.DeclareHeight(line, "height of points that give none, metres");
    dem_.Declare(line);
    line.Flag("--visible", &visible_, "add whether the point is seen or hidden by terrain (with --dem)");
    origin_.Declare(line);
    options_.DeclareOutput(line);
    reading_.Declare(line);
  }

  int Run() override {
    options_.KeepFromReplacing({model_});
    options_.KeepFromReplacing(dem_.Files());
    const Model model = ReadModel(model_, reading_, options_.Files());
    if (model.kind == SatCommonUtils::TModelKind::Inverse) {
      if (derivatives_ || dem_.IsGiven()) {
        throw UsageError("--derivatives and --dem do not go with an inverse model");
      }
      InverseTask task(model, origin_.Shift(), options_);
      return options_.Run(&task);
    }
    if (visible_ && !dem_.IsGiven()) throw UsageError("--visible needs --dem");
    if (frame_.Height() && dem_.IsGiven()) throw UsageError("--height and --dem exclude each other");
    frame_.SetGeoid(dem_.TakeGeoid());
    frame_.Open();
    const auto surface = dem_.Open();
    std::unique_ptr<SatCommonUtils::TTerrainLocator> locator;
    if (visible_) locator = std::make_unique<SatCommonUtils::TTerrainLocator>(*model.rpc, *surface);
    ProjectTask task(model, frame_, derivatives_, origin_.Shift(), options_, surface.get(), locator.get());
    const int status = options_.Run(&task);
    task.Report();
    return status;
  }

 private:
  ModelReading reading_;
  std::string model_;
  bool derivatives_ = false;
  GroundFrame frame_;
  DemChoice dem_;
  bool visible_ = false;
  PixelOrigin origin_;
  PointOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeProject() { return std::make_unique<Project>(); }

}  // namespace orbmath_tool
