// Contents, numbers, lines and messages, as the readers of all forms need them.

#include "rpc/forms/forms.h"

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/path.h"
#include "frame/zxstd/quoted.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

constexpr std::string_view kBlank = " \t\r\n";

// What no text has among its first bytes; UTF-16, which XML may be in, has its mark or its "<" in front.
bool LooksBinary(std::string_view content) {
  const std::string_view head = content.substr(0, 1024);
  const bool wide = head.substr(0, 2) == "\xFF\xFE" || head.substr(0, 2) == "\xFE\xFF" ||
                    head.substr(0, 2) == std::string_view("<\0", 2) || head.substr(0, 2) == std::string_view("\0<", 2);
  return !wide && head.find('\0') != std::string_view::npos;
}

// Appends what the stream still has, up to `limit` bytes in all and one more.
void ReadUpTo(TZxStream* src, std::size_t limit, std::string* content) {
  std::size_t step = 1;
  while (step != 0 && content->size() <= limit) {
    const std::size_t before = content->size();
    content->resize(std::min(limit + 1, before + (std::size_t{64} << 10)));
    step = src->Read(&(*content)[before], content->size() - before);
    content->resize(before + step);
  }
}

bool FailAsTooLong(std::size_t limit, const char* of, TRPCFileError* error) {
  return Fail(error, 0, "",
              "is longer than the " + std::to_string(limit >> 20) + " MiB that a model file " + of + " can have");
}

}  // namespace

bool ReadContent(TZxStream* src, std::string* content, TRPCFileError* error) {
  if (src == nullptr) return Fail(error, 0, "", "there is no stream to read");
  content->clear();
  ReadUpTo(src, kMaxContent, content);
  const bool xml = LooksLikeXml(*content);
  if (xml) ReadUpTo(src, kMaxXml, content);
  if (src->ReadFailed()) return Fail(error, 0, "", "cannot be read to its end");
  if (LooksBinary(*content)) {
    error->unknownForm = true;
    return Fail(error, 0, "", "is no RPC model: it is no text");
  }
  if (xml && content->size() > kMaxXml) return FailAsTooLong(kMaxXml, "in XML", error);
  if (!xml && content->size() > kMaxContent) return FailAsTooLong(kMaxContent, "that is no XML", error);
  return true;
}

bool ReadContent(const std::string& path, std::string* content, TRPCFileError* error) {
  TZxFileStream file;
  if (!file.Open(TZxPath(path), TZxOpenMode::Read)) {
    return Fail(error, 0, "", "cannot be opened: " + std::generic_category().message(errno));
  }
  return ReadContent(&file, content, error);
}

bool ReadNumber(const TZxXIniReader& src, const std::string& key, double* value, TRPCFileError* error) {
  const std::size_t index = src.FindF(key);
  if (index == TZxXIniReader::npos) return Fail(error, 0, key, "is missing");
  try {
    *value = src.ReadE<double>(index);
  } catch (const TZxMessage&) {
    const std::string* const text = src.GetText(index);
    return FailAsNumber(error, src.GetLine(index), key, text == nullptr ? std::string() : *text);
  }
  return true;
}

std::optional<std::string> OptionalText(const TZxXIniReader& src, const std::string& key) {
  const std::size_t index = src.FindF(key);
  const std::string* text = index == TZxXIniReader::npos ? nullptr : src.GetText(index);
  return text == nullptr ? std::nullopt : std::make_optional(*text);
}

std::optional<double> OptionalNumber(const TZxXIniReader& src, const std::string& key) {
  TRPCFileError ignored;
  double number = 0.0;
  return ReadNumber(src, key, &number, &ignored) ? std::make_optional(number) : std::nullopt;
}

bool Fail(TRPCFileError* error, std::size_t line, std::string key, std::string reason) {
  error->line = line;
  error->key = std::move(key);
  error->reason = std::move(reason);
  return false;
}

bool FailAsNumber(TRPCFileError* error, std::size_t line, std::string key, std::string_view value) {
  return Fail(error, line, std::move(key), value.empty() ? "has no number" : Quoted(value) + " is no number");
}

bool WriteWhole(TZxStream* dst, const std::string& text) {
  return dst != nullptr && dst->Write(text.data(), text.size()) == text.size();
}

bool FailAsXml(TRPCFileError* error, const std::string& message) {
  const std::string_view front = "line ";
  const std::size_t colon = message.find(": ");
  unsigned long long line = 0;
  const bool has_line = message.compare(0, front.size(), front) == 0 && colon != std::string::npos &&
                        ParseUnsigned(message.substr(front.size(), colon - front.size()), &line);
  return Fail(error, static_cast<std::size_t>(line), "", has_line ? message.substr(colon + 2) : message);
}

std::string_view TakeLine(std::string_view* rest) {
  const std::size_t end = rest->find('\n');
  std::string_view line = rest->substr(0, end);
  rest->remove_prefix(end == std::string_view::npos ? rest->size() : end + 1);
  return Trimmed(line);
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlank) - first + 1);
}

bool LooksLikeXml(std::string_view content) {
  content = ZxWithoutUtf8Mark(content);
  const std::size_t first = content.find_first_not_of(kBlank);
  if (first == std::string_view::npos) return false;
  // In UTF-16 the "<" has a zero byte beside it, behind a mark or not.
  content = content.substr(first, 4);
  return content[0] == '<' || content.substr(0, 2) == std::string_view("\0<", 2) ||
         content.substr(0, 3) == "\xFF\xFE<" || content.substr(0, 4) == std::string_view("\xFE\xFF\0<", 4);
}

std::string_view XmlRootName(std::string_view content) {
  std::string_view rest = Trimmed(ZxWithoutUtf8Mark(content));
  while (rest.substr(0, 2) == "<?" || rest.substr(0, 2) == "<!") {
    const bool comment = rest.substr(0, 4) == "<!--";
    const std::string_view end = comment ? "-->" : rest[1] == '?' ? "?>" : ">";
    const std::size_t at = rest.find(end, comment ? 4 : 2);
    if (at == std::string_view::npos) return {};
    rest = rest.substr(at + end.size());
    rest.remove_prefix(std::min(rest.find_first_not_of(kBlank), rest.size()));
  }
  if (rest.empty() || rest[0] != '<') return {};
  rest = rest.substr(1, rest.find_first_of(" \t\r\n/>", 1) - 1);
  const std::size_t colon = rest.find(':');
  return colon == std::string_view::npos ? rest : rest.substr(colon + 1);
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
