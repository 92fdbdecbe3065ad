#pragma once
/// \file
/// Writing keyed values into nested sections of an XML document.

#include <cstddef>
#include <string>

#include "../api.h"
#include "stream.h"

namespace SatCommonUtils {

/// Writes nested sections and keyed values in the order of the calls. One thread at a time.
class ORBMATH_API TZxXIniWriter {
 public:
  virtual ~TZxXIniWriter();

  /// Opens a child section, which lasts until the matching `EndSection`. Any text is a valid name.
  /// \throws TZxMessage when the section cannot be written.
  virtual void BeginSectionSE(const std::string& name) = 0;
  /// Closes the section opened last. \return false when none is open or something could not be written.
  virtual bool EndSection() = 0;
  /// Writes one keyed value; provided for `int`, `double`, `unsigned long long`, `bool` and `std::string`.
  /// A double comes back bit for bit, NaN and infinities included; the process's locale plays no part.
  /// \return false when it could not be written.
  template <class T>
  bool WriteS(const std::string& key, const T& value);

 protected:
  /// Writes one keyed text.
  virtual bool WriteText(const std::string& key, const std::string& text) = 0;
};

// clang-format off
template <> ORBMATH_API bool TZxXIniWriter::WriteS(const std::string&, const int&);
template <> ORBMATH_API bool TZxXIniWriter::WriteS(const std::string&, const double&);
template <> ORBMATH_API bool TZxXIniWriter::WriteS(const std::string&, const unsigned long long&);
template <> ORBMATH_API bool TZxXIniWriter::WriteS(const std::string&, const bool&);
template <> ORBMATH_API bool TZxXIniWriter::WriteS(const std::string&, const std::string&);
// clang-format on

/// Keeps a section of a writer open for as long as it lives.
class ORBMATH_API TZxXIniWriterSection {
 public:
  /// Opens `name`. \throws TZxMessage as `BeginSectionSE`.
  TZxXIniWriterSection(TZxXIniWriter* writer, const std::string& name);
  TZxXIniWriterSection(const TZxXIniWriterSection&) = delete;
  TZxXIniWriterSection& operator=(const TZxXIniWriterSection&) = delete;
  ~TZxXIniWriterSection();
  /// Closes now. \return the writer's result.
  bool End();

 private:
  TZxXIniWriter* writer_;
};

/// A writer of XML text into a stream. The document ends with `Close` (or with the destructor).
class ORBMATH_API TZxXIniStreamWriter : public TZxXIniWriter {
 public:
  /// \param stream not owned; it outlives the writer.
  explicit TZxXIniStreamWriter(TZxStream* stream);
  ~TZxXIniStreamWriter() override;

  void BeginSectionSE(const std::string& name) override;
  bool EndSection() override;
  /// Ends the document. \return false when a section is still open (it is closed first), or anything since the
  /// start could not be written.
  bool Close();
  /// Marks the sections and items that follow with a line of the text that they were made from, counted from 1, which
  /// a reader of the document gives back for its messages (`TZxXIniReader::GetLine`); 0 ends the marking.
  void SetSourceLine(std::size_t line) { source_line_ = line; }

 protected:
  bool WriteText(const std::string& key, const std::string& text) override;

 private:
  std::string OpenTag(const char* element, const std::string& name, bool escaped) const;
  void PutSectionEnd();
  void Put(const std::string& text);

  TZxStream* stream_;
  std::size_t depth_ = 0;
  std::size_t source_line_ = 0;
  bool good_ = true;
  bool closed_ = false;
};

}  // namespace SatCommonUtils
