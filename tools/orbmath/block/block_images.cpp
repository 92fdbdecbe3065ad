// Names of images: what the command line says, and what others make of it.

#include "block/block_images.h"

#include <algorithm>
#include <utility>

#include "commands/did_you_mean.h"
#include "errors.h"
#include "models/image_names.h"

namespace orbmath_tool {

namespace {

constexpr std::int32_t kNoImage = -1;
/// Names of the other files in the folder of results.
constexpr const char* kTakenNames[] = {"block", "points", "report"};

void RefuseBadName(const std::string& name, const std::string& argument) {
  const bool taken = std::find(std::begin(kTakenNames), std::end(kTakenNames), name) != std::end(kTakenNames);
  const bool odd = name.empty() || name[0] == '.' || std::any_of(name.begin(), name.end(), [](unsigned char c) {
                     return c < ' ' || c == '/' || c == '\\' || c == 0x7F;
                   });
  if (taken || odd) {
    throw UsageError("'" + argument + "': no image can be called '" + name + "', whose file in the output would " +
                     (taken ? "be another one" : "have no proper name") + "; name it by NAME=PATH");
  }
}

}  // namespace

BlockImages::BlockImages(const std::vector<std::string>& arguments) {
  std::unordered_map<std::string, std::string> paths;
  for (const std::string& argument : arguments) {
    const auto [name, path] = NamedImageOf(argument);
    const bool given = path.size() < argument.size();
    RefuseBadName(name, argument);
    const auto [place, is_new] = paths.emplace(name, path);
    if (!is_new) {
      std::string reason = "'" + place->second + "' and '";
      reason.append(path).append("' are both called '").append(name).append("'; name them by NAME=PATH");
      throw UsageError(reason);
    }
    const auto image = static_cast<std::int32_t>(images_.size());
    images_.push_back({name, given, path, {}});
    AddName(name, image);
    if (given) continue;
    AddName(FileStemOf(path), image);
    AddName(FileNameOf(path), image);
  }
}

void BlockImages::AddName(const std::string& name, std::int32_t image) {
  const auto [place, is_new] = known_.emplace(name, image);
  if (!is_new && place->second != image) place->second = kNoImage;
}

void BlockImages::Read(const ModelReading& reading) {
  for (Image& image : images_) image.model = ReadGroundModel(image.path, reading);
}

std::int32_t BlockImages::Search(const std::string& name) const {
  const std::string stem = FileStemOf(name);
  for (const std::string& each : {name, FileNameOf(name), stem, WithoutModelMark(stem)}) {
    const auto found = known_.find(each);
    if (found != known_.end()) return found->second;
  }
  return kNoImage;
}

std::int32_t BlockImages::Find(std::string_view name) {
  if (!last_.empty() && last_ == name) return last_image_;
  last_ = name;
  const auto [place, is_new] = asked_.emplace(last_, kNoImage);
  if (is_new) {
    place->second = Search(last_);
    if (place->second != kNoImage) {
      Image& image = images_[static_cast<std::size_t>(place->second)];
      // The name that the measurements use, without folders and suffixes, serves people best.
      if (!image.named && last_ == FileStemOf(image.path)) image.name = last_;
      image.named = true;
    }
  }
  return last_image_ = place->second;
}

std::string BlockImages::WhatThereIs(const std::string& name) const {
  constexpr std::size_t kMostNames = 3;
  std::vector<std::string> names;
  for (const Image& image : images_) names.push_back(image.name);
  std::string meant = DidYouMean(name, names);
  if (!meant.empty()) return meant;
  std::string list = "; the images are";
  for (std::size_t i = 0; i < std::min(names.size(), kMostNames); ++i) list += (i == 0 ? " '" : ", '") + names[i] + "'";
  if (names.size() > kMostNames) list += " and " + std::to_string(names.size() - kMostNames) + " more";
  return list;
}

}  // namespace orbmath_tool
