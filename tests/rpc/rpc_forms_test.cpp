// Each form by itself: the exact bytes that are written, and what real files do to a reader.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "rpc/records.h"
#include "rpc/rpc_data.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::kPoison;
using orbmath_test::Replaced;
using orbmath_test::SameRecord;
using orbmath_test::Saved;

std::string TextOf(const TRPCData& record) {
  return Saved([&](TZxStream* dst) { return record.SaveToText(dst, "", ""); });
}
std::string RpbOf(const TRPCData& record) {
  return Saved([&](TZxStream* dst) { return record.SaveToRPB(dst, "WV03", "P", 1.494, 0.5); });
}
std::string XmlOf(const TRPCData& record) {
  return orbmath_test::SavedXml([&](TZxXIniWriter* dst) { EXPECT_TRUE(record.SaveToXML(dst)); });
}

bool ReadText(const std::string& text, TRPCData* record) {
  TZxStringStream stream(text);
  return record->InitializeFromText(&stream);
}

bool ReadRpb(const std::string& text, TRPCData* record, double* bias, double* random) {
  const std::string path = testing::TempDir() + "orbmath_rpc_forms_test.RPB";
  TZxFileStream file;
  EXPECT_TRUE(file.Open(TZxPath(path), TZxOpenMode::Write));
  EXPECT_EQ(file.Write(text.data(), text.size()), text.size());
  EXPECT_TRUE(file.Close());
  return record->InitializeFromRPBFile(path, bias, random);
}

// A record whose numbers show sign, padding and overflow of every field width.
TRPCData FormatRecord() {
  TRPCData record = CountingRecord();
  const double scalars[] = {3754, 3754, -2322.5, 12345678.129, -8.5, 0.0341, 2.2945, 0.0322, 86, -194};
  for (std::size_t i = 0; i < 10; ++i) record.*RPCScalarFields()[i].value = scalars[i];
  record.lineNumCoef[0] = 1.332808717180063e-3;
  record.sampDenCoef[19] = -7.216457909015041e-10;
  return record;
}

// What the forms have to say of that record: how they begin, where one list ends and the next begins, how they end.
void ExpectPieces(const std::string& text, const std::vector<std::string>& pieces) {
  EXPECT_EQ(text.substr(0, pieces.front().size()), pieces.front());
  for (const std::string& piece : pieces) EXPECT_NE(text.find(piece), std::string::npos) << piece;
  EXPECT_EQ(text.substr(text.size() - pieces.back().size()), pieces.back());
}

TEST(RPCForms, TextHasTheseBytes) {
  ExpectPieces(TextOf(FormatRecord()),
               {"LINE_OFF: +003754.00 pixels\r\nSAMP_OFF: -002322.50 pixels\r\nLAT_OFF:  -8.50000000 degrees\r\n"
                "LONG_OFF:   +2.29450000 degrees\r\nHEIGHT_OFF: +0086.000 meters\r\nLINE_SCALE:   +3754.00 pixels\r\n"
                "SAMP_SCALE: +12345678.13 pixels\r\nLAT_SCALE: +00.03410000 degrees\r\n"
                "LONG_SCALE: +000.03220000 degrees\r\nHEIGHT_SCALE: -0194.000 meters\r\n"
                "LINE_NUM_COEFF_1: +1.332808717180063E-03\r\nLINE_NUM_COEFF_2: +6.500000000000000E+00\r\n",
                "LINE_NUM_COEFF_20: +1.550000000000000E+01\r\nLINE_DEN_COEFF_1: +1.600000000000000E+01\r\n",
                "LINE_DEN_COEFF_20: +2.550000000000000E+01\r\nSAMP_NUM_COEFF_1: +2.600000000000000E+01\r\n",
                "SAMP_NUM_COEFF_20: +3.550000000000000E+01\r\nSAMP_DEN_COEFF_1: +3.600000000000000E+01\r\n",
                "SAMP_DEN_COEFF_20: -7.216457909015041E-10\r\n"});
  const std::string own = Saved([](TZxStream* dst) { return CountingRecord().SaveToText(dst, "deg", "m"); });
  EXPECT_NE(own.find("LONG_SCALE: +004.50000000 deg\r\nHEIGHT_SCALE: +0005.500 m\r\n"), std::string::npos);
}

