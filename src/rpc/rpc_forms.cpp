#include "rpc/rpc_forms.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include "frame/zxstd/message.h"
#include "frame/zxstd/path.h"
#include "frame/zxstd/quoted.h"

namespace SatCommonUtils {

namespace RPCForms {

bool ReadContent(TZxStream* src, std::string* content, TRPCFileError* error) {
  if (ZxReadAll(src, content, kMaxContent)) return true;
  if (src == nullptr) return Fail(error, 0, "", "there is no stream to read");
  return Fail(error, 0, "", src->ReadFailed() ? "cannot be read to its end" : "is far too long for a model file");
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

std::string_view TakeLine(std::string_view* rest) {
  const std::size_t end = rest->find('\n');
  std::string_view line = rest->substr(0, end);
  rest->remove_prefix(end == std::string_view::npos ? rest->size() : end + 1);
  const std::size_t first = line.find_first_not_of(" \t\r");
  if (first == std::string_view::npos) return {};
  return line.substr(first, line.find_last_not_of(" \t\r") - first + 1);
}

std::string_view WithoutBom(std::string_view text) {
  constexpr std::string_view kBom = "\xEF\xBB\xBF";
  return text.substr(0, kBom.size()) == kBom ? text.substr(kBom.size()) : text;
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
