// Keyed values from an XML document, which is read whole and checked before the first is given out.

#include "frame/zxstd/xini_reader.h"

#include <exception>
#include <utility>

#include "frame/zxstd/number_text.h"
#include "frame/zxstd/progress_report.h"
#include "frame/zxstd/quoted.h"
#include "frame/zxstd/xini_document.h"
#include "frame/zxstd/xml_parse.h"

namespace SatCommonUtils {

namespace {

// How a text becomes a value, and what a message calls such a value.
bool Parse(const std::string& text, int* value) { return ParseInt(text, value); }
bool Parse(const std::string& text, double* value) { return ParseDouble(text, value); }
bool Parse(const std::string& text, unsigned long long* value) { return ParseUnsigned(text, value); }
bool Parse(const std::string& text, bool* value) { return ParseBool(text, value); }
bool Parse(const std::string& text, std::string* value) {
  *value = text;
  return true;
}

const char* Kind(const int*) { return "a whole number"; }
const char* Kind(const double*) { return "a number"; }
const char* Kind(const unsigned long long*) { return "a whole number of at least 0"; }
const char* Kind(const bool*) { return "true or false"; }
const char* Kind(const std::string*) { return "a text"; }

[[noreturn]] void ThrowAbsent(const TZxXIniReader& reader, const char* kind, const std::string& name) {
  throw TZxMessage("there is no " + std::string(kind) + " " + Quoted(name) + " in section " + Quoted(reader.GetPath()));
}

}  // namespace

// Emitted for hosts on Windows, whose programs import the constant where they take its address.
constexpr std::size_t TZxXIniReader::npos;  // NOLINT(readability-redundant-declaration)

TZxXIniReader::~TZxXIniReader() = default;

std::size_t TZxXIniReader::EnterSectionSE(const std::string& name) {
  const std::size_t handle = EnterSectionS(name);
  if (handle == 0) ThrowAbsent(*this, "section", name);
  return handle;
}

std::size_t TZxXIniReader::FindFE(const std::string& key, std::size_t start) const {
  const std::size_t index = FindF(key, start);
  if (index == npos) ThrowAbsent(*this, "key", key);
  return index;
}

bool TZxXIniReader::FindFP(const std::string& key, std::size_t* position) const {
  const std::size_t index = FindF(key);
  if (index != npos) *position = index;
  return index != npos;
}

template <class T>
bool TZxXIniReader::Convert(std::size_t index, T* value) const {
  const std::string* const text = GetText(index);
  return text != nullptr && Parse(*text, value);
}

void TZxXIniReader::ThrowNotRead(std::size_t index, const char* wanted) const {
  const std::string* const key = GetKey(index);
  if (key == nullptr) throw TZxMessage("a key is missing in section " + Quoted(GetPath()));
  const std::size_t line = GetLine(index);
  const std::string* const text = GetText(index);
  throw TZxMessage((line == 0 ? std::string() : "line " + std::to_string(line) + ": ") + Quoted(*key) + " in section " +
                   Quoted(GetPath()) + " is " + (text == nullptr ? "a section" : Quoted(*text)) + ", not " + wanted);
}

template <class T>
T TZxXIniReader::Read(std::size_t index, const T& fallback) const {
  T value = fallback;
  Convert(index, &value);
  return value;
}

template <class T>
T TZxXIniReader::ReadE(std::size_t index) const {
  T value{};
  if (!Convert(index, &value)) ThrowNotRead(index, Kind(&value));
  return value;
}

// clang-format off
template int TZxXIniReader::Read(std::size_t, const int&) const;
template double TZxXIniReader::Read(std::size_t, const double&) const;
template unsigned long long TZxXIniReader::Read(std::size_t, const unsigned long long&) const;
template bool TZxXIniReader::Read(std::size_t, const bool&) const;
template std::string TZxXIniReader::Read(std::size_t, const std::string&) const;
template int TZxXIniReader::ReadE(std::size_t) const;
template double TZxXIniReader::ReadE(std::size_t) const;
template unsigned long long TZxXIniReader::ReadE(std::size_t) const;
template bool TZxXIniReader::ReadE(std::size_t) const;
template std::string TZxXIniReader::ReadE(std::size_t) const;
// clang-format on

TZxXIniSection::TZxXIniSection(TZxXIniReader* reader, const std::string& name) : reader_(nullptr) {
  if (reader == nullptr) return;
  depth_ = reader->GetDepth();
  if (reader->EnterSectionS(name) != 0) reader_ = reader;
}

TZxXIniSection::~TZxXIniSection() {
  if (reader_ == nullptr) return;
  // Usually one step; more when an exception passed between a hand-written enter and leave.
  while (reader_->GetDepth() > depth_ && reader_->LeaveSection()) {
  }
}

bool TZxXIniSection::Leave() {
  TZxXIniReader* const reader = std::exchange(reader_, nullptr);
  return reader != nullptr && reader->LeaveSection();
}

TZxXIniStreamReader::TZxXIniStreamReader(TZxStream* stream, int /*flag*/, TZxProgressHandler* progress) {
  std::string xml = ReadXmlTextE(stream, kZxMaxXmlBytes);
  ReportProgressE(progress, 0.5);
  document_ = std::make_unique<XIniDocument>(std::move(xml));
  ReportProgressE(progress, 1.0);
}

TZxXIniStreamReader::~TZxXIniStreamReader() = default;

std::size_t TZxXIniStreamReader::EnterSectionS(const std::string& name) {
  const std::size_t node = document_->FindSection(current_, name);
  if (node != 0) current_ = node;
  return node;
}

bool TZxXIniStreamReader::LeaveSection() {
  if (current_ == 0) return false;
  current_ = document_->At(current_).parent;
  return true;
}

std::size_t TZxXIniStreamReader::FindF(const std::string& key, std::size_t start) const {
  return document_->FindChild(current_, key, start);
}

std::size_t TZxXIniStreamReader::GetCount() const { return document_->At(current_).child_count; }

const std::string* TZxXIniStreamReader::GetKey(std::size_t index) const {
  const XIniNode* const child = document_->Child(current_, index);
  return child == nullptr ? nullptr : &child->key;
}

const std::string* TZxXIniStreamReader::GetText(std::size_t index) const {
  const XIniNode* const child = document_->Child(current_, index);
  return child == nullptr || child->is_section ? nullptr : &child->text;
}

std::size_t TZxXIniStreamReader::GetLine(std::size_t index) const {
  const XIniNode* const child = document_->Child(current_, index);
  return child == nullptr ? 0 : child->line;
}

std::size_t TZxXIniStreamReader::GetDepth() const {
  std::size_t depth = 0;
  for (std::size_t node = current_; node != 0; node = document_->At(node).parent) ++depth;
  return depth;
}

std::string TZxXIniStreamReader::GetPath() const {
  std::string path;
  for (std::size_t node = current_; node != 0; node = document_->At(node).parent) {
    path.insert(0, "/" + document_->At(node).key);
  }
  return path.empty() ? "/" : path;
}

}  // namespace SatCommonUtils
