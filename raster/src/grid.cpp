// Coordinate grids, tile by tile.

#include "raster/grid.h"

#include <cmath>
#include <mutex>
#include <optional>

#include "frame/zxstd/threads.h"
#include "image_coordinates.h"
#include "map_output.h"
#include "npy_output.h"
#include "terrain/terrain_locator.h"
#include "tile_run.h"

namespace SatCommonUtils {

namespace {

/// Side of a tile: whole blocks of the output.
constexpr int kTile = 512;
/// More nodes than disks hold, and still few enough for an int to count their tiles.
constexpr double kMostNodes = 1e13;

const std::vector<const char*>& NamesOf(TGridKind kind) {
  static const std::vector<const char*> ground = {"latitude", "longitude", "height"};
  static const std::vector<const char*> image = {"line", "sample"};
  return kind == TGridKind::GroundOfPixels ? ground : image;
}

class GridRun {
 public:
  GridRun(const TGridProblem& problem, const TGridOptions& options, TGridResult* result)
      : problem_(problem), options_(options), result_(result), names_(NamesOf(options.kind)) {}

  bool Prepare(std::string* error);
  TMapState Work(std::string* error);

 private:
  bool PrepareMap(std::string* error);
  bool CreateOutput(std::string* error);
  void Ground(const PixelRect& tile, double* values) const;
  bool MakeTile(int number, std::string* error);

  const TGridProblem& problem_;
  const TGridOptions& options_;
  TGridResult* result_;
  const std::vector<const char*>& names_;
  TMapFrame frame_;
  std::optional<ImageCoordinates> coordinates_;
  std::optional<TTerrainLocator> locator_;
  MapOutput output_;
  std::optional<NpyOutput> npy_;
  std::mutex mutex_;
};

bool GridRun::Prepare(std::string* error) {
  if (problem_.model == nullptr || problem_.surface == nullptr || problem_.width < 1 || problem_.height < 1 ||
      options_.step < 1) {
    *error = "a coordinate grid needs a model, a height surface, the size of the image and a step of at least 1";
    return false;
  }
  if (options_.kind == TGridKind::PixelsOfMap) {
    if (!PrepareMap(error)) return false;
  } else {
    locator_.emplace(*problem_.model, *problem_.surface);
    frame_.columns = (problem_.width - 1) / options_.step + 1;
    frame_.rows = (problem_.height - 1) / options_.step + 1;
    const double step = options_.step;
    const double transform[] = {-0.5 * step, step, 0.0, -0.5 * step, 0.0, step};
    for (int i = 0; i < 6; ++i) frame_.transform[i] = transform[i];
    if (double(frame_.columns) * frame_.rows > kMostNodes) {
      *error = "a grid of so many nodes cannot be written: take a larger step";
      return false;
    }
  }
  result_->columns = frame_.columns;
  result_->rows = frame_.rows;
  return CreateOutput(error);
}

bool GridRun::PrepareMap(std::string* error) {
  if (!PlanMapFrame(*problem_.model, *problem_.surface, problem_.width, problem_.height, options_.frame, &frame_,
                    &result_->notes, error)) {
    return false;
  }
  coordinates_.emplace(frame_, *problem_.model, *problem_.surface, problem_.width, problem_.height);
  return coordinates_->Prepare(error);
}

bool GridRun::CreateOutput(std::string* error) {
  const std::string& path = problem_.output;
  const int bands = static_cast<int>(names_.size());
  if (path.size() > 4 && path.compare(path.size() - 4, 4, ".npy") == 0) {
    npy_.emplace();
    return npy_->Create(path, bands, frame_.rows, frame_.columns, error);
  }
  MapOutputOptions options;
  options.path = path;
  options.format = options_.format;
  options.creation = options_.creation;
  options.threads = ZxGetThreadsCount();
  if (!output_.Create(options, frame_, bands, GDT_Float64, error)) return false;
  const GdalSession session;
  for (int i = 0; i < bands; ++i) {
    GDALRasterBand* const band = output_.Dataset()->GetRasterBand(i + 1);
    band->SetNoDataValue(std::nan(""));
    band->SetDescription(names_[std::size_t(i)]);
  }
  return true;
}

/// Latitudes, longitudes and heights, one behind the other.
void GridRun::Ground(const PixelRect& tile, double* values) const {
  const TZxThreadsScope one(1);
  const std::size_t count = tile.Count();
  std::vector<double> line(std::size_t(tile.columns)), sample(std::size_t(tile.columns));
  std::vector<TTerrainSolution> found(line.size());
  for (int c = 0; c < tile.columns; ++c) sample[std::size_t(c)] = double(tile.column + c) * options_.step;
  for (int r = 0; r < tile.rows; ++r) {
    std::fill(line.begin(), line.end(), double(tile.row + r) * options_.step);
    locator_->LocateArray(line.size(), line.data(), sample.data(), found.data());
    double* const out = values + std::size_t(r) * line.size();
    for (std::size_t c = 0; c < found.size(); ++c) {
      out[c] = found[c].lat;
      out[count + c] = found[c].lon;
      out[2 * count + c] = found[c].h;
    }
  }
}

bool GridRun::MakeTile(int number, std::string* error) {
  const PixelRect tile = TileOf(number, kTile, frame_.columns, frame_.rows);
  const std::size_t count = tile.Count();
  std::vector<double> values(count * names_.size());
  if (coordinates_) {
    PixelCounts counts;
    coordinates_->Compute(tile, values.data(), values.data() + count, &counts);
  } else {
    Ground(tile, values.data());
  }
  std::int64_t found = 0;
  for (std::size_t i = 0; i < count; ++i) found += std::isnan(values[i]) ? 0 : 1;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    result_->found += found;
  }
  if (npy_) return npy_->Put(tile, values, error);
  return output_.Put(number, tile, std::move(values), false, error);
}

TMapState GridRun::Work(std::string* error) {
  const auto worker = [this]() -> TileWorker {
    return [this](int number, std::string* why) { return MakeTile(number, why); };
  };
  const TileRunEnd end =
      RunTiles(CountTiles(kTile, frame_.columns, frame_.rows), options_.progress, worker, [this] { output_.GiveUp(); });
  *error = end.error;
  if (!end.error.empty()) return TMapState::Failed;
  if (end.stopped) return TMapState::Stopped;
  if (npy_) return npy_->Finish(error) ? TMapState::Done : TMapState::Failed;
  return output_.Finish(options_.progress, error);
}

}  // namespace

TGridResult WriteGrid(const TGridProblem& problem, const TGridOptions& options) {
  const GdalSession session;
  TGridResult result;
  std::string error;
  GridRun run(problem, options, &result);
  result.state = run.Prepare(&error) ? run.Work(&error) : TMapState::Failed;
  result.sentence = DescribeMapState(result.state, error);
  return result;
}

}  // namespace SatCommonUtils
