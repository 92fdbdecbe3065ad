#pragma once
/// \file
/// The folder of an adjustment's results.

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orbmath_tool {

/// Files of one folder that come together.
///
/// Each is whole or not there at all, and the last one added is put in its place last: where it is new, all are. All
/// are on the disk before the first takes the place of an old one, as long as the system lets a process have so many
/// open files; beyond that they come in groups.
class ResultFolder {
 public:
  /// Makes the folder unless it is there. \throws Failure when nothing can be written in it.
  explicit ResultFolder(std::string path);
  /// Takes the folder away again when it was made and nothing came into it.
  ~ResultFolder();
  ResultFolder(const ResultFolder&) = delete;
  ResultFolder& operator=(const ResultFolder&) = delete;

  std::string PathOf(const std::string& name) const { return path_ + "/" + name; }
  /// Makes sure that none of the files `names` of the folder is one of the files `inputs`, which would be lost.
  /// \throws UsageError
  void RefuseToReplaceAny(const std::vector<std::string>& inputs, const std::vector<std::string>& names) const;
  /// Keeps a file for `Commit`.
  void Add(std::string name, std::string content) { files_.emplace_back(std::move(name), std::move(content)); }
  /// Keeps a copy of the file `source`, whose model `set` puts into it, for `Commit`. It comes whole too, before the
  /// others.
  template <class Set>
  void AddCopy(const std::string& name, const std::string& source, Set set) {
    const std::string copy = BeginCopy(name, source);
    set(copy);
    copies_.emplace_back(copy, PathOf(name));
  }
  /// Puts all files in their places. \throws Failure
  void Commit();

 private:
  std::string BeginCopy(const std::string& name, const std::string& source);

  std::string path_;
  bool made_ = false;
  std::vector<std::pair<std::string, std::string>> files_;   ///< name and content
  std::vector<std::pair<std::string, std::string>> copies_;  ///< path now and in the end
};

}  // namespace orbmath_tool
