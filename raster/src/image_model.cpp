// Models of images. GDAL finds and sorts what the container has; its metadata domain RPC then goes through the core's
// reader of such metadata, so that both have one set of checks.

#include "raster/image_model.h"

#include <cmath>
#include <utility>

#include "frame/zxstd/stream.h"
#include "gdal_session.h"
#include "rpc/rpc_fields.h"
#include "tiff_model.h"

namespace SatCommonUtils {

namespace {

bool Fail(const std::string& path, std::string reason, TRPCFileError* error) {
  if (error == nullptr) return false;
  TRPCFileError found;
  found.file = path;
  found.reason = std::move(reason);
  *error = std::move(found);
  return false;
}

std::string Escaped(const std::string& text) {
  char* const escaped = CPLEscapeString(text.c_str(), static_cast<int>(text.size()), CPLES_XML);
  std::string result = escaped;
  CPLFree(escaped);
  return result;
}

// Why an image was not opened. GDAL's own words say little of a file that is no image at all.
std::string CauseOf(const GdalSession& session) {
  const std::string& said = session.LastError();
  const bool unknown = said.empty() || said.find("not recognized as a supported file format") != std::string::npos;
  return unknown ? "is neither a model file that is read here nor an image that GDAL opens" : said;
}

// The domains of the dataset that say something of its model, as GDAL itself stores them beside an image.
std::string MetadataText(GDALDataset* dataset) {
  std::string xml = "<PAMDataset>\n";
  for (const char* domain : {"RPC", "IMD", "IMAGERY"}) {
    CSLConstList items = dataset->GetMetadata(domain);
    if (items == nullptr) continue;
    xml += std::string("<Metadata domain=\"") + domain + "\">\n";
    for (CSLConstList item = items; *item != nullptr; ++item) {
      const std::string text = *item;
      const std::size_t equals = text.find('=');
      if (equals == std::string::npos) continue;
      xml += "<MDI key=\"" + Escaped(text.substr(0, equals)) + "\">" + Escaped(text.substr(equals + 1)) + "</MDI>\n";
    }
    xml += "</Metadata>\n";
  }
  return xml + "</PAMDataset>\n";
}

// The files that the model may have come from: the image and what lies beside it.
std::string Sources(GDALDataset* dataset, const std::string& path) {
  std::string sources;
  char** const files = dataset->GetFileList();
  for (int i = 0; i < CSLCount(files) && i < 8; ++i) sources += (sources.empty() ? "" : ", ") + std::string(files[i]);
  CSLDestroy(files);
  return sources.empty() ? path : sources;
}

// In a NITF the numbers of an NITF00A are sorted by GDAL without a word.
void DescribeNitf(GDALDataset* dataset, TRPCFileOrigin* origin) {
  CSLConstList tres = dataset->GetMetadata("TRE");
  if (tres == nullptr) return;
  if (CSLFetchNameValue(tres, "RPC00A") != nullptr && CSLFetchNameValue(tres, "RPC00B") == nullptr) {
    origin->termOrder = TRPCTermOrder::RPC00A;
    origin->notes.push_back(
        "the terms stand in the order of RPC00A in the file; they were brought into that of RPC00B");
  }
}

void Describe(GDALDataset* dataset, const std::string& path, TRPCFile* file) {
  file->form = TRPCFileForm::Image;
  file->origin.source = Sources(dataset, path);
  file->origin.variant = dataset->GetDriverName();
  file->origin.rasterWidth = dataset->GetRasterXSize();
  file->origin.rasterHeight = dataset->GetRasterYSize();
  DescribeNitf(dataset, &file->origin);
}

// Each number back within the last digits of a double: GDAL prints the tag's numbers with 15 digits.
bool SameModel(const TRPCData& a, const TRPCData& b) {
  constexpr double kDigits = 1e-14;
  const double* const x = reinterpret_cast<const double*>(&a);
  const double* const y = reinterpret_cast<const double*>(&b);
  for (std::size_t i = 0; i < sizeof(TRPCData) / sizeof(double); ++i) {
    if (!(std::fabs(x[i] - y[i]) <= kDigits * std::fabs(x[i]))) return false;
  }
  return true;
}

// GDAL prints a tag's numbers with 15 digits. Where it took them from the tag, the tag's own bits count; a file beside
// the image may have another model, which goes before.
void TakeDigitsOf(const double* tag, TRPCFile* file) {
  TRPCData record;
  const double* next = tag + 2;  // behind the errors
  for (const std::size_t i : {0, 2, 4, 6, 8, 1, 3, 5, 7, 9}) record.*RPCScalarFields()[i].value = *next++;
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (double& coefficient : record.*field.values) coefficient = *next++;
  }
  if (!SameModel(record, file->record)) return;
  file->record = record;
  file->origin.source += " (tag 50844)";
}

bool ReadMetadata(GDALDataset* dataset, const std::string& path, const TRPCFileOptions& options, TRPCFile* file,
                  TRPCFileError* error) {
  if (dataset->GetMetadata("RPC") == nullptr) {
    return Fail(path, "the image has no RPC model, neither in it nor in a file beside it", error);
  }
  TZxStringStream stream(MetadataText(dataset));
  TRPCFileError found;
  if (!ReadRPCStream(&stream, path, options, file, &found)) {
    found.line = 0;  // of a text that nobody sees
    if (error != nullptr) *error = found;
    return false;
  }
  Describe(dataset, path, file);
  double tag[kTiffModelNumbers];
  if (file->origin.variant == "GTiff" && !options.firstPixel && ReadTiffModel(path, tag)) TakeDigitsOf(tag, file);
  return true;
}

bool IsUsable(const TRPCData& record) {
  return static_cast<bool>(record) &&
         VisitRPCNumbers(record, [](const double& number) { return std::isfinite(number); });
}

// What GDAL takes as metadata: the same keys as in its .aux.xml.
void SetMetadata(GDALDataset* dataset, const TRPCData& record, const TRPCFileExtras& extras, CPLStringList* items) {
  const auto text = [](double number) { return std::string(CPLSPrintf("%.17g", number)); };
  items->SetNameValue("ERR_BIAS", text(extras.biasError.value_or(-1.0)).c_str());
  items->SetNameValue("ERR_RAND", text(extras.randomError.value_or(-1.0)).c_str());
  for (const TRPCScalarField& field : RPCScalarFields()) {
    items->SetNameValue(field.textKey, text(record.*field.value).c_str());
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    std::string key = field.textKey;
    key.pop_back();
    std::string list;
    for (const double coefficient : record.*field.values) list += (list.empty() ? "" : " ") + text(coefficient);
    items->SetNameValue(key.c_str(), list.c_str());
  }
  dataset->SetMetadata(items->List(), "RPC");
}

}  // namespace

