#pragma once
// A run of the tool as a row of a table: arguments, input, output, error, status.

#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "tool/run_tool.h"

namespace orbmath_test {

struct Row {
  const char* name;       ///< letters and digits
  const char* arguments;  ///< split at blanks
  std::string input;
  std::string out;  ///< the whole of it
  const char* err;  ///< a part of it, "" for nothing on standard error at all
  int status;
};

inline void PrintTo(const Row& row, std::ostream* stream) { *stream << "orbmath " << row.arguments; }

inline std::string RowName(const ::testing::TestParamInfo<Row>& info) { return info.param.name; }

inline void CheckRow(const Row& row) {
  const ToolRun run = RunToolLine(row.arguments, row.input);
  EXPECT_EQ(run.out, row.out);
  EXPECT_EQ(run.status, row.status);
  if (*row.err == '\0') {
    EXPECT_EQ(run.err, "");
  } else {
    EXPECT_NE(run.err.find(row.err), std::string::npos) << run.err;
  }
}

}  // namespace orbmath_test
