#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "commands/command.h"
#include "frame/zxstd/number_text.h"
#include "models/ground_grid.h"
#include "models/inverse_model.h"
#include "models/model.h"
#include "points/point_options.h"
#include "refine/adjusted_rpc.h"
#include "report/json.h"
#include "report/report.h"
#include "rpc/ground_branch.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_fields.h"

namespace orbmath_tool {

using SatCommonUtils::TRPC;

namespace {

// The grid of the round trip and of the approximation.
constexpr int kAcross = 21;
constexpr int kHeights = 5;

const char* UnitName(SatCommonUtils::TRPCFieldUnit unit) {
  switch (unit) {
    case SatCommonUtils::TRPCFieldUnit::Pixels:
      return "px";
    case SatCommonUtils::TRPCFieldUnit::Degrees:
      return "deg";
    default:
      return "m";
  }
}

void AddFile(const Model& model, Report* report) {
  const SatCommonUtils::TRPCFileExtras& extras = model.file.extras;
  report->Text("file", "file", model.name);
  report->Text("form", "form", SatCommonUtils::RPCFileFormName(model.file.form));
  if (extras.satelliteId) report->Text("satellite", "satellite", *extras.satelliteId);
  if (extras.bandId) report->Text("band", "band", *extras.bandId);
  if (extras.biasError) report->Number("bias_error", "bias error", *extras.biasError, Report::kExact, "m");
  if (extras.randomError) report->Number("random_error", "random error", *extras.randomError, Report::kExact, "m");
}

void AddOffsetsAndScales(const SatCommonUtils::TRPCData& record, double shift, Report* report) {
  report->Heading("Offsets and scales");
  for (const SatCommonUtils::TRPCScalarField& field : SatCommonUtils::RPCScalarFields()) {
    const bool pixel_offset =
        field.value == &SatCommonUtils::TRPCData::lineOffset || field.value == &SatCommonUtils::TRPCData::sampOffset;
    report->Number(field.rpbKey, field.rpbKey, record.*field.value + (pixel_offset ? shift : 0.0), Report::kExact,
                   UnitName(field.unit));
  }
}

void AddRange(const std::string& key, const std::string& label, double from, double to, int digits,
              const std::string& unit, Report* report) {
  report->Number(key + "_min", label + " from", std::min(from, to), digits, unit);
  report->Number(key + "_max", label + " to", std::max(from, to), digits, unit);
}

void AddExtents(const TRPC& model, double shift, Report* report) {
  report->Heading("Extents");
  AddRange("lat", "latitude", model.GetMinLatitude(), model.GetMaxLatitude(), 8, "deg", report);
  AddRange("lon", "longitude", model.GetMinLongitude(), model.GetMaxLongitude(), 8, "deg", report);
  AddRange("height", "height", model.GetMinHeight(), model.GetMaxHeight(), 3, "m", report);
  AddRange("line", "line", model.GetMinLine() + shift, model.GetMaxLine() + shift, 2, "px", report);
  AddRange("sample", "sample", model.GetMinSample() + shift, model.GetMaxSample() + shift, 2, "px", report);
  int width = 0;
  int height = 0;
  if (model.GetRasterDims(&width, &height)) {
    report->Text("raster_size", "raster size", std::to_string(width) + " x " + std::to_string(height));
  } else {
    report->Text("raster_size", "raster size", "unknown");
  }
  SatCommonUtils::TPolygon margin;
  const bool has_margin = model.GetMargin(&margin);
  report->Text("margin", "margin", has_margin ? std::to_string(margin.GetVertices().size()) + " vertices" : "none");
}

/// The kind of the refinement and its parameters.
void AddRefinement(const Model& model, Report* report) {
  const SatCommonUtils::TAdjustedRPC* const refined = AsRefined(model);
  if (refined == nullptr) {
    report->Text("refinement", "refinement", "none");
    return;
  }
  const auto data = refined->GetRPCRefinementData();
  report->Text("refinement", "refinement", SatCommonUtils::GetRPCRefinementTransformTypeName(data->type));
  std::vector<double> values;
  data->GetParametersValues(&values);
  std::string text;
  std::string json;
  for (const double value : values) {
    text += (text.empty() ? "" : " ") + SatCommonUtils::FormatDouble(value);
    json += (json.empty() ? "" : ",") + JsonNumber(value);
  }
  report->Json("refinement_parameters", "[" + json + "]");
  report->Lines("parameters: " + text + "\n");
}

void AddAccuracy(const TRPC& model, Report* report) {
  report->Heading("Over " + std::to_string(kAcross) + " x " + std::to_string(kAcross) + " x " +
                  std::to_string(kHeights) + " points of the ground box");
  const GroundPoints grid = MakeGrid(BoxOf(model), kAcross, kHeights);
  const ImagePoints image = Project(model, grid);

  ImagePoints approximate = image;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    model.CalculateLineSampleApproximately(grid.lat[i], grid.lon[i], grid.height[i], &approximate.line[i],
                                           &approximate.sample[i]);
  }
  const PixelDifference approximation(image, approximate);
  report->Number("approximation_rms", "first-order approximation, rms", approximation.rms, 4, "px");
  report->Number("approximation_max", "first-order approximation, worst", approximation.max, 4, "px");

