// GDAL's drivers and messages.

#include "gdal_session.h"

#include <mutex>

namespace SatCommonUtils {

GdalSession::GdalSession() {
  static std::once_flag registered;
  std::call_once(registered, [] { GDALAllRegister(); });
  CPLPushErrorHandlerEx(Keep, this);
}

GdalSession::~GdalSession() { CPLPopErrorHandler(); }

void CPL_STDCALL GdalSession::Keep(CPLErr level, CPLErrorNum, const char* text) {
  auto* const session = static_cast<GdalSession*>(CPLGetErrorHandlerUserData());
  if (level < CE_Failure || session == nullptr) return;
  session->last_error_ = text;
  for (char& c : session->last_error_) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
}

DatasetHandle OpenRaster(const std::string& path, bool update) {
  const unsigned int mode = update ? GDAL_OF_UPDATE : GDAL_OF_READONLY;
  return DatasetHandle(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_VERBOSE_ERROR | mode));
}

}  // namespace SatCommonUtils
