// Many files that come together.

#include "block/result_folder.h"

#include <algorithm>
#include <deque>
#include <filesystem>
#include <set>
#include <system_error>

#include "errors.h"
#include "report/output_file.h"
#include "system/system.h"

namespace orbmath_tool {

namespace {

namespace fs = std::filesystem;

}  // namespace

ResultFolder::ResultFolder(std::string path) : path_(std::move(path)) {
  std::error_code error;
  if (fs::exists(fs::u8path(path_), error) && !fs::is_directory(fs::u8path(path_), error)) {
    throw Failure(path_ + ": is a file, not a folder");
  }
  made_ = fs::create_directory(fs::u8path(path_), error);
  if (error) throw Failure(path_ + ": cannot be made: " + error.message());
  // Nothing is written yet; a folder that takes no files costs no work.
  const OutputFile probe(PathOf("report.json"));
}

ResultFolder::~ResultFolder() {
  std::error_code ignored;
  for (const auto& [copy, path] : copies_) fs::remove(fs::u8path(copy), ignored);
  if (made_) fs::remove(fs::u8path(path_), ignored);  // refused by the system unless it is empty
}

void ResultFolder::RefuseToReplaceAny(const std::vector<std::string>& inputs,
                                      const std::vector<std::string>& names) const {
  std::error_code none;
  std::set<fs::path> taken;  // thousands of images: no comparison of each with each
  for (const std::string& input : inputs) taken.insert(fs::canonical(fs::u8path(input), none));
  for (const std::string& name : names) {
    const fs::path path = fs::canonical(fs::u8path(PathOf(name)), none);
    if (!path.empty() && taken.count(path) > 0) {
      throw UsageError(PathOf(name) + " is read and would be replaced by a result; name another folder for --out");
    }
  }
}

std::string ResultFolder::BeginCopy(const std::string& name, const std::string& source) {
  std::string copy = PathOf(".orbmath-" + name);
  std::error_code error;
  fs::copy_file(fs::u8path(source), fs::u8path(copy), fs::copy_options::overwrite_existing, error);
  if (error) throw Failure(PathOf(name) + ": " + source + " cannot be copied: " + error.message());
  return copy;
}

void ResultFolder::Commit() {
  for (const auto& [copy, path] : copies_) {
    std::error_code error;
    fs::rename(fs::u8path(copy), fs::u8path(path), error);
    if (error) throw Failure(path + ": cannot be written: " + error.message());
  }
  const std::size_t most = MostOpenFiles(files_.size());
  for (std::size_t begin = 0; begin < files_.size(); begin += most) {
    const std::size_t end = std::min(begin + most, files_.size());
    std::deque<OutputFile> open;
    std::vector<OutputFile*> group;
    for (std::size_t i = begin; i < end; ++i) {
      open.emplace_back(PathOf(files_[i].first));
      open.back().Write(files_[i].second);
      group.push_back(&open.back());
    }
    OutputFile::Commit(group);
  }
}

}  // namespace orbmath_tool
