#pragma once
// GDAL's RPC transformer, to measure beside.

#include <cpl_error.h>
#include <cpl_string.h>
#include <gdal_alg.h>

#include "rpc/rpc_data.h"

/// GDAL counts from the corner of the first pixel; that half pixel does not matter to its time.
class GdalTransformer {
 public:
  /// \param dem null, or a DEM that GDAL opens: heights are its, interpolated as `interpolation` says.
  GdalTransformer(const SatCommonUtils::TRPCData& r, double threshold, const char* dem = nullptr,
                  const char* interpolation = "bilinear") {
    GDALRPCInfoV2 info{};
    info.dfLINE_OFF = r.lineOffset;
    info.dfSAMP_OFF = r.sampOffset;
    info.dfLAT_OFF = r.latOffset;
    info.dfLONG_OFF = r.longOffset;
    info.dfHEIGHT_OFF = r.heightOffset;
    info.dfLINE_SCALE = r.lineScale;
    info.dfSAMP_SCALE = r.sampScale;
    info.dfLAT_SCALE = r.latScale;
    info.dfLONG_SCALE = r.longScale;
    info.dfHEIGHT_SCALE = r.heightScale;
    for (int k = 0; k < 20; ++k) {
      info.adfLINE_NUM_COEFF[k] = r.lineNumCoef[k];
      info.adfLINE_DEN_COEFF[k] = r.lineDenCoef[k];
      info.adfSAMP_NUM_COEFF[k] = r.sampNumCoef[k];
      info.adfSAMP_DEN_COEFF[k] = r.sampDenCoef[k];
    }
    info.dfMIN_LONG = -180.0;
    info.dfMIN_LAT = -90.0;
    info.dfMAX_LONG = 180.0;
    info.dfMAX_LAT = 90.0;
    char** options = CSLSetNameValue(nullptr, "RPC_MAX_ITERATIONS", "20");
    if (dem != nullptr) {
      options = CSLSetNameValue(options, "RPC_DEM", dem);
      options = CSLSetNameValue(options, "RPC_DEMINTERPOLATION", interpolation);
    }
    transformer_ = GDALCreateRPCTransformerV2(&info, FALSE, threshold, options);
    CSLDestroy(options);
  }
  GdalTransformer(const GdalTransformer&) = delete;
  GdalTransformer& operator=(const GdalTransformer&) = delete;
  ~GdalTransformer() { GDALDestroyRPCTransformer(transformer_); }

  /// In place. \param toImage ground (longitude, latitude, height) to image (sample, line), or the other way round.
  void Run(bool toImage, int count, double* x, double* y, double* z, int* success) const {
    GDALRPCTransform(transformer_, toImage ? TRUE : FALSE, count, x, y, z, success);
  }

 private:
  void* transformer_;
};
