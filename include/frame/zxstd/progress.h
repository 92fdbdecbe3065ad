#pragma once
/// \file
/// The progress handler that long operations report to.

#include "../api.h"

namespace SatCommonUtils {

/// Derive from it to follow long work. Calls come from the thread that does the work.
class ORBMATH_API TZxProgressHandler {
 public:
  virtual ~TZxProgressHandler();
  /// \param fraction share of the work done, 0 to 1, dimensionless. \return false to ask for a stop.
  virtual bool Progress(double fraction) = 0;
};

}  // namespace SatCommonUtils
