// Files of any form: recognition, what stands beside the record, conversions, errors.

#include "rpc/rpc_file.h"

#include <gtest/gtest.h>

#include <string>

#include "rpc/records.h"
#include "support/real_data.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::Replaced;
using orbmath_test::SameRecord;

constexpr TRPCFileForm kForms[] = {TRPCFileForm::RPB, TRPCFileForm::Text, TRPCFileForm::XML};

TRPCFileExtras AllExtras() { return {"WV \"03\"", "Multi;", 1.49, 0.58}; }

std::string Written(const TRPCFile& file, TRPCFileForm form) {
  TZxStringStream stream;
  TRPCFileError error;
  EXPECT_TRUE(WriteRPCStream(&stream, "out", form, file.record, file.extras, TRPCTextErrors::Append, &error))
      << error.GetText();
  return stream.GetString();
}

TRPCFile Reread(const std::string& content) {
  TZxStringStream stream(content);
  TRPCFile file;
  TRPCFileError error;
  EXPECT_TRUE(ReadRPCStream(&stream, "in", &file, &error)) << error.GetText();
  return file;
}

// Message of a failed read of this content.
std::string Complaint(const std::string& content) {
  TZxStringStream stream(content);
  TRPCFile file;
  file.xml = "poison";
  TRPCFileError error;
  EXPECT_FALSE(ReadRPCStream(&stream, "x", &file, &error));
  EXPECT_EQ(file.xml, "poison");
  return error.GetText();
}

TEST(RPCFile, ConversionsBringTheSameBytesBack) {
  TRPCFile file;
  file.record = orbmath_test::FormatRecord();
  file.extras = {"WV03", "Multi; P", 1.49, 0.58};
  for (const TRPCFileForm form : kForms) {
    const std::string once = Written(file, form);
    const TRPCFile read = Reread(once);
    EXPECT_EQ(read.form, form);
    EXPECT_EQ(read.extras.biasError, 1.49);
    EXPECT_EQ(read.extras.satelliteId.has_value(), form != TRPCFileForm::Text);
    const std::string xml = Written(read, TRPCFileForm::XML);
    EXPECT_EQ(Written(Reread(xml), form), once) << RPCFileFormName(form);
    EXPECT_EQ(Reread(xml).xml, xml);
  }
}

TEST(RPCFile, ExtrasStandBesideAnyModelInXml) {
  const std::string xml = orbmath_test::SavedXml([](TZxXIniWriter* dst) {
    EXPECT_TRUE(CountingRecord().SaveToXML(dst));
    dst->WriteS<int>("RasterWidth", 7);
    const TZxXIniWriterSection refinement(dst, "Refinement");
    EXPECT_TRUE(dst->WriteS<double>("ErrorBias", 99));  // that of another section
    EXPECT_TRUE(TRPCFileExtras().SaveToXML(dst));
  });
  const TRPCFile bare = Reread(xml);
  EXPECT_EQ(bare.form, TRPCFileForm::AdjustedXML);
  EXPECT_EQ(bare.extras, TRPCFileExtras());
  TRPCFile full;
  full.record = CountingRecord();
  full.extras = AllExtras();
  const TRPCFile read = Reread(Written(full, TRPCFileForm::XML));
  EXPECT_EQ(read.form, TRPCFileForm::XML);
  EXPECT_EQ(read.extras, full.extras);
  EXPECT_TRUE(SameRecord(read.record, full.record));
}

TEST(RPCFile, TextCarriesErrorsOnDemandOnly) {
  TZxStringStream plain;
  TZxStringStream exact;
  const TRPCFileExtras extras = AllExtras();
  EXPECT_TRUE(CountingRecord().SaveToText(&exact, "", ""));
  EXPECT_TRUE(WriteRPCStream(&plain, "", TRPCFileForm::Text, CountingRecord(), extras, TRPCTextErrors::Omit, nullptr));
  EXPECT_EQ(plain.GetString(), exact.GetString());
  TRPCFile file;
  file.record = CountingRecord();
  file.extras = extras;
  EXPECT_EQ(Written(file, TRPCFileForm::Text),
            exact.GetString() + "ERR_BIAS: 0001.49 meters\r\nERR_RAND: 0000.58 meters\r\n");
}

