// The text, debug and XML forms of the dense vector.

#include "linalg/vector_text.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string>

#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "linalg/number_list.h"
#include "linalg/vector.h"

namespace SatCommonUtils {

namespace {

// Room for the longest number in either form: a sign, 309 digits before the point and four behind.
using TNumberText = std::array<char, 320>;

// Digits that bring every double back bit for bit, with some to spare (17 would do).
constexpr int kStorageDigits = 20;

void AppendStored(std::string* text, double value) {
  TNumberText buffer;
  const std::to_chars_result end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::general, kStorageDigits);
  text->append(buffer.data(), end.ptr);
}

void AppendReadable(std::string* text, double value) {
  constexpr std::size_t kWidth = 9;
  constexpr int kDigits = 4;
  TNumberText buffer;
  const std::to_chars_result end =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, kDigits);
  const auto length = static_cast<std::size_t>(end.ptr - buffer.data());
  if (length < kWidth) text->append(kWidth - length, ' ');
  text->append(buffer.data(), length);
}

template <class Append>
std::string Framed(const TVector& vector, Append append) {
  std::string text = "(";
  for (std::size_t i = 0; i < vector.GetSize(); ++i) {
    if (i > 0) text += ';';
    append(&text, vector(i));
  }
  text += ')';
  return text;
}

}  // namespace

bool ReadVectorText(const std::string* stored, TVector* vector) {
  if (stored == nullptr) return false;
  const char* const text = stored->c_str();
  if (HasOverlongToken(text, kVectorDelimiters)) return false;
  const std::size_t count = ReadNumberList(text, kVectorDelimiters);
  if (count == 0) return false;
  vector->Reset(count);
  ReadNumberList(text, kVectorDelimiters, vector->GetData(), count);
  return true;
}

std::string TVector::GetString() const { return Framed(*this, AppendStored); }

std::string TVector::Output() const { return Framed(*this, AppendReadable); }

void TVector::DebugOutput() const { ZxPrintDbgMsg(Output()); }

void TVector::DebugOutput(const char* title) const { DebugOutput(std::string(title == nullptr ? "" : title)); }

void TVector::DebugOutput(const std::string& title) const { ZxPrintDbgMsg(title + " " + Output() + "\r\n"); }

bool TVector::SaveToXML(TZxXIniWriter* writer, std::string key) const {
  return writer != nullptr && writer->WriteS<std::string>(key, GetString());
}

bool TVector::InitializeFromXML(TZxXIniReader* reader, std::string key) {
  if (reader == nullptr) return false;
  const std::size_t index = reader->FindF(key);
  if (index == TZxXIniReader::npos) return false;
  return ReadVectorText(reader->GetText(index), this);
}

}  // namespace SatCommonUtils
