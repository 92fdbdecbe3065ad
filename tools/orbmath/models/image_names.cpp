// Names of images from the names of their models' files.

#include "models/image_names.h"

#include <algorithm>
#include <filesystem>

namespace orbmath_tool {

namespace {

namespace fs = std::filesystem;

/// Whether `text` has `part`, which is in lower case, at `at`, in any case.
bool HasAt(std::string_view text, std::size_t at, std::string_view part) {
  return at + part.size() <= text.size() &&
         std::equal(part.begin(), part.end(), text.begin() + static_cast<std::ptrdiff_t>(at),
                    [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? static_cast<char>(b - 'A' + 'a') : b); });
}

bool EndsWith(std::string_view text, std::string_view end) {
  return text.size() > end.size() && HasAt(text, text.size() - end.size(), end);
}

}  // namespace

std::string FolderOf(const std::string& path) { return path.substr(0, path.size() - FileNameOf(path).size()); }

std::string FileNameOf(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

std::string FileStemOf(const std::string& path) {
  constexpr std::string_view kAux = ".aux.xml";
  std::string stem = FileNameOf(path);
  if (EndsWith(stem, kAux)) stem.resize(stem.size() - kAux.size());
  const std::size_t dot = stem.find_last_of('.');
  if (dot != std::string::npos && dot != 0) stem.resize(dot);
  return stem;
}

std::string WithoutModelMark(const std::string& stem) {
  for (const std::string_view mark : {"_rpc", "-rpc", ".rpc"}) {
    if (EndsWith(stem, mark)) return stem.substr(0, stem.size() - mark.size());
  }
  constexpr std::string_view kFront = "rpc_";
  return stem.size() > kFront.size() && HasAt(stem, 0, kFront) ? stem.substr(kFront.size()) : stem;
}

NamedImage NamedImageOf(const std::string& argument) {
  const std::size_t sign = argument.find('=');
  std::error_code ignored;
  if (sign == std::string::npos || sign == 0 || argument.find_first_of("/\\") < sign ||
      fs::exists(fs::u8path(argument), ignored)) {
    return {WithoutModelMark(FileStemOf(argument)), argument};
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
  const std::string file = FileNameOf(text);
  if (const auto same = find([&](const NamedImage& image) { return FileNameOf(image.path) == file; })) return same;
  const std::string stem = WithoutModelMark(FileStemOf(text));
  return find([&](const NamedImage& image) { return image.name == stem; });
}

}  // namespace orbmath_tool
