// Files of any form: recognition, what stands beside the record, conversions, real models, errors.

#include "rpc/rpc_file.h"

#include <gtest/gtest.h>

#include <string>

#include "rpc/records.h"
#include "support/comma_locale.h"
#include "support/real_data.h"
#include "support/short_stream.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::RealDataPath;
using orbmath_test::Replaced;
using RPCRealFiles = orbmath_test::WithRealData;

constexpr TRPCFileForm kForms[] = {TRPCFileForm::RPB, TRPCFileForm::Text, TRPCFileForm::XML};

TRPCFile CountingFile() {
  TRPCFile file;
  file.record = CountingRecord();
  file.extras = {"WV03", "Multi; P", 1.49, 0.58};
  return file;
}

std::string Written(const TRPCFile& file, TRPCFileForm form) {
  return orbmath_test::Saved([&](TZxStream* dst) {
    return WriteRPCStream(dst, "out", form, file.record, file.extras, TRPCTextErrors::Append, nullptr);
  });
}

TRPCFile Reread(const std::string& content) {
  TZxStringStream stream(content);
  TRPCFile file;
  TRPCFileError error;
  EXPECT_TRUE(ReadRPCStream(&stream, "in", &file, &error)) << error.GetText();
  return file;
}

// Message of a failed read of this content, which changes nothing else.
std::string Complaint(const std::string& content) {
  TZxStringStream stream(content);
  TRPCFile file;
  file.xml = "poison";
  TRPCFileError error;
  EXPECT_FALSE(ReadRPCStream(&stream, "x", &file, &error)) << content;
  EXPECT_EQ(file.xml, "poison");
  return error.GetText();
}

void ExpectSameBytesThroughXml(const TRPCFile& file) {
  for (const TRPCFileForm form : kForms) {
    const std::string once = Written(file, form);
    EXPECT_EQ(Reread(once).form, form);
    const std::string xml = Written(Reread(once), TRPCFileForm::XML);
    EXPECT_EQ(Reread(xml).xml, xml);
    EXPECT_EQ(Written(Reread(xml), form), once) << RPCFileFormName(form);
  }
}

TEST(RPCFile, ConversionsBringTheSameBytesBack) {
  ExpectSameBytesThroughXml(CountingFile());
  const orbmath_test::CommaLocale locale;  // of the process: it plays no part, where one is installed
  ExpectSameBytesThroughXml(CountingFile());
  EXPECT_EQ(Written(CountingFile(), TRPCFileForm::Text).find(','), std::string::npos);
}

TEST(RPCFile, ExtrasStandBesideTheRecord) {
  EXPECT_EQ(Reread(Written(CountingFile(), TRPCFileForm::RPB)).extras, CountingFile().extras);
  EXPECT_EQ(Reread(Written(CountingFile(), TRPCFileForm::XML)).extras, CountingFile().extras);
  const std::string text = Written(CountingFile(), TRPCFileForm::Text);
  EXPECT_EQ(Reread(text).extras, (TRPCFileExtras{std::nullopt, std::nullopt, 1.49, 0.58}));
  const std::string plain =
      orbmath_test::Saved([](TZxStream* dst) { return CountingRecord().SaveToText(dst, "", ""); });
  EXPECT_EQ(text, plain + "ERR_BIAS: 0001.49 meters\r\nERR_RAND: 0000.58 meters\r\n");
  EXPECT_EQ(plain, orbmath_test::Saved([](TZxStream* dst) {
              return WriteRPCStream(dst, "", TRPCFileForm::Text, CountingRecord(), CountingFile().extras,
                                    TRPCTextErrors::Omit, nullptr);
            }));
}

TEST(RPCFile, ASectionRefinementMakesAnAdjustedModel) {
  const TRPCFile file = Reread(orbmath_test::SavedXml([](TZxXIniWriter* dst) {
    EXPECT_TRUE(CountingRecord().SaveToXML(dst));
    const TZxXIniWriterSection refinement(dst, "Refinement");
    EXPECT_TRUE(CountingFile().extras.SaveToXML(dst));  // those of another section
  }));
  EXPECT_EQ(file.form, TRPCFileForm::AdjustedXML);
  EXPECT_EQ(file.extras, TRPCFileExtras());
}

