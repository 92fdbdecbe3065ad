// orbmath invert: a model from image and height to the ground.

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "models/model.h"
#include "refine/robust_fit.h"
#include "report/output_file.h"
#include "report/progress_line.h"
#include "report/report.h"
#include "rpc/ground_solution.h"
#include "rpc/inverse_rpc.h"
#include "rpc/rpc_boxes.h"

namespace orbmath_tool {

using SatCommonUtils::TImageBox;
using SatCommonUtils::TImagePoint;
using SatCommonUtils::TInverseRPC;
using SatCommonUtils::TRPC;
using SatCommonUtils::TRPCData;

namespace {

constexpr int kDefaultGrid = 20;

/// How far an inverse model misses, over image points that its fit has not seen.
struct InverseError {
  double max_degrees = 0.0;
  double rms_pixels = 0.0;
  double max_pixels = 0.0;
  std::size_t points = 0;
};

/// The middles of the cells of the grid that the fit was made on.
InverseError Judge(const TRPC& model, const TInverseRPC& inverse, int grid) {
  constexpr SatCommonUtils::TGridNodes kMiddles = SatCommonUtils::TGridNodes::Middles;
  const SatCommonUtils::TRPCNormalization& axes = model.GetNormalization();
  InverseError error;
  double squares = 0.0;
  for (const TImagePoint& point : TImageBox{axes.line, axes.sample}.Grid(grid, grid, kMiddles)) {
    for (int k = 0; k < grid; ++k) {
      const double h = axes.height.Normalized2Initial(SatCommonUtils::GridPlace(k, grid, kMiddles));
      const SatCommonUtils::TGroundSolution truth = SatCommonUtils::SolveLatLon(model, point.line, point.sample, h);
      if (!truth) continue;
      double lat = 0.0;
      double lon = 0.0;
      inverse.Evaluate(1, &point.line, &point.sample, &h, &lat, &lon);
      TImagePoint back;
      model.CalculateLineSample(lat, lon, h, &back.line, &back.sample, nullptr, nullptr);
      const double pixels = std::hypot(back.line - point.line, back.sample - point.sample);
      error.max_degrees = std::max({error.max_degrees, std::abs(lat - truth.lat), std::abs(lon - truth.lon)});
      error.max_pixels = std::max(error.max_pixels, pixels);
      squares += pixels * pixels;
      ++error.points;
    }
  }
  error.rms_pixels = std::sqrt(squares / static_cast<double>(error.points));
  return error;
}

class Invert : public Command {
 public:
  const char* Notes() const override {
    return "The inverse model gives latitude and longitude as ratios of cubic polynomials in line, sample and "
           "height. In its file the two pairs have changed places: the values called line and sample are "
           "latitude and longitude, those called latitude and longitude are line and sample. Its error is "
           "measured in the middles of the cells of the grid that it was fitted on, which the fit has not seen. A "
           "refinement goes into the inverse. 'orbmath project OUT' takes 'line sample height' to 'lat lon'.\n\n"
           "Example:\n"
           "  orbmath invert image.RPB inverse.xml --grid 20";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form");
    line.Argument("OUT", &out_, "file to be written, '-' for standard output");
    form_.Declare(line);
    line.Count("--grid", "N", 3, 200, &grid_, "cells of the grid along each of line, sample and height (default 20)");
    line.Flag("--json", &json_, "report as one JSON object");
    reading_.Declare(line);
  }

  int Run() override {
    const SatCommonUtils::TRPCFileForm form = form_.Of(out_);
    RefuseToReplace(out_, {model_});
    const Model model = ReadGroundModel(model_, reading_);
    const int grid = grid_.value_or(kDefaultGrid);
    WorkProgress progress("fitting");
    TRPCData record;
    SatCommonUtils::TRPCFitReport story;
    if (!SatCommonUtils::FitInvertedRPC(TRPC(PlainRecord(model), nullptr), &record, grid, &progress, &story)) {
      throw Failure(model_ + ": no inverse can be fitted: " + story.message);
    }
    const TInverseRPC inverse(WriteModel(TRPC(record), {}, form, out_).record);
    const InverseError error = Judge(*model.rpc, inverse, grid);
    Report report;
    report.Text("file", "written", out_);
    report.Count("points", "points of the independent grid", error.points);
    report.Number("rms_px", "error of the file, rms", error.rms_pixels, 9, "px");
    report.Number("max_px", "error of the file, worst", error.max_pixels, 9, "px");
    report.Number("max_deg", "error of the file, worst", error.max_degrees, 13, "deg");
    report.Print(json_, out_ == "-");
    return kSuccess;
  }

 private:
  ModelReading reading_;
  std::string model_;
  std::string out_;
  OutputForm form_;
  std::optional<int> grid_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeInvert() { return std::make_unique<Invert>(); }

}  // namespace orbmath_tool
