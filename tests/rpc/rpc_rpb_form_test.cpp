// The RPB form of the record: exact bytes, and what real PVL files do to a reader.

#include <gtest/gtest.h>

#include <string>

#include "rpc/records.h"
#include "rpc/rpc_data.h"
#include "rpc/rpc_file.h"
#include "support/bits.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::kPoison;
using orbmath_test::Replaced;
using orbmath_test::ReplacedAll;
using orbmath_test::SameRecord;

std::string RpbOf(const TRPCData& record) {
  return orbmath_test::Saved([&](TZxStream* dst) { return record.SaveToRPB(dst, "WV03", "P", 1.494, 0.5); });
}

// Reads through a file, as the record's own reader does.
class RpbFile {
 public:
  explicit RpbFile(const std::string& content) : path_(testing::TempDir() + "orbmath_rpc_rpb_form_test.RPB") {
    TZxFileStream file;
    EXPECT_TRUE(file.Open(TZxPath(path_), TZxOpenMode::Write));
    file.Write(content.data(), content.size());
    EXPECT_TRUE(file.Close());
  }
  bool Read(TRPCData* record, double* bias, double* random) const {
    return record->InitializeFromRPBFile(path_, bias, random);
  }

 private:
  std::string path_;
};

TEST(RPCRpbForm, WritesTheseBytes) {
  const std::string text = RpbOf(orbmath_test::FormatRecord());
  EXPECT_EQ(text.substr(0, text.find("\t\t\t+7.0")),
            "satId = \"WV03\";\n"
            "bandId = \"P\";\n"
            "SpecId = \"RPC00B\";\n"
            "BEGIN_GROUP = IMAGE\n"
            "\terrBias =    1.49;\n"
            "\terrRand =    0.50;\n"
            "\tlineOffset = 3754.00;\n"
            "\tsampOffset = -2322.50;\n"
            "\tlatOffset = -8.50000000;\n"
            "\tlongOffset = 2.29450000;\n"
            "\theightOffset = 86.00;\n"
            "\tlineScale = 3754.00;\n"
            "\tsampScale = 12345678.13;\n"
            "\tlatScale = 0.03410000;\n"
            "\tlongScale = 0.03220000;\n"
            "\theightScale = -194.00;\n"
            "\tlineNumCoef = (\n"
            "\t\t\t+1.33280872E-03,\n"
            "\t\t\t+6.50000000E+00,\n");
  for (const char* joint : {"+1.55000000E+01);\n\tlineDenCoef = (\n\t\t\t+1.60000000E+01,\n",
                            "+2.55000000E+01);\n\tsampNumCoef = (\n\t\t\t+2.60000000E+01,\n",
                            "+3.55000000E+01);\n\tsampDenCoef = (\n\t\t\t+3.60000000E+01,\n"}) {
    EXPECT_NE(text.find(joint), std::string::npos) << joint;
  }
  const std::string end = "\t\t\t-7.21645791E-10);\nEND_GROUP = IMAGE\nEND;";
  EXPECT_EQ(text.substr(text.size() - end.size()), end);
}

TEST(RPCRpbForm, WritesOnce) {
  orbmath_test::ShortStream enough(100000);
  EXPECT_TRUE(TRPCData().SaveToRPB(&enough, "", "", 0, 0));
  EXPECT_EQ(enough.writes, 1);
  orbmath_test::ShortStream little(100);
  EXPECT_FALSE(CountingRecord().SaveToRPB(&little, "", "", 0, 0));
  EXPECT_EQ(little.writes, 1);
  EXPECT_FALSE(CountingRecord().SaveToRPB(nullptr, "", "", 0, 0));
}

TEST(RPCRpbForm, ErrorsAreOptionalAndMayGoNowhere) {
  const std::string good = RpbOf(CountingRecord());
  TRPCData record;
  double bias = kPoison;
  double random = kPoison;
  EXPECT_TRUE(RpbFile(good).Read(&record, &bias, &random));
  EXPECT_TRUE(SameRecord(record, CountingRecord()));
  EXPECT_EQ(bias, 1.49);
  EXPECT_EQ(random, 0.5);
  EXPECT_TRUE(RpbFile(good).Read(&record, nullptr, nullptr));
  const std::string none = Replaced(Replaced(good, "\terrBias =    1.49;\n", ""), "\terrRand =    0.50;\n", "");
  EXPECT_TRUE(RpbFile(none).Read(&record, &bias, &random));
  EXPECT_EQ(bias, 0.0);
  EXPECT_EQ(random, 0.0);
}

