// The record as XML: its keys, and readers that stay where they were.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "rpc/records.h"
#include "rpc/rpc_data.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::ReaderOf;
using orbmath_test::SameRecord;
using orbmath_test::SavedXml;

std::string XmlOf(const TRPCData& record) {
  return SavedXml([&](TZxXIniWriter* dst) { EXPECT_TRUE(record.SaveToXML(dst)); });
}

TEST(RPCXmlForm, WritesTheseKeysInOrder) {
  const auto reader = ReaderOf(XmlOf(CountingRecord()));
  const char* const keys[] = {"LineOffset",    "LineScale",       "SampleOffset",   "SampleScale",  "LatitudeOffset",
                              "LatitudeScale", "LongitudeOffset", "LongitudeScale", "HeightOffset", "HeightScale",
                              "LineNum",       "LineDenom",       "SampleNum",      "SampleDenom"};
  ASSERT_EQ(reader->GetCount(), 14u);
  for (std::size_t i = 0; i < 14; ++i) EXPECT_EQ(*reader->GetKey(i), keys[i]);
  ASSERT_TRUE(reader->EnterSectionS("SampleNum"));
  ASSERT_EQ(reader->GetCount(), 20u);
  EXPECT_EQ(*reader->GetKey(0), "00");
  EXPECT_EQ(*reader->GetKey(19), "19");
  EXPECT_EQ(reader->ReadE<double>(0), CountingRecord().sampNumCoef[0]);
}

TEST(RPCXmlForm, EveryBitComesBack) {
  const std::vector<double> special = orbmath_test::SpecialDoubles();
  TRPCData record = CountingRecord();
  std::copy_n(special.begin(), special.size(), record.lineDenCoef);
  TRPCData read;
  const auto reader = ReaderOf(XmlOf(record));
  EXPECT_TRUE(read.InitializeFromXML(reader.get()));
  EXPECT_TRUE(SameRecord(read, record));
  EXPECT_FALSE(static_cast<bool>(read));  // the largest double is the unset mark, and came back too
}

TEST(RPCXmlForm, NumeratorsHaveTwoNames) {
  std::string xml = XmlOf(CountingRecord());
  for (const std::string start : {"\"Line", "\"Sample"}) {
    xml.replace(xml.find(start + "Num"), start.size() + 3, start + "Nom");
  }
  TRPCData read;
  EXPECT_TRUE(read.InitializeFromXML(ReaderOf(xml).get()));
  EXPECT_TRUE(SameRecord(read, CountingRecord()));
}

TEST(RPCXmlForm, AFailureLeavesTheReaderInItsSection) {
  const std::string good = SavedXml([](TZxXIniWriter* dst) {
    const TZxXIniWriterSection outer(dst, "outer");
    EXPECT_TRUE(CountingRecord().SaveToXML(dst));
  });
  for (const char* key : {"HeightScale", "LineNum", "SampleDenom", "17"}) {
    std::string bad = good;
    const std::size_t place = bad.rfind("\"" + std::string(key) + "\"");
    ASSERT_NE(place, std::string::npos);
    bad.insert(place + 1, "x");
    const auto reader = ReaderOf(bad);
    ASSERT_TRUE(reader->EnterSectionS("outer"));
    TRPCData read = CountingRecord();
    EXPECT_FALSE(read.InitializeFromXML(reader.get())) << key;
    EXPECT_FALSE(static_cast<bool>(read)) << key;
    EXPECT_EQ(reader->GetPath(), "/outer") << key;
  }
}

TEST(RPCXmlForm, NullsAndFullStreamsFail) {
  TRPCData record = CountingRecord();
  EXPECT_FALSE(record.SaveToXML(nullptr));
  const std::size_t whole = XmlOf(record).size();
  for (std::size_t room = 0; room < whole; room += 97) {
    orbmath_test::ShortStream stream(room);
    TZxXIniStreamWriter writer(&stream);
    const bool saved = record.SaveToXML(&writer);
    EXPECT_FALSE(writer.Close() && saved) << room;
  }
  EXPECT_FALSE(record.InitializeFromXML(nullptr));
  EXPECT_FALSE(static_cast<bool>(record));
}

}  // namespace
}  // namespace SatCommonUtils
