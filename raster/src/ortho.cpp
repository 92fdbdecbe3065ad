// Orthoimages: tiles of the map, each computed by one thread and written in order.

#include "raster/ortho.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>
#include <mutex>
#include <system_error>

#include "frame/zxstd/number_text.h"
#include "frame/zxstd/threads.h"
#include "image_coordinates.h"
#include "image_source.h"
#include "map_output.h"
#include "resampling.h"
#include "tile_run.h"

namespace SatCommonUtils {

namespace {

/// Side of a tile: whole blocks of the output, and of the squares in which coordinates are interpolated. The smaller
/// one is for many bands or threads.
constexpr int kTile = 512;
constexpr int kSmallTile = 256;
/// Parts of the limit of memory: GDAL's blocks; windows of the image, and tiles of the map, of all threads together.
constexpr std::size_t kCacheShare = 3;
constexpr std::size_t kWindowShare = 4;
constexpr std::size_t kTileShare = 4;

/// GDAL's cache of blocks within its part of the limit, while this lives.
class BlockCache {
 public:
  explicit BlockCache(std::size_t bytes) : previous_(GDALGetCacheMax64()) { GDALSetCacheMax64(GIntBig(bytes)); }
  BlockCache(const BlockCache&) = delete;
  BlockCache& operator=(const BlockCache&) = delete;
  ~BlockCache() { GDALSetCacheMax64(previous_); }

 private:
  GIntBig previous_;
};

/// floor(value + 1/2), without a call where the processor's rounding instruction is not in the baseline.
float RoundedUp(float value) {
  // Single precision holds 24 bits, and narrow types no more than 16.
  const float up = std::min(std::max(value, -1e6f), 1e6f) + 0.5f;
  const auto whole = static_cast<float>(static_cast<int>(up));
  return whole > up ? whole - 1.0f : whole;
}
double RoundedUp(double value) { return std::floor(value + 0.5); }

/// The values of a band's type: real numbers become such, and data never becomes the value of no data.
class ValueRange {
 public:
  /// \param moves whether data of the value of no data become the next value.
  ValueRange(GDALDataType type, std::optional<double> noData, bool moves)
      : noData_(noData), moves_(moves && noData.has_value()) {
    const GDALDataType real = GDALGetNonComplexDataType(type);
    integer_ = GDALDataTypeIsInteger(real) != 0;
    single_ = real == GDT_Float32;
    const int bits = GDALGetDataTypeSizeBits(real);
    const bool hasSign = GDALDataTypeIsSigned(real) != 0;
    high_ = std::ldexp(1.0, hasSign ? bits - 1 : bits) - 1.0;
    low_ = hasSign ? -high_ - 1.0 : 0.0;
  }

  double Empty() const { return noData_.value_or(0.0); }

  /// Whether a band can have the value.
  bool Holds(double value) const {
    if (integer_) return value >= low_ && value <= high_ && value == std::floor(value);
    return !single_ || !std::isfinite(value) || std::fabs(value) <= double(std::numeric_limits<float>::max());
  }

  /// In place: NaN is where there are no data.
  template <class Sample>
  void Apply(std::size_t count, Sample* values) const {
    const auto empty = static_cast<Sample>(Empty());
    const auto low = static_cast<Sample>(low_);
    const auto high = static_cast<Sample>(high_);
    const auto beside = static_cast<Sample>(Beside());
    for (std::size_t i = 0; i < count; ++i) {
      Sample value = values[i];
      if (std::isnan(value)) {
        values[i] = empty;
        continue;
      }
      if (integer_) value = std::min(std::max(RoundedUp(value), low), high);
      values[i] = moves_ && value == empty ? beside : value;
    }
  }

 private:
  double Beside() const {
    const double up = std::numeric_limits<double>::infinity();
    if (integer_) return Empty() < high_ ? Empty() + 1.0 : Empty() - 1.0;
    return single_ ? double(std::nextafter(float(Empty()), std::numeric_limits<float>::infinity()))
                   : std::nextafter(Empty(), up);
  }

