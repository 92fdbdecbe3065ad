#pragma once
/// \file
/// Tie points as other programs write them.

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "block/block_data.h"

namespace orbmath_tool {

/// Whether a file is the text form of COLMAP's images ("images.txt"): its first line says so.
bool IsColmapImages(const std::string& path);
/// Reads that. Each image has two lines: number, pose, camera and name, then its keypoints as X, Y and the number of
/// the 3D point, -1 for none. The centre of the first pixel is at 0.5 there. The poses are not used.
/// Source: https://colmap.github.io/format.html. \throws Failure
void ReadColmapImages(const std::string& path, BlockImages* images, BlockData* data);

/// Points measured in pairs of images, joined to points of many: keypoints with the same coordinates in one image are
/// the same.
class PairJoiner {
 public:
  PairJoiner(BlockImages* images, BlockData* data) : images_(images), data_(data) {}

  /// Takes a file of lines 'sample1 line1 sample2 line2' of two images, as s2p ("sift_matches.txt") and MicMac write.
  /// More fields are passed over. \throws Failure
  void Read(const std::string& path, const std::string& first, const std::string& second);
  /// Adds the joined points to the data; those that would have two places in one image are left out, and counted in a
  /// note. \param shift what coordinates have more than those of the models, pixels.
  void Finish(double shift);

 private:
  struct Keypoint {
    std::uint32_t image;
    double sample, line;
    std::uint32_t parent;  ///< of the tree of joined ones
  };

  std::uint32_t Number(std::uint32_t image, double sample, double line);
  std::uint32_t Root(std::uint32_t keypoint);
  bool ImageOf(const std::string& name, std::size_t lines, std::uint32_t* image);

  struct PlaceHash {
    std::size_t operator()(const std::pair<double, double>& place) const noexcept;
  };
  using Places = std::unordered_map<std::pair<double, double>, std::uint32_t, PlaceHash>;

  BlockImages* images_;
  BlockData* data_;
  std::vector<Keypoint> keypoints_;
  std::vector<Places> places_;  ///< of each image
};

/// Reads a folder of tie points of MicMac in the text form (`Tapioca ... ExpTxt=1`): files
/// "Pastis<image>/<image>.txt" with lines 'sample1 line1 sample2 line2'.
/// Source: MicMac's documentation, "Structure of the Homol folder". \throws Failure
void ReadHomolFolder(const std::string& path, PairJoiner* pairs);

}  // namespace orbmath_tool
