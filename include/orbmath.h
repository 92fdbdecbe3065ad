#pragma once
/// \file
/// Every public header of the library.

#include "frame/api.h"
#include "frame/zxstd/debug_output.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/path.h"
#include "frame/zxstd/progress.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/threads.h"
#include "frame/zxstd/var_a.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "frame/zxstd/xy.h"
