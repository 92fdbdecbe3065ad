// orbmath grid: coordinate grids for those who resample themselves.

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "frame/zxstd/threads.h"
#include "models/map_options.h"
#include "models/model.h"
#include "models/raster_library.h"
#include "points/dem_options.h"
#include "report/interruption.h"
#include "report/output_file.h"
#include "report/progress_line.h"

namespace orbmath_tool {

namespace {

class Grid : public Command {
 public:
  const char* Notes() const override {
    return "Without --map the nodes are every STEP-th pixel of the image, and the bands latitude, longitude (degrees) "
           "and height (metres above the ellipsoid) of the ground that they see. With --map the nodes are the pixels "
           "of "
           "a map, and the bands line and sample of the image there; the map is chosen as 'orbmath ortho' chooses it. "
           "Numbers are doubles, NaN where there is no height or no image.\n\n"
           "OUT is a GeoTIFF, or an array of NumPy with the shape (bands, rows, columns) where its name ends in "
           ".npy.\n\n"
           "Example:\n"
           "  orbmath grid image.RPB ground.npy --height 410 --step 16\n"
           "  orbmath grid image.tif lines_samples.tif --map --dem srtm.tif --geoid egm96 --resolution 2";
  }

  void Declare(CommandLine& line) override {
    line.Argument("MODEL", &model_, "model file of any form, or an image");
    line.OutputArgument("OUT", &output_, "file to write");
    dem_.Declare(line);
    line.Number("--height", "H", &height_, "one height for all, metres above the ellipsoid, in the place of a DEM");
    line.Flag("--map", &map_, "image points of a map's pixels, instead of the ground of the image's");
    frame_.Declare(line);
    line.Count("--step", "N", 1, 1 << 20, &step_, "every so many pixels of the image (default: 1)");
    line.Numbers("--size", "LINES SAMPLES", 2, &size_,
                 "size of the image (default: the file's, else the model's range)");
    line.Count("--threads", "N", 1, 1024, &threads_, "threads (default: one a processor)");
    reading_.Declare(line);
  }

  int Run() override {
    if (dem_.IsGiven() == height_.has_value()) throw UsageError("a grid needs either --dem or --height");
    if (map_ && step_) throw UsageError("--step counts pixels of the image, --resolution those of a map");
    if (!map_ && frame_.IsGiven()) throw UsageError("--crs, --resolution, --bounds and --like need --map");
    const std::string suffix = SuffixOf(output_);
    if (!suffix.empty() && suffix != ".tif" && suffix != ".tiff" && suffix != ".npy") {
      throw UsageError("the name '" + output_ + "' is neither that of a GeoTIFF (.tif) nor of an array (.npy)");
    }
    RefuseToReplace(output_, {model_});
    RefuseToReplace(output_, dem_.Files());
    if (threads_) SatCommonUtils::ZxSetThreadsCount(*threads_);
    const Model model = ReadGroundModel(model_, reading_);
    std::shared_ptr<const SatCommonUtils::THeightSurface> surface = dem_.Open();
    if (surface == nullptr) surface = std::make_shared<SatCommonUtils::TConstantHeight>(*height_);
    SatCommonUtils::TGridProblem problem;
    problem.output = output_;
    problem.model = &*model.rpc;
    problem.surface = surface.get();
    FindSize(model, &problem);
    SatCommonUtils::TGridOptions options;
    options.kind = map_ ? SatCommonUtils::TGridKind::PixelsOfMap : SatCommonUtils::TGridKind::GroundOfPixels;
    options.frame = frame_.Options();
    options.step = step_.value_or(1);
    const Interruption interruption;
    WorkProgress progress("grid");
    options.progress = &progress;
    const SatCommonUtils::TGridResult result = MakeGridFile(problem, options);
    Note(output_ + ": " + std::to_string(result.columns) + " x " + std::to_string(result.rows) + " nodes, " +
         std::to_string(result.found) + " with coordinates");
    return kSuccess;
  }

 private:
  void FindSize(const Model& model, SatCommonUtils::TGridProblem* problem) const {
    if (!size_.empty()) {
      if (!(size_[0] >= 1.0 && size_[1] >= 1.0 && size_[0] <= 1e9 && size_[1] <= 1e9)) {
        throw UsageError("--size is two numbers of pixels");
      }
      problem->height = static_cast<int>(size_[0]);
      problem->width = static_cast<int>(size_[1]);
      return;
    }
    const SatCommonUtils::TRPCFileOrigin& origin = model.file.origin;
    problem->width = origin.rasterWidth.value_or(0);
    problem->height = origin.rasterHeight.value_or(0);
    if (model.rpc->GetRasterDims(&problem->width, &problem->height)) return;
    if (problem->width > 0 && problem->height > 0) return;
    const auto end = [](double a, double b) { return static_cast<int>(std::floor(std::fmax(a, b))) + 1; };
    problem->height = end(model.rpc->GetMinLine(), model.rpc->GetMaxLine());
    problem->width = end(model.rpc->GetMinSample(), model.rpc->GetMaxSample());
    Note("the image's size is unknown; taken from the model's range: " + std::to_string(problem->height) +
         " lines and " + std::to_string(problem->width) + " samples");
  }

  ModelReading reading_;
  std::string model_;
  std::string output_;
  DemChoice dem_;
  std::optional<double> height_;
  bool map_ = false;
  MapFrameChoice frame_;
  std::optional<int> step_;
  std::vector<double> size_;
  std::optional<int> threads_;
};

}  // namespace

std::unique_ptr<Command> MakeGrid() { return std::make_unique<Grid>(); }

}  // namespace orbmath_tool
