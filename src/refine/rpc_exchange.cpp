// The exchange document as a tree of elements, read and written by one description of its content.

#include "refine/rpc_exchange.h"

#include <cstddef>
#include <utility>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/output_file.h"
#include "frame/zxstd/path.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/unset_mark.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {
namespace {

constexpr const char* kRootTag = "DE_RPC";
/// Room for some 30,000 images.
constexpr std::size_t kLongestDocument = std::size_t{256} << 20;
constexpr const char* kImageTag = "image";
constexpr const char* kNameTag = "name";
constexpr const char* kRefinementTag = "Refinement";
constexpr const char* kCoefficientPattern = "Coeff%02d";
constexpr const char* kLineEnd = "\n";

using Affine = TRPCRefinementDataAffine;

/// The names of this document for the affine parameters say "line" and "sample" where the record says "drift" and
/// "tilt".
constexpr TKeyedField<Affine> kRefinementFields[] = {
    {"LineBias", &Affine::LineBias},     {"LineLine", &Affine::LineDrift},     {"LineSample", &Affine::LineTilt},
    {"SampleBias", &Affine::SampleBias}, {"SampleLine", &Affine::SampleDrift}, {"SampleSample", &Affine::SampleTilt}};

/// The name without a namespace's prefix: other software may give the whole document one.
std::string LocalName(const std::string& name) {
  const std::size_t colon = name.rfind(':');
  return colon == std::string::npos ? name : name.substr(colon + 1);
}

/// The first element at or after `*at` of that local name, or null. \param at receives its place.
TZxXmlTagItem* FindElement(const TZxXmlTagItems& items, const std::string& name, std::size_t* at) {
  for (; *at < items.size(); ++*at) {
    TZxXmlTagItem* const element = items[*at].as_tag();
    if (element != nullptr && LocalName(element->name) == name) return element;
  }
  return nullptr;
}

TZxXmlTagItem* FindElement(const TZxXmlTagItem& parent, const std::string& name) {
  std::size_t at = 0;
  return FindElement(parent.items, name, &at);
}

/// Goes through the content of an "image" element; `Element` is `TZxXmlTagItem` for both directions, which `step` and
/// `enter` decide: `step(parent, name, value)` handles one number, `enter(parent, name)` gives the element of a group,
/// or null to pass it over.
template <class Item, class Step, class Enter>
void VisitImage(TZxXmlTagItem* image, Item& item, const Step& step, const Enter& enter) {
  for (const TRPCScalarField& field : RPCScalarFields()) step(image, toupper(field.rpbKey), item.rpc.*field.value);
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    TZxXmlTagItem* group = enter(image, toupper(field.rpbKey));
    if (group == nullptr) continue;
    for (int k = 0; k < 20; ++k) {
      step(group, Zentarix::ssprintf(kCoefficientPattern, k), (item.rpc.*field.values)[k]);
    }
  }
  TZxXmlTagItem* group = enter(image, kRefinementTag);
  if (group == nullptr) return;
  for (const auto& field : kRefinementFields) step(group, field.key, item.refinement.*field.field);
}

/// A name as it was written; when it stands on lines of its own, without the white space around it.
std::string NameFrom(const std::string& text) {
  const std::string name = trim(text);
  const std::size_t start = text.find(name);
  const std::string around = text.substr(0, start) + text.substr(start + name.size());
  return around.find_first_of("\r\n") == std::string::npos ? text : name;
}

void ReadNumber(TZxXmlTagItem* parent, const std::string& name, double& value) {
  const TZxXmlTagItem* element = FindElement(*parent, name);
  if (element != nullptr) ParseDouble(element->items.get_text(), &value);
}

void WriteNumber(TZxXmlTagItem* parent, const std::string& name, const double& value) {
  if (value == kUnsetMark) return;
  parent->items.push_back_tag(name, FormatDouble(value));
  parent->items.push_back_text(kLineEnd);
}

}  // namespace

TCipherRPCImpExpDataItem::TCipherRPCImpExpDataItem() { Reset(); }

TCipherRPCImpExpDataItem::~TCipherRPCImpExpDataItem() = default;

void TCipherRPCImpExpDataItem::Reset() {
  name.clear();
  rpc.Invalidate();
  refinement.Reset();
}

bool TCipherRPCImpExpDataItem::InitializeFromXML(TZxXmlTagItem* image) {
  if (image == nullptr) return false;
  Reset();
  if (const TZxXmlTagItem* element = FindElement(*image, kNameTag)) name = NameFrom(element->items.get_text());
  VisitImage(image, *this, ReadNumber,
             [](TZxXmlTagItem* parent, const std::string& group) { return FindElement(*parent, group); });
  return true;
}

bool TCipherRPCImpExpDataItem::SaveToXML(TZxXmlTagItem* image) const {
  if (image == nullptr) return false;
  image->items.push_back_tag(kNameTag, name);
  image->items.push_back_text(kLineEnd);
  VisitImage(image, *this, WriteNumber, [](TZxXmlTagItem* parent, const std::string& group) {
    TZxXmlTagItem& element = parent->items.push_back_tag(group);
    parent->items.push_back_text(kLineEnd);
    return &element;
  });
  return true;
}

TCipherRPCImpExpDataset::~TCipherRPCImpExpDataset() = default;

bool TCipherRPCImpExpDataset::InitializeFromXML(const std::string& path) {
  TZxFileStream file;
  std::string text;
  if (!file.Open(TZxPath(path), TZxOpenMode::Read) || !ZxReadAll(&file, &text, kLongestDocument)) return false;
  TZxStringStream stream(std::move(text));
  const var_a<TZxXmlTagItem*> root = ZxReadXml(&stream);
  return root && LocalName(root->name) == kRootTag && InitializeFromXML(root.get());
}

bool TCipherRPCImpExpDataset::InitializeFromXML(TZxXmlTagItem* root) {
  if (root == nullptr) return false;
  std::vector<TCipherRPCImpExpDataItem> images;
  for (std::size_t i = 0; TZxXmlTagItem* const image = FindElement(root->items, kImageTag, &i); ++i) {
    images.emplace_back();
    images.back().InitializeFromXML(image);
  }
  items.swap(images);
  return true;
}

bool TCipherRPCImpExpDataset::SaveToXML(const std::string& path) const {
  TZxOutputFile file;
  return file.Open(TZxPath(path)) && SaveToXML(&file) && file.Commit();
}

bool TCipherRPCImpExpDataset::SaveToXML(TZxStream* stream) const {
  TZxXmlTagItem root(kRootTag);
  for (const TCipherRPCImpExpDataItem& item : items) {
    item.SaveToXML(&root.items.push_back_tag(kImageTag));
    root.items.push_back_text(kLineEnd);
  }
  return WriteXml(stream, &root);
}

}  // namespace SatCommonUtils
