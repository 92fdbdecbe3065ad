// The table of file forms: a new form is a file of this folder and a row here.

#include "rpc/forms/forms.h"

namespace SatCommonUtils {

namespace RPCForms {

// The order is that of trying: forms with a sign of their own first, those that are known by loose signs last.
const std::array<const FileForm*, kFormCount>& Forms() noexcept {
  static constexpr std::array<const FileForm*, kFormCount> kRows = {
      &kDimap, &kIsdXml, &kRadarsat,   &kGdalXml,    &kXml,         &kAdjustedXml, &kJson,
      &kText,  &kRpb,    &kEnviHeader, &kFixedWidth, &kKeywordList, &kVendorText,  &kImage};
  return kRows;
}

const FileForm& FormOf(TRPCFileForm form) noexcept {
  for (const FileForm* const row : Forms()) {
    if (row->info.form == form) return *row;
  }
  return kImage;  // never reached: every enumerator has a row
}

// Images are read by OrbmathRaster, which needs GDAL; the row is here for its name.
const FileForm kImage = {{TRPCFileForm::Image, "image", ".tif .ntf", false, nullptr}, nullptr, nullptr, nullptr};

}  // namespace RPCForms

const char* RPCFileFormName(TRPCFileForm form) noexcept { return RPCForms::FormOf(form).info.name; }

const TRPCFileFormInfo* RPCFileForms(std::size_t* count) noexcept {
  static const std::array<TRPCFileFormInfo, RPCForms::kFormCount> kInfos = [] {
    std::array<TRPCFileFormInfo, RPCForms::kFormCount> infos{};
    for (std::size_t i = 0; i < infos.size(); ++i) infos[i] = RPCForms::Forms()[i]->info;
    return infos;
  }();
  *count = kInfos.size();
  return kInfos.data();
}

}  // namespace SatCommonUtils
