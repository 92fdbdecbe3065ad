#pragma once
// Where the library's own file lies.

#include <string>

namespace SatCommonUtils {

/// A loaded module: its handle or load address, and the full path of its file in UTF-8. Null and empty when the system
/// does not say.
struct TModuleFile {
  void* handle = nullptr;
  std::string path;
};

/// The library itself. \param file_name the name that the module is looked up by where the system does so.
TModuleFile FindOwnModule(const std::string& file_name);

/// The parts of a path: what is before its last separator, the file's name before its last point, and what follows it.
/// A part that is not there is empty.
struct TPathParts {
  std::string directory;
  std::string base_name;
  std::string extension;
};

TPathParts SplitPath(const std::string& path);

}  // namespace SatCommonUtils
