#pragma once
/// \file
/// A growing array of characters that is not cleared when it grows: what blocks of text are read into and printed to.

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string_view>

namespace orbmath_tool {

class CharBuffer {
 public:
  char* data() noexcept { return data_.get(); }
  std::size_t size() const noexcept { return size_; }
  std::string_view view() const noexcept { return {data_.get(), size_}; }
  void clear() noexcept { size_ = 0; }

  /// Room for `count` more characters behind the last one; `Take` makes them part of the text.
  char* Room(std::size_t count) {
    if (size_ + count > capacity_) Grow(size_ + count);
    return data_.get() + size_;
  }
  /// Moves the end of the text to `end`, a position in the room asked for last or in the text.
  void TakeUpTo(const char* end) noexcept { size_ = static_cast<std::size_t>(end - data_.get()); }

  void Append(std::string_view text) {
    std::copy(text.begin(), text.end(), Room(text.size()));
    size_ += text.size();
  }

 private:
  void Grow(std::size_t least) {
    const std::size_t capacity = std::max(least, 2 * capacity_);
    std::unique_ptr<char[]> grown(new char[capacity]);
    if (size_ > 0) std::memcpy(grown.get(), data_.get(), size_);
    data_ = std::move(grown);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> data_;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

}  // namespace orbmath_tool
