#pragma once
/// \file
/// The page of stereo pairs: a map of images and overlaps, directions in the sky, histograms, a table by rank.

#include <string>
#include <vector>

#include "models/model_list.h"
#include "stereo/pair_geometry.h"

namespace orbmath_tool {

/// What such a page tells of. Nothing is owned.
struct PairsStory {
  const std::vector<ListedModel>& models;
  const std::vector<SatCommonUtils::TStereoImage>& images;  ///< one of each model
  const StereopairsByOverlap::TStereopairsByOverlapParams& criteria;
  const SatCommonUtils::TStereoPairOptions& options;
  const SatCommonUtils::TPairSearch& search;
  std::size_t listed = 0;  ///< how many pairs were asked for, the best ones
};

/// The page as HTML.
std::string PairsPageHtml(const PairsStory& story);

}  // namespace orbmath_tool
