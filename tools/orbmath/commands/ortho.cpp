// orbmath ortho: an image becomes a map.

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

constexpr int kDefaultMegabytes = 512;

class Ortho : public Command {
 public:
  const char* Notes() const override {
    return "Each pixel of the map gets the grey value that the image has where the model sees the pixel's centre on "
           "the "
           "terrain. The model is the image's own, or that of --model, a refined one too. The output has the image's "
           "bands and type; pixels without data get --nodata, or else the image's own such value, 0 or NaN. It is a "
           "tiled GeoTIFF that comes whole or not at all.\n\n"
           "What is not given is chosen and said on standard error: the UTM zone of the image's centre, the image's "
           "own "
           "pixel size rounded to two digits, all of its ground. Where the map is coarser than the image, the image is "
           "filtered. Ground that a mountain hides shows the mountain; --hidden mask leaves it without data.\n\n"
           "Example:\n"
           "  orbmath ortho image.tif ortho.tif --dem srtm.tif --geoid egm96\n"
           "  orbmath ortho image.tif ortho.tif --dem dem.tif --geoid none --crs EPSG:4326 --resolution 5e-6 \\\n"
           "    --bounds 5.19 44.20 5.20 44.21 --model adjusted.xml --hidden mask";
  }

  void Declare(CommandLine& line) override {
    line.Argument("IMAGE", &image_, "image, anything that GDAL opens");
    line.OutputArgument("OUT", &output_, "file to write");
    dem_.Declare(line);
    line.Text("--model", "MODEL", &model_, "model file of any form in the place of the image's own");
    frame_.Declare(line);
    line.Choice("--resampling", {"nearest", "bilinear", "cubic", "lanczos"}, &resampling_,
                "kernel between pixels (default: cubic)");
    line.Choice("--hidden", {"keep", "mask"}, &hidden_, "what becomes of ground that terrain hides (default: keep)");
    line.Number("--nodata", "V", &no_data_, "value of pixels without data");
    line.Choice("--compress", {"none", "deflate", "lzw", "zstd"}, &compress_,
                "compression of a GeoTIFF (default: none)");
    line.Flag("--cog", &cog_, "write a cloud-optimised GeoTIFF, with overviews");
    line.Text("--format", "NAME", &format_, "another format, GDAL's name of it");
    line.Texts("--option", "KEY=VALUE", &creation_, "creation option of the format; may be repeated");
    line.Count("--threads", "N", 1, 1024, &threads_, "threads (default: one a processor)");
    line.Count("--memory", "MB", 64, 1 << 20, &memory_, "limit of memory, megabytes (default: 512)");
    reading_.Declare(line);
  }

  int Run() override {
    if (!dem_.IsGiven()) throw UsageError("a map needs --dem");
    const std::string suffix = SuffixOf(output_);
    if (format_.empty() && !suffix.empty() && suffix != ".tif" && suffix != ".tiff") {
      throw UsageError("the name '" + output_ + "' is none of a GeoTIFF (.tif); --format NAME writes another format");
    }
    RefuseToReplace(output_, {image_, model_});
    RefuseToReplace(output_, dem_.Files());
    if (threads_) SatCommonUtils::ZxSetThreadsCount(*threads_);
    const std::size_t memory = std::size_t(memory_.value_or(kDefaultMegabytes)) << 20;
    SatCommonUtils::TOrthoOptions options = Options();
    const Model model = ReadGroundModel(model_.empty() ? image_ : model_, reading_);
    // A quarter is the heights', and about an eighth what any process of GDAL takes.
    const auto surface = dem_.Open(memory / 4);
    options.memoryBytes = memory / 8 * 5;
    SatCommonUtils::TOrthoProblem problem;
    problem.image = image_;
    problem.output = output_;
    problem.model = &*model.rpc;
    problem.surface = surface.get();
    const Interruption interruption;
    WorkProgress progress("ortho");
    options.progress = &progress;
    const SatCommonUtils::TOrthoResult result = MakeOrthoimage(problem, options);
    Note(output_ + ": " + std::to_string(result.frame.columns) + " x " + std::to_string(result.frame.rows) +
         " pixels, " + std::to_string(result.filled) + " of them in the image, " + std::to_string(result.noHeight) +
         " without a height" +
         (hidden_ == 1 ? ", " + std::to_string(result.hidden) + " hidden by terrain" : std::string()));
    if (result.filled == 0)
      Note("warning: no pixel of the map lies in the image; --bounds count in the units of the map's system");
    return kSuccess;
  }

 private:
  SatCommonUtils::TOrthoOptions Options() const {
    using namespace SatCommonUtils;
    TOrthoOptions options;
    options.frame = frame_.Options();
    options.resampling = static_cast<TResampling>(resampling_);
    options.hidden = static_cast<THiddenGround>(hidden_);
    options.noData = no_data_;
    if (cog_ && !format_.empty()) throw UsageError("--cog and --format exclude each other");
    if (cog_) options.format = "COG";
    if (!format_.empty()) options.format = format_;
    options.creation = creation_;
    const char* const names[] = {"NONE", "DEFLATE", "LZW", "ZSTD"};
    if (compress_ >= 0) options.creation.push_back(std::string("COMPRESS=") + names[compress_]);
    return options;
  }

  ModelReading reading_;
  std::string image_;
  std::string output_;
  std::string model_;
  DemChoice dem_;
  MapFrameChoice frame_;
  int resampling_ = static_cast<int>(SatCommonUtils::TResampling::Cubic);
  int hidden_ = 0;
  std::optional<double> no_data_;
  int compress_ = -1;
  bool cog_ = false;
  std::string format_;
  std::vector<std::string> creation_;
  std::optional<int> threads_;
  std::optional<int> memory_;
};

}  // namespace

std::unique_ptr<Command> MakeOrtho() { return std::make_unique<Ortho>(); }

}  // namespace orbmath_tool
