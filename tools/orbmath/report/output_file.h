#pragma once
/// \file
/// The files that a command writes, whole or not at all.

#include <string>
#include <string_view>
#include <vector>

#include "frame/zxstd/output_file.h"

namespace orbmath_tool {

/// One file to be written, "-" for standard output. A command that writes several opens each before its work and
/// commits them together, so that a name that cannot be written costs no work and leaves nothing half done.
class OutputFile {
 public:
  /// Begins the file. \throws Failure naming the file and what is in the way.
  explicit OutputFile(std::string path);

  const std::string& Path() const { return path_; }
  bool IsStandardOutput() const { return path_ == "-"; }
  /// Appends to what the file will hold. \throws Failure
  void Write(std::string_view text);

  /// Puts each file in its place, or none of them; null ones do not count. Standard output comes last.
  /// \throws Failure
  static void Commit(const std::vector<OutputFile*>& files);

 private:
  [[noreturn]] void Refuse(const std::string& reason) const;

  std::string path_;
  SatCommonUtils::TZxOutputFile file_;
  std::string standard_output_;
};

/// Keeps a command from replacing a file that it reads, as a slip in the order of its arguments would have it do.
/// \param output what is to be written; "-" and "" are none. \param inputs what is read, the same.
/// \throws UsageError
void RefuseToReplace(const std::string& output, const std::vector<std::string>& inputs);

/// Keeps a command from writing two results into one file, of which one would be lost. \param outputs "-" and "" are
/// none. \throws UsageError
void RefuseOneForTwo(const std::vector<std::string>& outputs);

/// The suffix of a file's name in lower case with its point, as in ".tif"; empty when it has none.
std::string SuffixOf(const std::string& name);

/// Writes `text` to standard output past the standard library's buffer. \throws Failure
void WriteToStandardOutput(std::string_view text);

}  // namespace orbmath_tool
