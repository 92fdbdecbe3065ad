#pragma once
// Reports of work that throws when it is to stop.

#include "frame/zxstd/message.h"
#include "frame/zxstd/progress.h"

namespace SatCommonUtils {

/// \param progress may be null. \throws TZxMessage when it asks for a stop.
inline void ReportProgressE(TZxProgressHandler* progress, double fraction) {
  if (progress != nullptr && !progress->Progress(fraction)) throw TZxMessage("reading was stopped");
}

}  // namespace SatCommonUtils
