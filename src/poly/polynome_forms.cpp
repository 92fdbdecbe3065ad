// Text, XML and string-tree forms of a polynomial.

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "frame/sat_data_container/string_tree.h"
#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/text.h"
#include "linalg/number_list.h"
#include "poly/polynome.h"

namespace SatCommonUtils {
namespace {

constexpr const char* kDelimiters = "();,";
constexpr const char* kOrderKey = "PolynomeOrder";
constexpr const char* kCoefsKey = "PolynomeCoefs";

std::string IndexKey(int k) { return std::to_string(k); }

/// Reads the coefficients 0 to `order` of the current section.
bool ReadCoefs(TZxXIniReader* reader, int order, std::vector<double>* coefs) {
  const std::size_t count = static_cast<std::size_t>(order) + 1;
  // The order is a claim of the file: no memory before as many items are there.
  if (reader->GetCount() < count) return false;
  coefs->resize(count);
  try {
    for (int k = 0; k <= order; ++k) (*coefs)[k] = reader->ReadKeyE<double>(IndexKey(k));
  } catch (const TZxMessage&) {
    return false;
  }
  return true;
}

}  // namespace

TPolynome::TPolynome(TStringTree* src, int tag) {
  const std::size_t count = src == nullptr ? 0 : src->GetFieldsIndexList(tag, nullptr);
  std::vector<double> coefs(count);
  bool good = count > 0;
  for (std::size_t k = 0; good && k < count; ++k) good = src->GetDouble(tag, static_cast<int>(k), &coefs[k]);
  if (!good) throw "TPolynome::TPolynome(TStringTree *src, int tag)";
  Initialize(coefs, false);
}

bool TPolynome::Initialize(const std::string& text) {
  Reset(0);
  if (HasOverlongToken(text.c_str(), kDelimiters)) return false;
  const std::size_t count = ReadNumberList(text.c_str(), kDelimiters);
  if (count == 0) return false;
  Reset(static_cast<int>(count) - 1);
  ReadNumberList(text.c_str(), kDelimiters, coefs_, count, TNumberOrder::Reverse);
  return true;
}

std::string TPolynome::GetCoefsString() const {
  if (!*this) return "()";
  std::string text = "(";
  for (int k = order_; k > 0; --k) text += Zentarix::ssprintf("%.20lg;", coefs_[k]);
  return text + Zentarix::ssprintf("%.20lg)", coefs_[0]);
}

bool TPolynome::SaveToXML(TZxXIniWriter* writer, std::string key) const {
  if (!*this) return false;
  return WriteSection(writer, key, [&] {
    return writer->WriteS<int>(kOrderKey, int{order_}) && WriteSection(writer, kCoefsKey, [&] {
             for (int k = 0; k <= order_; ++k) {
               if (!writer->WriteS<double>(IndexKey(k), coefs_[k])) return false;
             }
             return true;
           });
  });
}

bool TPolynome::InitializeFromXML(TZxXIniReader* reader, std::string key) {
  TPolynome read;
  const bool good = ReadSection(reader, key, [&] {
    // Two fallbacks that no one text can both give: a missing or unreadable order is told from any number.
    const std::size_t index = reader->FindF(kOrderKey);
    const int order = reader->Read<int>(index, 0);
    if (order != reader->Read<int>(index, 1)) return false;
    if (order < 0) read.Reset(order);
    std::vector<double> coefs;
    if (!ReadSection(reader, kCoefsKey, [&] { return ReadCoefs(reader, order, &coefs); })) return false;
    return read.Initialize(coefs, false);
  });
  if (good) *this = std::move(read);
  return good;
}

bool TPolynome::WriteToTree(TStringTree* dst, int tag, std::string key) const {
  if (dst == nullptr) return false;
  for (int k = 0; k <= order_; ++k) {
    if (!dst->InsertDouble(key + IndexKey(k), tag, k, coefs_[k])) return false;
  }
  return true;
}

}  // namespace SatCommonUtils
