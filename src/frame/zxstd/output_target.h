#pragma once
// What a system does to write a file beside the old one and put it in its place. `errno` says why a step failed.

#include <string>
#include <string_view>

namespace SatCommonUtils {

/// One file on its way: `Begin`, any number of `Put`, `Flush`, `Place`. What was not placed goes away with the object.
class OutputTarget {
 public:
  /// \param unnamed whether files without a name are used where the system has them.
  explicit OutputTarget(bool unnamed = true) : unnamed_(unnamed) {}
  OutputTarget(const OutputTarget&) = delete;
  OutputTarget& operator=(const OutputTarget&) = delete;
  ~OutputTarget();

  /// \param path UTF-8. \param reason why, when the answer is false.
  bool Begin(const std::string& path, std::string* reason);
  bool Put(std::string_view text) const;
  /// Brings what was put to the disk.
  bool Flush() const;
  bool Place();

 private:
  bool BeginUnnamed(unsigned int mode);
  bool BeginNamed(unsigned int mode);
  bool GiveName();
  void Close();

  bool unnamed_;
  int descriptor_ = -1;
  int directory_ = -1;    // where the file comes to stand
  std::string name_;      // its name there; empty when the descriptor is the file itself (a device, a pipe)
  std::string new_name_;  // the name of the new file beside it; empty while it has none
  bool replaces_ = false;
};

}  // namespace SatCommonUtils
