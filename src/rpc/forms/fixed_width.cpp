// The RPC file of ALOS (PRISM): 1026 characters without keys, ten offsets and scales of five to nine characters, then
// eighty coefficients of twelve. Layout and first pixel as in GDAL gcore/mdreader/reader_alos.cpp.

#include <algorithm>
#include <array>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "rpc/forms/forms.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

// In the order of the text form.
constexpr std::array<std::size_t, 10> kWidths = {6, 5, 8, 9, 5, 6, 5, 8, 9, 5};
constexpr std::size_t kCoefficientWidth = 12;
constexpr std::size_t kLength = 66 + 80 * kCoefficientWidth;

bool LooksLikeFixedWidth(std::string_view content) {
  content = ZxWithoutUtf8Mark(content);
  if (content.size() < kLength || !Trimmed(content.substr(kLength)).empty()) return false;
  return content.substr(0, kLength).find_first_not_of("0123456789+-.eEdD ") == std::string_view::npos;
}

std::string KeyOf(std::size_t i) {
  if (i < kWidths.size()) return RPCScalarFields()[kFileOrder[i]].textKey;
  const std::size_t k = i - kWidths.size();
  return RPCCoefficientFields()[k / 20].textKey + std::to_string(k % 20 + 1);
}

bool ReadFixedWidth(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  std::string_view rest = ZxWithoutUtf8Mark(content);
  std::array<double, 90> numbers{};
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t width = i < kWidths.size() ? kWidths[i] : kCoefficientWidth;
    if (!ParseDouble(rest.substr(0, width), &numbers[i])) {
      return FailAsNumber(error, 1, KeyOf(i), Trimmed(rest.substr(0, width)));
    }
    rest.remove_prefix(width);
  }
  out->origin.variant = "ALOS";
  return ReadRecord(numbers, &out->record, error);
}

}  // namespace

const FileForm kFixedWidth = {
    {TRPCFileForm::FixedWidth, "fixed width", ".txt", false, nullptr}, LooksLikeFixedWidth, ReadFixedWidth, nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
