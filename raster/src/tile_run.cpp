// Threads that take tile after tile.

#include "tile_run.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "frame/zxstd/threads.h"

namespace SatCommonUtils {

int CountTiles(int side, int columns, int rows) { return ((columns - 1) / side + 1) * ((rows - 1) / side + 1); }

PixelRect TileOf(int number, int side, int columns, int rows) {
  const int across = (columns - 1) / side + 1;
  PixelRect tile;
  tile.column = number % across * side;
  tile.row = number / across * side;
  tile.columns = std::min(side, columns - tile.column);
  tile.rows = std::min(side, rows - tile.row);
  return tile;
}

std::string DescribeMapState(TMapState state, const std::string& error) {
  switch (state) {
    case TMapState::Done:
      return "the file is there";
    case TMapState::Stopped:
      return "stopped as asked for; nothing was written";
    case TMapState::NotRun:
      return "not run";
    case TMapState::Failed:
      break;
  }
  return error;
}

TileRunEnd RunTiles(int tiles, TZxProgressHandler* progress, const std::function<TileWorker()>& makeWorker,
                    const std::function<void()>& giveUp) {
  std::atomic<int> next{0};
  std::atomic<bool> stop{false};
  std::mutex mutex;
  int done = 0;
  TileRunEnd end;
  const auto fail = [&](const std::string& why) {
    {
      const std::lock_guard<std::mutex> lock(mutex);
      if (end.error.empty() && !end.stopped) end.error = why;
    }
    stop = true;
    giveUp();
  };
  const auto report = [&] {
    const std::lock_guard<std::mutex> lock(mutex);
    ++done;
    if (progress != nullptr && !end.stopped) end.stopped = !progress->Progress(double(done) / tiles);
    return !end.stopped;
  };
  const auto work = [&] {
    try {
      const TileWorker worker = makeWorker();
      std::string why;
      for (int number = next++; number < tiles && !stop; number = next++) {
        if (!worker(number, &why)) {
          fail(why);
        } else if (!report()) {
          stop = true;
          giveUp();
        }
      }
    } catch (const std::exception& lost) {
      fail(lost.what());
    }
  };
  std::vector<std::thread> others;
  try {
    for (int i = 1; i < std::min(ZxGetThreadsCount(), tiles); ++i) others.emplace_back(work);
  } catch (const std::system_error&) {
    // The system gives no more threads; those that there are do the work.
  }
  work();
  for (std::thread& other : others) other.join();
  return end;
}

}  // namespace SatCommonUtils
