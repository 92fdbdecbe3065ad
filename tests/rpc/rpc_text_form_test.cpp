// The text form of the record: exact bytes, and what real files do to a reader.

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "rpc/records.h"
#include "rpc/rpc_data.h"
#include "support/comma_locale.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::FormatRecord;
using orbmath_test::Replaced;
using orbmath_test::ReplacedAll;
using orbmath_test::SameRecord;
using orbmath_test::Saved;

std::string TextOf(const TRPCData& record) {
  return Saved([&](TZxStream* dst) { return record.SaveToText(dst, "", ""); });
}

bool ReadText(const std::string& text, TRPCData* record) {
  TZxStringStream stream(text);
  return record->InitializeFromText(&stream);
}

TEST(RPCTextForm, WritesTheseBytes) {
  const std::string text = TextOf(FormatRecord());
  EXPECT_EQ(text.substr(0, text.find("LINE_NUM_COEFF_3")),
            "LINE_OFF: +003754.00 pixels\r\n"
            "SAMP_OFF: -002322.50 pixels\r\n"
            "LAT_OFF:  -8.50000000 degrees\r\n"
            "LONG_OFF:   +2.29450000 degrees\r\n"
            "HEIGHT_OFF: +0086.000 meters\r\n"
            "LINE_SCALE:   +3754.00 pixels\r\n"
            "SAMP_SCALE: +12345678.13 pixels\r\n"
            "LAT_SCALE: +00.03410000 degrees\r\n"
            "LONG_SCALE: +000.03220000 degrees\r\n"
            "HEIGHT_SCALE: -0194.000 meters\r\n"
            "LINE_NUM_COEFF_1: +1.332808717180063E-03\r\n"
            "LINE_NUM_COEFF_2: +6.500000000000000E+00\r\n");
  // The counting record's 31st, 51st and 71st numbers begin the other three lists.
  for (const char* line :
       {"LINE_NUM_COEFF_20: +1.550000000000000E+01\r\nLINE_DEN_COEFF_1: +1.600000000000000E+01\r\n",
        "LINE_DEN_COEFF_20: +2.550000000000000E+01\r\nSAMP_NUM_COEFF_1: +2.600000000000000E+01\r\n",
        "SAMP_NUM_COEFF_20: +3.550000000000000E+01\r\nSAMP_DEN_COEFF_1: +3.600000000000000E+01\r\n"}) {
    EXPECT_NE(text.find(line), std::string::npos) << line;
  }
  const std::string last = "SAMP_DEN_COEFF_20: -7.216457909015041E-10\r\n";
  EXPECT_EQ(text.substr(text.size() - last.size()), last);
}

TEST(RPCTextForm, UnitWordsAreTheCallers) {
  const std::string text = Saved([](TZxStream* dst) { return CountingRecord().SaveToText(dst, "deg", "m"); });
  EXPECT_NE(text.find("LONG_SCALE: +004.50000000 deg\r\nHEIGHT_SCALE: +0005.500 m\r\n"), std::string::npos);
  TRPCData record;
  EXPECT_TRUE(ReadText(text, &record));
}

TEST(RPCTextForm, StopsAtTheFirstShortWrite) {
  orbmath_test::ShortStream stream(40);  // the first line has 29 bytes
  EXPECT_FALSE(CountingRecord().SaveToText(&stream, "", ""));
  EXPECT_EQ(stream.writes, 2);
  EXPECT_FALSE(CountingRecord().SaveToText(nullptr, "", ""));
}

TEST(RPCTextForm, SpecialNumbersComeBack) {
  TRPCData record = CountingRecord();
  record.lineOffset = std::numeric_limits<double>::quiet_NaN();
  record.lineScale = -0.0;
  record.heightScale = -std::numeric_limits<double>::infinity();
  record.sampNumCoef[3] = std::numeric_limits<double>::infinity();
  record.sampNumCoef[4] = 2.225073858507201e-308;  // subnormal, of the 16 digits that the form keeps
  TRPCData read;
  ASSERT_TRUE(ReadText(TextOf(record), &read));
  EXPECT_TRUE(SameRecord(read, record));
}

