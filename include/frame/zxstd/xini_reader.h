#pragma once
/// \file
/// Reading keyed values from nested sections of an XML document.

#include <cstddef>
#include <memory>
#include <string>

#include "../api.h"
#include "message.h"
#include "progress.h"
#include "stream.h"

namespace SatCommonUtils {

/// A cursor over a document of nested sections and keyed items.
///
/// The reader has a current section, at first the root. Its children, items and sections alike, are numbered
/// from 0 in document order; `FindF` gives such a number and `Read`/`ReadE` take it. Operations whose names end
/// in `E` throw `TZxMessage`; the others report absence by their result. One thread at a time.
class ORBMATH_API TZxXIniReader {
 public:
  /// What `FindF` returns when there is no such key.
  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  virtual ~TZxXIniReader();

  /// Makes the first child section called `name` the current one.
  /// \return a non-zero handle, or 0 when there is none (the current section stays).
  virtual std::size_t EnterSectionS(const std::string& name) = 0;
  /// As `EnterSectionS`. \throws TZxMessage when there is no such section.
  std::size_t EnterSectionSE(const std::string& name);
  /// Returns to the parent section. \return false at the root, where nothing happens.
  virtual bool LeaveSection() = 0;

  /// \param key name of an item or section of the current section.
  /// \param start first child index that counts.
  /// \return the index of the first child with that key at or after `start`, or `npos`.
  virtual std::size_t FindF(const std::string& key, std::size_t start = 0) const = 0;
  /// As `FindF`. \throws TZxMessage when there is no such child.
  std::size_t FindFE(const std::string& key, std::size_t start = 0) const;
  /// As `FindF` from the start; the index goes to `*position`, which stays untouched when there is none.
  bool FindFP(const std::string& key, std::size_t* position) const;

  /// Value of the item at `index`, or `fallback` when there is no item at that index or its text is no `T`.
  /// The whole text has to be the value, blanks around it apart ("12abc" is no `int`, nor is one that does not fit);
  /// `bool` is "true", "false", "1" or "0". A `std::string` is the text as it stands.
  /// Provided for `int`, `double`, `unsigned long long`, `bool` and `std::string`.
  template <class T>
  T Read(std::size_t index, const T& fallback) const;
  /// Value of the item at `index`; the same types as `Read`.
  /// \throws TZxMessage when there is no item at that index or its text is no `T`.
  template <class T>
  T ReadE(std::size_t index) const;

  /// Value of the item with that key. \throws TZxMessage when it is missing or no `T`.
  template <class T>
  T ReadKeyE(const std::string& key) const {
    return ReadE<T>(FindFE(key));
  }
  /// Value of the item with that key, or `fallback` when it is missing or no `T`.
  template <class T>
  T ReadKey(const std::string& key, const T& fallback) const {
    return Read<T>(FindF(key), fallback);
  }

  /// Number of children, items and sections, of the current section.
  virtual std::size_t GetCount() const = 0;
  /// Key of the child at `index`; null past the end. Valid until the reader goes.
  virtual const std::string* GetKey(std::size_t index) const = 0;
  /// Text of the item at `index`; null past the end and for a section. Valid until the reader goes.
  virtual const std::string* GetText(std::size_t index) const = 0;
  /// Line, from 1, where the child at `index` stands in the text that a person wrote: of a converted document the
  /// line of the source. 0 when it is not known.
  virtual std::size_t GetLine(std::size_t index) const = 0;
  /// Number of sections entered and not left, 0 at the root.
  virtual std::size_t GetDepth() const = 0;
  /// Names of the entered sections from the outermost on, each after a "/"; "/" at the root. For messages.
  virtual std::string GetPath() const = 0;

 private:
  template <class T>
  bool Convert(std::size_t index, T* value) const;
  [[noreturn]] void ThrowNotRead(std::size_t index, const char* wanted) const;
};

// clang-format off
extern template ORBMATH_API int TZxXIniReader::Read(std::size_t, const int&) const;
extern template ORBMATH_API double TZxXIniReader::Read(std::size_t, const double&) const;
extern template ORBMATH_API unsigned long long TZxXIniReader::Read(std::size_t, const unsigned long long&) const;
extern template ORBMATH_API bool TZxXIniReader::Read(std::size_t, const bool&) const;
extern template ORBMATH_API std::string TZxXIniReader::Read(std::size_t, const std::string&) const;
extern template ORBMATH_API int TZxXIniReader::ReadE(std::size_t) const;
extern template ORBMATH_API double TZxXIniReader::ReadE(std::size_t) const;
extern template ORBMATH_API unsigned long long TZxXIniReader::ReadE(std::size_t) const;
extern template ORBMATH_API bool TZxXIniReader::ReadE(std::size_t) const;
extern template ORBMATH_API std::string TZxXIniReader::ReadE(std::size_t) const;
// clang-format on

/// Stays in a section for as long as it lives: enters on construction, leaves on destruction, also when an
/// exception passes and sections entered meanwhile by hand are still open. Every read of a section uses it, so that a
/// failed read never strands the reader.
class ORBMATH_API TZxXIniSection {
 public:
  /// Enters the child section `name` of `reader`; see `operator bool`. A null reader has no sections.
  TZxXIniSection(TZxXIniReader* reader, const std::string& name);
  TZxXIniSection(const TZxXIniSection&) = delete;
  TZxXIniSection& operator=(const TZxXIniSection&) = delete;
  ~TZxXIniSection();

  /// True while the section is entered; false when it was absent or has been left.
  explicit operator bool() const noexcept { return reader_ != nullptr; }
  /// Leaves now. \return the reader's result, false when it is not entered.
  bool Leave();

 private:
  TZxXIniReader* reader_;
  std::size_t depth_ = 0;
};

class XIniDocument;

/// A reader over a stream that holds the XML text of `TZxXIniStreamWriter`, or of a PVL conversion.
class ORBMATH_API TZxXIniStreamReader : public TZxXIniReader {
 public:
  /// Reads the whole stream.
  /// \param stream not owned, not needed afterwards.
  /// \param flag reserved, 0.
  /// \param progress may be null; told when the bytes are there (0.5) and when the document is (1).
  /// \throws TZxMessage when the stream is null or holds no well-formed document of sections and items, when it is
  /// nested deeper than 256 sections, or when `progress` asks for a stop.
  explicit TZxXIniStreamReader(TZxStream* stream, int flag = 0, TZxProgressHandler* progress = nullptr);
  ~TZxXIniStreamReader() override;

  std::size_t EnterSectionS(const std::string& name) override;
  bool LeaveSection() override;
  std::size_t FindF(const std::string& key, std::size_t start = 0) const override;
  std::size_t GetCount() const override;
  const std::string* GetKey(std::size_t index) const override;
  const std::string* GetText(std::size_t index) const override;
  std::size_t GetLine(std::size_t index) const override;
  std::size_t GetDepth() const override;
  std::string GetPath() const override;

 private:
  std::unique_ptr<XIniDocument> document_;
  std::size_t current_ = 0;
};

}  // namespace SatCommonUtils
