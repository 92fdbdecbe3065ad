// DIMAP, the product description of Pleiades (versions 1 and 2), SPOT 6 and 7 (2) and Pleiades Neo (3).
//
// Where the first pixel stands: 1 in versions 1 and 2 (GDAL gcore/mdreader/reader_pleiades.cpp, rpcm, shareloc; the
// products' own GML says "first pixel on the product is pixel (1,1)"), 0 in version 3 (OSGeo/gdal issue 5716, where the
// maker confirms it; rpcm agrees, shareloc takes (0, 0) for the pixel's corner, half a pixel away).

#include <cmath>

#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "rpc/forms/side_files.h"
#include "rpc/forms/xml_elements.h"
#include "rpc/rpc_axes.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

using Node = pugi::xml_node;

constexpr const char* kFromOne = "DIMAP 1 and 2 count the first pixel as 1 (GDAL, rpcm, shareloc)";
constexpr const char* kFromZero =
    "DIMAP 3 counts the first pixel as 0 (its maker, GDAL, rpcm; shareloc differs by half a pixel)";

// Keys of numbers in the order of the record: (offset, scale) of line, sample, latitude, longitude, height.
constexpr const char* kAxes1[5] = {"Row", "Col", "Lat", "Lon", "Alt"};

// The two lists of one output in version 1: twenty of the numerator, then twenty of the denominator.
bool ReadForty(const XmlElements& xml, Node model, const char* name, double* num, double* den, TRPCFileError* error) {
  const Node list = model.child(name);
  if (!list) return Fail(error, 0, name, "is missing");
  double numbers[40];
  if (!ReadNumbers({list.text().get(), xml.Line(list)}, name, 40, numbers, error)) return false;
  for (int k = 0; k < 20; ++k) {
    num[k] = numbers[k];
    den[k] = numbers[20 + k];
  }
  return true;
}

// In version 1 "Row/B" is the offset of lines, "Row/A" their scale.
bool ReadVersion1(const XmlElements& xml, Node rfm, TRPCData* record, TRPCFileError* error) {
  std::array<double, 90> numbers{};
  for (std::size_t i = 0; i < kFileOrder.size(); ++i) {
    const char* const axis = kAxes1[kFileOrder[i] / 2];
    const char* const part = kFileOrder[i] % 2 == 0 ? "B" : "A";
    const Node number = rfm.child("RFM_Validity").child(axis).child(part);
    const std::string key = std::string(axis) + "/" + part;
    if (!number) return Fail(error, 0, key, "is missing");
    if (!ReadNumbers({number.text().get(), xml.Line(number)}, key, 1, &numbers[i], error)) return false;
  }
  const Node inverse = rfm.child("Inverse_Model");
  double* const lists = numbers.data() + kFileOrder.size();
  return ReadForty(xml, inverse, "F_ROW", lists, lists + 20, error) &&
         ReadForty(xml, inverse, "F_COL", lists + 40, lists + 60, error) && ReadRecord(numbers, record, error);
}

// Versions 2 and 3 spell the keys of the text form as elements; the scalars stand in RFM_Validity.
bool ReadVersion2(const XmlElements& xml, Node validity, Node model, TRPCTermOrder order, TRPCData* record,
                  TRPCFileError* error) {
  RecordKeys keys = TextKeys();
  keys.index = "_%d";
  keys.firstIndex = 1;
  const KeyLookup in_validity = xml.ChildrenOf(validity);
  const KeyLookup in_model = xml.ChildrenOf(model);
  const KeyLookup find = [&](const std::string& key) {
    return key.find("_COEFF_") == std::string::npos ? in_validity(key) : in_model(key);
  };
  return ReadRecord(keys, order, find, record, error);
}

// Image to ground. The polynomials take normalised samples where those of the other direction take longitudes, and
// lines where those take latitudes: the layout of an inverse model.
bool ReadDirectModel(const XmlElements& xml, Node model, bool version1, const char* lat, const char* lon,
                     TRPCTermOrder order, const TRPCData& record, TRPCData* direct) {
  TRPCFileError ignored;
  *direct = record;
  if (version1) {
    if (!ReadForty(xml, model, "F_LAT", direct->lineNumCoef, direct->lineDenCoef, &ignored) ||
        !ReadForty(xml, model, "F_LON", direct->sampNumCoef, direct->sampDenCoef, &ignored)) {
      return false;
    }
  } else {
    const std::string prefixes[4] = {std::string(lat) + "_NUM_COEFF_", std::string(lat) + "_DEN_COEFF_",
                                     std::string(lon) + "_NUM_COEFF_", std::string(lon) + "_DEN_COEFF_"};
    double* const lists[4] = {direct->lineNumCoef, direct->lineDenCoef, direct->sampNumCoef, direct->sampDenCoef};
    for (int i = 0; i < 80; ++i) {
      const std::string key = prefixes[i / 20] + std::to_string(i % 20 + 1);
      if (!ParseDouble(model.child(key.c_str()).text().get(), &lists[i / 20][i % 20])) return false;
    }
    SortTerms(order, direct);
  }
  TRPCNormalization(record).OfInverse().CopyTo(direct);
  return true;
}

void ReadDomains(Node validity, int first_pixel, TRPCFileOrigin* origin) {
  const auto number = [validity](const char* name) { return XmlElements::Number(validity, name); };
  const std::optional<double> ends[] = {number("FIRST_ROW"), number("FIRST_COL"), number("LAST_ROW"),
                                        number("LAST_COL"),  number("FIRST_LAT"), number("FIRST_LON"),
                                        number("LAST_LAT"),  number("LAST_LON")};
  if (ends[0] && ends[1] && ends[2] && ends[3]) {
    origin->imageDomain = {*ends[0] - first_pixel, *ends[1] - first_pixel, *ends[2] - first_pixel,
                           *ends[3] - first_pixel};
  }
  if (ends[4] && ends[5] && ends[6] && ends[7]) origin->groundDomain = {*ends[4], *ends[5], *ends[6], *ends[7]};
}

