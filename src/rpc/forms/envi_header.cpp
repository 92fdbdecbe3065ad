// ENVI headers with "rpc info": ten offsets and scales, eighty coefficients, and three numbers of a tile (first row,
// first column, emulation), in braces. Whole numbers are pixel centres (GDAL frmts/raw/envidataset.cpp).

#include <algorithm>
#include <array>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/forms.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

constexpr std::size_t kAll = 93;
constexpr std::size_t kRecord = 90;

bool LooksLikeEnvi(std::string_view content) {
  const std::string_view text = Trimmed(ZxWithoutUtf8Mark(content));
  return text.substr(0, 4) == "ENVI" && text.find_first_of("\r\n") == 4;
}

// The value of "key = value" or "key = { values }"; keys count in any case.
std::optional<KeyedText> Find(std::string_view content, std::string_view key) {
  std::size_t line = 0;
  for (std::string_view rest = content; !rest.empty();) {
    ++line;
    const std::string_view before = rest;
    const std::string_view text = TakeLine(&rest);
    const std::size_t equals = text.find('=');
    if (equals == std::string_view::npos || equals > 64) continue;
    if (toupper(std::string(Trimmed(text.substr(0, equals)))) != key) continue;
    const std::string_view value = before.substr(before.find('=') + 1);
    const std::size_t brace = value.find_first_not_of(" \t");
    if (brace == std::string_view::npos || value[brace] != '{')
      return KeyedText{Trimmed(text.substr(equals + 1)), line};
    const std::size_t end = value.find('}');
    if (end == std::string_view::npos) return std::nullopt;
    return KeyedText{value.substr(brace + 1, end - brace - 1), line};
  }
  return std::nullopt;
}

std::optional<int> Count(std::string_view content, std::string_view key) {
  int count = 0;
  const std::optional<KeyedText> found = Find(content, key);
  return found && ParseInt(found->text, &count) && count > 0 ? std::make_optional(count) : std::nullopt;
}

bool ReadEnvi(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  const std::string_view text = ZxWithoutUtf8Mark(content);
  const std::optional<KeyedText> info = Find(text, "RPC INFO");
  if (!info) return Fail(error, 0, "rpc info", "is missing or not closed: the image has no model");
  double numbers[kAll] = {};
  TRPCFileError ignored;
  if (!ReadNumbers(*info, "rpc info", kAll, numbers, &ignored) &&
      !ReadNumbers(*info, "rpc info", kRecord, numbers, error)) {
    error->reason += " (93, or 90 without those of a tile)";
    return false;
  }
  TRPCFileOrigin& origin = out->origin;
  origin.rasterHeight = Count(text, "LINES");
  origin.rasterWidth = Count(text, "SAMPLES");
  if (numbers[90] != 0.0 || numbers[91] != 0.0) {
    origin.notes.push_back("the header says that the image begins at line " + FormatDouble(numbers[90]) + ", sample " +
                           FormatDouble(numbers[91]) + " of a scene; the offsets were taken as they stand");
  }
  std::array<double, kRecord> record{};
  std::copy(numbers, numbers + kRecord, record.begin());
  if (ReadRecord(record, &out->record, error)) return true;
  error->line = info->line;
  return false;
}

}  // namespace

const FileForm kEnviHeader = {
    {TRPCFileForm::EnviHeader, "ENVI header", ".hdr", false, nullptr}, LooksLikeEnvi, ReadEnvi, nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
