// The text, debug, stream and XML forms of the dense matrix.

#include <cmath>
#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "linalg/matrix.h"
#include "linalg/vector_text.h"

namespace SatCommonUtils {

namespace {

const char kWidthKey[] = "MatrixWidth";
const char kHeightKey[] = "MatrixHeight";
const char kRowsKey[] = "MatrixRows";

char PortraitCharacter(double value, bool show_zeros, bool show_ones, bool show_signs) {
  if (value == 0.0) return show_zeros ? '0' : ' ';
  if (show_ones && value == 1.0) return '1';
  if (show_signs && value <= 0.0) return '-';
  if (show_signs && value > 0.0) return '+';
  return std::isfinite(value) ? '*' : '!';
}

// The keys of the reader's current section; the first of equal ones counts.
std::unordered_map<std::string_view, std::size_t> KeysOfSection(const TZxXIniReader& reader) {
  std::unordered_map<std::string_view, std::size_t> keys;
  const std::size_t count = reader.GetCount();
  keys.reserve(count);
  for (std::size_t i = 0; i < count; ++i) keys.emplace(*reader.GetKey(i), i);
  return keys;
}

}  // namespace

std::string TMatrix::Output() const {
  std::string text;
  for (std::size_t i = 0; i < height_; ++i) text += rows_[i].Output() + "\n";
  return text;
}

void TMatrix::DebugOutput() const {
  if (!debug_name_.empty()) ZxPrintDbgMsg(debug_name_);
  for (std::size_t i = 0; i < height_; ++i) ZxPrintDbgMsg(rows_[i].Output() + "\n");
}

void TMatrix::DebugOutputPortrait(bool show_zeros, bool show_ones, bool show_signs) const {
  ZxPrintDbgMsg(std::string(width_ + 2, '=') + "\n");
  for (std::size_t i = 0; i < height_; ++i) {
    std::string line = "|";
    for (std::size_t j = 0; j < width_; ++j) {
      line += PortraitCharacter(rows_[i](j), show_zeros, show_ones, show_signs);
    }
    ZxPrintDbgMsg(line + "|\n");
  }
}

bool TMatrix::PutToStream(TZxStream* stream) const {
  if (stream == nullptr || GetElementsCount() == 0) return false;
  const std::size_t row_bytes = width_ * sizeof(double);
  for (std::size_t i = 0; i < height_; ++i) {
    if (stream->Write(rows_[i].GetData(), row_bytes) != row_bytes) return false;
  }
  return true;
}

bool TMatrix::SaveToXML(TZxXIniWriter* writer, std::string key) const {
  if (writer == nullptr) return false;
  TZxXIniWriterSection section(writer, key);
  bool good = writer->WriteS<unsigned long long>(kWidthKey, width_);
  good = writer->WriteS<unsigned long long>(kHeightKey, height_) && good;
  TZxXIniWriterSection rows(writer, kRowsKey);
  for (std::size_t i = 0; i < height_; ++i) good = rows_[i].SaveToXML(writer, std::to_string(i)) && good;
  good = rows.End() && good;
  return section.End() && good;
}

bool TMatrix::InitializeFromXML(TZxXIniReader* reader, std::string key) {
  if (reader == nullptr || reader->FindF(key) == TZxXIniReader::npos) return false;
  const TZxXIniSection section(reader, key);
  if (!section) return false;
  const auto width = reader->ReadE<unsigned long long>(reader->FindFE(kWidthKey));
  const auto height = reader->ReadE<unsigned long long>(reader->FindFE(kHeightKey));
  const TZxXIniSection rows(reader, kRowsKey);
  // The stored rows bound the memory that the stated size may take, and the first row that differs ends the reading.
  if (!rows || reader->GetCount() < height) return false;
  const std::unordered_map<std::string_view, std::size_t> keys = KeysOfSection(*reader);
  TMatrix loaded(0, static_cast<std::size_t>(height));
  loaded.width_ = static_cast<std::size_t>(width);
  for (std::size_t i = 0; i < loaded.height_; ++i) {
    const auto row = keys.find(std::to_string(i));
    if (row == keys.end() || !ReadVectorText(reader->GetText(row->second), &loaded.rows_[i])) return false;
    if (loaded.rows_[i].GetSize() != width) return false;
  }
  *this = std::move(loaded);
  return true;
}

}  // namespace SatCommonUtils