void ReadFitError(Node model, bool version3, TRPCFileOrigin* origin) {
  const std::optional<std::string> row = XmlElements::Text(model, "ERR_BIAS_ROW");
  const std::optional<std::string> col = XmlElements::Text(model, "ERR_BIAS_COL");
  if (row && col) {
    origin->fitError =
        "line " + row->substr(0, 32) + ", sample " + col->substr(0, 32) + " (ERR_BIAS_ROW, ERR_BIAS_COL)";
  }
  if (version3 && origin->imageDomain &&
      (origin->imageDomain->firstLine != 0.0 || origin->imageDomain->firstSample != 0.0)) {
    origin->notes.push_back(
        "the validity domain does not begin at 0: GDAL 3.5 to 3.7.0 shift the offsets by it, others and this reader do "
        "not");
  }
}

std::string Variant(const XmlElements& xml) {
  const Node format = XmlElements::Find(xml.Root(), "METADATA_FORMAT");
  const Node profile = XmlElements::Find(xml.Root(), "METADATA_PROFILE");
  const std::string version = format.attribute("version").as_string(profile.attribute("version").as_string());
  return std::string(Trimmed(profile.text().get())).substr(0, 64) +
         (version.empty() ? "" : " " + version.substr(0, 16));
}

bool ReadModel(const XmlElements& xml, Node rfm, TRPCFile* out, TRPCFileError* error) {
  const bool version3 = static_cast<bool>(rfm.child("GroundtoImage_Values"));
  const bool version1 = !version3 && rfm.child("Inverse_Model").child("F_ROW");
  const Node validity = rfm.child("RFM_Validity");
  const Node inverse = rfm.child(version3 ? "GroundtoImage_Values" : "Inverse_Model");
  const Node direct = rfm.child(version3 ? "ImagetoGround_Values" : "Direct_Model");
  if (!validity) return Fail(error, xml.Line(rfm), "RFM_Validity", "is missing");
  if (!inverse) return Fail(error, xml.Line(rfm), version3 ? "GroundtoImage_Values" : "Inverse_Model", "is missing");

  TRPCFileOrigin& origin = out->origin;
  origin.firstPixel = version3 ? 0 : 1;
  origin.firstPixelRule = version3 ? kFromZero : kFromOne;
  const TRPCTermOrder order = TakeTermOrder(XmlElements::Text(xml.Root(), "RESOURCE_ID").value_or(""), &origin);
  const bool good = version1 ? ReadVersion1(xml, rfm, &out->record, error)
                             : ReadVersion2(xml, validity, inverse, order, &out->record, error);
  if (!good) return false;
  out->record.lineOffset -= origin.firstPixel;
  out->record.sampOffset -= origin.firstPixel;
  ReadDomains(validity, origin.firstPixel, &origin);
  ReadFitError(inverse, version3, &origin);
  TRPCData record;
  if (ReadDirectModel(xml, direct, version1, version3 ? "LAT" : "LINE", version3 ? "LON" : "SAMP", order, out->record,
                      &record)) {
    origin.directModel = record;
  }
  return true;
}

bool ReadDimap(const std::string& content, TRPCFile* out, TRPCFileError* error) {
  try {
    const XmlElements xml(content);
    const Node rfm = XmlElements::Find(xml.Root(), "Global_RFM");
    if (!rfm) {
      return Fail(error, 0, "Global_RFM",
                  "is missing: this file describes the product; its model is in the file RPC_*.XML beside it");
    }
    out->origin.variant = Variant(xml);
    AddDimapProduct(xml, out);
    return ReadModel(xml, rfm, out, error);
  } catch (const TZxMessage& message) {
    return FailAsXml(error, message.GetText());
  }
}

bool LooksLikeDimap(std::string_view content) {
  const std::string_view root = XmlRootName(content);
  return root == "Dimap_Document" || root == "PHR_Dimap_Document";
}

}  // namespace

void AddDimapProduct(const XmlElements& xml, TRPCFile* out) {
  const Node root = xml.Root();
  const auto text = [root](const char* name) { return XmlElements::Text(root, name).value_or("").substr(0, 64); };
  const std::string mission = text("MISSION") + (text("MISSION_INDEX").empty() ? "" : " " + text("MISSION_INDEX"));
  if (!mission.empty() && !out->extras.satelliteId) out->extras.satelliteId = mission;
  const std::string band = text("BAND_MODE").empty() ? text("SPECTRAL_PROCESSING") : text("BAND_MODE");
  if (!band.empty() && !out->extras.bandId) out->extras.bandId = band;
  const std::string day = text("IMAGING_DATE");
  if (!day.empty())
    out->origin.acquisitionTime = day + (text("IMAGING_TIME").empty() ? "" : "T" + text("IMAGING_TIME"));
  if (const auto rows = XmlElements::Count(root, "NROWS")) out->origin.rasterHeight = rows;
  if (const auto columns = XmlElements::Count(root, "NCOLS")) out->origin.rasterWidth = columns;
}

const FileForm kDimap = {{TRPCFileForm::Dimap, "DIMAP", ".xml", false, nullptr}, LooksLikeDimap, ReadDimap, nullptr};

}  // namespace RPCForms

}  // namespace SatCommonUtils
