// orbmath info: what a model says and how well it behaves.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "models/ground_grid.h"
#include "models/model.h"
#include "points/dem_options.h"
#include "points/point_options.h"
#include "refine/adjusted_rpc.h"
#include "report/fixed_digits.h"
#include "report/json.h"
#include "report/report.h"
#include "rpc/ground_branch.h"
#include "rpc/ground_solution.h"
#include "rpc/inverse_rpc.h"
#include "rpc/rpc_boxes.h"
#include "rpc/rpc_fields.h"
#include "terrain/terrain_locator.h"

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

/// A row for people only when something is known, for programs null otherwise.
void AddKnownText(const std::string& key, const std::string& label, const std::string& text, Report* report) {
  if (text.empty()) {
    report->Json(key, JsonWriter().Null());
  } else {
    report->Text(key, label, text);
  }
}

void AddKnownMetres(const std::string& key, const std::string& label, const std::optional<double>& number,
                    Report* report) {
  if (number) {
    report->Number(key, label, *number, Report::kExact, "m");
  } else {
    report->Json(key, JsonWriter().Null());
  }
}

void AddFile(const Model& model, Report* report) {
  const SatCommonUtils::TRPCFileExtras& extras = model.file.extras;
  const SatCommonUtils::TRPCFileOrigin& origin = model.file.origin;
  report->Text("file", "file", model.name);
  report->Text("form", "form", SatCommonUtils::RPCFileFormName(model.file.form));
  AddKnownText("variant", "variant", origin.variant, report);
  if (origin.source == model.name) {
    report->Json("source", JsonWriter().Value(origin.source));
  } else {
    AddKnownText("source", "read from", origin.source, report);
  }
  AddKnownText("satellite", "satellite", extras.satelliteId.value_or(""), report);
  AddKnownText("band", "band", extras.bandId.value_or(""), report);
  AddKnownText("acquired", "acquired", origin.acquisitionTime, report);
  AddKnownMetres("bias_error", "bias error", extras.biasError, report);
  AddKnownMetres("random_error", "random error", extras.randomError, report);
  AddKnownText("fit_error", "maker's fit error", origin.fitError, report);
}

/// What the file counts from, in which order its terms stand, where it says that its model holds.
void AddConventions(const Model& model, Report* report) {
  const SatCommonUtils::TRPCFileOrigin& origin = model.file.origin;
  report->Heading("Conventions of the file; the numbers below have the first pixel at 0 and RPC00B");
  report->Count("first_pixel", "first pixel", static_cast<std::size_t>(origin.firstPixel));
  report->Text("first_pixel_rule", "  by", origin.firstPixelRule);
  report->Text("term_order", "order of terms", SatCommonUtils::RPCTermOrderName(origin.termOrder));
  report->Text("direct_model", "image-to-ground model", origin.directModel ? "in the file, not used" : "none");
  if (const auto& image = origin.imageDomain) {
    const double ends[] = {image->firstLine, image->firstSample, image->lastLine, image->lastSample};
    report->Json("image_domain", JsonWriter().Numbers(ends));
    report->Lines("holds for lines " + SatCommonUtils::FormatDouble(ends[0]) + " to " +
                  SatCommonUtils::FormatDouble(ends[2]) + ", samples " + SatCommonUtils::FormatDouble(ends[1]) +
                  " to " + SatCommonUtils::FormatDouble(ends[3]) + "\n");
  }
  if (const auto& ground = origin.groundDomain) {
    const double ends[] = {ground->firstLat, ground->firstLon, ground->lastLat, ground->lastLon};
    report->Json("ground_domain", JsonWriter().Numbers(ends));
    report->Lines("holds for latitudes " + SatCommonUtils::FormatDouble(ends[0]) + " to " +
                  SatCommonUtils::FormatDouble(ends[2]) + ", longitudes " + SatCommonUtils::FormatDouble(ends[1]) +
                  " to " + SatCommonUtils::FormatDouble(ends[3]) + "\n");
  }
  JsonWriter notes;
  notes.BeginArray();
  for (const std::string& note : origin.notes) {
    notes.Value(note);
    report->Lines("note: " + note + "\n");
  }
  report->Json("notes", notes.EndArray());
}

/// Whether the model counts in this image, or in a scene of which it is a tile: seen from where the two lie.
void AddFrame(const TRPC& model, Report* report) {
  int width = 0;
  int height = 0;
  if (!model.GetRasterDims(&width, &height)) return;
  const auto within = [](double a, double b, double size) {
    // A model's box is at most a little larger than the image that it was fitted to.
    constexpr double kSlack = 0.5;
    return std::min(a, b) > -kSlack * size && std::max(a, b) < (1.0 + kSlack) * size;
  };
  const bool image = within(model.GetMinLine(), model.GetMaxLine(), height) &&
                     within(model.GetMinSample(), model.GetMaxSample(), width);
  report->Text("counts_in", "counts in",
               image ? "this image" : "a larger scene or another image: its box is not that of this raster");
}

/// In an inverse model pixels and degrees stand in each other's places.
SatCommonUtils::TRPCFieldUnit UnitIn(const SatCommonUtils::TRPCData& record, SatCommonUtils::TRPCFieldUnit unit) {
  using Unit = SatCommonUtils::TRPCFieldUnit;
  if (!SatCommonUtils::IsInverseRPC(record) || unit == Unit::Metres) return unit;
  return unit == Unit::Pixels ? Unit::Degrees : Unit::Pixels;
}

