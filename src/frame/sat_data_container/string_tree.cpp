// Values under integer tags: storing, finding and converting them.

#include "frame/sat_data_container/string_tree.h"

#include "frame/zxstd/number_text.h"

namespace SatCommonUtils {

bool TStringTree::GetDouble(int tag, int index, double* value) const {
  const std::string* const text = Find(tag, index);
  return text != nullptr && ParseDouble(*text, value);
}

bool TStringTree::InsertDouble(const std::string& key, int tag, int index, double value) {
  return Insert(key, tag, index, FormatDouble(value));
}

}  // namespace SatCommonUtils
