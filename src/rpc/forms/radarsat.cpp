// product.xml of RADARSAT-2, element rationalFunctions, and that of the RADARSAT Constellation.
//
// The terms stand in an order of their own, height first, and whole numbers are pixel centres: in that reading the
// model meets the tie points of a product (line 0, pixel 0 is the first) to 0.003 pixels. GDAL hands the lists on in
// the file's order, so that its projections of such products are wrong by thousands of pixels.

#include "frame/zxstd/message.h"
#include "rpc/forms/xml_elements.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

RecordKeys RadarsatKeys() {
  return {{"lineOffset", "lineScale", "pixelOffset", "pixelScale", "latitudeOffset", "latitudeScale", "longitudeOffset",
           "longitudeScale", "heightOffset", "heightScale"},
          {"lineNumeratorCoefficients", "lineDenominatorCoefficients", "pixelNumeratorCoefficients",
           "pixelDenominatorCoefficients"},
          "",
          0};
}

bool ReadRadarsat(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  try {
    const XmlElements xml(content);
    const pugi::xml_node functions = XmlElements::Find(xml.Root(), "rationalFunctions");
    if (!functions) return Fail(error, 0, "rationalFunctions", "is missing: this product has no model");
    out->extras.satelliteId = XmlElements::Text(xml.Root(), "satellite");
    out->extras.biasError = XmlElements::Number(functions, "biasError");
    out->extras.randomError = XmlElements::Number(functions, "randomError");
    TRPCFileOrigin& origin = out->origin;
    origin.variant = out->extras.satelliteId.value_or("").substr(0, 64);
    origin.rasterHeight = XmlElements::Count(xml.Root(), "numberOfLines");
    origin.rasterWidth = XmlElements::Count(xml.Root(), "numberOfSamplesPerLine");
    origin.acquisitionTime = XmlElements::Text(xml.Root(), "rawDataStartTime").value_or("");
    origin.termOrder = TRPCTermOrder::HeightFirst;
    origin.notes.push_back(
        "the terms stand in an order of their own, height first, in the file; they were brought into "
        "that of RPC00B");
    if (origin.variant != "RADARSAT-2") {
      origin.notes.push_back("no product of this satellite was at hand when this reader was written: it is untried");
    }
    return ReadRecord(RadarsatKeys(), origin.termOrder, xml.ChildrenOf(functions), &out->record, error);
  } catch (const TZxMessage& message) {
    return FailAsXml(error, message.GetText());
  }
}

bool LooksLikeRadarsat(std::string_view content) { return XmlRootName(content) == "product"; }

}  // namespace

const FileForm kRadarsat = {
    {TRPCFileForm::Radarsat, "RADARSAT product", ".xml", false, nullptr}, LooksLikeRadarsat, ReadRadarsat, nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
