#pragma once
// Real model files, where the machine has them. The folder is named by the environment variable ORBMATH_TEST_DATA.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace orbmath_test {

/// Path of `name` in the folder of real models, or an empty text when there is no such folder.
inline std::string RealDataPath(const std::string& name) {
  const char* folder = std::getenv("ORBMATH_TEST_DATA");
  if (folder == nullptr || *folder == '\0') return std::string();
  return std::string(folder) + "/" + name;
}

inline bool HaveRealData() { return std::ifstream(RealDataPath("points.csv")).good(); }

/// Base of test suites that need the real models; without the folder their tests are reported as skipped.
class WithRealData : public ::testing::Test {
 protected:
  void SetUp() override {
    if (!HaveRealData()) GTEST_SKIP() << "ORBMATH_TEST_DATA names no folder of real models";
  }
};

/// File names of all real models.
inline std::vector<std::string> RealModelFiles() {
  return {"md_dg.RPB",
          "md_ge_rgb_0010000_rpc.txt",
          "md_kompsat.rpc",
          "20191015_073816_ssc1d3_0011_basic_l1a_panchromatic_dn_RPC.TXT",
          "qb02_korea.RPB",
          "ikonos_blosseville_RPC.TXT",
          "wv02_toulouse_left.RPB",
          "wv02_toulouse_right_RPC.TXT"};
}

/// The rows of a comma-separated table of that folder, the header line left out; double quotes protect commas.
inline std::vector<std::vector<std::string>> RealTable(const std::string& name) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file(RealDataPath(name));
  std::string line;
  std::getline(file, line);
  while (std::getline(file, line)) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (const char c : line) {
      if (c == '"') {
        quoted = !quoted;
      } else if (c == ',' && !quoted) {
        fields.emplace_back();
      } else if (c != '\r') {
        fields.back() += c;
      }
    }
    rows.push_back(fields);
  }
  return rows;
}

/// The whole content of a file.
inline std::string FileContent(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

}  // namespace orbmath_test