TEST(RPCRpbForm, AFailedReadLeavesTheErrorsAlone) {
  TRPCData record = CountingRecord();
  double bias = kPoison;
  double random = kPoison;
  EXPECT_FALSE(RpbFile(Replaced(RpbOf(record), "heightScale", "hoehe")).Read(&record, &bias, &random));
  EXPECT_FALSE(static_cast<bool>(record));
  EXPECT_EQ(bias, kPoison);
  EXPECT_EQ(random, kPoison);
  EXPECT_FALSE(record.InitializeFromRPBFile("/no/such/file", nullptr, nullptr));
}

TEST(RPCRpbForm, ReadsWhatTheWorldWrites) {
  const std::string good = RpbOf(CountingRecord());
  const std::string image = good.substr(good.find("BEGIN_GROUP"), good.find("END;") - good.find("BEGIN_GROUP"));
  struct Case {
    const char* quirk;
    std::string text;
  };
  const Case cases[] = {
      {"CRLF", ReplacedAll(good, "\n", "\r\n")},
      {"byte-order mark", "\xEF\xBB\xBF" + good},
      {"a line end behind END", good + "\r\n"},
      {"no END", good.substr(0, good.size() - 4)},
      {"no semicolons", ReplacedAll(good, ";", "")},
      {"no blanks", ReplacedAll(ReplacedAll(good, " ", ""), "\t", "")},
      {"a list in one line", ReplacedAll(good, ",\n\t\t\t", ", ")},
      {"units", ReplacedAll(good, ".00;", ".00 <pixels>;")},
      {"comments", "/* lineOffset = 7; */\n" + ReplacedAll(good, "\tlineScale", "\t/* group IMAGE */ lineScale")},
      {"GROUP", ReplacedAll(good, "BEGIN_GROUP", "GROUP")},
      {"OBJECT", ReplacedAll(ReplacedAll(good, "BEGIN_GROUP", "OBJECT"), "END_GROUP", "END_OBJECT")},
      {"another group in front", "BEGIN_GROUP = BAND_P\n\tlineOffset = 7;\nEND_GROUP = BAND_P\n" + good},
      {"no identifiers", image + "END;"},
      {"lower-case exponents", ReplacedAll(good, "E+", "e+0")},
      {"statements of its own", Replaced(good, "\tlatScale", "\tnote = \"a; b = (1, 2)\";\n\tlatScale")},
      {"the first of two counts", Replaced(good, "\tsampOffset", "\tlineOffset = 7;\n\tsampOffset")},
  };
  for (const Case& c : cases) {
    TRPCData read;
    EXPECT_TRUE(RpbFile(c.text).Read(&read, nullptr, nullptr)) << c.quirk;
    EXPECT_TRUE(SameRecord(read, CountingRecord())) << c.quirk;
  }
}

TEST(RPCRpbForm, SaysWhatIsWrongAndWhere) {
  const std::string good = RpbOf(CountingRecord());
  const struct {
    const char* from;
    const char* to;
    const char* message;
  } cases[] = {
      {"\t\t\t+1.55000000E+01);", "\t\t\t+1.55000000E+01,\n1);",
       "x.RPB:17: lineNumCoef: 21 numbers where 20 are needed"},
      {"\t\t\t+3.60000000E+01,\n", "", "x.RPB:80: sampDenCoef: 19 numbers where 20 are needed"},
      {"+2.00000000E+01", "twenty", "x.RPB:38: lineDenCoef: is no list of numbers"},
      {"latOffset = 3.00000000", "latOffset = 3,0", "x.RPB:9: latOffset: \"3,0\" is no number"},
      {"\tlatOffset", "\tlatOfset", "x.RPB: latOffset: is missing"},
      {"\tsampNumCoef", "\tsampNumCoeff", "x.RPB: sampNumCoef: is missing"},
      {"GROUP = IMAGE", "GROUP = BILD", "x.RPB: IMAGE: the group is missing"},
      {"lineScale = 1.50", "lineScale = 1.7976931348623157e308",
       "x.RPB: a number of the record is the mark for unset ones"},
  };
  for (const auto& c : cases) {
    TZxStringStream stream(ReplacedAll(good, c.from, c.to));
    TRPCFile file;
    TRPCFileError error;
    EXPECT_FALSE(ReadRPCStream(&stream, "x.RPB", &file, &error)) << c.to;
    EXPECT_EQ(error.GetText(), c.message);
  }
}

TEST(RPCRpbForm, ReadsNoTruncatedTextAsComplete) {
  const std::string good = RpbOf(CountingRecord());
  for (std::size_t size = 0; size < good.rfind(");"); ++size) {
    TZxStringStream stream(good.substr(0, size));
    TRPCFile file;
    TRPCFileError error;
    ASSERT_FALSE(ReadRPCStream(&stream, "cut", &file, &error)) << size;
    EXPECT_FALSE(error.reason.empty()) << size;
  }
}

}  // namespace
}  // namespace SatCommonUtils