TEST(RPCForms, RpbHasTheseBytes) {
  ExpectPieces(RpbOf(FormatRecord()),
               {"satId = \"WV03\";\nbandId = \"P\";\nSpecId = \"RPC00B\";\nBEGIN_GROUP = IMAGE\n"
                "\terrBias =    1.49;\n\terrRand =    0.50;\n\tlineOffset = 3754.00;\n\tsampOffset = -2322.50;\n"
                "\tlatOffset = -8.50000000;\n\tlongOffset = 2.29450000;\n\theightOffset = 86.00;\n"
                "\tlineScale = 3754.00;\n\tsampScale = 12345678.13;\n\tlatScale = 0.03410000;\n"
                "\tlongScale = 0.03220000;\n\theightScale = -194.00;\n"
                "\tlineNumCoef = (\n\t\t\t+1.33280872E-03,\n\t\t\t+6.50000000E+00,\n",
                "\t\t\t+1.55000000E+01);\n\tlineDenCoef = (\n\t\t\t+1.60000000E+01,\n",
                "\t\t\t+2.55000000E+01);\n\tsampNumCoef = (\n\t\t\t+2.60000000E+01,\n",
                "\t\t\t+3.55000000E+01);\n\tsampDenCoef = (\n\t\t\t+3.60000000E+01,\n",
                "\t\t\t-7.21645791E-10);\nEND_GROUP = IMAGE\nEND;"});
}

TEST(RPCForms, XmlHasTheseKeysInOrder) {
  const auto reader = orbmath_test::ReaderOf(XmlOf(CountingRecord()));
  std::string keys;
  for (std::size_t i = 0; i < reader->GetCount(); ++i) keys += *reader->GetKey(i) + " ";
  EXPECT_EQ(keys,
            "LineOffset LineScale SampleOffset SampleScale LatitudeOffset LatitudeScale LongitudeOffset "
            "LongitudeScale HeightOffset HeightScale LineNum LineDenom SampleNum SampleDenom ");
  ASSERT_TRUE(reader->EnterSectionS("SampleNum"));
  EXPECT_EQ(*reader->GetKey(0) + *reader->GetKey(19), "0019");
}

TEST(RPCForms, SpecialNumbersComeBack) {
  const std::vector<double> special = orbmath_test::SpecialDoubles();
  TRPCData record = CountingRecord();
  std::copy(special.begin(), special.end(), record.lineDenCoef);
  TRPCData read;
  // The two numerators have another name each.
  const std::string xml = Replaced(Replaced(XmlOf(record), "LineNum", "LineNom"), "SampleNum", "SampleNom");
  EXPECT_TRUE(read.InitializeFromXML(orbmath_test::ReaderOf(xml).get()));
  EXPECT_TRUE(SameRecord(read, record));
  EXPECT_FALSE(static_cast<bool>(read));  // the largest double is the unset mark, and came back too
  record = CountingRecord();
  std::copy(special.end() - 3, special.end(), record.lineDenCoef);  // the infinities and NaN
  record.lineScale = -0.0;
  EXPECT_TRUE(ReadText(TextOf(record), &read));
  EXPECT_TRUE(SameRecord(read, record));
}

// Things that real files and people do and that change nothing.
TEST(RPCForms, TextIsReadAsTheWorldWritesIt) {
  const std::string good = TextOf(CountingRecord());
  std::string backwards;
  for (std::size_t begin = 0, end = 0; begin < good.size(); begin = end) {
    end = good.find('\n', begin) + 1;
    backwards.insert(0, good.substr(begin, end - begin));
  }
  const std::pair<const char*, std::string> cases[] = {
      {"lines backwards", backwards},
      {"LF line ends", Replaced(good, "\r\n", "\n")},
      {"no last line end", good.substr(0, good.size() - 2)},
      {"byte-order mark", "\xEF\xBB\xBF" + good},
      {"tab behind the colon", Replaced(good, ": ", ":\t")},
      {"nothing behind the colon", Replaced(good, ": ", ":")},
      {"blanks before the colon, indented", Replaced(Replaced(good, ": ", "\t :  "), "\n", "\n \t")},
      {"no units", Replaced(Replaced(Replaced(good, " pixels", ""), " degrees", ""), " meters", "")},
      {"units without a blank", Replaced(Replaced(good, " meters", "m"), " degrees", "\xC2\xB0")},
      {"three-digit lower-case exponents", Replaced(good, "E+0", "e+00")},
      {"no signs", Replaced(good, ": +", ": ")},
      {"unknown lines", "# a: 1\n\nLINE_OFFSET: 7\nLINE_OFF 7\n:\n" + good + std::string("\0: 5\nERR_BIAS: x", 17)},
      {"the last of two counts", "LINE_OFF: 77 pixels\r\n" + good}};
  for (const auto& [quirk, text] : cases) {
    TRPCData read;
    EXPECT_TRUE(ReadText(text, &read)) << quirk;
    EXPECT_TRUE(SameRecord(read, CountingRecord())) << quirk;
  }
}

