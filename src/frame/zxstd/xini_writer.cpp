// Keyed values into an XML document, element by element as they come.

#include "frame/zxstd/xini_writer.h"

#include <exception>
#include <utility>

#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/quoted.h"
#include "frame/zxstd/xini_layout.h"
#include "frame/zxstd/xml_text.h"

namespace SatCommonUtils {

namespace {

std::string Indent(std::size_t depth) { return std::string(2 * (depth + 1), ' '); }

void AppendAttribute(const char* name, const std::string& value, std::string* xml) {
  xml->append(" ").append(name).append("=");
  AppendXmlAttributeValue(value, xml);
}

}  // namespace

TZxXIniWriter::~TZxXIniWriter() = default;

template <>
bool TZxXIniWriter::WriteS(const std::string& key, const int& value) {
  return WriteText(key, std::to_string(value));
}
template <>
bool TZxXIniWriter::WriteS(const std::string& key, const double& value) {
  return WriteText(key, FormatDouble(value));
}
template <>
bool TZxXIniWriter::WriteS(const std::string& key, const unsigned long long& value) {
  return WriteText(key, std::to_string(value));
}
template <>
bool TZxXIniWriter::WriteS(const std::string& key, const bool& value) {
  return WriteText(key, value ? "true" : "false");
}
template <>
bool TZxXIniWriter::WriteS(const std::string& key, const std::string& value) {
  return WriteText(key, value);
}

TZxXIniWriterSection::TZxXIniWriterSection(TZxXIniWriter* writer, const std::string& name) : writer_(writer) {
  if (writer == nullptr) throw TZxMessage("there is no writer for section " + Quoted(name));
  writer->BeginSectionSE(name);
}

TZxXIniWriterSection::~TZxXIniWriterSection() {
  try {
    End();
  } catch (const std::exception&) {
    // The writer remembers its failure; a destructor must not throw.
  }
}

bool TZxXIniWriterSection::End() {
  TZxXIniWriter* const writer = std::exchange(writer_, nullptr);
  return writer != nullptr && writer->EndSection();
}

TZxXIniStreamWriter::TZxXIniStreamWriter(TZxStream* stream) : stream_(stream), good_(stream != nullptr) {
  std::string head = std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<") + XIniLayout::kRoot;
  AppendAttribute(XIniLayout::kVersion, std::to_string(XIniLayout::kCurrentVersion), &head);
  Put(head + ">\n");
}

TZxXIniStreamWriter::~TZxXIniStreamWriter() {
  try {
    Close();
  } catch (const std::exception&) {
    // Nobody is left to tell; whoever wants to know calls Close.
  }
}

void TZxXIniStreamWriter::BeginSectionSE(const std::string& name) {
  const auto refuse = [&](const char* cause) {
    throw TZxMessage("cannot begin section " + Quoted(name) + ": " + cause);
  };
  if (closed_) refuse("the document is closed");
  if (depth_ >= XIniLayout::kMaxDepth) refuse("it is nested too deeply");
  Put(OpenTag(XIniLayout::kSection, name, !IsXmlText(name)) + "\n");
  if (!good_) refuse("the stream takes no more");
  ++depth_;
}

bool TZxXIniStreamWriter::EndSection() {
  if (closed_ || depth_ == 0) return false;
  PutSectionEnd();
  return good_;
}

bool TZxXIniStreamWriter::WriteText(const std::string& key, const std::string& text) {
  if (closed_) return false;
  const bool escaped = !IsXmlText(key) || !IsXmlText(text);
  std::string line = OpenTag(XIniLayout::kItem, key, escaped);
  AppendXmlLine(escaped ? XIniLayout::EscapePercent(text) : text, &line);
  Put(line + "</" + XIniLayout::kItem + ">\n");
  return good_;
}

bool TZxXIniStreamWriter::Close() {
  if (closed_) return good_;
  const bool all_ended = depth_ == 0;
  while (depth_ > 0) PutSectionEnd();
  Put(std::string("</") + XIniLayout::kRoot + ">\n");
  closed_ = true;
  good_ = good_ && all_ended;
  return good_;
}

std::string TZxXIniStreamWriter::OpenTag(const char* element, const std::string& name, bool escaped) const {
  std::string tag = Indent(depth_) + "<" + element;
  AppendAttribute(XIniLayout::kName, escaped ? XIniLayout::EscapePercent(name) : name, &tag);
  if (escaped) AppendAttribute(XIniLayout::kEscape, XIniLayout::kPercent, &tag);
  if (source_line_ != 0) AppendAttribute(XIniLayout::kLine, std::to_string(source_line_), &tag);
  return tag + ">";
}

void TZxXIniStreamWriter::PutSectionEnd() {
  --depth_;
  Put(Indent(depth_) + "</" + XIniLayout::kSection + ">\n");
}

void TZxXIniStreamWriter::Put(const std::string& text) {
  if (good_) good_ = stream_->Write(text.data(), text.size()) == text.size();
}

}  // namespace SatCommonUtils
