// What the numbers of a record alone tell: missing ones, coefficients beyond sense, ranges off the earth. Elementary.

#include <algorithm>
#include <cmath>

#include "rpc/check/model_checks.h"
#include "rpc/inverse_rpc.h"
#include "rpc/rpc_fields.h"
#include "rpc/rpc_terms.h"

namespace SatCommonUtils::rpc {

namespace {

using Kind = TFindingKind;
using Severity = TFindingSeverity;

// Land and sea floor as images show them: shores of the Dead Sea to Mount Everest, with room for the ellipsoid.
constexpr double kLowest = -500.0;
constexpr double kHighest = 9000.0;
constexpr double kFarthestTurn = 540.0;  // degrees: longitudes beyond are taken for damaged everywhere
constexpr double kLargestAngle = 360.0;  // degrees: a larger latitude is a line of an image
constexpr double kThinnest = 1.0;        // metres of height scale
constexpr double kLargeNumber = 1e4;     // a coefficient that no fit to normalised coordinates gives
constexpr double kBeyondSense = 1e9;     // and one that leaves few digits of the rest
constexpr double kBentNumber = 1e-6;     // how near to 1 the constant of a denominator is

/// The first number that is no number, or the first scale that is zero; null when there is none.
const char* BadNumber(const TRPCData& record) {
  const auto& fields = RPCScalarFields();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const double value = record.*fields[i].value;
    if (!std::isfinite(value) || value == kUnsetMark || (i % 2 == 1 && value == 0.0)) return fields[i].rpbKey;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (const double value : record.*field.values) {
      if (!std::isfinite(value) || value == kUnsetMark) return field.rpbKey;
    }
  }
  return nullptr;
}

void CheckDenominator(const TExamined& examined, const double* coefficients, const char* name) {
  const double constant = coefficients[0];
  if (constant == 0.0) {
    examined.Add(Severity::Unfit, Kind::Denominator, "the constant of the denominator is 0", name,
                 "a pole lies in the middle of the image");
  } else if (std::abs(constant - 1.0) > kBentNumber) {
    examined.Add(Severity::Warning, Kind::Denominator,
                 "the constant of the denominator is " + FormatDouble(constant) + ", not 1", name,
                 "programs that take it for 1 give other points");
  }
}

void CheckSizes(const TExamined& examined, const TRPCCoefficientField& field) {
  const double* const values = examined.record.*field.values;
  int largest = 1;
  bool others = false;
  for (int k = 1; k < kRPCTermCount; ++k) {
    if (std::abs(values[k]) > std::abs(values[largest])) largest = k;
    others = others || values[k] != 0.0;
  }
  const bool numerator = field.values == &TRPCData::lineNumCoef || field.values == &TRPCData::sampNumCoef;
  const std::string name = field.rpbKey;
  if (numerator && !others) {
    examined.Add(Severity::Unfit, Kind::Coefficients, "all coefficients but the constant are 0", name,
                 "the whole ground has one image coordinate");
  }
  const double size = std::abs(values[largest]);
  if (size <= kLargeNumber) return;
  examined.Add(size > kBeyondSense ? Severity::Unfit : Severity::Warning, Kind::Coefficients,
               "a coefficient is " + FormatDouble(values[largest]), name + "[" + std::to_string(largest) + "]",
               "the normalised coordinates reach about 1: so large a term is a damaged number or a wrong scale");
}

}  // namespace

bool CheckRecord(const TExamined& examined) {
  const TRPCData& record = examined.record;
  if (const char* const bad = BadNumber(record)) {
    examined.Add(Severity::Unfit, Kind::Record, "a number is missing, not finite, or a scale of 0", bad,
                 "the model cannot be evaluated");
    return false;
  }
  if (IsInverseRPC(record) && std::abs(record.latOffset) > kLargestAngle) {
    examined.Add(Severity::Unfit, Kind::Record, "the record is that of an inverse model: image to ground",
                 "a latitude of " + Rounded(record.latOffset, 6),
                 "it maps no ground into an image: 'TInverseRPC' evaluates it");
    return false;
  }
  CheckDenominator(examined, record.lineDenCoef, "lineDenCoef");
  CheckDenominator(examined, record.sampDenCoef, "sampDenCoef");
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) CheckSizes(examined, field);
  return true;
}

void CheckRanges(const TExamined& examined) {
  const TRPCData& record = examined.record;
  const double height = std::abs(record.heightScale);
  const double low = record.heightOffset - height, high = record.heightOffset + height;
  const std::string range = Rounded(low, 5) + " to " + Rounded(high, 5) + " m";
  if (low < kLowest || high > kHighest) {
    const bool offEarth = high < kLowest || low > kHighest;
    examined.Add(offEarth ? Severity::Unfit : Severity::Warning, Kind::HeightRange,
                 offEarth ? "no height of the range is one of the ground" : "heights that no ground has", range,
                 "the mean height and the ends of the range are not the ground's: give heights, or a DEM");
  }
  if (height < kThinnest) {
    examined.Add(Severity::Warning, Kind::HeightRange, "the heights span " + Rounded(2.0 * height) + " m", range,
                 "other heights are far outside of what the model was made for");
  }
  const bool degreeLat = std::abs(record.latScale) == 1.0, degreeLon = std::abs(record.longScale) == 1.0;
  if (degreeLat || degreeLon) {
    examined.Add(Severity::Warning, Kind::Scales, "a scale of exactly 1 degree",
                 degreeLat && degreeLon ? "latScale, longScale" : (degreeLat ? "latScale" : "longScale"),
                 "the ground box is not that of the image, and solvers that rely on normalised coordinates may fail");
  }
  const double latLow = record.latOffset - std::abs(record.latScale),
               latHigh = record.latOffset + std::abs(record.latScale);
  if (std::abs(record.latOffset) > 90.0) {
    examined.Add(Severity::Unfit, Kind::Latitude, "a latitude of " + Rounded(record.latOffset, 6) + " degrees",
                 "latOffset", "latitude and longitude are exchanged, or the record is that of an inverse model");
  } else if (latLow < -90.0 || latHigh > 90.0) {
    examined.Add(Severity::Warning, Kind::Latitude, "the ground box reaches beyond a pole of the earth",
                 Rounded(latLow, 6) + " to " + Rounded(latHigh, 6) + " degrees",
                 "longitudes turn around there: footprints are not simple");
  }
  if (std::abs(record.longOffset) > kFarthestTurn) {
    examined.Add(Severity::Unfit, Kind::Longitude, "a longitude of " + Rounded(record.longOffset, 6) + " degrees",
                 "longOffset", "it is no longitude in any usual turn");
  } else if (std::abs(record.longOffset) > 180.0) {
    examined.Add(Severity::Note, Kind::Longitude, "longitudes count beyond 180 degrees", "longOffset",
                 "ground points come out in that turn; longitudes in any turn go in");
  } else if (std::abs(record.longOffset) + std::abs(record.longScale) > 180.0) {
    examined.Add(Severity::Note, Kind::Longitude, "the ground box crosses the 180th meridian", "longOffset, longScale",
                 "ground points come out in the turn of the model's middle, beyond 180 degrees on one side");
  }
}

}  // namespace SatCommonUtils::rpc
