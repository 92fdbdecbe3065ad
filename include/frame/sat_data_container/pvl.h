#pragma once
/// \file
/// PVL texts ("keyword = value", groups) as documents of sections and items.

#include <cstddef>
#include <string>

#include "../api.h"
#include "../zxstd/stream.h"

namespace SatCommonUtils {

/// What is wrong with a PVL text, for a message to people.
struct TPVLError {
  std::size_t line = 0;  ///< Line from 1; 0 when no line is to blame.
  std::string text;      ///< The cause, one sentence without the line.
};

/// Converts a PVL text to the XML text that `TZxXIniStreamReader` reads.
///
/// Groups and objects become sections, keywords items; names stay as they are written. Values lose their quotes; the
/// values of a list, nested or not, become one text with "," between them; units in angle brackets are dropped. Each
/// item carries the line on which its statement begins (`TZxXIniReader::GetLine`). docs/xml.md says which forms of PVL
/// are accepted: what the Parameter Value Language of CCSDS 641.0-B-2 allows, and the liberties that files in the world
/// take.
///
/// Takes time and memory in proportion to the text, whatever the text is; groups and lists may be nested 256 deep.
/// \param in read to its end; not owned. \param out receives the XML text, or nothing on failure; not owned.
/// \param error may be null; set on failure only.
/// \return false when a stream is null, the text is no PVL or `out` does not take everything.
ORBMATH_API bool PVLtoXML(TZxStream* in, TZxStream* out, TPVLError* error = nullptr);

}  // namespace SatCommonUtils