  std::optional<double> noData_;
  bool moves_;
  bool integer_ = false;
  bool single_ = false;
  double low_ = 0.0;
  double high_ = 0.0;
};

/// The smallest and the largest of numbers, NaN left out; four under way together.
class Extent {
 public:
  void Add(const double* x, std::size_t count) {
    std::size_t i = 0;
    for (; i + 4 <= count; i += 4) {
      for (int k = 0; k < 4; ++k) Take(x[i + std::size_t(k)], k);
    }
    for (; i < count; ++i) Take(x[i], 0);
  }
  void Get(double* first, double* last) const {
    *first = *std::min_element(least_, least_ + 4);
    *last = *std::max_element(most_, most_ + 4);
  }

 private:
  void Take(double x, int k) {
    least_[k] = x < least_[k] ? x : least_[k];
    most_[k] = x > most_[k] ? x : most_[k];
  }

  double least_[4] = {HUGE_VAL, HUGE_VAL, HUGE_VAL, HUGE_VAL};
  double most_[4] = {-HUGE_VAL, -HUGE_VAL, -HUGE_VAL, -HUGE_VAL};
};

/// What a thread keeps from tile to tile, so that no memory is asked for again.
template <class Sample>
struct Scratch {
  std::vector<double> line;
  std::vector<double> sample;
  std::vector<Sample> pixels;
  std::vector<std::uint8_t> known;
  PixelCounts counts;
};

/// One run: what all tiles share.
class OrthoRun {
 public:
  OrthoRun(const TOrthoProblem& problem, const TOrthoOptions& options, TOrthoResult* result)
      : problem_(problem), options_(options), result_(result), threads_(ZxGetThreadsCount()) {}

  /// \return false, and why, when the work cannot begin.
  bool Prepare(std::string* error);
  /// All tiles. \return how it ended.
  TMapState Work(std::string* error);

 private:
  GDALDataType OutputType() const;
  int ChooseTile() const;
  bool ChooseNoData(std::string* error);
  bool CreateOutput(std::string* error);
  template <class Sample>
  TileRunEnd WorkOnTiles();
  template <class Sample>
  bool MakeTile(int number, Scratch<Sample>* scratch, std::string* error);
  template <class Sample>
  bool Resample(const ImageLayer& layer, const PixelRect& tile, const PixelRect& part, Scratch<Sample>* scratch,
                Sample* out, std::string* error);

