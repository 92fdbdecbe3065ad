// Element trees: what was read, written and read again is written the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/zxstd/stream.h"
#include "frame/zxstd/xml_tree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using SatCommonUtils::TZxStringStream;
  TZxStringStream in(std::string(reinterpret_cast<const char*>(data), size));
  const auto tree = SatCommonUtils::ZxReadXml(&in);
  TZxStringStream first;
  if (!tree || !SatCommonUtils::WriteXml(&first, tree.get())) return 0;
  const auto again = SatCommonUtils::ZxReadXml(&first);
  TZxStringStream second;
  if (!again || !SatCommonUtils::WriteXml(&second, again.get())) std::abort();
  if (first.GetString() != second.GetString()) std::abort();
  return 0;
}
