// The table of fields.

#include "rpc/rpc_fields.h"

namespace SatCommonUtils {

const std::array<TRPCScalarField, 10>& RPCScalarFields() noexcept {
  using D = TRPCData;
  constexpr auto kPixels = TRPCFieldUnit::Pixels;
  constexpr auto kDegrees = TRPCFieldUnit::Degrees;
  constexpr auto kMetres = TRPCFieldUnit::Metres;
  static constexpr std::array<TRPCScalarField, 10> kFields = {{
      {&D::lineOffset, "lineOffset", "LINE_OFF", "LineOffset", "%.2lf", "%+010.2lf", kPixels},
      {&D::lineScale, "lineScale", "LINE_SCALE", "LineScale", "%.2lf", "%+10.2lf", kPixels},
      {&D::sampOffset, "sampOffset", "SAMP_OFF", "SampleOffset", "%.2lf", "%+010.2lf", kPixels},
      {&D::sampScale, "sampScale", "SAMP_SCALE", "SampleScale", "%.2lf", "%+10.2lf", kPixels},
      {&D::latOffset, "latOffset", "LAT_OFF", "LatitudeOffset", "%.8lf", "%+12.8lf", kDegrees},
      {&D::latScale, "latScale", "LAT_SCALE", "LatitudeScale", "%.8lf", "%+012.8lf", kDegrees},
      {&D::longOffset, "longOffset", "LONG_OFF", "LongitudeOffset", "%.8lf", "%+13.8lf", kDegrees},
      {&D::longScale, "longScale", "LONG_SCALE", "LongitudeScale", "%.8lf", "%+013.8lf", kDegrees},
      {&D::heightOffset, "heightOffset", "HEIGHT_OFF", "HeightOffset", "%.2lf", "%+09.3lf", kMetres},
      {&D::heightScale, "heightScale", "HEIGHT_SCALE", "HeightScale", "%.2lf", "%+09.3lf", kMetres},
  }};
  return kFields;
}

const std::array<TRPCCoefficientField, 4>& RPCCoefficientFields() noexcept {
  using D = TRPCData;
  static constexpr std::array<TRPCCoefficientField, 4> kFields = {{
      {&D::lineNumCoef, "lineNumCoef", "LINE_NUM_COEFF_", "LineNum", "LineNom"},
      {&D::lineDenCoef, "lineDenCoef", "LINE_DEN_COEFF_", "LineDenom", nullptr},
      {&D::sampNumCoef, "sampNumCoef", "SAMP_NUM_COEFF_", "SampleNum", "SampleNom"},
      {&D::sampDenCoef, "sampDenCoef", "SAMP_DEN_COEFF_", "SampleDenom", nullptr},
  }};
  return kFields;
}

}  // namespace SatCommonUtils
