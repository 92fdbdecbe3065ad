// The small matrix: its identity and its XML form.

#include "frame/zxstd/matr3x3.h"

#include <algorithm>

namespace SatCommonUtils {

namespace {

std::string ElementKey(std::size_t row, std::size_t column) { return std::to_string(row) + std::to_string(column); }

}  // namespace

void matr3x3::fill_unity() {
  *this = matr3x3();
  for (std::size_t i = 0; i < 3; ++i) m[i][i] = 1.0;
}

void matr3x3::XIniLoadE(TZxXIniReader* reader, const std::string& key) {
  matr3x3 loaded;
  const TZxXIniSection section(reader, key);
  if (!section) throw TZxMessage("there is no section \"" + key + "\" with a 3 by 3 matrix");
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      loaded[row][column] = reader->ReadKeyE<double>(ElementKey(row, column));
    }
  }
  *this = loaded;
}

void matr3x3::XIniSaveE(TZxXIniWriter* writer, const std::string& key) const {
  TZxXIniWriterSection section(writer, key);
  bool written = true;
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) {
      written = writer->WriteS(ElementKey(row, column), m[row][column]) && written;
    }
  }
  if (!section.End() || !written) throw TZxMessage("the matrix \"" + key + "\" could not be written");
}

bool operator==(const matr3x3& a, const matr3x3& b) { return std::equal(&a.m[0][0], &a.m[0][0] + 9, &b.m[0][0]); }

bool operator!=(const matr3x3& a, const matr3x3& b) { return !(a == b); }

}  // namespace SatCommonUtils
