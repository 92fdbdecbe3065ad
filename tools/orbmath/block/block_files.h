#pragma once
/// \file
/// The adjusted models of a block as files.

#include <string>
#include <vector>

#include "block/block_images.h"
#include "block/block_report.h"
#include "block/result_folder.h"

namespace orbmath_tool {

/// What a run says that Ctrl-C has ended.
inline constexpr const char* kInterrupted = "interrupted; nothing was written";

/// What each adjusted model is written as, beside XML.
enum class PlainForm { None, Rpb, Text, Image };

/// Adds to the folder NAME.xml of each image that was adjusted or fixed, the exchange document block.xml of them, and
/// their plain models. \param notes receives what people should know of them. \return the files of each image.
/// \throws Failure
std::vector<ImageFiles> AddModelFiles(const BlockImages& images, const SatCommonUtils::TBlockResult& result,
                                      PlainForm plain, ResultFolder* folder, std::vector<std::string>* notes);

}  // namespace orbmath_tool
