// NumPy's file form: a header of text, then the numbers. Source: NumPy Enhancement Proposal 1, "A simple file format
// for NumPy arrays" (2007).

#include "npy_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace SatCommonUtils {

namespace {

bool WriteAt(int file, const void* bytes, std::size_t count, std::size_t at) {
  const char* from = static_cast<const char*>(bytes);
  while (count > 0) {
    const ssize_t taken = pwrite(file, from, count, static_cast<off_t>(at));
    if (taken < 0 && errno == EINTR) continue;
    if (taken <= 0) return false;
    from += taken;
    at += static_cast<std::size_t>(taken);
    count -= static_cast<std::size_t>(taken);
  }
  return true;
}

std::string Why(const std::string& path) {
  return path + ": cannot be written: " + std::generic_category().message(errno);
}

}  // namespace

NpyOutput::~NpyOutput() {
  if (file_ >= 0) close(file_);
}

bool NpyOutput::Create(const std::string& path, int bands, int rows, int columns, std::string* error) {
  path_ = path;
  name_ = std::filesystem::path(path).filename().string();
  bands_ = bands;
  rows_ = rows;
  columns_ = columns;
  if (!folder_.Make(path, error)) return false;
  file_ = open(folder_.PathOf(name_).c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
  // Numbers begin at a multiple of 64.
  std::string text = "{'descr': '<f8', 'fortran_order': False, 'shape': (" + std::to_string(bands) + ", " +
                     std::to_string(rows) + ", " + std::to_string(columns) + "), }";
  constexpr std::size_t kBefore = 10;
  while ((kBefore + text.size() + 1) % 64 != 0) text += ' ';
  text += '\n';
  const auto size = static_cast<unsigned>(text.size());
  const std::string begin = {'\x93', 'N', 'U', 'M', 'P', 'Y', 1, 0, char(size & 255u), char(size >> 8u)};
  header_ = begin.size() + text.size();
  if (file_ >= 0 && WriteAt(file_, (begin + text).data(), header_, 0)) return true;
  *error = Why(path_);
  return false;
}

bool NpyOutput::Put(const PixelRect& rect, const std::vector<double>& values, std::string* error) {
  const double* from = values.data();
  for (int band = 0; band < bands_; ++band) {
    for (int row = 0; row < rect.rows; ++row, from += rect.columns) {
      const std::size_t before =
          (std::size_t(band) * std::size_t(rows_) + std::size_t(rect.row + row)) * std::size_t(columns_) +
          std::size_t(rect.column);
      if (WriteAt(file_, from, std::size_t(rect.columns) * sizeof(double), header_ + before * sizeof(double))) continue;
      *error = Why(path_);
      return false;
    }
  }
  return true;
}

bool NpyOutput::Finish(std::string* error) {
  const bool closed = close(file_) == 0;
  file_ = -1;
  if (!closed) *error = Why(path_);
  return closed && folder_.MoveOut(name_, error);
}

}  // namespace SatCommonUtils