TEST(RPCFile, WritersStopWhereTheStreamEnds) {
  for (const TRPCFileForm form : kForms) {
    const std::size_t whole = Written(CountingFile(), form).size();
    for (std::size_t room = 0; room < whole; room += 61) {
      orbmath_test::ShortStream stream(room);
      TRPCFileError error;
      EXPECT_FALSE(WriteRPCStream(&stream, "out", form, CountingRecord(), CountingFile().extras, TRPCTextErrors::Append,
                                  &error));
      EXPECT_EQ(error.GetText(), "out: cannot be written whole");
      EXPECT_TRUE(form != TRPCFileForm::RPB || stream.writes == 1);
      EXPECT_TRUE(form != TRPCFileForm::Text || room >= 29 || stream.writes == 1);  // the first line
    }
  }
}

TEST(RPCFile, RefusesToWriteWhatCouldNotBeRead) {
  const auto complaint = [](TRPCFileForm form, const TRPCData& record, const TRPCFileExtras& extras) {
    TZxStringStream stream;
    TRPCFileError error;
    EXPECT_FALSE(WriteRPCStream(&stream, "out", form, record, extras, TRPCTextErrors::Omit, &error));
    EXPECT_EQ(stream.GetString(), "");
    return error.GetText();
  };
  EXPECT_EQ(complaint(TRPCFileForm::RPB, TRPCData(), {}), "out: the record to write is incomplete");
  EXPECT_EQ(complaint(TRPCFileForm::RPB, CountingRecord(), {"a\"", {}, {}, {}}),
            "out: satId: holds a character that the RPB form has no place for");
  EXPECT_EQ(complaint(TRPCFileForm::AdjustedXML, CountingRecord(), {}), "out: an adjusted model is more than a record");
  EXPECT_EQ(complaint(TRPCFileForm::GdalXml, CountingRecord(), {"SAT", "\xE9", {}, {}}),
            "out: bandId: holds a character that XML has no place for");
  for (const char* id : {"\xE9", "a\nb"}) {
    EXPECT_EQ(complaint(TRPCFileForm::Json, CountingRecord(), {id, {}, {}, {}}),
              "out: satId: holds a character that JSON has no place for");
  }
}

TEST(RPCFile, SaysWhatIsWrongAndWhere) {
  const std::string rpb = Written(CountingFile(), TRPCFileForm::RPB);
  const std::string text = Written(CountingFile(), TRPCFileForm::Text);
  const std::string xml = Written(CountingFile(), TRPCFileForm::XML);
  const struct {
    const std::string& good;
    const char* from;
    const char* to;
    const char* message;
  } cases[] = {
      {rpb, "+1.55000000E+01);", "+1.55000000E+01,\n1);", "x:17: lineNumCoef: 21 numbers where 20 are needed"},
      {rpb, "\t\t\t+3.60000000E+01,\n", "", "x:80: sampDenCoef: 19 numbers where 20 are needed"},
      {rpb, "+2.00000000E+01", "twenty", "x:38: lineDenCoef: is no list of numbers"},
      {rpb, "latOffset = 3.00000000", "latOffset = 3,0", "x:9: latOffset: \"3,0\" is no number"},
      {rpb, "\tlatOffset", "\tlat", "x: latOffset: is missing"},
      {rpb, "\tsampNumCoef", "\tsamp", "x: sampNumCoef: is missing"},
      {rpb, "GROUP = IMAGE", "GROUP = BILD", "x: IMAGE: the group is missing"},
      {rpb, "= 1.50;", "= 1.7976931348623157e308;", "x: a number of the record is the mark for unset ones"},
      {text, "+1.50", "+1,50", "x:6: LINE_SCALE: \"+1,50 pixels\" is no number"},
      {text, "NUM_COEFF_3:", "NUM_COEFF_23:", "x:13: LINE_NUM_COEFF_23: is no coefficient: they count from 1 to 20"},
      {text, "SAMP_NUM_COEFF_3:", "SAMP_NUM_COEFF 3:", "x: SAMP_NUM_COEFF_3: is missing"},
      {xml, "LongitudeScale", "L", "x: LongitudeScale: is missing"},
      {xml, "SampleDenom", "S", "x: SampleDenom: the section is missing"},
      {xml, ">4.5<", ">4,5<", "x:10: LongitudeScale: \"4,5\" is no number"},
      {xml, "<item name=\"01\"", "<item", "x:15: \"item\" has no name"},
      {xml, ">7.5<", "><", "x:17: LineNum/03: has no number"},
  };
  for (const auto& c : cases) EXPECT_EQ(Complaint(Replaced(c.good, c.from, c.to)), c.message);
  EXPECT_EQ(Complaint(""), "x: is empty");
  EXPECT_EQ(Complaint("II*\n"), "x: is no RPC model in any form that is read here");
  TRPCFile file;
  TRPCFileError error;
  EXPECT_FALSE(ReadRPCFile("/no/such/file.RPB", &file, &error));
  EXPECT_EQ(error.GetText(), "/no/such/file.RPB: cannot be opened: No such file or directory");
}

