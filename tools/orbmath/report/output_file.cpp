// What a command writes, on files that come whole or not at all; standard output's share comes last.

#include "report/output_file.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <set>
#include <system_error>
#include <utility>

#include "errors.h"
#include "system/system.h"

namespace orbmath_tool {

OutputFile::OutputFile(std::string path) : path_(std::move(path)) {
  if (!IsStandardOutput() && !file_.Open(SatCommonUtils::TZxPath(path_))) Refuse(file_.GetError());
}

void OutputFile::Refuse(const std::string& reason) const { throw Failure(path_ + ": " + reason); }

void OutputFile::Write(std::string_view text) {
  if (IsStandardOutput()) {
    standard_output_ += text;
  } else if (file_.Write(text.data(), text.size()) != text.size()) {
    Refuse(file_.GetError());
  }
}

void OutputFile::Commit(const std::vector<OutputFile*>& files) {
  std::vector<SatCommonUtils::TZxOutputFile*> named;
  for (OutputFile* const file : files) {
    if (file != nullptr && !file->IsStandardOutput()) named.push_back(&file->file_);
  }
  const SatCommonUtils::TZxOutputFile* const failed = SatCommonUtils::ZxCommitFiles(named);
  for (const OutputFile* const file : files) {
    if (file != nullptr && failed == &file->file_) file->Refuse(failed->GetError());
  }
  for (const OutputFile* const file : files) {
    if (file != nullptr) WriteToStandardOutput(file->standard_output_);
  }
}

void RefuseToReplace(const std::string& output, const std::vector<std::string>& inputs) {
  if (output.empty() || output == "-") return;
  for (const std::string& input : inputs) {
    std::error_code none;  // a name that is no file is no file that could be lost
    if (std::filesystem::equivalent(std::filesystem::u8path(output), std::filesystem::u8path(input), none)) {
      throw UsageError(output + " is read and would be replaced by the result; name another file to write");
    }
  }
}

void RefuseOneForTwo(const std::vector<std::string>& outputs) {
  std::set<std::filesystem::path> taken;
  for (const std::string& output : outputs) {
    if (output.empty() || output == "-") continue;
    std::error_code none;
    const std::filesystem::path given = std::filesystem::u8path(output);
    const std::filesystem::path whole = std::filesystem::weakly_canonical(std::filesystem::absolute(given, none), none);
    const bool is_device = std::filesystem::is_other(given, none);  // loses nothing that it keeps
    if (!is_device && !taken.insert(whole.empty() ? given : whole).second) {
      throw UsageError(output + " is to take two results; name a file for each");
    }
  }
}

std::string SuffixOf(const std::string& name) {
  std::string suffix = std::filesystem::u8path(name).extension().u8string();
  std::transform(suffix.begin(), suffix.end(), suffix.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
  return suffix;
}

void WriteToStandardOutput(std::string_view text) {
  if (SatCommonUtils::ZxWriteAll(kStandardOutput, text)) return;
  throw Failure(std::string("standard output: cannot be written: ") + std::strerror(errno));
}

}  // namespace orbmath_tool
