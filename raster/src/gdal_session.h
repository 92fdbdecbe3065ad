#pragma once
// Every use of GDAL: drivers registered, its messages kept from the terminal.

#include <gdal_priv.h>

#include <memory>
#include <string>

namespace SatCommonUtils {

/// While it lives, GDAL's errors and warnings of this thread are kept here instead of being printed.
class GdalSession {
 public:
  GdalSession();
  GdalSession(const GdalSession&) = delete;
  GdalSession& operator=(const GdalSession&) = delete;
  ~GdalSession();

  /// The last error since the session began or since `Clear`, in one line; empty when there was none.
  const std::string& LastError() const noexcept { return last_error_; }
  void Clear() { last_error_.clear(); }

 private:
  static void CPL_STDCALL Keep(CPLErr level, CPLErrorNum number, const char* text);

  std::string last_error_;
};

struct CloseDataset {
  void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using DatasetHandle = std::unique_ptr<GDALDataset, CloseDataset>;

/// Opens a raster; null on failure, with the cause in the session.
DatasetHandle OpenRaster(const std::string& path, bool update);

}  // namespace SatCommonUtils
