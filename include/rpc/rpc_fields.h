#pragma once
/// \file
/// The fields of an RPC record as a table: what each is called in the file forms, where it stands, its unit.
///
/// Everything that walks a record by name (readers, writers, comparison, tables for people) walks this table.

#include <array>

#include "../frame/api.h"
#include "rpc_data.h"

namespace SatCommonUtils {

/// What a number of the record measures.
enum class TRPCFieldUnit { Pixels, Degrees, Metres };

/// One offset or scale.
struct TRPCScalarField {
  double TRPCData::*value;  ///< where it stands in the record
  const char* rpbKey;       ///< its name in the RPB form, e.g. "lineOffset"
  const char* textKey;      ///< in the text form, e.g. "LINE_OFF"
  const char* xmlKey;       ///< in XML, e.g. "LineOffset"
  const char* rpbFormat;    ///< printf format of the number in the RPB form
  const char* textFormat;   ///< printf format of the number in the text form
  TRPCFieldUnit unit;       ///< Of its value.
};

/// One array of twenty coefficients.
struct TRPCCoefficientField {
  double (TRPCData::*values)[20];  ///< where it stands in the record
  const char* rpbKey;              ///< name of the list in the RPB form, e.g. "lineNumCoef"
  const char* textKey;             ///< in the text form, followed by the number 1 to 20, e.g. "LINE_NUM_COEFF_"
  const char* xmlKey;              ///< name of the section in XML, e.g. "LineNum"
  const char* xmlOtherKey;         ///< another name that readers accept for that section, or null
};

/// The ten offsets and scales in the record's order: (offset, scale) of line, sample, latitude, longitude, height.
ORBMATH_API const std::array<TRPCScalarField, 10>& RPCScalarFields() noexcept;
/// The four arrays in the record's order.
ORBMATH_API const std::array<TRPCCoefficientField, 4>& RPCCoefficientFields() noexcept;

/// Calls `visit(double& or const double&)` for each of the ninety numbers: the scalars, then the coefficients.
/// Stops when `visit` gives false. \return false when it was stopped.
template <class Record, class Visit>
bool VisitRPCNumbers(Record& record, Visit visit) {
  for (const TRPCScalarField& field : RPCScalarFields()) {
    if (!visit(record.*field.value)) return false;
  }
  for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
    for (auto& coefficient : record.*field.values) {
      if (!visit(coefficient)) return false;
    }
  }
  return true;
}

}  // namespace SatCommonUtils
