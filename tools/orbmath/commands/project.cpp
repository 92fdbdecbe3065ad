#include "commands/command.h"
#include "errors.h"
#include "models/inverse_model.h"
#include "models/model.h"
#include "points/ground_marks.h"
#include "points/point_options.h"

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
    layout_.columns = {{"line"}, {"sample"}, {"height"}};
    columns_ = {{"lat", options.Digits(kDegreeDigits)}, {"lon", options.Digits(kDegreeDigits)}};
  }

  const LineLayout& Layout() const override { return layout_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }

  void Compute(LineBlock* block) const override {
    for (int i = 0; i < 2; ++i) {
      for (double& pixels : block->in[i]) pixels -= shift_;
    }
    inverse_.Evaluate(block->count, block->in[0].data(), block->in[1].data(), block->in[2].data(), block->out[0].data(),
                      block->out[1].data());
  }

 private:
  const InverseModel inverse_;
  const double shift_;
  LineLayout layout_;
  std::vector<OutputColumn> columns_;
};

class ProjectTask : public PointTask {
 public:
  ProjectTask(const Model& model, bool derivatives, double shift, const PointOptions& options)
      : model_(model), derivatives_(derivatives), shift_(shift) {
    layout_.columns = {{"lat"}, {"lon"}, {"height"}};
    columns_ = {{"line", options.Digits(kPixelDigits)}, {"sample", options.Digits(kPixelDigits)}};
    if (!derivatives) return;
    for (int i = 0; i < 6; ++i) {
      // Pixels per degree, and pixels per metre.
      columns_.push_back({kDerivatives[i], options.Digits(i % 3 == 2 ? kDegreeDigits : kPixelDigits)});
    }
  }

  const LineLayout& Layout() const override { return layout_; }
  const std::vector<OutputColumn>& Columns() const override { return columns_; }

  void Compute(LineBlock* block) const override {
    double* d[6] = {};
    for (std::size_t i = 2; i < columns_.size(); ++i) d[i - 2] = block->out[i].data();
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
      if (!IsGround(lat, lon)) block->Fail(i, WhyNoGround(lat, lon));
      block->marks[i] = StatusOf(*model_.rpc, lat, lon, block->in[2][i]);
    }
  }

  void Observe(const LineBlock& block) override { marks_.Add(block); }

  const MarkCounter& Marks() const { return marks_; }

 private:
  const Model& model_;
  const bool derivatives_;
  const double shift_;
  LineLayout layout_;
  std::vector<OutputColumn> columns_;
  MarkCounter marks_;
};

class Project : public Command {
 public:
  const char* Notes() const override {
    return "Each line 'lat lon height' (degrees, degrees, metres above the ellipsoid) becomes 'line sample' "
           "(pixels). With --derivatives six more columns follow: of the line, then of the sample, by latitude "
           "and longitude (pixels per degree) and by height (pixels per metre). With an inverse model, as 'orbmath "
           "invert' writes it, each line 'line sample height' becomes 'lat lon'.\n\n"
           "Example:\n"
           "  echo '43.55 1.49 200' | orbmath project image.RPB";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form");
    options_.DeclareFiles(line);
    line.Flag("--derivatives", &derivatives_, "add the six derivatives");
    origin_.Declare(line);
    options_.DeclareOutput(line);
    reading_.Declare(line);
  }

  int Run() override {
    const Model model = ReadModel(model_, reading_);
    if (IsInverse(model.file.record)) {
      if (derivatives_) throw UsageError("--derivatives does not go with an inverse model");
      InverseTask task(model, origin_.Shift(), options_);
      return options_.Run(&task);
    }
    ProjectTask task(model, derivatives_, origin_.Shift(), options_);
    const int status = options_.Run(&task);
    task.Marks().ReportGiven();
    return status;
  }

 private:
  ModelReading reading_;
  std::string model_;
  bool derivatives_ = false;
  PixelOrigin origin_;
  PointOptions options_;
};

}  // namespace

std::unique_ptr<Command> MakeProject() { return std::make_unique<Project>(); }

}  // namespace orbmath_tool
