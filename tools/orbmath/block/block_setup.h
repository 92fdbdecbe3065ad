#pragma once
/// \file
/// From what the files hold to the problem of an adjustment, and what is wrong with it.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "block/block_data.h"
#include "block/block_options.h"
#include "block/block_problem.h"
#include "block/block_result.h"
#include "terrain/height_surface.h"

namespace orbmath_tool {

/// What the command line says about images.
struct ImageChoices {
  SatCommonUtils::TBlockCorrection correction = SatCommonUtils::TBlockCorrection::Automatic;
  std::vector<std::string> fixed;   ///< names of images without a correction
  std::vector<std::string> passes;  ///< names joined by commas: images that share one correction
};

/// The problem; the models in it are those of `images`, which must outlive it.
/// \param surface null, or the heights of control points that have none. \param sigma_surface of those, metres.
/// \throws Failure, UsageError
SatCommonUtils::TBlockProblem MakeProblem(BlockImages* images, BlockData* data, const ImageChoices& choices,
                                          const SatCommonUtils::THeightSurface* surface, double sigma_surface);

/// What is wrong with the input or was left out.
struct Finding {
  bool is_error;  ///< an image goes without its adjusted model, or nothing can be adjusted
  std::string text;
};

/// \param result of an adjustment or of its check alone.
std::vector<Finding> FindingsOf(const SatCommonUtils::TBlockProblem& problem, const BlockData& data,
                                const SatCommonUtils::TBlockResult& result);

/// "'a', 'b' and 7 more" of `names`.
std::string NamesInShort(const std::vector<std::string>& names);

/// "1 point", "2,000 points": a count with its noun, whose plural ends in s.
std::string Counted(std::size_t count, const std::string& noun);

}  // namespace orbmath_tool
