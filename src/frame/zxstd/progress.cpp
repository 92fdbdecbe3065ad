// The anchor of the progress handler's type.

#include "frame/zxstd/progress.h"

namespace SatCommonUtils {

TZxProgressHandler::~TZxProgressHandler() = default;

}  // namespace SatCommonUtils
