// The readers of polygons: what they accept comes back the same when it is written and read again.

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "geometry/polygon.h"
#include "geometry/polygon_mif.h"

using SatCommonUtils::TPolygon;
using SatCommonUtils::TZxStringStream;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

void CheckMif(const std::string& text) {
  TZxStringStream stream(text);
  std::vector<std::vector<TPolygon>> regions;
  if (!ReadMIF(&stream, &regions)) return;
  std::vector<TPolygon> rings;
  for (const std::vector<TPolygon>& region : regions) rings.insert(rings.end(), region.begin(), region.end());
  TZxStringStream written;
  if (!WriteMIF(&written, rings)) return;
  std::vector<std::vector<TPolygon>> again;
  Require(ReadMIF(&written, &again) && again.size() == rings.size());
  for (std::size_t i = 0; i < rings.size(); ++i) Require(again[i].size() == 1 && again[i][0] == rings[i]);
}

void CheckText(const std::string& text) {
  TPolygon polygon;
  if (!polygon.InitializeFromText(text)) return;
  TPolygon again;
  Require(again.InitializeFromText(polygon.GetString()) && again.GetString() == polygon.GetString());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  CheckMif(text);
  CheckText(text);
  return 0;
}
