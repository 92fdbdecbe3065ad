#pragma once
/// \file
/// Images by name: models given as PATH or NAME=PATH, and what tables call them.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbmath_tool {

/// The folder of a path with its slash; empty when there is none.
std::string FolderOf(const std::string& path);
/// What stands behind the folder.
std::string FileNameOf(const std::string& path);
/// The file's name without its suffix; GDAL's ".aux.xml" stands behind another one, which goes too.
std::string FileStemOf(const std::string& path);
/// A stem without what makers of model files put behind the image's name ("_RPC", "-rpc", ".RPC") or before it
/// ("RPC_").
std::string WithoutModelMark(const std::string& stem);

/// An image of the command line.
struct NamedImage {
  std::string name;  ///< Given, or the file's stem without the mark of a model file.
  std::string path;
};

/// Splits "NAME=PATH"; a path that is there may hold a '=' itself.
NamedImage NamedImageOf(const std::string& argument);

/// The place of an image in `images` by its name, its path, or the name of its file with or without suffix; nothing
/// when there is none, or more than one.
std::optional<std::size_t> FindImage(const std::vector<NamedImage>& images, std::string_view name);

}  // namespace orbmath_tool
