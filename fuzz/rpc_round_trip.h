#pragma once
// What every model file that is read has to stand: written in any form and read again it says the same.

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/zxstd/stream.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_file.h"

namespace orbmath_fuzz {

inline void Require(bool condition) {
  if (!condition) std::abort();
}

/// True when decimal rounding cannot push a number of the record beyond the range of a double.
inline bool FarFromOverflow(const SatCommonUtils::TRPCData& record) {
  return SatCommonUtils::VisitRPCNumbers(
      record, [](const double& number) { return !(std::fabs(number) > 1e308) || std::isinf(number); });
}

/// Writes and reads twice: after the first writing, which may round, nothing changes any more.
inline void RequireStable(const SatCommonUtils::TRPCFile& file, SatCommonUtils::TRPCFileForm form) {
  using namespace SatCommonUtils;
  std::string first;
  TRPCFile again = file;
  for (int round = 0; round < 2; ++round) {
    TZxStringStream out;
    TRPCFileError error;
    if (!WriteRPCStream(&out, "out", form, again.record, again.extras, TRPCTextErrors::Append, &error)) {
      Require(round == 0 && form == TRPCFileForm::RPB && !error.key.empty());  // an identifier that cannot be quoted
      return;
    }
    Require(round == 0 || out.GetString() == first);
    first = out.GetString();
    TZxStringStream in(first);
    Require(ReadRPCStream(&in, "in", &again, &error));
    Require(again.form == form);
  }
}

/// Reads the bytes as a model file; a good one is written in every form.
inline void ReadAndRewrite(const std::uint8_t* data, std::size_t size) {
  using namespace SatCommonUtils;
  TZxStringStream stream(std::string(reinterpret_cast<const char*>(data), size));
  TRPCFile file;
  TRPCFileError error;
  if (!ReadRPCStream(&stream, "fuzz", &file, &error)) {
    Require(!error.reason.empty() && !file.record);
    return;
  }
  Require(static_cast<bool>(file.record));
  if (!FarFromOverflow(file.record)) return;
  for (const TRPCFileForm form : {TRPCFileForm::RPB, TRPCFileForm::Text, TRPCFileForm::XML}) RequireStable(file, form);
}

}  // namespace orbmath_fuzz
