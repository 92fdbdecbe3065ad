#include "frame/zxstd/progress.h"

namespace SatCommonUtils {

TZxProgressHandler::~TZxProgressHandler() = default;

}  // namespace SatCommonUtils
