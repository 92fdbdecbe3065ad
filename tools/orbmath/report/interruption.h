#pragma once
/// \file
/// Ctrl-C while a command has something to clean up.

namespace orbmath_tool {

/// While it lives, the signals that end a process (interrupt, terminate, hang-up) only set a flag; the same signal a
/// second time ends the process as ever. One at a time.
class Interruption {
 public:
  Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;
  ~Interruption();

  static bool IsAsked() noexcept;
};

}  // namespace orbmath_tool
