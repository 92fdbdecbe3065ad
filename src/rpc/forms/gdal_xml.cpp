// .vrt and .aux.xml of GDAL: XML with a metadata domain RPC, whose conventions GDAL's documentation of RPC metadata
// states (whole numbers at pixel centres, lists of twenty in the order of RPC00B, errors of -1 unknown).

#include <cmath>

#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/xml_text.h"
#include "rpc/forms/xml_elements.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

using Node = pugi::xml_node;

// The domain of that name among the children of the root: bands have domains of their own.
Node Domain(Node root, std::string_view name) {
  for (const Node domain : root.children("Metadata")) {
    if (name == domain.attribute("domain").as_string()) return domain;
  }
  return {};
}

Node Item(Node domain, const std::string& key) {
  for (const Node item : domain.children("MDI")) {
    if (key == item.attribute("key").as_string()) return item;
  }
  return {};
}

std::optional<std::string> ItemText(Node domain, const char* key) {
  std::string text(Trimmed(Item(domain, key).text().get()));
  if (text.size() > 1 && text.front() == '"' && text.back() == '"') text = text.substr(1, text.size() - 2);
  return text.empty() ? std::nullopt : std::make_optional(text);
}

std::optional<double> ItemNumber(Node domain, const char* key) {
  double number = 0.0;
  const std::optional<std::string> text = ItemText(domain, key);
  if (!text || !ParseDouble(*text, &number) || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<double> KnownError(Node rpc, const char* key) {
  const std::optional<double> number = ItemNumber(rpc, key);
  return number && *number == -1.0 ? std::nullopt : number;
}

std::optional<std::string> FirstText(Node domain, const char* key, Node other, const char* other_key) {
  const std::optional<std::string> text = ItemText(domain, key);
  return text ? text : ItemText(other, other_key);
}

void ReadBeside(Node root, Node rpc, TRPCFile* out) {
  const Node imd = Domain(root, "IMD");
  const Node imagery = Domain(root, "IMAGERY");
  out->extras.biasError = KnownError(rpc, "ERR_BIAS");
  out->extras.randomError = KnownError(rpc, "ERR_RAND");
  out->extras.satelliteId = FirstText(imd, "IMAGE_1.satId", imagery, "SATELLITEID");
  out->extras.bandId = ItemText(imd, "bandId");
  TRPCFileOrigin& origin = out->origin;
  origin.acquisitionTime = FirstText(imagery, "ACQUISITIONDATETIME", imd, "IMAGE_1.firstLineTime").value_or("");
  const int width = root.attribute("rasterXSize").as_int();
  const int height = root.attribute("rasterYSize").as_int();
  if (width > 0) origin.rasterWidth = width;
  if (height > 0) origin.rasterHeight = height;
  const auto south = ItemNumber(rpc, "MIN_LAT");
  const auto north = ItemNumber(rpc, "MAX_LAT");
  const auto west = ItemNumber(rpc, "MIN_LONG");
  const auto east = ItemNumber(rpc, "MAX_LONG");
  if (south && north && west && east) origin.groundDomain = {*south, *west, *north, *east};
}

bool ReadGdalXml(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  try {
    const XmlElements xml(content);
    const Node rpc = Domain(xml.Root(), "RPC");
    if (!rpc) return Fail(error, 0, "RPC", "there is no such metadata domain: the raster has no model");
    ReadBeside(xml.Root(), rpc, out);
    out->origin.variant = xml.Root().name();
    const KeyLookup find = [&](const std::string& key) -> std::optional<KeyedText> {
      const Node item = Item(rpc, key);
      if (!item) return std::nullopt;
      // GDAL takes over the units of a text file beside the image.
      return KeyedText{WithoutUnit(item.text().get()), xml.Line(item)};
    };
    return ReadRecord(TextKeys(), TRPCTermOrder::RPC00B, find, &out->record, error);
  } catch (const TZxMessage& message) {
    return FailAsXml(error, message.GetText());
  }
}

std::string Row(const std::string& key, const std::string& value) {
  std::string row = "    <MDI key=\"" + key + "\">";
  AppendXmlContent(value, &row);
  return row + "</MDI>\n";
}

bool WriteGdalXml(TZxStream* dst, const TRPCData& record, const TRPCFileExtras& extras, TRPCTextErrors,
                  TRPCFileError* error) {
  const RecordKeys keys = TextKeys();
  std::string text = "<PAMDataset>\n  <Metadata domain=\"RPC\">\n";
  if (extras.biasError) text += Row("ERR_BIAS", FormatDouble(*extras.biasError));
  if (extras.randomError) text += Row("ERR_RAND", FormatDouble(*extras.randomError));
  for (const std::size_t i : kFileOrder) text += Row(keys.scalars[i], FormatDouble(record.*RPCScalarFields()[i].value));
  for (std::size_t i = 0; i < keys.lists.size(); ++i) {
    std::string list;
    for (const double coefficient : record.*RPCCoefficientFields()[i].values) {
      list += (list.empty() ? "" : " ") + FormatDouble(coefficient);
    }
    text += Row(keys.lists[i], list);
  }
  text += "  </Metadata>\n";
  for (const auto& extra : kExtraTexts) {
    if (IsXmlText((extras.*extra.value).value_or(""))) continue;
    return Fail(error, 0, extra.rpbKey, "holds a character that XML has no place for");
  }
  if (extras.satelliteId || extras.bandId) {
    text += "  <Metadata domain=\"IMD\">\n";
    if (extras.bandId) text += Row("bandId", *extras.bandId);
    if (extras.satelliteId) text += Row("IMAGE_1.satId", *extras.satelliteId);
    text += "  </Metadata>\n";
  }
  return WriteWhole(dst, text + "</PAMDataset>\n");
}

bool LooksLikeGdalXml(std::string_view content) {
  const std::string_view root = XmlRootName(content);
  return root == "VRTDataset" || root == "PAMDataset";
}

}  // namespace

const FileForm kGdalXml = {{TRPCFileForm::GdalXml, "GDAL metadata", ".aux.xml .vrt", true, "nothing"},
                           LooksLikeGdalXml,
                           ReadGdalXml,
                           WriteGdalXml};

}  // namespace RPCForms

}  // namespace SatCommonUtils
