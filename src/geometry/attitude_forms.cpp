// Text and XML forms of attitudes.

#include <string>
#include <string_view>
#include <utility>

#include "frame/zxstd/keyed_fields.h"
#include "frame/zxstd/number_text.h"
#include "geometry/attitude.h"
#include "geometry/text_scan.h"

namespace SatCommonUtils {
namespace {

constexpr TKeyedField<TAttitudeAngles> kAngleFields[] = {
    {"Roll", &TAttitudeAngles::roll}, {"Pitch", &TAttitudeAngles::pitch}, {"Yaw", &TAttitudeAngles::yaw}};
constexpr TKeyedField<TAttitudePolynomials> kEpochField[] = {{"Epoch", &TAttitudePolynomials::epoch}};

struct PolynomialField {
  const char* key;
  TPolynome TAttitudePolynomials::*member;
};
constexpr PolynomialField kPolynomialFields[] = {{"Roll", &TAttitudePolynomials::roll},
                                                 {"Pitch", &TAttitudePolynomials::pitch},
                                                 {"Yaw", &TAttitudePolynomials::yaw}};

}  // namespace

std::string TAttitudeAngles::GetString() const {
  return '(' + FormatDouble(roll) + ';' + FormatDouble(pitch) + ';' + FormatDouble(yaw) + ')';
}

bool TAttitudeAngles::InitializeFromText(const std::string& text) {
  std::string_view rest = text;
  TAttitudeAngles read;
  if (!Take('(', &rest) || !TakeNumber(';', &rest, &read.roll) || !TakeNumber(';', &rest, &read.pitch) ||
      !TakeNumber(')', &rest, &read.yaw) || !rest.empty()) {
    return false;
  }
  *this = read;
  return true;
}

bool TAttitudeAngles::SaveToXML(TZxXIniWriter* writer) const { return SaveFields(writer, kAngleFields, *this); }

bool TAttitudeAngles::InitializeFromXML(TZxXIniReader* reader) { return LoadFields(reader, kAngleFields, this); }

bool TAttitudeAngles::SaveToXML(TZxXIniWriter* writer, const std::string& key) const {
  return WriteSection(writer, key, [&] { return SaveToXML(writer); });
}

bool TAttitudeAngles::InitializeFromXML(TZxXIniReader* reader, const std::string& key) {
  return ReadSection(reader, key, [&] { return InitializeFromXML(reader); });
}

bool TAttitudePolynomials::SaveToXML(TZxXIniWriter* writer, const std::string& key) const {
  if (!*this) return false;
  return WriteSection(writer, key, [&] {
    if (!SaveFields(writer, kEpochField, *this)) return false;
    for (const PolynomialField& field : kPolynomialFields) {
      if (!(this->*field.member).SaveToXML(writer, field.key)) return false;
    }
    return true;
  });
}

bool TAttitudePolynomials::InitializeFromXML(TZxXIniReader* reader, const std::string& key) {
  TAttitudePolynomials read;
  const bool good = ReadSection(reader, key, [&] {
    if (!LoadFields(reader, kEpochField, &read)) return false;
    for (const PolynomialField& field : kPolynomialFields) {
      if (!(read.*field.member).InitializeFromXML(reader, field.key)) return false;
    }
    return true;
  });
  if (good) *this = std::move(read);
  return good;
}

}  // namespace SatCommonUtils