// Things that real files and people do and that change nothing.
TEST(RPCTextForm, ReadsWhatTheWorldWrites) {
  const TRPCData record = CountingRecord();
  const std::string good = TextOf(record);
  std::string backwards;
  for (std::size_t begin = 0; begin < good.size();) {
    const std::size_t end = good.find('\n', begin) + 1;
    backwards.insert(0, good.substr(begin, end - begin));
    begin = end;
  }
  struct Case {
    const char* quirk;
    std::string text;
  };
  const std::vector<Case> cases = {
      {"lines backwards", backwards},
      {"LF line ends", ReplacedAll(good, "\r\n", "\n")},
      {"no last line end", good.substr(0, good.size() - 2)},
      {"byte-order mark", "\xEF\xBB\xBF" + good},
      {"tab behind the colon", ReplacedAll(good, ": ", ":\t")},
      {"nothing behind the colon", ReplacedAll(good, ": ", ":")},
      {"blanks before the colon", ReplacedAll(good, ": ", "\t :  ")},
      {"indented", ReplacedAll(good, "\n", "\n \t")},
      {"no units", ReplacedAll(ReplacedAll(ReplacedAll(good, " pixels", ""), " degrees", ""), " meters", "")},
      {"units without a blank", ReplacedAll(ReplacedAll(good, " meters", "m"), " degrees", "\xC2\xB0")},
      {"lower-case exponents", ReplacedAll(good, "E+", "e+")},
      {"three-digit exponents", ReplacedAll(good, "E+0", "e+00")},
      {"no signs", ReplacedAll(good, ": +", ": ")},
      {"errors", good + "ERR_BIAS: 0004.98 meters\r\nERR_RAND: none\r\n"},
      {"unknown lines", "# note: 1\n\nLINE_OFFSET: 7\nLINE_OFF 7\n:\n" + good + std::string("\0: 5\n", 5)},
      {"the last of two counts", "LINE_OFF: 77 pixels\r\n" + good},
  };
  for (const Case& c : cases) {
    TRPCData read;
    EXPECT_TRUE(ReadText(c.text, &read)) << c.quirk;
    EXPECT_TRUE(SameRecord(read, record)) << c.quirk;
  }
}

TEST(RPCTextForm, RefusesWhatItCannotTrust) {
  const std::string good = TextOf(CountingRecord());
  const std::string line = "LINE_OFF: +000001.00 pixels";
  for (const char* instead : {"LINE_OFF:", "LINE_OFF: pixels", "LINE_OFF: +-1", "LINE_OFF: 3754,00 pixels",
                              "LINE_OFF: 1.0D+03", "LINE_OFF: 0x10", "LINE_OFF: 1e", "LINE_OFF: 1e999",
                              "LINE_OFF: 1.2.3", "LINE OFF: 1", "line_off: 1", "LINE_OFF = 1"}) {
    TRPCData read = CountingRecord();
    EXPECT_FALSE(ReadText(Replaced(good, line, instead), &read)) << instead;
    EXPECT_FALSE(static_cast<bool>(read)) << instead;
  }
  for (const char* extra : {"LINE_NUM_COEFF_0: 1", "SAMP_DEN_COEFF_21: 1", "SAMP_DEN_COEFF_: 1", "LINE_NUM_COEFF_1x: 1",
                            "SAMP_NUM_COEFF_99999999999999999999: 1", "HEIGHT_OFF: ?"}) {
    TRPCData read;
    EXPECT_FALSE(ReadText(good + extra, &read)) << extra;
    EXPECT_FALSE(static_cast<bool>(read)) << extra;
  }
}

TEST(RPCTextForm, ReadsNoTruncatedTextAsComplete) {
  const std::string good = TextOf(CountingRecord());
  const std::size_t last_number = good.rfind(": ") + 2;
  for (std::size_t size = 0; size <= last_number; ++size) {
    TRPCData read = CountingRecord();
    EXPECT_FALSE(ReadText(good.substr(0, size), &read)) << size;
    EXPECT_FALSE(static_cast<bool>(read)) << size;
  }
}

TEST(RPCTextForm, MissingSourcesFail) {
  TRPCData record = CountingRecord();
  EXPECT_FALSE(record.InitializeFromText(nullptr));
  EXPECT_FALSE(static_cast<bool>(record));
  record = CountingRecord();
  EXPECT_FALSE(record.InitializeFromTextFile("/no/such/file"));
  EXPECT_FALSE(static_cast<bool>(record));
}

TEST(RPCTextForm, DecimalCommaOfTheProcessPlaysNoPart) {
  const TRPCData record = FormatRecord();
  const std::string text = TextOf(record);
  const orbmath_test::CommaLocale locale;
  if (!locale) GTEST_SKIP() << "no locale with a decimal comma is installed";
  EXPECT_EQ(TextOf(record), text);
  TRPCData read;
  EXPECT_TRUE(ReadText(text, &read));
}

}  // namespace
}  // namespace SatCommonUtils