  std::vector<SatCommonUtils::TGroundSolution> back(grid.size());
  const std::size_t converged = SatCommonUtils::SolveLatLonArray(model, grid.size(), image.line.data(),
                                                                 image.sample.data(), grid.height.data(), back.data());
  // Degrees: a round trip that ends farther off has ended at another ground point of the same image point.
  constexpr double kElsewhere = 1e-6;
  double degrees = 0.0;
  double pixels = 0.0;
  std::size_t elsewhere = 0;
  for (std::size_t i = 0; i < grid.size(); ++i) {
    if (!back[i]) continue;
    const double off = std::max(std::abs(back[i].lat - grid.lat[i]), std::abs(back[i].lon - grid.lon[i]));
    pixels = std::max(pixels, back[i].residual);
    if (off > kElsewhere) {
      ++elsewhere;
    } else {
      degrees = std::max(degrees, off);
    }
  }
  if (converged == elsewhere) degrees = std::nan("");
  if (converged == 0) pixels = std::nan("");
  report->Number("round_trip_max_deg", "ground to image to ground, worst", degrees, 13, "deg");
  report->Number("round_trip_max_px", "image to ground to image, worst", pixels, 10, "px");
  report->Count("round_trip_elsewhere", "round trips that end elsewhere", elsewhere);
  report->Count("round_trip_not_converged", "points without a ground point", grid.size() - converged);
}

/// Whether poles or folds cross the box.
void AddBranch(const TRPC& model, Report* report) {
  const SatCommonUtils::TBoxExamination box = SatCommonUtils::ExamineBox(model);
  const auto say = [&](std::size_t beyond) -> std::string {
    if (box.provenFree) return "none in the ground box";
    const std::string points = std::to_string(box.points) + " points of the ground box";
    if (beyond == 0) return "none found at " + points;
    return "cross the ground box: " + std::to_string(beyond) + " of " + points + " lie beyond";
  };
  report->Text("poles", "poles", say(box.beyondPole));
  report->Text("folds", "folds", say(box.beyondFold));
}

class Info : public Command {
 public:
  const char* Notes() const override {
    return "Line and sample are those of the model file unless --origin says otherwise.\n\n"
           "Example:\n"
           "  orbmath info image.RPB";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form");
    line.Flag("--json", &json_, "one JSON object");
    origin_.Declare(line);
  }

  int Run() override {
    const Model model = ReadModel(model_);
    const double shift = origin_.Shift();
    Report report;
    AddFile(model, &report);
    AddOffsetsAndScales(model.file.record, shift, &report);
    AddExtents(*model.rpc, shift, &report);
    AddRefinement(model, &report);
    if (IsInverse(model.file.record)) {
      report.Text("inverse", "inverse", "line and sample stand in the places of latitude and longitude");
    } else {
      AddAccuracy(*model.rpc, &report);
      AddBranch(*model.rpc, &report);
    }
    report.Print(json_);
    return 0;
  }

 private:
  std::string model_;
  bool json_ = false;
  PixelOrigin origin_;
};

}  // namespace

std::unique_ptr<Command> MakeInfo() { return std::make_unique<Info>(); }

}  // namespace orbmath_tool
