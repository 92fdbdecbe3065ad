// Writing rasters through GDAL. Files of several parts, and formats that are copies of finished rasters, need names to
// grow under: a hidden folder beside the target, which a lock marks as in use.

#include "map_output.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <system_error>
#include <type_traits>

namespace SatCommonUtils {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFolderNames = ".orbmath-map-";
constexpr const char* kLockName = "lock";
/// Side of a TIFF's tiles.
constexpr int kTiffTile = 256;

bool Has(const std::vector<std::string>& options, const std::string& key) {
  for (const std::string& option : options) {
    if (option.size() > key.size() && option[key.size()] == '=' && EQUALN(option.c_str(), key.c_str(), key.size())) {
      return true;
    }
  }
  return false;
}

CPLStringList TiffOptions(const MapOutputOptions& options, const TMapFrame& frame) {
  CPLStringList list;
  const auto set = [&](const char* key, const std::string& value) {
    if (!Has(options.creation, key)) list.SetNameValue(key, value.c_str());
  };
  if (frame.columns >= kTiffTile && frame.rows >= kTiffTile) {
    set("TILED", "YES");
    set("BLOCKXSIZE", std::to_string(kTiffTile));
    set("BLOCKYSIZE", std::to_string(kTiffTile));
  }
  set("BIGTIFF", "IF_SAFER");
  if (Has(options.creation, "COMPRESS") && options.threads > 1) set("NUM_THREADS", std::to_string(options.threads));
  return list;
}

void Append(const std::vector<std::string>& more, CPLStringList* list) {
  for (const std::string& option : more) list->AddString(option.c_str());
}

/// A format that is written by copying can be stopped meanwhile.
struct Asking {
  TZxProgressHandler* progress = nullptr;
  bool stopped = false;

  static int CPL_STDCALL Ask(double, const char*, void* data) {
    auto* const asking = static_cast<Asking*>(data);
    if (!asking->stopped && asking->progress != nullptr) asking->stopped = !asking->progress->Progress(1.0);
    return asking->stopped ? FALSE : TRUE;
  }
};

/// Locked while the process lives: a folder whose lock can be taken belongs to nobody.
int LockOf(const std::string& folder, int flags) {
  const int file = open((folder + "/" + kLockName).c_str(), O_RDWR | O_CLOEXEC | flags, 0600);
  if (file >= 0 && flock(file, LOCK_EX | LOCK_NB) == 0) return file;
  if (file >= 0) close(file);
  return -1;
}

void SweepStaleFolders(const fs::path& beside) {
  std::error_code ignored;
  for (fs::directory_iterator entry(beside, ignored), end; !ignored && entry != end; entry.increment(ignored)) {
    if (entry->path().filename().string().rfind(kFolderNames, 0) != 0) continue;
    const int lock = LockOf(entry->path().string(), 0);
    if (lock < 0) continue;
    std::error_code gone;
    fs::remove_all(entry->path(), gone);
    close(lock);
  }
}

}  // namespace

GrowingFolder::~GrowingFolder() {
  std::error_code ignored;
  if (!folder_.empty()) fs::remove_all(folder_, ignored);
  if (lock_ >= 0) close(lock_);
}

bool GrowingFolder::Make(const std::string& target, std::string* error) {
  static std::atomic<unsigned int> count{0};
  std::error_code code;
  // A symbolic link stays, and what it leads to is replaced.
  fs::path real = target;
  if (fs::is_symlink(real, code)) real = fs::weakly_canonical(real, code);
  target_ = real.string();
  if (fs::exists(real, code) && !fs::is_regular_file(real, code)) {
    *error = target + ": is no plain file, which could be replaced";
    return false;
  }
  const fs::path beside = real.has_parent_path() ? real.parent_path() : fs::path(".");
  SweepStaleFolders(beside);
  const fs::path made = beside / (kFolderNames + std::to_string(getpid()) + "-" + std::to_string(++count));
  if (!fs::create_directory(made, code)) {
    *error = target + ": cannot be written: " + (code ? code.message() : "its folder is in use");
    return false;
  }
  folder_ = made.string();
  lock_ = LockOf(folder_, O_CREAT);
  return true;
}

