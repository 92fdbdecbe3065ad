#pragma once
// Collecting what is sent to the debug print.

#include <string>
#include <vector>

#include "frame/zxstd/debug_output.h"

namespace orbmath_test {

/// Collects debug messages for as long as it lives.
class DebugCapture {
 public:
  DebugCapture()
      : previous_(SatCommonUtils::ZxSetDebugSink([this](const std::string& text) { messages.push_back(text); })) {}
  DebugCapture(const DebugCapture&) = delete;
  DebugCapture& operator=(const DebugCapture&) = delete;
  ~DebugCapture() { SatCommonUtils::ZxSetDebugSink(previous_); }

  std::vector<std::string> messages;

 private:
  SatCommonUtils::TZxDebugSink previous_;
};

}  // namespace orbmath_test
