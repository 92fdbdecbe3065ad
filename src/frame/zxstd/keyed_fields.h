#pragma once
// Records of doubles that are stored as keyed values: one table of fields a record says which key goes with which field
// and in which order they are written, and drives both directions.

#include <cstddef>
#include <string>

#include "frame/zxstd/message.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"

namespace SatCommonUtils {

/// One double of a record and its key.
template <class Record>
struct TKeyedField {
  const char* key;
  double Record::*field;
};

/// An array of doubles of a record; the key of element i is `pattern` formatted with i (an int).
template <class Record, std::size_t Count>
struct TKeyedArray {
  const char* pattern;
  double (Record::*field)[Count];
};

/// Calls `visit(key, value)` for the field; returns what it returns.
template <class Record, class Owner, class Visit>
bool VisitField(const TKeyedField<Owner>& field, Record& record, const Visit& visit) {
  return visit(std::string(field.key), record.*field.field);
}

/// Calls `visit(key, element)` for each element in order until it returns false. \return false when it did.
template <class Record, class Owner, std::size_t Count, class Visit>
bool VisitField(const TKeyedArray<Owner, Count>& array, Record& record, const Visit& visit) {
  for (std::size_t i = 0; i < Count; ++i) {
    if (!visit(Zentarix::ssprintf(array.pattern, static_cast<int>(i)), (record.*array.field)[i])) return false;
  }
  return true;
}

/// Visits every field of a table in its order until `visit` returns false. \return false when it did.
template <class Fields, class Record, class Visit>
bool VisitFields(const Fields& fields, Record& record, const Visit& visit) {
  for (const auto& field : fields) {
    if (!VisitField(field, record, visit)) return false;
  }
  return true;
}

/// Reads a record whose every key is mandatory from the current section.
/// \return false, `*out` untouched, when a key is missing or its text is no number, and without a reader.
template <class Fields, class Record>
bool LoadFields(TZxXIniReader* reader, const Fields& fields, Record* out) {
  if (reader == nullptr) return false;
  Record record = *out;
  try {
    VisitFields(fields, record, [reader](const std::string& key, double& value) {
      value = reader->ReadE<double>(reader->FindFE(key, 0));
      return true;
    });
  } catch (const TZxMessage&) {
    return false;
  }
  *out = record;
  return true;
}

/// Reads the fields whose keys are there; the others keep their value.
/// \return true when every key was there and held a number, of whatever value.
template <class Fields, class Record>
bool LoadPresentFields(TZxXIniReader* reader, const Fields& fields, Record* out) {
  bool complete = true;
  VisitFields(fields, *out, [&](const std::string& key, double& value) {
    try {
      value = reader->ReadE<double>(reader->FindFE(key, 0));
    } catch (const TZxMessage&) {
      complete = false;
    }
    return true;
  });
  return complete;
}

/// True when the current section has a child section `name`; an item of that name is none.
inline bool HasSection(const TZxXIniReader& reader, const std::string& name) {
  std::size_t index = reader.FindF(name, 0);
  while (index != TZxXIniReader::npos && reader.GetText(index) != nullptr) index = reader.FindF(name, index + 1);
  return index != TZxXIniReader::npos;
}

/// Writes every field of the table in its order. \return false as soon as one could not be written, and without a
/// writer.
template <class Fields, class Record>
bool SaveFields(TZxXIniWriter* writer, const Fields& fields, const Record& record) {
  if (writer == nullptr) return false;
  return VisitFields(fields, record, [writer](const std::string& key, const double& value) {
    return writer->WriteS<double>(key, value);
  });
}

/// Runs `read()` inside the child section `name`, which is left again whatever happens.
/// \return what `read` returned; false when there is no such section.
template <class Read>
bool ReadSection(TZxXIniReader* reader, const std::string& name, const Read& read) {
  TZxXIniSection section(reader, name);
  if (!section) return false;
  const bool good = read();
  return section.Leave() && good;
}

/// Runs `write()` inside a new child section `name`.
/// \return what `write` returned; false when the section could not be opened or closed.
template <class Write>
bool WriteSection(TZxXIniWriter* writer, const std::string& name, const Write& write) {
  try {
    TZxXIniWriterSection section(writer, name);
    const bool good = write();
    return section.End() && good;
  } catch (const TZxMessage&) {
    return false;
  }
}

}  // namespace SatCommonUtils
