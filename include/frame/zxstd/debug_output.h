#pragma once
/// \file
/// The debug print: silent by default.

#include <functional>
#include <string>

#include "../api.h"

namespace SatCommonUtils {

/// Receives a debug message, exactly as it was printed, on the thread that prints it: threads that print at the same
/// time call it at the same time.
using TZxDebugSink = std::function<void(const std::string&)>;

/// Sends one message to the debug output: to the sink when one is set; otherwise, when the environment
/// variable `ORBMATH_DEBUG` is set and neither empty nor "0", to standard error, with a line end added when the
/// message has none; otherwise nowhere. Messages from several threads come out whole.
ORBMATH_API void ZxPrintDbgMsg(const char* text);
/// Sends one message as the form for C strings does; NULs in it are passed on.
ORBMATH_API void ZxPrintDbgMsg(const std::string& text);

/// Sets the sink; an empty one takes it away. \return the sink that was set before. Thread-safe.
ORBMATH_API TZxDebugSink ZxSetDebugSink(TZxDebugSink sink);

}  // namespace SatCommonUtils
