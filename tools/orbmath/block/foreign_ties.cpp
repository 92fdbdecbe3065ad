// Readers of tie points of other programs, and the joining of pairs to tracks (union-find; R. Tarjan 1975,
// doi:10.1145/321879.321884).

#include "block/foreign_ties.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <limits>
#include <utility>

#include "errors.h"
#include "frame/zxstd/number_text.h"

namespace orbmath_tool {

namespace {

namespace fs = std::filesystem;

/// Where COLMAP has the centre of the first pixel.
constexpr double kColmapCentre = 0.5;
/// Numbers of points are whole in a double up to here.
constexpr double kLargestPoint = 9007199254740992.0;

/// Takes the finite number at the front off `text`. \return false when there is none.
bool TakeNumber(std::string_view* text, double* value) {
  const std::size_t used = SatCommonUtils::ParseDoublePrefix(*text, value);
  if (used == 0 || !std::isfinite(*value)) return false;
  text->remove_prefix(used);
  return true;
}

bool IsBlankLine(std::string_view line) { return line.find_first_not_of(" \t\r") == std::string_view::npos; }

[[noreturn]] void Refuse(const std::string& path, std::size_t line, const std::string& reason) {
  throw Failure(path + ":" + std::to_string(line) + ": " + reason);
}

std::ifstream Open(const std::string& path) {
  std::ifstream file(fs::u8path(path), std::ios::binary);
  if (!file) throw Failure(path + ": cannot be read");
  return file;
}

/// The name behind nine numbers of an image's first line in COLMAP's text form.
bool ColmapName(std::string_view line, std::string* name) {
  constexpr int kNumbers = 9;
  double number = 0.0;
  for (int i = 0; i < kNumbers; ++i) {
    if (!TakeNumber(&line, &number)) return false;
  }
  const std::size_t begin = line.find_first_not_of(" \t");
  const std::size_t end = line.find_last_not_of(" \t\r");
  if (begin == std::string_view::npos || begin == 0) return false;
  *name = line.substr(begin, end + 1 - begin);
  return true;
}

/// The keypoints of one image that are seen elsewhere too. \return false when the line does not consist of triples.
bool TakeColmapPoints(std::string_view line, std::int32_t image, std::size_t* count, BlockData* data) {
  double sample = 0.0;
  double line_coordinate = 0.0;
  double point = 0.0;
  while (TakeNumber(&line, &sample)) {
    if (!TakeNumber(&line, &line_coordinate) || !TakeNumber(&line, &point) || point > kLargestPoint) {
      return false;
    }
    if (point < 0.0) continue;
    ++*count;
    if (image < 0) continue;
    const std::string name = std::to_string(static_cast<unsigned long long>(point));
    data->measurements.Add(static_cast<std::uint32_t>(data->points.Add(name)), static_cast<std::uint32_t>(image),
                           line_coordinate - kColmapCentre, sample - kColmapCentre);
  }
  return IsBlankLine(line);
}

}  // namespace

bool IsColmapImages(const std::string& path) {
  constexpr std::string_view kFront = "# Image list with two lines of data per image";
  if (path == "-") return false;
  std::ifstream file(fs::u8path(path), std::ios::binary);
  std::string front(kFront.size(), '\0');
  return file.read(front.data(), static_cast<std::streamsize>(front.size())) && front == kFront;
}

void ReadColmapImages(const std::string& path, BlockImages* images, BlockData* data) {
  std::ifstream file = Open(path);
  std::string text;
  std::string name;
  for (std::size_t line = 1; std::getline(file, text); ++line) {
    if (IsBlankLine(text) || text[0] == '#') continue;
    if (!ColmapName(text, &name)) Refuse(path, line, "expected number, pose, camera and name of an image");
    ++line;
    // An image without keypoints has an empty line, and may be the last one without it.
    if (!std::getline(file, text)) text.clear();
    const std::int32_t image = images->Find(name);
    std::size_t count = 0;
    if (!TakeColmapPoints(text, image, &count, data)) {
      Refuse(path, line, "expected keypoints as 'X Y POINT3D_ID', three fields each");
    }
    if (image < 0) data->unknown_images[name] += count;
  }
}

std::size_t PairJoiner::PlaceHash::operator()(const std::pair<double, double>& place) const noexcept {
  constexpr std::uint64_t kMix = 0x9E3779B97F4A7C15u;  // Fibonacci hashing: D. Knuth, TAOCP vol. 3, section 6.4
  const std::uint64_t mixed = std::hash<double>()(place.first) * kMix + std::hash<double>()(place.second);
  // The high half is the one that is mixed well; a size of 32 bits would lose it.
  return static_cast<std::size_t>(mixed ^ (mixed >> 32));
}

std::uint32_t PairJoiner::Number(std::uint32_t image, double sample, double line) {
  if (places_.size() <= image) places_.resize(image + 1);
  const auto number = static_cast<std::uint32_t>(keypoints_.size());
  const auto [place, is_new] = places_[image].emplace(std::make_pair(sample, line), number);
  if (is_new) keypoints_.push_back({image, sample, line, number});
  return place->second;
}

std::uint32_t PairJoiner::Root(std::uint32_t keypoint) {
  while (keypoints_[keypoint].parent != keypoint) {
    std::uint32_t& parent = keypoints_[keypoint].parent;
    parent = keypoints_[parent].parent;  // halves the path for the next time
    keypoint = parent;
  }
  return keypoint;
}

bool PairJoiner::ImageOf(const std::string& name, std::size_t lines, std::uint32_t* image) {
  const std::int32_t found = images_->Find(name);
  if (found < 0) data_->unknown_images[name] += lines;
  *image = static_cast<std::uint32_t>(found);
  return found >= 0;
}

void PairJoiner::Read(const std::string& path, const std::string& first, const std::string& second) {
  std::ifstream file = Open(path);
  std::vector<std::array<double, 4>> pairs;
  std::string text;
  for (std::size_t line = 1; std::getline(file, text); ++line) {
    if (IsBlankLine(text) || text[0] == '#') continue;
    std::array<double, 4> pair{};
    std::string_view rest = text;
    for (double& value : pair) {
      if (!TakeNumber(&rest, &value)) Refuse(path, line, "expected 'sample1 line1 sample2 line2'");
    }
    pairs.push_back(pair);
  }
  std::uint32_t images[2] = {};
  const bool known[] = {ImageOf(first, pairs.size(), &images[0]), ImageOf(second, pairs.size(), &images[1])};
  if (!known[0] || !known[1]) return;
  if (images[0] == images[1]) throw Failure(path + ": '" + first + "' and '" + second + "' are one image");
  for (const auto& [sample1, line1, sample2, line2] : pairs) {
    const std::uint32_t a = Root(Number(images[0], sample1, line1));
    const std::uint32_t b = Root(Number(images[1], sample2, line2));
    // The earlier keypoint is the root, so that names follow the files.
    keypoints_[std::max(a, b)].parent = std::min(a, b);
  }
}

void PairJoiner::Finish(double shift) {
  std::vector<std::vector<std::uint32_t>> tracks(keypoints_.size());
  for (std::uint32_t i = 0; i < keypoints_.size(); ++i) tracks[Root(i)].push_back(i);
  std::size_t contradictory = 0;
  std::vector<std::uint32_t> seen;
  for (std::uint32_t root = 0; root < tracks.size(); ++root) {
    if (tracks[root].empty()) continue;
    seen.clear();
    for (const std::uint32_t i : tracks[root]) seen.push_back(keypoints_[i].image);
    std::sort(seen.begin(), seen.end());
    if (std::adjacent_find(seen.begin(), seen.end()) != seen.end()) {
      ++contradictory;
      continue;
    }
    const auto point = static_cast<std::uint32_t>(data_->points.Add("match:" + std::to_string(root)));
    for (const std::uint32_t i : tracks[root]) {
      const Keypoint& keypoint = keypoints_[i];
      data_->measurements.Add(point, keypoint.image, keypoint.line - shift, keypoint.sample - shift);
    }
  }
  if (contradictory > 0) {
    data_->notes.push_back(std::to_string(contradictory) +
                           (contradictory == 1 ? " point joined from pairs has" : " points joined from pairs have") +
                           " two places in one image and was left out");
  }
}

void ReadHomolFolder(const std::string& path, PairJoiner* pairs) {
  constexpr std::string_view kPrefix = "Pastis";
  std::vector<std::array<std::string, 3>> files;  // path and both images
  bool binary = false;
  std::error_code error;
  for (const fs::directory_entry& folder : fs::directory_iterator(fs::u8path(path), error)) {
    const std::string first = folder.path().filename().u8string();
    if (first.compare(0, kPrefix.size(), kPrefix) != 0 || !folder.is_directory(error)) continue;
    for (const fs::directory_entry& file : fs::directory_iterator(folder.path(), error)) {
      binary = binary || file.path().extension() == ".dat";
      if (file.path().extension() != ".txt") continue;
      files.push_back({file.path().u8string(), first.substr(kPrefix.size()), file.path().stem().u8string()});
    }
  }
  if (files.empty()) {
    throw Failure(path + (binary ? ": its tie points are binary files (.dat), ask Tapioca for text by ExpTxt=1"
                                 : ": is a folder without tie points in files Pastis<image>/<image>.txt"));
  }
  std::sort(files.begin(), files.end());
  for (const auto& [file, first, second] : files) pairs->Read(file, first, second);
}

}  // namespace orbmath_tool
