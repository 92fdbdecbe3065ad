// Image support data in XML: the element RPB of QuickBird, WorldView and GeoEye products.
//
// The keys are those of the RPB form in capitals; whole numbers are pixel centres, as there (OSGeo/gdal issue 3946).

#include "frame/zxstd/message.h"
#include "frame/zxstd/text.h"
#include "rpc/forms/xml_elements.h"
#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

using Node = pugi::xml_node;

RecordKeys IsdKeys() {
  RecordKeys keys;
  for (std::size_t i = 0; i < keys.scalars.size(); ++i) keys.scalars[i] = toupper(RPCScalarFields()[i].rpbKey);
  for (std::size_t i = 0; i < keys.lists.size(); ++i) keys.lists[i] = toupper(RPCCoefficientFields()[i].rpbKey);
  return keys;
}

// A list stands in an element around it: LINENUMCOEFList/LINENUMCOEF.
KeyLookup ImageKeys(const XmlElements& xml, Node image) {
  return [&xml, image](const std::string& key) -> std::optional<KeyedText> {
    const Node list = image.child((key + "List").c_str());
    const Node found = list ? list.child(key.c_str()) : image.child(key.c_str());
    if (!found) return std::nullopt;
    return KeyedText{found.text().get(), xml.Line(found)};
  };
}

void ReadProduct(const XmlElements& xml, Node rpb, TRPCFile* out) {
  const Node imd = XmlElements::Find(xml.Root(), "IMD");
  out->extras.satelliteId = XmlElements::Text(rpb, "SATID");
  out->extras.bandId = XmlElements::Text(rpb, "BANDID");
  out->extras.biasError = XmlElements::Number(rpb, "ERRBIAS");
  out->extras.randomError = XmlElements::Number(rpb, "ERRRAND");
  out->origin.rasterHeight = XmlElements::Count(imd, "NUMROWS");
  out->origin.rasterWidth = XmlElements::Count(imd, "NUMCOLUMNS");
  const auto time = XmlElements::Text(imd, "FIRSTLINETIME");
  out->origin.acquisitionTime = time ? *time : XmlElements::Text(imd, "TLCTIME").value_or("");
}

bool ReadIsd(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  try {
    const XmlElements xml(content);
    const Node rpb = std::string_view(xml.Root().name()) == "RPB" ? xml.Root() : XmlElements::Find(xml.Root(), "RPB");
    const Node image = rpb.child("IMAGE");
    if (!image) return Fail(error, xml.Line(rpb), "RPB/IMAGE", "is missing: this product has no model");
    ReadProduct(xml, rpb, out);
    const TRPCTermOrder order = TakeTermOrder(rpb.child("SPECID").text().get(), &out->origin);
    return ReadRecord(IsdKeys(), order, ImageKeys(xml, image), &out->record, error);
  } catch (const TZxMessage& message) {
    return FailAsXml(error, message.GetText());
  }
}

bool LooksLikeIsd(std::string_view content) {
  const std::string_view root = XmlRootName(content);
  return root == "isd" || root == "ISD" || root == "RPB";
}

}  // namespace

const FileForm kIsdXml = {{TRPCFileForm::IsdXml, "ISD XML", ".xml", false, nullptr}, LooksLikeIsd, ReadIsd, nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