TEST(RPCFile, RefusesToWriteWhatCouldNotBeRead) {
  const auto complaint = [](TRPCFileForm form, const TRPCData& record, const TRPCFileExtras& extras, std::size_t room) {
    orbmath_test::ShortStream stream(room);
    TRPCFileError error;
    EXPECT_FALSE(WriteRPCStream(&stream, "out", form, record, extras, TRPCTextErrors::Append, &error));
    return error.GetText();
  };
  const TRPCFileExtras none;
  EXPECT_EQ(complaint(TRPCFileForm::RPB, TRPCData(), none, 99999), "out: the record to write is incomplete");
  EXPECT_EQ(complaint(TRPCFileForm::RPB, CountingRecord(), AllExtras(), 99999),
            "out: satId: holds a character that the RPB form has no place for");
  EXPECT_EQ(complaint(TRPCFileForm::AdjustedXML, CountingRecord(), none, 99999),
            "out: an adjusted model is more than a record");
  for (const TRPCFileForm form : kForms) {
    EXPECT_EQ(complaint(form, CountingRecord(), none, 1000), "out: cannot be written whole");
  }
}

TEST(RPCFile, SaysWhatIsWrong) {
  TRPCFile file;
  file.record = CountingRecord();
  const std::string text = Written(file, TRPCFileForm::Text);
  const std::string xml = Written(file, TRPCFileForm::XML);
  EXPECT_EQ(Complaint(""), "x: is empty");
  EXPECT_EQ(Complaint("II*\n"), "x: is no RPC model: neither RPB nor text nor XML");
  EXPECT_EQ(Complaint(Replaced(text, "+1.50", "+1,50")), "x:6: LINE_SCALE: \"+1,50 pixels\" is no number");
  EXPECT_EQ(Complaint(Replaced(text, "SAMP_NUM_COEFF_3:", "SAMP_NUM_COEFF_23:")),
            "x:53: SAMP_NUM_COEFF_23: is no coefficient: they count from 1 to 20");
  EXPECT_EQ(Complaint(Replaced(text, "SAMP_NUM_COEFF_3:", "SAMP_NUM_COEFF 3:")), "x: SAMP_NUM_COEFF_3: is missing");
  EXPECT_EQ(Complaint(Replaced(xml, "LongitudeScale", "L")), "x: LongitudeScale: is missing");
  EXPECT_EQ(Complaint(Replaced(xml, "SampleDenom", "S")), "x: SampleDenom: the section is missing");
  EXPECT_EQ(Complaint(Replaced(xml, ">4.5<", ">4,5<")), "x:10: LongitudeScale: \"4,5\" is no number");
  EXPECT_EQ(Complaint(Replaced(xml, ">7.5<", "><")), "x:17: LineNum/03: has no number");
  EXPECT_NE(Complaint("<de_rpc></de_rpc>"), "");
  TRPCFileError error;
  EXPECT_FALSE(ReadRPCFile("/no/such/file.RPB", &file, &error));
  EXPECT_EQ(error.GetText(), "/no/such/file.RPB: cannot be opened");
  EXPECT_FALSE(ReadRPCStream(nullptr, "x", &file, nullptr));
}

TEST(RPCFile, ReadsNoTruncatedXmlAsComplete) {
  TRPCFile file;
  file.record = CountingRecord();
  const std::string good = Written(file, TRPCFileForm::XML);
  for (std::size_t size = 0; size + 1 < good.size(); ++size) {
    TZxStringStream stream(good.substr(0, size));
    ASSERT_FALSE(ReadRPCStream(&stream, "cut", &file, nullptr)) << size;
  }
}

TEST(RPCFile, NamesAskForForms) {
  EXPECT_EQ(RPCFileFormOfName("a.b/x.RPB"), TRPCFileForm::RPB);
  EXPECT_EQ(RPCFileFormOfName("x_rpc.txt"), TRPCFileForm::Text);
  EXPECT_EQ(RPCFileFormOfName("x.rpc"), TRPCFileForm::Text);
  EXPECT_EQ(RPCFileFormOfName("x.Xml"), TRPCFileForm::XML);
  for (const char* name : {"", "x", "x.xml/y", "x.rpb.gz"}) EXPECT_FALSE(RPCFileFormOfName(name).has_value()) << name;
}

}  // namespace
}  // namespace SatCommonUtils
