// Names of images from the names of their models' files.

#include "models/image_names.h"

#include <filesystem>

namespace orbmath_tool {

namespace {

namespace fs = std::filesystem;

bool IsMark(std::string_view part) {
  std::string upper(part);
  for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return upper == "_RPC" || upper == "RPC_";
}

/// A file's name without its suffix and without the mark of a model file.
std::string StemOf(const std::string& path) {
  constexpr std::size_t kMark = 4;
  std::string stem = fs::path(path).stem().string();
  if (stem.size() <= kMark) return stem;
  if (IsMark(std::string_view(stem).substr(stem.size() - kMark))) return stem.substr(0, stem.size() - kMark);
  return IsMark(std::string_view(stem).substr(0, kMark)) ? stem.substr(kMark) : stem;
}

}  // namespace

NamedImage NamedImageOf(const std::string& argument) {
  const std::size_t sign = argument.find('=');
  std::error_code ignored;
  if (sign == std::string::npos || sign == 0 || argument.find('/') < sign || fs::exists(argument, ignored)) {
    return {StemOf(argument), argument};
  }
  return {argument.substr(0, sign), argument.substr(sign + 1)};
}

std::optional<std::size_t> FindImage(const std::vector<NamedImage>& images, std::string_view name) {
  const std::string text(name);
  const auto find = [&](auto is_it) {
    std::optional<std::size_t> found;
    for (std::size_t i = 0; i < images.size(); ++i) {
      if (!is_it(images[i])) continue;
      if (found) return std::optional<std::size_t>();
      found = i;
    }
    return found;
  };
  if (const auto exact = find([&](const NamedImage& image) { return image.name == text; })) return exact;
  const std::string file = fs::path(text).filename().string();
  if (const auto same = find([&](const NamedImage& i) { return fs::path(i.path).filename() == file; })) return same;
  return find([&](const NamedImage& image) { return image.name == StemOf(text); });
}

}  // namespace orbmath_tool
