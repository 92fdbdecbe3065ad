#pragma once
/// \file
/// Images by name: models given as PATH or NAME=PATH, and what tables call them.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbmath_tool {

/// An image of the command line.
struct NamedImage {
  std::string name;  ///< Given, or the file's name without suffix and without "_RPC" behind or "RPC_" before it.
  std::string path;
};

/// Splits "NAME=PATH"; a path that is there may hold a '=' itself.
NamedImage NamedImageOf(const std::string& argument);

/// The place of an image in `images` by its name, its path, or the name of its file with or without suffix; nothing
/// when there is none, or more than one.
std::optional<std::size_t> FindImage(const std::vector<NamedImage>& images, std::string_view name);

}  // namespace orbmath_tool
