// The exchange document: what was read is written and read again the same.

#include "refine/rpc_exchange.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/zxstd/stream.h"

using namespace SatCommonUtils;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

bool Read(const std::string& xml, TCipherRPCImpExpDataset* dataset) {
  TZxStringStream stream(xml);
  const var_a<TZxXmlTagItem*> root = ZxReadXml(&stream);
  return root && dataset->InitializeFromXML(root.get());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TCipherRPCImpExpDataset dataset, again;
  if (!Read(std::string(reinterpret_cast<const char*>(data), size), &dataset)) return 0;
  TZxStringStream first, second;
  if (!dataset.SaveToXML(&first)) return 0;  // a name that is no UTF-8
  Require(Read(first.GetString(), &again) && again.items.size() == dataset.items.size());
  Require(again.SaveToXML(&second) && second.GetString() == first.GetString());
  return 0;
}