/// Statistics, overviews and masks of the raster that was replaced would be taken for the new one's.
void GrowingFolder::RemoveStaleParts(const std::vector<std::string>& parts) const {
  const std::string name = fs::path(target_).filename().string();
  for (const char* ending : {".aux.xml", ".ovr", ".msk"}) {
    if (std::find(parts.begin(), parts.end(), name + ending) != parts.end()) continue;
    std::error_code ignored;
    fs::remove(target_ + ending, ignored);
  }
}

bool GrowingFolder::MoveOut(const std::string& main, std::string* error) {
  std::error_code code;
  const fs::path target = target_;
  const auto move = [&](const fs::path& file) {
    fs::rename(file, target.has_parent_path() ? target.parent_path() / file.filename() : file.filename(), code);
    if (code) *error = target_ + ": cannot be written: " + code.message();
    return !code;
  };
  std::vector<std::string> parts;
  for (const fs::directory_entry& entry : fs::directory_iterator(folder_, code)) {
    const std::string name = entry.path().filename().string();
    if (name != main && name != kLockName) parts.push_back(name);
  }
  for (const std::string& part : parts) {
    if (!move(PathOf(part))) return false;
  }
  // On the disk before it takes the old one's name.
  const std::string file = PathOf(main);
  const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
  const bool synced = descriptor >= 0 && fsync(descriptor) == 0;
  if (descriptor >= 0) close(descriptor);
  if (!synced) {
    *error = target_ + ": cannot be written to the disk";
    return false;
  }
  if (!move(file)) return false;
  RemoveStaleParts(parts);
  return true;
}

bool MapOutput::Create(const MapOutputOptions& options, const TMapFrame& frame, int bands, GDALDataType type,
                       std::string* error) {
  const GdalSession session;
  options_ = options;
  GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(options.format.c_str());
  const auto can = [&driver](const char* what) {
    return driver != nullptr && CPLFetchBool(driver->GetMetadata(), what, false);
  };
  if (!can(GDAL_DCAP_CREATE) && !can(GDAL_DCAP_CREATECOPY)) {
    *error = "'" + options.format + "' is no format in which GDAL writes rasters";
    return false;
  }
  if (!folder_.Make(options.path, error)) return false;
  copies_ = !can(GDAL_DCAP_CREATE);
  name_ = fs::path(options.path).filename().string();
  std::error_code code;
  if (fs::is_symlink(options.path, code)) name_ = fs::weakly_canonical(options.path, code).filename().string();
  const bool tiff = copies_ || options.format == "GTiff";
  MapOutputOptions here = options;
  if (copies_) {
    driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    here.creation.clear();
  }
  CPLStringList list;
  if (tiff) list = TiffOptions(here, frame);
  Append(here.creation, &list);
  const std::string path = folder_.PathOf(copies_ ? "whole.tif" : name_);
  dataset_.reset(driver->Create(path.c_str(), frame.columns, frame.rows, bands, type, list.List()));
  OGRSpatialReference system;
  if (dataset_ == nullptr || (!frame.crs.empty() && system.SetFromUserInput(frame.crs.c_str()) != OGRERR_NONE)) {
    *error = options.path + ": cannot be created (" + session.LastError() + ")";
    return false;
  }
  system.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
  double transform[6];
  for (int i = 0; i < 6; ++i) transform[i] = frame.transform[i];
  if (!frame.crs.empty()) dataset_->SetSpatialRef(&system);
  dataset_->SetGeoTransform(transform);
  return true;
}

