#pragma once
// Saving to and loading from XML text in memory.

#include <memory>
#include <string>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"

namespace orbmath_test {

/// The XML text that `save(writer)` makes; `save` takes a `TZxXIniWriter*`.
template <class Save>
std::string SavedXml(const Save& save) {
  SatCommonUtils::TZxStringStream stream;
  {
    SatCommonUtils::TZxXIniStreamWriter writer(&stream);
    save(&writer);
    writer.Close();
  }
  return stream.GetString();
}

/// A reader over an XML text.
inline std::unique_ptr<SatCommonUtils::TZxXIniStreamReader> ReaderOf(const std::string& xml) {
  SatCommonUtils::TZxStringStream stream(xml);
  return std::make_unique<SatCommonUtils::TZxXIniStreamReader>(&stream);
}

}  // namespace orbmath_test