TEST(RPCFile, NoTruncatedFileIsComplete) {
  for (const TRPCFileForm form : kForms) {
    TRPCFile file = CountingFile();
    file.extras = TRPCFileExtras();
    const std::string good = Written(file, form);
    // The last number of a text may end anywhere; the other forms say where they end.
    const std::size_t end =
        form == TRPCFileForm::Text ? good.rfind(": ") + 2 : good.rfind(form == TRPCFileForm::RPB ? ");" : ">");
    for (std::size_t size = 0; size <= end; ++size) EXPECT_NE(Complaint(good.substr(0, size)), "") << size;
  }
}

TEST(RPCFile, NullsFail) {
  TRPCData record = CountingRecord();
  EXPECT_FALSE(record.SaveToText(nullptr, "", "") || record.SaveToRPB(nullptr, "", "", 0, 0) ||
               record.SaveToXML(nullptr));
  EXPECT_FALSE(record.InitializeFromXML(nullptr) || record.InitializeFromText(nullptr));
  EXPECT_FALSE(record.InitializeFromTextFile("/no/such/file") || static_cast<bool>(record));
  TRPCFile file;
  EXPECT_FALSE(ReadRPCStream(nullptr, "x", &file, nullptr));
}

TEST(RPCFile, NamesAskForForms) {
  EXPECT_EQ(RPCFileFormOfName("a.b/x.RPB"), TRPCFileForm::RPB);
  EXPECT_EQ(RPCFileFormOfName("x_rpc.txt"), TRPCFileForm::Text);
  EXPECT_EQ(RPCFileFormOfName("x.Xml"), TRPCFileForm::XML);
  for (const char* name : {"", "x", "x.xml/y", "x.rpb.gz"}) EXPECT_FALSE(RPCFileFormOfName(name).has_value()) << name;
}

TEST_F(RPCRealFiles, KeepTheirBytesAndWhatStandsBeside) {
  for (const std::string& name : orbmath_test::RealModelFiles()) {
    TRPCFile file;
    ASSERT_TRUE(ReadRPCFile(RealDataPath(name), &file, nullptr)) << name;
    ExpectSameBytesThroughXml(file);
  }
  const auto extras = [](const std::string& name) {
    return Reread(orbmath_test::FileContent(RealDataPath(name))).extras;
  };
  EXPECT_EQ(extras("md_dg.RPB"), (TRPCFileExtras{"WV03", "Multi", 1.49, 0.58}));
  EXPECT_EQ(extras("md_ge_rgb_0010000_rpc.txt"), (TRPCFileExtras{{}, {}, 4.98, 0.5}));
  EXPECT_EQ(extras("md_kompsat.rpc"), TRPCFileExtras());
}

}  // namespace
}  // namespace SatCommonUtils
