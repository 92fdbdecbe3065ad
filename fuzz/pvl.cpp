// PVL: whatever converts is a document that reads, its lists split, and a failure has a cause and writes nothing.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/sat_data_container/numbers.h"
#include "frame/sat_data_container/pvl.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using SatCommonUtils::TZxStringStream;
  const std::string pvl(reinterpret_cast<const char*>(data), size);
  TZxStringStream in(pvl);
  TZxStringStream out;
  SatCommonUtils::TPVLError error;
  if (!SatCommonUtils::PVLtoXML(&in, &out, &error)) {
    if (error.text.empty() || !out.GetString().empty()) std::abort();
    return 0;
  }
  // Throws when the document does not read, which is a fault: every key and value has a form in XML.
  SatCommonUtils::TZxXIniStreamReader reader(&out);
  if (reader.GetCount() == 0) std::abort();
  for (std::size_t i = 0; i < reader.GetCount(); ++i) {
    const std::size_t line = reader.GetLine(i);
    if (line == 0 || line > size + 1) std::abort();
    const std::string text = reader.Read<std::string>(i, std::string());
    double numbers[20];
    const std::size_t count = SatCommonUtils::SplitStringIntoDoubles(text, ",", numbers, 20);
    if (count > text.size()) std::abort();
  }
  return 0;
}
