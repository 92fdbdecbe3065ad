#pragma once
/// \file
/// Numbers for names.

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>

namespace orbmath_tool {

/// Numbers names from 0 in the order of their coming.
class NameTable {
 public:
  static constexpr std::int32_t kNone = -1;

  /// The number of `name`, a new one when it has not come before.
  std::int32_t Add(std::string_view name) {
    // Files have the lines of one point one after the other.
    if (last_ != kNone && names_[static_cast<std::size_t>(last_)] == name) return last_;
    const auto found = numbers_.find(name);
    if (found != numbers_.end()) return last_ = found->second;
    last_ = static_cast<std::int32_t>(names_.size());
    names_.emplace_back(name);
    numbers_.emplace(names_.back(), last_);
    return last_;
  }
  /// The number of `name`, or `kNone`.
  std::int32_t Find(std::string_view name) const {
    const auto found = numbers_.find(name);
    return found == numbers_.end() ? kNone : found->second;
  }
  const std::string& Name(std::size_t number) const { return names_[number]; }
  std::size_t size() const { return names_.size(); }

 private:
  std::deque<std::string> names_;  // a deque leaves them where they are, and the keys with them
  std::unordered_map<std::string_view, std::int32_t> numbers_;
  std::int32_t last_ = kNone;
};

}  // namespace orbmath_tool
