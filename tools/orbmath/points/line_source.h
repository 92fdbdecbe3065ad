#pragma once
/// \file
/// Input files and standard input, read one after the other as blocks of whole lines.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "points/char_buffer.h"
#include "points/json_records.h"

namespace orbmath_tool {

/// Notes that standard input is taken. \param by what reads it, e.g. "the model". \throws UsageError when something
/// else has taken it before: it can be read once only.
void TakeStandardInput(const std::string& by);

/// Bytes of a line that are kept. The rest of a longer line is dropped, so that no input makes the tool grow;
/// whoever parses the line sees its length and refuses it.
constexpr std::size_t kLongestLine = 16 * 1024;

/// Reads whole lines in blocks. When the input gives nothing more for the moment (a person at the keyboard, a slow
/// pipe), the lines so far are handed out at once.
class LineSource {
 public:
  /// \param names files in the order of reading, "-" for standard input; no name at all is standard input too.
  /// \throws Failure naming a file that cannot be opened, before anything is read.
  explicit LineSource(const std::vector<std::string>& names);
  /// The lines of a text. \param name for messages.
  LineSource(std::string name, std::string text);
  ~LineSource();
  LineSource(const LineSource&) = delete;
  LineSource& operator=(const LineSource&) = delete;

  /// Fills `text` with one or more lines of one file, each ending in a line feed (the last one of a file gets it when
  /// it is missing); a byte-order mark at the front of a file is left out.
  /// \return false at the end of the input. \throws Failure when the system cannot read.
  bool Next(CharBuffer* text);

  /// The file that the last block came from.
  const std::string& Name() const { return inputs_[current_].name; }
  /// That file's place among the names.
  std::size_t Number() const { return current_; }
  /// Whether that file holds JSON; its lines are the objects in it then (`JsonRecordCutter`).
  bool IsJson() const { return is_json_; }
  /// Bytes of the input, or 0 when it holds something other than plain files.
  std::uint64_t TotalBytes() const noexcept { return total_bytes_; }

 private:
  struct Input {
    std::string name;
    int descriptor;
  };

  bool ReadBlock(CharBuffer* text);
  std::size_t ReadSome(char* to, std::size_t count);
  std::size_t ReadBytes(char* to, std::size_t count);
  std::size_t ReadRecords(char* to, std::size_t count, std::size_t got);
  bool HasMore() const;

  std::vector<Input> inputs_;
  std::size_t current_ = 0;
  bool at_start_ = true;  ///< Nothing of the current file has been handed out.
  bool unread_ = true;    ///< Nothing of the current file has been read.
  bool is_json_ = false;
  JsonRecordCutter cutter_;
  std::string records_;        ///< Lines of JSON that have been cut but not handed out,
  std::size_t record_at_ = 0;  ///< from here on.
  std::string text_;           ///< What is read in the place of a file,
  std::size_t text_at_ = 0;    ///< from here on.
  bool finished_ = false;
  CharBuffer carry_;  ///< The front of a line whose end has not been read.
  std::uint64_t total_bytes_ = 0;
};

}  // namespace orbmath_tool