bool ReadImageModel(const std::string& path, const TRPCFileOptions& options, TRPCFile* out, TRPCFileError* error) {
  GdalSession session;
  const DatasetHandle dataset = OpenRaster(path, false);
  if (dataset == nullptr) {
    return Fail(path, CauseOf(session), error);
  }
  TRPCFile file;
  if (!ReadMetadata(dataset.get(), path, options, &file, error)) return false;
  *out = std::move(file);
  return true;
}

bool WriteImageModel(const std::string& path, const TRPCData& record, const TRPCFileExtras& extras,
                     TRPCFileError* error) {
  if (!IsUsable(record)) return Fail(path, "the record to write is incomplete, or not finite", error);
  GdalSession session;
  DatasetHandle dataset = OpenRaster(path, true);
  // A container that cannot be updated keeps its model in a file beside it, which a read-only dataset may write.
  if (dataset == nullptr) {
    session.Clear();
    dataset = OpenRaster(path, false);
  }
  if (dataset == nullptr) {
    return Fail(path, CauseOf(session), error);
  }
  session.Clear();
  CPLStringList items;
  SetMetadata(dataset.get(), record, extras, &items);
  dataset.reset();
  if (!session.LastError().empty()) return Fail(path, session.LastError(), error);
  TRPCFile again;
  if (!ReadImageModel(path, TRPCFileOptions(), &again, error)) return false;
  return SameModel(record, again.record) ||
         Fail(path,
              "another model hides the one that was written; it comes from one of these files: " + again.origin.source,
              error);
}

}  // namespace SatCommonUtils