void AddOffsetsAndScales(const SatCommonUtils::TRPCData& record, double shift, Report* report) {
  report->Heading("Offsets and scales");
  const auto& fields = SatCommonUtils::RPCScalarFields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const SatCommonUtils::TRPCFieldUnit unit = UnitIn(record, fields[i].unit);
    const bool pixel_offset = i % 2 == 0 && unit == SatCommonUtils::TRPCFieldUnit::Pixels;
    report->Number(fields[i].rpbKey, fields[i].rpbKey, record.*fields[i].value + (pixel_offset ? shift : 0.0),
                   Report::kExact, UnitName(unit));
  }
  for (const SatCommonUtils::TRPCCoefficientField& field : SatCommonUtils::RPCCoefficientFields()) {
    report->Json(field.rpbKey, JsonWriter().Numbers(record.*field.values));
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
  for (const double value : values) text += (text.empty() ? "" : " ") + SatCommonUtils::FormatDouble(value);
  report->Json("refinement_parameters", JsonWriter().Numbers(values));
  report->Lines("parameters: " + text + "\n");
}

void AddAccuracy(const TRPC& model, Report* report) {
  report->Heading("Over " + std::to_string(kAcross) + " x " + std::to_string(kAcross) + " x " +
                  std::to_string(kHeights) + " points of the ground box");
  const GroundPoints grid = MakeGrid(SatCommonUtils::GroundBoxOf(model), kAcross, kHeights);
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

/// The ground under the image's edge: corners and the middles between them, around the image.
void AddFootprint(const TRPC& model, const SatCommonUtils::THeightSurface& surface, double shift, Report* report) {
  constexpr double kAround[][2] = {{-1, -1}, {-1, 0}, {-1, 1}, {0, 1}, {1, 1}, {1, 0}, {1, -1}, {0, -1}};
  report->Heading("Footprint on the terrain: line, sample (px), latitude, longitude (deg), height (m)");
  const SatCommonUtils::TImageBox image =
      SatCommonUtils::ImageBoxOf(model, SatCommonUtils::TRasterBounds::PixelCentres);
  const SatCommonUtils::TTerrainLocator locator(model, surface);
  std::string lines;
  JsonWriter json;
  json.BeginArray();
  for (const auto& place : kAround) {
    const double line = image.line.Normalized2Initial(place[0]);
    const double sample = image.sample.Normalized2Initial(place[1]);
    const SatCommonUtils::TTerrainSolution ground = locator.Locate(line, sample);
    lines += PadLeft(Fixed(line + shift, 2), 12) + PadLeft(Fixed(sample + shift, 2), 12) + "  ";
    lines +=
        ground ? PadLeft(Fixed(ground.lat, 8), 13) + PadLeft(Fixed(ground.lon, 8), 14) + PadLeft(Fixed(ground.h, 3), 11)
               : std::string(SatCommonUtils::DescribeTerrainState(ground.state));
    lines += "\n";
    json.BeginObject().Member("line", line + shift).Member("sample", sample + shift);
    json.Member("lat", ground.lat).Member("lon", ground.lon).Member("height", ground.h).EndObject();
  }
  report->Lines(lines);
  report->Json("footprint", json.EndArray());
}

class Info : public Command {
 public:
  const char* Notes() const override {
    return "Line and sample are those of the model file unless --origin says otherwise.\n\n"
           "Examples:\n"
           "  orbmath info image.RPB\n"
           "  orbmath info *.RPB --json";
  }

  void Declare(CommandLine& line) override {
    line.Arguments("MODEL", &models_, 1, "model files of any form, '-' for standard input");
    dem_.Declare(line);
    line.Flag("--json", &json_, "one JSON object a model, one line each");
    origin_.Declare(line);
    reading_.Declare(line);
  }

  int Run() override {
    int status = kSuccess;
    const auto surface = dem_.Open();
    for (const std::string& name : models_) {
      if (!json_ && &name != &models_.front()) std::puts("");
      try {
        ReportOf(ReadModel(name, reading_), surface.get()).Print(json_);
      } catch (const Failure& failure) {
        // The others are still told of; a program finds an object in the place of each.
        if (models_.size() == 1) throw;
        if (json_)
          std::puts(JsonWriter()
                        .BeginObject()
                        .Member("file", name)
                        .Member("error", failure.what())
                        .EndObject()
                        .Text()
                        .c_str());
        Note(failure.what());
        status = kFailure;
      }
    }
    return status;
  }

 private:
  /// \param surface null, or the terrain of the footprint.
  Report ReportOf(const Model& model, const SatCommonUtils::THeightSurface* surface) const {
    const double shift = origin_.Shift();
    Report report;
    AddFile(model, &report);
    AddConventions(model, &report);
    AddOffsetsAndScales(model.file.record, shift, &report);
    if (model.kind != SatCommonUtils::TModelKind::Inverse) {
      AddExtents(*model.rpc, shift, &report);
      AddFrame(*model.rpc, &report);
    }
    AddRefinement(model, &report);
    if (model.kind == SatCommonUtils::TModelKind::Inverse) {
      report.Text("inverse", "inverse", "line and sample stand in the places of latitude and longitude");
    } else {
      AddAccuracy(*model.rpc, &report);
      AddBranch(*model.rpc, &report);
      if (surface != nullptr) AddFootprint(*model.rpc, *surface, shift, &report);
    }
    return report;
  }

  ModelReading reading_;
  std::vector<std::string> models_;
  bool json_ = false;
  DemChoice dem_;
  PixelOrigin origin_;
};

}  // namespace

std::unique_ptr<Command> MakeInfo() { return std::make_unique<Info>(); }

}  // namespace orbmath_tool