TEST(RPCForms, TextThatCannotBeTrustedIsRefused) {
  const std::string good = TextOf(CountingRecord());
  for (const char* line : {"LINE_OFF:", "LINE_OFF: pixels", "LINE_OFF: +-1", "LINE_OFF: 3754,00 pixels",
                           "LINE_OFF: 1.0D+03", "LINE_OFF: 0x10", "LINE_OFF: 1e", "LINE_OFF: 1e999", "LINE_OFF: 1.2.3",
                           "LINE_NUM_COEFF_0: 1", "SAMP_DEN_COEFF_21: 1", "SAMP_DEN_COEFF_: 1", "LINE_NUM_COEFF_1x: 1",
                           "SAMP_NUM_COEFF_99999999999999999999: 1"}) {
    TRPCData read;
    EXPECT_FALSE(ReadText(good + line, &read)) << line;
    EXPECT_TRUE(SameRecord(read, TRPCData())) << line;
  }
  for (const char* key : {"LINE OFF", "line_off", "LINE_OFF="}) {
    TRPCData read;
    EXPECT_FALSE(ReadText(Replaced(good, "LINE_OFF", key), &read)) << key;
    EXPECT_EQ(read.lineOffset, kUnsetMark) << key;
    EXPECT_EQ(read.lineScale, 1.5) << key;
  }
}

TEST(RPCForms, RpbIsReadAsTheWorldWritesIt) {
  const std::string good = RpbOf(CountingRecord());
  const std::pair<const char*, std::string> cases[] = {
      {"CRLF", Replaced(good, "\n", "\r\n")},
      {"byte-order mark", "\xEF\xBB\xBF" + good},
      {"a line end behind END", good + "\r\n"},
      {"no END", good.substr(0, good.size() - 4)},
      {"no semicolons", Replaced(good, ";", "")},
      {"no blanks", Replaced(Replaced(good, " ", ""), "\t", "")},
      {"a list in one line", Replaced(good, ",\n\t\t\t", ", ")},
      {"units", Replaced(good, ".00;", ".00 <pixels>;")},
      {"comments", "/* lineOffset = 7; */\n" + Replaced(good, "\tlineScale", "\t/* group IMAGE */ lineScale")},
      {"OBJECT", Replaced(Replaced(good, "BEGIN_GROUP", "OBJECT"), "END_GROUP", "END_OBJECT")},
      {"another group in front", "BEGIN_GROUP = BAND_P\n\tlineOffset = 7;\nEND_GROUP = BAND_P\n" + good},
      {"no identifiers", good.substr(good.find("BEGIN_GROUP"))},
      {"lower-case exponents", Replaced(good, "E+", "e+0")},
      {"statements of its own", Replaced(good, "\tlatScale", "\tnote = \"a; b = (1, 2)\";\n\tlatScale")},
      {"the first of two counts", Replaced(good, "\tsampOffset", "\tlineOffset = 7;\n\tsampOffset")}};
  for (const auto& [quirk, text] : cases) {
    TRPCData read;
    EXPECT_TRUE(ReadRpb(text, &read, nullptr, nullptr)) << quirk;
    EXPECT_TRUE(SameRecord(read, CountingRecord())) << quirk;
  }
}

TEST(RPCForms, RpbErrorsAreOptionalAndUntouchedOnFailure) {
  const std::string good = RpbOf(CountingRecord());
  TRPCData record;
  double bias = kPoison;
  double random = kPoison;
  EXPECT_FALSE(ReadRpb(Replaced(good, "heightScale", "height"), &record, &bias, &random));
  EXPECT_FALSE(static_cast<bool>(record));
  EXPECT_EQ(bias, kPoison);
  EXPECT_EQ(random, kPoison);
  EXPECT_TRUE(ReadRpb(good, &record, &bias, &random));
  EXPECT_EQ(bias, 1.49);
  EXPECT_EQ(random, 0.5);
  EXPECT_TRUE(ReadRpb(Replaced(good, "\terr", "\tno"), &record, &bias, &random));
  EXPECT_EQ(bias, 0.0);
  EXPECT_EQ(random, 0.0);
}

TEST(RPCForms, AFailureLeavesTheXmlReaderInItsSection) {
  const std::string good = orbmath_test::SavedXml([](TZxXIniWriter* dst) {
    const TZxXIniWriterSection outer(dst, "outer");
    EXPECT_TRUE(CountingRecord().SaveToXML(dst));
  });
  for (const char* key : {"HeightScale", "LineNum", "SampleDenom", "17"}) {
    const auto reader = orbmath_test::ReaderOf(Replaced(good, std::string("\"") + key + "\"", "\"no\""));
    ASSERT_TRUE(reader->EnterSectionS("outer"));
    TRPCData read = CountingRecord();
    EXPECT_FALSE(read.InitializeFromXML(reader.get())) << key;
    EXPECT_FALSE(static_cast<bool>(read)) << key;
    EXPECT_EQ(reader->GetPath(), "/outer") << key;
  }
}

}  // namespace
}  // namespace SatCommonUtils
