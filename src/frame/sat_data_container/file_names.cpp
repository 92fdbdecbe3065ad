// Extensions of file names, by the bytes of the name alone.

#include "frame/sat_data_container/file_names.h"

namespace SatCommonUtils {

std::string CutFileExt(const std::string& name) {
  const std::size_t separator = name.find_last_of("/\\");
  const std::size_t begin = separator == std::string::npos ? 0 : separator + 1;
  const std::size_t first = name.find_first_not_of('.', begin);
  const std::size_t point = name.rfind('.');
  if (first == std::string::npos || point == std::string::npos || point < first) return name;
  return name.substr(0, point);
}

std::string ChangeFileExt(const std::string& name, const std::string& extension) {
  std::string stem = CutFileExt(name);
  if (extension.empty()) return stem;
  return stem + (extension.front() == '.' ? "" : ".") + extension;
}

}  // namespace SatCommonUtils
