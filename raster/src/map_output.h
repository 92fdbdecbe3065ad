#pragma once
// A raster file that is written tile by tile, in order, and comes whole or not at all.

#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "frame/zxstd/progress.h"
#include "gdal_session.h"
#include "image_coordinates.h"

namespace SatCommonUtils {

/// What the new file is.
struct MapOutputOptions {
  std::string path;
  std::string format = "GTiff";
  std::vector<std::string> creation;
  int threads = 1;  ///< for compression
};

/// Tiles that may wait for one that is late, for each thread.
constexpr int kTilesAhead = 2;

/// A folder beside the new file, in which it grows; what is left in it goes with it.
class GrowingFolder {
 public:
  GrowingFolder() = default;
  GrowingFolder(const GrowingFolder&) = delete;
  GrowingFolder& operator=(const GrowingFolder&) = delete;
  ~GrowingFolder();

  /// Makes it, and takes away those that killed processes left. \return false, and why.
  bool Make(const std::string& target, std::string* error);
  /// Path of a file in it.
  std::string PathOf(const std::string& name) const { return folder_ + "/" + name; }
  /// Moves its files beside the target, the one called `main` last.
  bool MoveOut(const std::string& main, std::string* error);

 private:
  void RemoveStaleParts(const std::vector<std::string>& parts) const;

  std::string folder_;
  std::string target_;
  int lock_ = -1;
};

/// The new file: `Create`, band by band set up by the caller, `Put` of every tile, `Finish`.
class MapOutput {
 public:
  /// \return false, and why, when no such file can be made.
  bool Create(const MapOutputOptions& options, const TMapFrame& frame, int bands, GDALDataType type,
              std::string* error);
  GDALDataset* Dataset() const noexcept { return dataset_.get(); }

  /// A tile with the values of all layers, one layer behind the other; from any thread, in any order. They are written
  /// in the order of their numbers 0, 1, ...; a thread that is far ahead waits. \return false, and why, once writing
  /// has failed.
  template <class Sample>
  bool Put(int number, const PixelRect& rect, std::vector<Sample> values, bool complex, std::string* error);
  /// Lets go of threads that wait, for a tile that will not come.
  void GiveUp();

  /// Closes the file and puts it in its place. \param progress may be null; asked whether to go on while a format is
  /// written by copying. \return Done, Stopped, or Failed, and why.
  TMapState Finish(TZxProgressHandler* progress, std::string* error);

 private:
  struct Tile {
    PixelRect rect;
    std::vector<float> single;
    std::vector<double> twice;
    bool complex = false;
  };

  bool Write(const Tile& tile, std::string* error);

  MapOutputOptions options_;
  GrowingFolder folder_;
  std::string name_;
  bool copies_ = false;  ///< the format is written by copying a finished raster
  DatasetHandle dataset_;
  std::mutex mutex_;
  std::condition_variable moved_;
  std::map<int, Tile> waiting_;
  int next_ = 0;
  bool writing_ = false;
  bool failed_ = false;
  std::string error_;
};

}  // namespace SatCommonUtils
