// The criteria as a table of fields, which setting, checking, reading and writing walk.

#include "stereo/stereopairs_by_overlap.h"

#include <tuple>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/unset_mark.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"

namespace StereopairsByOverlap {

using SatCommonUtils::kUnsetMark;
using SatCommonUtils::TZxXIniReader;
using SatCommonUtils::TZxXIniWriter;

namespace {

using Params = TStereopairsByOverlapParams;

/// No angle limit.
constexpr double kInvalidAngle = 361.0;

/// One field: its key, its values in a reset and in an invalidated record, and when a section must have it.
template <class T>
struct Field {
  const char* key;
  T Params::*member;
  T initial;
  T invalid;
  bool mandatory;
  /// The flag that makes the field mandatory when it is on; null when none does.
  bool Params::*mandatory_when = nullptr;
};

/// All fields in the order of the record, a group's flag before what depends on it.
constexpr auto kFields = std::make_tuple(
    Field<bool>{"TiesRequired", &Params::TiesRequired, false, true, true},

    Field<bool>{"CheckOverlapPercentage", &Params::CheckOverlapPercentage, false, true, true},
    Field<double>{"MinOverlapPercentage", &Params::MinOverlapPercentage, 10.0, -1.0, false,
                  &Params::CheckOverlapPercentage},
    Field<bool>{"RejectUndefOverlapPercentage", &Params::RejectUndefOverlapPercentage, true, true, false,
                &Params::CheckOverlapPercentage},

    Field<bool>{"CheckOverlapPixels", &Params::CheckOverlapPixels, false, true, true},
    Field<double>{"MinOverlapPixels", &Params::MinOverlapPixels, 1.0, -1.0, false, &Params::CheckOverlapPixels},
    Field<bool>{"RejectUndefOverlapPixels", &Params::RejectUndefOverlapPixels, true, true, false,
                &Params::CheckOverlapPixels},

    Field<bool>{"CheckConvergenceAngle", &Params::CheckConvergenceAngle, false, true, true},
    Field<double>{"MinConvergenceAngle", &Params::MinConvergenceAngle, 10.0, kInvalidAngle, false,
                  &Params::CheckConvergenceAngle},
    Field<double>{"MaxConvergenceAngle", &Params::MaxConvergenceAngle, 90.0, kInvalidAngle, false,
                  &Params::CheckConvergenceAngle},
    Field<bool>{"RejectUndefConvergenceAngle", &Params::RejectUndefConvergenceAngle, true, true, false,
                &Params::CheckConvergenceAngle},

    Field<bool>{"TheSameSensor", &Params::TheSameSensor, false, true, true},
    Field<bool>{"RejectUndefSensor", &Params::RejectUndefSensor, true, true, true},

    Field<bool>{"CheckTimeGap", &Params::CheckTimeGap, false, true, true},
    Field<double>{"MinTimeGap", &Params::MinTimeGap, 0.0, 0.0, false},
    Field<double>{"MaxTimeGap", &Params::MaxTimeGap, 0.1, -1.0, false, &Params::CheckTimeGap},
    Field<bool>{"RejectUndefTimeGap", &Params::RejectUndefTimeGap, true, true, false, &Params::CheckTimeGap},

    Field<bool>{"CheckDateGap", &Params::CheckDateGap, false, true, false},
    Field<int>{"MaxDateGap", &Params::MaxDateGap, 30, -1, false, &Params::CheckDateGap},
    Field<bool>{"RejectUndefDateGap", &Params::RejectUndefDateGap, true, true, false, &Params::CheckDateGap},

    Field<bool>{"CheckGSD", &Params::CheckGSD, false, true, true},
    Field<double>{"MaxGSDPercentDiff", &Params::MaxGSDPercentDiff, 20.0, -1.0, false, &Params::CheckGSD},
    Field<bool>{"RejectUndefGSD", &Params::RejectUndefGSD, true, true, false, &Params::CheckGSD},

    Field<bool>{"CheckSunAzimuthDiff", &Params::CheckSunAzimuthDiff, false, true, false},
    Field<double>{"MaxSunAzimuthDiff", &Params::MaxSunAzimuthDiff, 15.0, kInvalidAngle, false,
                  &Params::CheckSunAzimuthDiff},
    Field<bool>{"RejectUndefSunAzimuthDiff", &Params::RejectUndefSunAzimuthDiff, true, true, false,
                &Params::CheckSunAzimuthDiff},

    Field<bool>{"CheckSunElevationDiff", &Params::CheckSunElevationDiff, false, true, false},
    Field<double>{"MaxSunElevationDiff", &Params::MaxSunElevationDiff, 15.0, kInvalidAngle, false,
                  &Params::CheckSunElevationDiff},
    Field<bool>{"RejectUndefSunElevationDiff", &Params::RejectUndefSunElevationDiff, true, true, false,
                &Params::CheckSunElevationDiff});

/// Calls `visit` with each field in order until it returns false. \return false when it did.
template <class Visit>
bool VisitAll(const Visit& visit) {
  return std::apply([&visit](const auto&... field) { return (visit(field) && ...); }, kFields);
}

template <class T>
T ReadField(TZxXIniReader* reader, const Field<T>& field, const Params& params) {
  const bool mandatory = field.mandatory || (field.mandatory_when != nullptr && params.*field.mandatory_when);
  return mandatory ? reader->ReadE<T>(reader->FindFE(field.key))
                   : reader->Read<T>(reader->FindF(field.key), field.initial);
}

bool IsWithin(double value, double lowest, double highest) { return lowest <= value && value <= highest; }

}  // namespace

TStereopairsByOverlapParams::TStereopairsByOverlapParams() { Reset(); }

void TStereopairsByOverlapParams::Reset() {
  VisitAll([this](const auto& field) {
    this->*field.member = field.initial;
    return true;
  });
}

void TStereopairsByOverlapParams::Invalidate() {
  VisitAll([this](const auto& field) {
    this->*field.member = field.invalid;
    return true;
  });
}

TStereopairsByOverlapParams::operator bool() const {
  if (CheckOverlapPercentage && !(MinOverlapPercentage > 0.0 && MinOverlapPercentage <= 100.0)) return false;
  if (CheckOverlapPixels && !(MinOverlapPixels > 0.0 && MinOverlapPixels != kUnsetMark)) return false;
  if (CheckConvergenceAngle && !(MinConvergenceAngle != kInvalidAngle && MaxConvergenceAngle != kInvalidAngle &&
                                 MaxConvergenceAngle >= MinConvergenceAngle)) {
    return false;
  }
  if (CheckTimeGap && !(MaxTimeGap >= 0.0 && MinTimeGap >= 0.0 && MaxTimeGap >= MinTimeGap)) return false;
  if (CheckDateGap && MaxDateGap < 0) return false;
  if (CheckGSD && !IsWithin(MaxGSDPercentDiff, 0.0, 100.0)) return false;
  if (CheckSunAzimuthDiff && !IsWithin(MaxSunAzimuthDiff, 0.0, 180.0)) return false;
  return !CheckSunElevationDiff || IsWithin(MaxSunElevationDiff, 0.0, 90.0);
}

bool TStereopairsByOverlapParams::InitializeFromXML(TZxXIniReader* reader) {
  if (reader == nullptr) return false;
  Invalidate();
  TStereopairsByOverlapParams read;
  VisitAll([&](const auto& field) {
    read.*field.member = ReadField(reader, field, read);
    return true;
  });
  *this = read;
  return true;
}

bool TStereopairsByOverlapParams::InitializeFromXML(TZxXIniReader* reader, const std::string& key) {
  return SatCommonUtils::ReadSection(reader, key, [&] { return InitializeFromXML(reader); });
}

bool TStereopairsByOverlapParams::SaveToXML(TZxXIniWriter* writer) const {
  return writer != nullptr &&
         VisitAll([&](const auto& field) { return writer->WriteS(field.key, this->*field.member); });
}

bool TStereopairsByOverlapParams::SaveToXML(TZxXIniWriter* writer, const std::string& key) const {
  return SatCommonUtils::WriteSection(writer, key, [&] { return SaveToXML(writer); });
}

SatCommonUtils::var_a<TStereopairsByOverlapParams*> CreateStereopairsByOverlapParams(TZxXIniReader* reader,
                                                                                     const std::string& key) {
  auto params = SatCommonUtils::make_var_a<TStereopairsByOverlapParams>();
  params->InitializeFromXML(reader, key);
  return params;
}

}  // namespace StereopairsByOverlap
