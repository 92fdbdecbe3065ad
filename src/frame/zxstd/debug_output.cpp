// Where debug messages go: the sink, standard error or nowhere.

#include "frame/zxstd/debug_output.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <utility>

namespace SatCommonUtils {

namespace {

struct DebugState {
  std::mutex mutex;
  TZxDebugSink sink;
};

// Never destroyed: a host's static objects may print while they go.
DebugState& State() {
  static DebugState* const state = new DebugState;
  return *state;
}

bool StandardErrorWanted() {
  const char* value = std::getenv("ORBMATH_DEBUG");
  return value != nullptr && *value != '\0' && std::string(value) != "0";
}

void WriteToStandardError(const std::string& text) {
  std::fwrite(text.data(), 1, text.size(), stderr);
  if (text.empty() || text.back() != '\n') std::fputc('\n', stderr);
}

}  // namespace

void ZxPrintDbgMsg(const std::string& text) {
  TZxDebugSink sink;
  {
    const std::lock_guard<std::mutex> lock(State().mutex);
    if (!State().sink) {
      if (StandardErrorWanted()) WriteToStandardError(text);
      return;
    }
    sink = State().sink;
  }
  // Outside the lock: a sink may print, or set another sink.
  sink(text);
}

void ZxPrintDbgMsg(const char* text) { ZxPrintDbgMsg(std::string(text == nullptr ? "" : text)); }

TZxDebugSink ZxSetDebugSink(TZxDebugSink sink) {
  const std::lock_guard<std::mutex> lock(State().mutex);
  std::swap(State().sink, sink);
  return sink;
}

}  // namespace SatCommonUtils
