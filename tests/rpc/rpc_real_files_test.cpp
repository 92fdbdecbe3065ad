// Real model files against the numbers that other readers give for them.

#include <gtest/gtest.h>

#include <string>

#include "frame/zxstd/number_text.h"
#include "rpc/records.h"
#include "rpc/rpc_file.h"
#include "support/real_data.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::FileContent;
using orbmath_test::RealDataPath;
using orbmath_test::RealModelFiles;
using RPCRealFiles = orbmath_test::WithRealData;

// The numbers behind `key` in the part of parsed.json that belongs to a file; lists are laid out one number a line.
class ParsedNumbers {
 public:
  explicit ParsedNumbers(const std::string& file) : json_(FileContent(RealDataPath("parsed.json"))) {
    json_.erase(0, json_.find("\"" + file + "\""));
  }
  double Get(const std::string& key, int index) const {
    std::size_t place = json_.find("\"" + key + "\":") + key.size() + 3;
    for (int i = 0; i < index; ++i) place = json_.find(',', place) + 1;
    double value = orbmath_test::kPoison;
    EXPECT_NE(ParseDoublePrefix(json_.substr(json_.find_first_not_of(" [\n", place), 40), &value), 0u) << key;
    return value;
  }

 private:
  std::string json_;
};

TEST_F(RPCRealFiles, SayWhatOtherReadersFind) {
  for (const std::string& name : RealModelFiles()) {
    TRPCFile file;
    TRPCFileError error;
    ASSERT_TRUE(ReadRPCFile(RealDataPath(name), &file, &error)) << error.GetText();
    const ParsedNumbers parsed(name);
    TRPCData expected;
    for (const TRPCScalarField& field : RPCScalarFields()) expected.*field.value = parsed.Get(field.textKey, 0);
    for (const TRPCCoefficientField& field : RPCCoefficientFields()) {
      const std::string key(field.textKey, std::string(field.textKey).size() - 1);
      for (int k = 0; k < 20; ++k) (expected.*field.values)[k] = parsed.Get(key, k);
    }
    EXPECT_TRUE(orbmath_test::SameRecord(file.record, expected)) << name;
  }
}

TEST_F(RPCRealFiles, KeepTheirBytesThroughXml) {
  for (const std::string& name : RealModelFiles()) {
    for (const TRPCFileForm form : {TRPCFileForm::RPB, TRPCFileForm::Text}) {
      TRPCFile file;
      ASSERT_TRUE(ReadRPCFile(RealDataPath(name), &file, nullptr));
      std::string first;
      for (const TRPCFileForm to : {form, TRPCFileForm::XML, form}) {
        TZxStringStream stream;
        ASSERT_TRUE(WriteRPCStream(&stream, name, to, file.record, file.extras, TRPCTextErrors::Append, nullptr));
        if (to == form && !first.empty()) {
          EXPECT_EQ(stream.GetString(), first) << name;
        }
        if (first.empty()) first = stream.GetString();
        TZxStringStream again(stream.GetString());
        ASSERT_TRUE(ReadRPCStream(&again, name, &file, nullptr));
      }
    }
  }
}

TEST_F(RPCRealFiles, KeepWhatStandsBesideTheRecord) {
  TRPCFile file;
  ASSERT_TRUE(ReadRPCFile(RealDataPath("md_dg.RPB"), &file, nullptr));
  EXPECT_EQ(file.extras, (TRPCFileExtras{"WV03", "Multi", 1.49, 0.58}));
  ASSERT_TRUE(ReadRPCFile(RealDataPath("md_ge_rgb_0010000_rpc.txt"), &file, nullptr));
  EXPECT_EQ(file.extras, (TRPCFileExtras{std::nullopt, std::nullopt, 4.98, 0.5}));
  ASSERT_TRUE(ReadRPCFile(RealDataPath("md_kompsat.rpc"), &file, nullptr));
  EXPECT_EQ(file.extras, TRPCFileExtras());
}

}  // namespace
}  // namespace SatCommonUtils
