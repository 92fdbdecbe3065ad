// The stream contract of every command on points: a line out for each line in, errors in place, blocks in order.

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "support/sanitizers.h"
#include "tool/rows.h"

namespace orbmath_test {

namespace {

class Streams : public ::testing::TestWithParam<Row> {};

TEST_P(Streams, Row) { CheckRow(GetParam()); }

const char* const kFailed = "could not be computed";

INSTANTIATE_TEST_SUITE_P(
    Project, Streams,
    ::testing::Values(
        Row{"blanks", "project flat.RPB", "45.05 7.1 500\n", "500.000000 3000.000000\n", "", 0},
        Row{"tabs_and_commas", "project flat.RPB", "45.05,\t7.1 ,500,\n", "500.000000 3000.000000\n", "", 0},
        Row{"signs_and_exponents", "project flat.RPB", "+4.505e1 .71E+1 -0\n", "500.000000 2800.000000\n", "", 0},
        Row{"tiny_number", "project flat.RPB", "45.05 7.1 1e-400\n", "500.000000 2800.000000\n", "", 0},
        Row{"windows_lines", "project flat.RPB", "45 7 500\r\n# a\r\n\r\n", "1000.000000 2000.000000\n# a\n\n", "", 0},
        Row{"byte_order_mark", "project flat.RPB",
            "\xEF\xBB\xBF"
            "45 7 500\n",
            "1000.000000 2000.000000\n", "", 0},
        Row{"no_last_line_end", "project flat.RPB", "45 7 500", "1000.000000 2000.000000\n", "", 0},
        Row{"nothing", "project flat.RPB", "", "", "", 0},
        Row{"comments_pass", "project flat.RPB", "# head\n\n  # in\n45 7 500 # id 7\n",
            "# head\n\n  # in\n1000.000000 2000.000000 # id 7\n", "", 0},
        Row{"error_in_place", "project flat.RPB", "45 7 500\n45 x 500 # id 7\n45 7 500\n",
            "1000.000000 2000.000000\nERROR: 'x' is not a finite number (lon) # id 7\n1000.000000 2000.000000\n",
            "1 line could not be computed", 1},
        Row{"too_few", "project flat.RPB", "45 7\n", "ERROR: 2 fields, expected: lat lon height\n", kFailed, 1},
        Row{"decimal_commas", "project flat.RPB", "45,05 7,1 500\n",
            "ERROR: more than 3 fields, expected: lat lon height\n", kFailed, 1},
        Row{"empty_field", "project flat.RPB", "45,,500\n", "ERROR: the field for lon is empty\n", kFailed, 1},
        Row{"not_finite", "project flat.RPB", "45 nan 500\n45 7 inf\n45 7 1e999\n",
            "ERROR: 'nan' is not a finite number (lon)\nERROR: 'inf' is not a finite number (height)\n"
            "ERROR: '1e999' is not a finite number (height)\n",
            "3 lines could not be computed", 1},
        Row{"half_numbers", "project flat.RPB", "45x 7 500\n0x10 7 500\n4;5 7 500\n",
            "ERROR: '45x' is not a finite number (lat)\nERROR: '0x10' is not a finite number (lat)\n"
            "ERROR: '4;5' is not a finite number (lat)\n",
            kFailed, 1},
        Row{"zero_byte", "project flat.RPB", std::string("45\0 7 500\n", 10),
            "ERROR: '45?' is not a finite number (lat)\n", kFailed, 1},
        Row{"long_line", "project flat.RPB", std::string(200000, '1') + "\n45 7 500\n",
            "ERROR: the line is longer than 16383 bytes\n1000.000000 2000.000000\n", kFailed, 1},
        Row{"long_line_without_end", "project flat.RPB", std::string(1000000, ' '),
            "ERROR: the line is longer than 16383 bytes\n", kFailed, 1},
        Row{"precision", "project flat.RPB --precision 2", "45.05 7.1 500\n", "500.00 3000.00\n", "", 0},
        Row{"no_digits_and_no_minus_zero", "project flat.RPB --precision 0", "45.10001 7 500\n", "0 2000\n",
            "1 point outside the model's ground, extrapolated", 0},
        Row{"corner", "project flat.RPB --origin corner", "45.05 7.1 500\n", "500.500000 3000.500000\n", "", 0},
        Row{"one", "project flat.RPB --origin one", "45.05 7.1 500\n", "501.000000 3001.000000\n", "", 0},
        Row{"json", "project flat.RPB --json", "# head\n45 7 500 # \"a\"\nx\n",
            "{\"input_line\":2,\"line\":1000.000000,\"sample\":2000.000000,\"comment\":\"# \\\"a\\\"\"}\n"
            "{\"input_line\":3,\"error\":\"'x' is not a finite number (lat)\"}\n",
            kFailed, 1},
        Row{"json_bad_utf8", "project flat.RPB --json --precision 0", "45 7 500 #\xFF\xC3\xA9\n",
            "{\"input_line\":1,\"line\":1000,\"sample\":2000,\"comment\":\"#\\ufffd\xC3\xA9\"}\n", "", 0},
        Row{"derivatives", "project flat.RPB --derivatives --precision 1", "45 7 500\n",
            "1000.0 2000.0 -10000.0 0.0 0.0 0.0 10000.0 0.4\n", "", 0},
        Row{"not_finite_result", "project flat.RPB", "45 7 1e308\n", "ERROR: the result is not finite\n", kFailed, 1},
        Row{"no_latitude", "project flat.RPB", "100 7 500\n", "ERROR: latitude 100 is not between -90 and 90\n",
            kFailed, 1},
        Row{"standard_input_by_name", "project flat.RPB -", "45 7 500\n", "1000.000000 2000.000000\n", "", 0},
        Row{"no_such_points", "project flat.RPB nowhere.txt", "", "", "nowhere.txt: No such file", 1},
        Row{"points_are_a_directory", "project flat.RPB .", "", "", ".: Is a directory", 1}),
    RowName);

TEST(StreamsTest, FilesComeInTheirOrderAndEachMayHaveAByteOrderMark) {
  Workspace();
  WriteText("a.txt",
            "\xEF\xBB\xBF"
            "45 7 500");
  WriteText("b.txt",
            "\xEF\xBB\xBF"
            "45.05 7 500");
  const ToolRun run = RunToolLine("project flat.RPB b.txt a.txt - --precision 0", "44.95 7 500");
  EXPECT_EQ(run.out, "500 2000\n1000 2000\n1500 2000\n");
  EXPECT_EQ(run.status, 0);
}

/// Lines whose projection is their number in tenths.
void WriteNumberedPoints(const std::string& name, int count) {
  std::ofstream file(Workspace() + "/" + name, std::ios::binary);
  char line[64];
  for (int i = 0; i < count; ++i) {
    std::snprintf(line, sizeof line, "%.5f 7 500\n", 45.1 - 1e-5 * i);
    file << line;
  }
}

TEST(StreamsTest, ManyBlocksKeepTheirOrderForAnyNumberOfThreads) {
  constexpr int kCount = 100000;
  WriteNumberedPoints("many.txt", kCount);
  const ToolRun one = RunToolLine("project flat.RPB many.txt --precision 1 --threads 1");
  EXPECT_EQ(RunToolLine("project flat.RPB many.txt --precision 1 --threads 5").out, one.out);
  std::istringstream lines(one.out);
  for (int i = 0; i < kCount; ++i) {
    double line = -1.0;
    double sample = -1.0;
    ASSERT_TRUE(lines >> line >> sample);
    ASSERT_EQ(line, i / 10.0);
  }
}

TEST(StreamsTest, MemoryDoesNotDependOnTheLengthOfTheInput) {
  if (orbmath_test::kSanitized) GTEST_SKIP() << "a sanitizer keeps freed memory for a while";
  WriteNumberedPoints("short.txt", 40000);
  WriteNumberedPoints("long.txt", 800000);
  const long first = RunToolLine("project flat.RPB short.txt --threads 2").peak_kilobytes;
  if (first == 0) GTEST_SKIP() << "the system does not say how much memory a program took";
  const long longer = RunToolLine("project flat.RPB long.txt --threads 2").peak_kilobytes;
  // The short input fills all blocks of the ring; the long one has 14 megabytes more.
  EXPECT_LT(longer, first + 1000) << first;
}

}  // namespace

}  // namespace orbmath_test