  const TOrthoProblem& problem_;
  const TOrthoOptions& options_;
  TOrthoResult* result_;
  int threads_;
  ImageSource source_;
  std::optional<ImageCoordinates> coordinates_;
  std::optional<Resampler> resampler_;
  MapOutput output_;
  std::optional<double> noData_;
  std::vector<ValueRange> ranges_;  ///< of the layers
  int side_ = kTile;
  int tiles_ = 0;
};

bool OrthoRun::Prepare(std::string* error) {
  if (problem_.model == nullptr || problem_.surface == nullptr) {
    *error = "an orthoimage needs a model and a height surface";
    return false;
  }
  std::error_code none;
  if (std::filesystem::equivalent(problem_.image, problem_.output, none)) {
    *error = problem_.output + ": is the image itself, which would be lost";
    return false;
  }
  if (!source_.Open(problem_.image, error)) return false;
  if (!PlanMapFrame(*problem_.model, *problem_.surface, source_.Width(), source_.Height(), options_.frame,
                    &result_->frame, &result_->notes, error)) {
    return false;
  }
  coordinates_.emplace(result_->frame, *problem_.model, *problem_.surface, source_.Width(), source_.Height());
  if (!coordinates_->Prepare(error)) return false;
  if (options_.hidden == THiddenGround::Mask) coordinates_->MaskHidden();
  TResampling kind = options_.resampling;
  if (source_.HasPalette() && kind != TResampling::Nearest) {
    kind = TResampling::Nearest;
    result_->notes.push_back(problem_.image + ": its values are numbers of colours, so the nearest pixel is taken");
  }
  double alongLines, alongSamples;
  coordinates_->GetRatios(&alongLines, &alongSamples);
  resampler_.emplace(kind, alongLines, alongSamples);
  if (!ChooseNoData(error)) return false;
  side_ = ChooseTile();
  tiles_ = CountTiles(side_, result_->frame.columns, result_->frame.rows);
  return CreateOutput(error);
}

/// One for all bands, as most formats have it.
GDALDataType OrthoRun::OutputType() const {
  GDALDataset* const from = source_.Dataset();
  GDALDataType type = from->GetRasterBand(1)->GetRasterDataType();
  for (int i = 2; i <= from->GetRasterCount(); ++i) {
    type = GDALDataTypeUnion(type, from->GetRasterBand(i)->GetRasterDataType());
  }
  return type;
}

/// Each thread has a tile under way, and others wait to be written.
int OrthoRun::ChooseTile() const {
  const std::size_t samples = (kTilesAhead + 1) * source_.Layers().size();
  const std::size_t pixel = samples * (source_.IsNarrow() ? sizeof(float) : sizeof(double)) + 2 * sizeof(double);
  const std::size_t all = pixel * std::size_t(kTile) * std::size_t(kTile) * std::size_t(threads_);
  return all > options_.memoryBytes / kTileShare ? kSmallTile : kTile;
}

bool OrthoRun::ChooseNoData(std::string* error) {
  const ValueRange type(OutputType(), {}, false);
  GDALRasterBand* const band = source_.Dataset()->GetRasterBand(1);
  int has = 0;
  const double own = band->GetNoDataValue(&has);
  const bool floating = GDALDataTypeIsFloating(band->GetRasterDataType()) != 0;
  noData_ = options_.noData;
  if (noData_ && !type.Holds(*noData_)) {
    *error = FormatDouble(*noData_) + " cannot stand for no data: the image's type has no such value";
    return false;
  }
  // Some images name a value that none of their pixels can have.
  if (!noData_ && has != 0 && type.Holds(own)) noData_ = own;
  if (!noData_ && source_.HasPalette()) {
    result_->notes.push_back("pixels without data get the colour of number 0, as no number stands for them");
  } else if (!noData_ && !source_.HasAlpha()) {
    noData_ = floating ? std::numeric_limits<double>::quiet_NaN() : 0.0;
    result_->notes.push_back("pixels without data get the value " +
                             std::string(floating ? "NaN" : "0, and data of this value 1"));
  }
  for (const ImageLayer& layer : source_.Layers()) {
    // The next colour in a palette is any other one; of complex numbers GDAL asks the real part. Alpha is 0 where there
    // are no data, whatever stands for them in other bands.
    const bool moves = !source_.HasPalette() && layer.part == 0;
    ranges_.emplace_back(layer.type, layer.alpha ? std::nullopt : noData_, moves);
  }
  return true;
}

bool OrthoRun::CreateOutput(std::string* error) {
  MapOutputOptions options;
  options.path = problem_.output;
  options.format = options_.format;
  options.creation = options_.creation;
  options.threads = threads_;
  GDALDataset* const from = source_.Dataset();
  const int bands = from->GetRasterCount();
  if (!output_.Create(options, result_->frame, bands, OutputType(), error)) return false;
  const GdalSession session;
  for (int i = 1; i <= bands; ++i) {
    GDALRasterBand* const in = from->GetRasterBand(i);
    GDALRasterBand* const out = output_.Dataset()->GetRasterBand(i);
    if (noData_) out->SetNoDataValue(*noData_);
    out->SetDescription(in->GetDescription());
    out->SetColorInterpretation(in->GetColorInterpretation());
    if (in->GetColorTable() != nullptr) out->SetColorTable(in->GetColorTable());
    int has = 0;
    const double scale = in->GetScale(&has);
    if (has != 0 && scale != 1.0) out->SetScale(scale);
    const double offset = in->GetOffset(&has);
    if (has != 0 && offset != 0.0) out->SetOffset(offset);
  }
  return true;
}

/// The part of a tile, divided until its window of the image fits into this thread's memory.
/// \param out of the whole tile.
template <class Sample>
bool OrthoRun::Resample(const ImageLayer& layer, const PixelRect& tile, const PixelRect& part, Scratch<Sample>* scratch,
                        Sample* out, std::string* error) {
  const double* const line = scratch->line.data();
  const double* const sample = scratch->sample.data();
  const auto offset = [&](int r) {
    return std::size_t(part.row - tile.row + r) * std::size_t(tile.columns) + std::size_t(part.column - tile.column);
  };
  double first[2], last[2];
  const double* const both[] = {line, sample};
  for (int axis = 0; axis < 2; ++axis) {
    Extent extent;
    for (int r = 0; r < part.rows; ++r) extent.Add(both[axis] + offset(r), std::size_t(part.columns));
    extent.Get(&first[axis], &last[axis]);
  }
  if (first[0] > last[0]) {
    for (int r = 0; r < part.rows; ++r) {
      std::fill_n(out + offset(r), part.columns, std::numeric_limits<Sample>::quiet_NaN());
    }
    return true;
  }
  const int reach[] = {resampler_->ReachInLines() + 1, resampler_->ReachInSamples() + 1};
  const int size[] = {source_.Height(), source_.Width()};
  int begin[2], end[2];
  for (int axis = 0; axis < 2; ++axis) {
    begin[axis] = std::max(0, static_cast<int>(std::floor(first[axis])) - reach[axis]);
    end[axis] = std::min(size[axis], static_cast<int>(std::floor(last[axis])) + reach[axis] + 2);
  }
  const PixelRect window = {begin[1], begin[0], end[1] - begin[1], end[0] - begin[0]};
  const std::size_t room = options_.memoryBytes / kWindowShare / std::size_t(threads_);
  // Complex numbers come with both parts before one is taken.
  const std::size_t pixel = (layer.complex ? 3 : 1) * sizeof(Sample) + 1;
  if (window.Count() * pixel > room && part.Count() > 1) {
    PixelRect one = part;
    PixelRect other = part;
    const bool across = part.columns >= part.rows;
    (across ? one.columns : one.rows) /= 2;
    (across ? other.column : other.row) += across ? one.columns : one.rows;
    (across ? other.columns : other.rows) -= across ? one.columns : one.rows;
    return Resample(layer, tile, one, scratch, out, error) && Resample(layer, tile, other, scratch, out, error);
  }
  if (!source_.Read(layer, window, &scratch->pixels, &scratch->known, error)) return false;
  const PixelWindow<Sample> there = {window, scratch->pixels.data(),
                                     scratch->known.empty() ? nullptr : scratch->known.data()};
  for (int r = 0; r < part.rows; ++r) {
    const std::size_t i = offset(r);
    resampler_->Run(there, std::size_t(part.columns), line + i, sample + i, out + i);
  }
  return true;
}

template <class Sample>
bool OrthoRun::MakeTile(int number, Scratch<Sample>* scratch, std::string* error) {
  const PixelRect tile = TileOf(number, side_, result_->frame.columns, result_->frame.rows);
  const std::size_t count = tile.Count();
  scratch->line.resize(count);
  scratch->sample.resize(count);
  coordinates_->Compute(tile, scratch->line.data(), scratch->sample.data(), &scratch->counts);
  const std::vector<ImageLayer>& layers = source_.Layers();
  std::vector<Sample> values(count * layers.size());
  for (std::size_t i = 0; i < layers.size(); ++i) {
    Sample* const out = values.data() + i * count;
    if (!Resample(layers[i], tile, tile, scratch, out, error)) return false;
    ranges_[i].Apply(count, out);
  }
  return output_.Put(number, tile, std::move(values), layers.front().complex, error);
}

template <class Sample>
TileRunEnd OrthoRun::WorkOnTiles() {
  std::mutex adding;
  const auto worker = [&]() -> TileWorker {
    auto scratch = std::make_shared<Scratch<Sample>>();
    return [this, &adding, scratch](int number, std::string* why) {
      scratch->counts = {};
      const bool made = MakeTile<Sample>(number, scratch.get(), why);
      const std::lock_guard<std::mutex> lock(adding);
      result_->filled += scratch->counts.filled;
      result_->outside += scratch->counts.outside;
      result_->noHeight += scratch->counts.noHeight;
      result_->hidden += scratch->counts.hidden;
      return made;
    };
  };
  return RunTiles(tiles_, options_.progress, worker, [this] { output_.GiveUp(); });
}

TMapState OrthoRun::Work(std::string* error) {
  const TileRunEnd end = source_.IsNarrow() ? WorkOnTiles<float>() : WorkOnTiles<double>();
  *error = end.error;
  if (!end.error.empty()) return TMapState::Failed;
  if (end.stopped) return TMapState::Stopped;
  return output_.Finish(options_.progress, error);
}

}  // namespace

TOrthoResult Orthorectify(const TOrthoProblem& problem, const TOrthoOptions& options) {
  const GdalSession session;
  const BlockCache cache(options.memoryBytes / kCacheShare);
  TOrthoResult result;
  std::string error;
  OrthoRun run(problem, options, &result);
  result.state = run.Prepare(&error) ? run.Work(&error) : TMapState::Failed;
  result.sentence = DescribeMapState(result.state, error);
  return result;
}

}  // namespace SatCommonUtils
