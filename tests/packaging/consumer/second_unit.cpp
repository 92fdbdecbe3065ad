// A second translation unit with the same headers: nothing in them may be defined twice.
#include <orbmath.h>

int ThreadsOfSecondUnit() { return SatCommonUtils::ZxGetThreadsCount(); }
