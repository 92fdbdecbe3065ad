#pragma once
/// \file
/// The page of an adjustment.

#include <string>

#include "block/block_report.h"

namespace orbmath_tool {

/// The page as HTML: what came out, map, residuals as arrows over the images, histograms, tables of images, control and
/// bad measurements. Of very many images and points it shows the worst ones, and says so.
std::string BlockPageHtml(const BlockStory& story);

}  // namespace orbmath_tool
