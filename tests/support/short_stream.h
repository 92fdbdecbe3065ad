#pragma once
// A stream that takes only so many bytes, as a full disk does.

#include <algorithm>
#include <cstddef>

#include "frame/zxstd/stream.h"

namespace orbmath_test {

/// Takes `room` bytes and no more, and counts the writes.
class ShortStream : public SatCommonUtils::TZxStringStream {
 public:
  explicit ShortStream(std::size_t room) : room_(room) {}
  std::size_t Write(const void* buffer, std::size_t count) override {
    ++writes;
    const std::size_t taken = std::min(count, room_);
    room_ -= taken;
    return TZxStringStream::Write(buffer, taken);
  }

  int writes = 0;

 private:
  std::size_t room_;
};

}  // namespace orbmath_test