/// By the one thread whose turn it is.
bool MapOutput::Write(const Tile& tile, std::string* error) {
  const GdalSession session;
  const std::size_t count = tile.rect.Count();
  const bool single = !tile.single.empty();
  const std::size_t size = single ? sizeof(float) : sizeof(double);
  const char* const bytes =
      single ? reinterpret_cast<const char*>(tile.single.data()) : reinterpret_cast<const char*>(tile.twice.data());
  std::vector<char> both;
  for (int band = 1; band <= dataset_->GetRasterCount(); ++band) {
    const std::size_t layers = tile.complex ? 2 : 1;
    const char* from = bytes + std::size_t(band - 1) * layers * count * size;
    GDALDataType type = single ? GDT_Float32 : GDT_Float64;
    if (tile.complex) {
      both.resize(2 * count * size);
      GDALCopyWords64(from, type, int(size), both.data(), type, int(2 * size), GPtrDiff_t(count));
      GDALCopyWords64(from + count * size, type, int(size), both.data() + size, type, int(2 * size), GPtrDiff_t(count));
      from = both.data();
      type = single ? GDT_CFloat32 : GDT_CFloat64;
    }
    const PixelRect& r = tile.rect;
    if (dataset_->GetRasterBand(band)->RasterIO(GF_Write, r.column, r.row, r.columns, r.rows, const_cast<char*>(from),
                                                r.columns, r.rows, type, 0, 0, nullptr) != CE_None ||
        !session.LastError().empty()) {
      *error = options_.path + ": cannot be written (" + session.LastError() + ")";
      return false;
    }
  }
  return true;
}

template <class Sample>
bool MapOutput::Put(int number, const PixelRect& rect, std::vector<Sample> values, bool complex, std::string* error) {
  Tile tile;
  tile.rect = rect;
  tile.complex = complex;
  if constexpr (std::is_same_v<Sample, float>) {
    tile.single = std::move(values);
  } else {
    tile.twice = std::move(values);
  }
  std::unique_lock<std::mutex> lock(mutex_);
  const std::size_t most = std::size_t(kTilesAhead) * std::size_t(options_.threads);
  moved_.wait(lock, [&] { return failed_ || number == next_ || waiting_.size() < most; });
  if (failed_) {
    *error = error_;
    return false;
  }
  waiting_.emplace(number, std::move(tile));
  // Whoever finds the next tile there writes, and others go on with their work.
  while (!writing_ && !failed_ && !waiting_.empty() && waiting_.begin()->first == next_) {
    const Tile next = std::move(waiting_.begin()->second);
    waiting_.erase(waiting_.begin());
    writing_ = true;
    lock.unlock();
    std::string why;
    const bool written = Write(next, &why);
    lock.lock();
    writing_ = false;
    if (!written) error_ = why;
    failed_ = failed_ || !written;
    ++next_;
    moved_.notify_all();
  }
  *error = error_;
  return !failed_;
}

template bool MapOutput::Put(int, const PixelRect&, std::vector<float>, bool, std::string*);
template bool MapOutput::Put(int, const PixelRect&, std::vector<double>, bool, std::string*);

void MapOutput::GiveUp() {
  const std::lock_guard<std::mutex> lock(mutex_);
  failed_ = true;
  moved_.notify_all();
}

TMapState MapOutput::Finish(TZxProgressHandler* progress, std::string* error) {
  GdalSession session;
  const auto fail = [&] {
    *error = options_.path + ": cannot be written (" + session.LastError() + ")";
    return TMapState::Failed;
  };
  if (copies_) {
    dataset_->FlushCache(false);
    if (!session.LastError().empty()) return fail();
    CPLStringList list;
    Append(options_.creation, &list);
    GDALDriver* const driver = GetGDALDriverManager()->GetDriverByName(options_.format.c_str());
    Asking asking;
    asking.progress = progress;
    DatasetHandle copy(
        driver->CreateCopy(folder_.PathOf(name_).c_str(), dataset_.get(), FALSE, list.List(), &Asking::Ask, &asking));
    if (asking.stopped) return TMapState::Stopped;
    if (copy == nullptr) return fail();
    copy.reset();
    dataset_.reset();
    std::error_code ignored;
    fs::remove(folder_.PathOf("whole.tif"), ignored);
    fs::remove(folder_.PathOf("whole.tif.aux.xml"), ignored);
  }
  // A disk that is full may only be found when the last blocks go.
  dataset_.reset();
  if (!session.LastError().empty()) return fail();
  return folder_.MoveOut(name_, error) ? TMapState::Done : TMapState::Failed;
}

}  // namespace SatCommonUtils
