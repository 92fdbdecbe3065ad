#pragma once
/// \file
/// Values under integer tags, each with an index and a key.

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "../api.h"

namespace SatCommonUtils {

/// A tree of two levels: under each tag fields with an index, a key and a value. One thread at a time may change it.
template <class T>
class TDataTree {
 public:
  /// Puts a field there; one at the same tag and index is replaced. \return false, nothing changed, for an index below
  /// 0.
  bool Insert(const std::string& key, int tag, int index, T value) {
    if (index < 0) return false;
    fields_[tag][index] = Field{key, std::move(value)};
    return true;
  }
  /// The value of a field; null when there is none. Valid until the tree is changed.
  const T* Find(int tag, int index) const {
    const Field* const field = FindField(tag, index);
    return field == nullptr ? nullptr : &field->value;
  }
  /// The key of a field; null when there is none. Valid until the tree is changed.
  const std::string* FindKey(int tag, int index) const {
    const Field* const field = FindField(tag, index);
    return field == nullptr ? nullptr : &field->key;
  }
  /// The indices of the fields under a tag, ascending.
  /// \param list is replaced; may be null to count only. \return how many there are.
  std::size_t GetFieldsIndexList(int tag, std::vector<int>* list) const {
    if (list != nullptr) list->clear();
    const auto fields = fields_.find(tag);
    if (fields == fields_.end()) return 0;
    for (auto field = fields->second.begin(); list != nullptr && field != fields->second.end(); ++field) {
      list->push_back(field->first);
    }
    return fields->second.size();
  }
  /// Takes all fields away.
  void Clear() { fields_.clear(); }

 private:
  struct Field {
    std::string key;
    T value;
  };

  const Field* FindField(int tag, int index) const {
    const auto fields = fields_.find(tag);
    if (fields == fields_.end()) return nullptr;
    const auto field = fields->second.find(index);
    return field == fields->second.end() ? nullptr : &field->second;
  }

  std::map<int, std::map<int, Field>> fields_;
};

/// A tree of texts, with numbers among them.
class ORBMATH_API TStringTree : public TDataTree<std::string> {
 public:
  /// Reads a number. \return false, `*value` untouched, when there is no such field or its text is no number.
  bool GetDouble(int tag, int index, double* value) const;
  /// Puts a number there, which comes back bit for bit; see `Insert`.
  bool InsertDouble(const std::string& key, int tag, int index, double value);
};

}  // namespace SatCommonUtils
