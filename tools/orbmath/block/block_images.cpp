// Names of images: what the command line says, and what others make of it.

#include "block/block_images.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <utility>

#include "commands/did_you_mean.h"
#include "errors.h"

namespace orbmath_tool {

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t kNoImage = -1;
/// Names of the other files in the folder of results.
constexpr const char* kTakenNames[] = {"block", "points", "report"};

std::string BaseName(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

/// Whether `text` has `part` at `at`, in any case.
bool HasAt(const std::string& text, std::size_t at, const char* part) {
  const std::string wanted = part;
  return at + wanted.size() <= text.size() &&
         std::equal(wanted.begin(), wanted.end(), text.begin() + static_cast<std::ptrdiff_t>(at), [](char a, char b) {
           return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
         });
}

/// A file's name without its suffix; GDAL's ".aux.xml" stands behind another one.
std::string Stem(std::string name) {
  constexpr std::size_t kAux = 8;
  if (name.size() > kAux && HasAt(name, name.size() - kAux, ".aux.xml")) name.resize(name.size() - kAux);
  const std::size_t dot = name.find_last_of('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

/// A stem without the mark of a model file.
std::string WithoutMark(const std::string& stem) {
  constexpr std::size_t kMark = 4;
  if (stem.size() <= kMark) return stem;
  if (HasAt(stem, stem.size() - kMark, "_RPC")) return stem.substr(0, stem.size() - kMark);
  return HasAt(stem, 0, "RPC_") ? stem.substr(kMark) : stem;
}

/// Splits "NAME=PATH"; a path may hold a '=' itself, behind a slash or as a file that is there.
std::pair<std::string, std::string> NameAndPath(const std::string& argument) {
  const std::size_t sign = argument.find('=');
  std::error_code ignored;
  if (sign == std::string::npos || argument.find('/') < sign || fs::exists(argument, ignored)) return {"", argument};
  return {argument.substr(0, sign), argument.substr(sign + 1)};
}

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
    auto [name, path] = NameAndPath(argument);
    const bool given = path.size() < argument.size();
    const std::string stem = Stem(BaseName(path));
    if (!given) name = WithoutMark(stem);
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
    AddName(stem, image);
    AddName(BaseName(path), image);
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
  const std::string base = BaseName(name);
  for (const std::string& each : {name, base, Stem(base), WithoutMark(Stem(base))}) {
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
      if (!image.named && last_ == Stem(BaseName(image.path))) image.name = last_;
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
