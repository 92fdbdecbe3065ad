// A cache of tiles, the least recently used leaving first. Elementary.

#include <list>
#include <map>
#include <mutex>
#include <utility>

#include "frame/zxstd/message.h"
#include "terrain/height_tile.h"

namespace SatCommonUtils {

struct THeightTileCache::TState {
  using TPlace = std::pair<int, int>;
  struct TEntry {
    TPlace place;
    std::shared_ptr<const THeightTile> tile;
    std::size_t bytes;
  };

  std::mutex mutex;
  std::size_t limit = 0;
  std::size_t bytes = 0;
  std::list<TEntry> entries;  ///< used last in front
  std::map<TPlace, std::list<TEntry>::iterator> byPlace;

  /// Null when it is not kept. `found` tells a tile that is known to be missing from one that is not known.
  std::shared_ptr<const THeightTile> Find(const TPlace& place, bool* found) {
    const std::lock_guard<std::mutex> lock(mutex);
    const auto entry = byPlace.find(place);
    *found = entry != byPlace.end();
    if (!*found) return nullptr;
    entries.splice(entries.begin(), entries, entry->second);
    return entry->second->tile;
  }

  void Keep(const TPlace& place, const std::shared_ptr<const THeightTile>& tile) {
    const std::lock_guard<std::mutex> lock(mutex);
    if (byPlace.count(place) > 0) return;  // another thread was faster
    const std::size_t size = sizeof(TEntry) + (tile == nullptr ? 0 : tile->GetBytes());
    entries.push_front({place, tile, size});
    byPlace[place] = entries.begin();
    bytes += size;
    while (bytes > limit && entries.size() > 1) {
      bytes -= entries.back().bytes;
      byPlace.erase(entries.back().place);
      entries.pop_back();
    }
  }
};

THeightTileCache::THeightTileCache(std::shared_ptr<const THeightTiles> source, std::size_t bytes)
    : source_(std::move(source)), state_(std::make_unique<TState>()) {
  if (source_ == nullptr) throw TZxMessage("a cache of height tiles needs a source");
  state_->limit = bytes;
}

THeightTileCache::~THeightTileCache() = default;

int THeightTileCache::GetTileSize() const noexcept { return source_->GetTileSize(); }

std::shared_ptr<const THeightTile> THeightTileCache::GetTile(int column, int row) const {
  const TState::TPlace place(column, row);
  bool found = false;
  std::shared_ptr<const THeightTile> tile = state_->Find(place, &found);
  if (found) return tile;
  // Outside the lock: while one thread reads, others go on. Two may read the same tile; both get equal ones.
  tile = source_->GetTile(column, row);
  state_->Keep(place, tile);
  return tile;
}

std::size_t THeightTileCache::GetBytes() const {
  const std::lock_guard<std::mutex> lock(state_->mutex);
  return state_->bytes;
}

}  // namespace SatCommonUtils
