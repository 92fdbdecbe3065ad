#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "geometry/polygon.h"
#include "geometry/polygon_mif.h"
#include "support/bits.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::ReaderOf;
using orbmath_test::SameBits;
using orbmath_test::SavedXml;

const TPolygon& Known() {
  static const TPolygon polygon({{7, 7}, {8, 7}, {8, 8}});
  return polygon;
}

/// Neighbours in the list of special values as vertices.
TPolygon SpecialPolygon() {
  const std::vector<double> values = orbmath_test::SpecialDoubles();
  std::vector<xy_d> vertices;
  for (std::size_t i = 0; i < values.size(); ++i) vertices.emplace_back(values[i], values[(i + 1) % values.size()]);
  return TPolygon(vertices);
}

void ExpectSameVertices(const TPolygon& a, const TPolygon& b) {
  ASSERT_EQ(a.GetVertices().size(), b.GetVertices().size());
  for (std::size_t i = 0; i < a.GetVertices().size(); ++i) {
    EXPECT_TRUE(SameBits(a.GetVertices()[i].x, b.GetVertices()[i].x)) << i;
    EXPECT_TRUE(SameBits(a.GetVertices()[i].y, b.GetVertices()[i].y)) << i;
  }
}

/// The section of a polygon, another item behind it.
std::string Xml(const TPolygon& polygon, const std::string& last_key, const std::string& last_text) {
  return SavedXml([&](TZxXIniWriter* writer) {
    EXPECT_TRUE(polygon.SaveToXML(writer));
    writer->WriteS<std::string>(last_key, last_text);
  });
}

TEST(PolygonForms, ComeBackBitForBit) {
  EXPECT_EQ(TPolygon({{0, 0.5}, {-1, 2}}).GetString(), "(0;0.5)(-1;2)");
  for (const TPolygon& polygon : {TPolygon(), Known(), SpecialPolygon()}) {
    TPolygon read = TPolygon({{9, 9}});
    ASSERT_TRUE(read.InitializeFromText(polygon.GetString()));
    ExpectSameVertices(read, polygon);
    ASSERT_TRUE(read.InitializeFromXML(ReaderOf(Xml(polygon, "Other", "x")).get()));
    ExpectSameVertices(read, polygon);
  }
  // The first one is closed already.
  for (const TPolygon& polygon :
       {TPolygon({{0, 0}, {1, 0}, {1, 1}, {0, 0}}), TPolygon({{0.1, -0.0}, {5e-324, 1.0 / 3.0}, {1.7e308, -1e22}})}) {
    TZxStringStream stream;
    ASSERT_TRUE(polygon.SaveToMIF(&stream));
    TPolygon read;
    ASSERT_TRUE(read.InitializeFromMIF(&stream));
    ExpectSameVertices(read, polygon);
  }
}

TEST(PolygonMif, WritesNothingThatItCannotHold) {
  TZxStringStream stream;
  for (const TPolygon& bad : {TPolygon(), TPolygon({{0, 0}, {1, 1}}), SpecialPolygon()}) {
    EXPECT_FALSE(WriteMIF(&stream, {Known(), bad}));
  }
  EXPECT_FALSE(WriteMIF(&stream, {Known()}, "Earth\nData"));
  EXPECT_EQ(stream.GetString(), "");
}

TEST(PolygonText, TakesBlanksAndNothingElse) {
  TPolygon polygon;
  ASSERT_TRUE(polygon.InitializeFromText(" ( 7 ;+7)\n(8 ; 7.0)\t(8;8e0 ) "));
  EXPECT_EQ(polygon, Known());
  for (const char* bad :
       {"x", "(1;2", "(1,2)", "(1;2;3)", "(;2)", "(1;1e999)", "(1;2))", "1;2", "(1;+-2)", "(1;0x1p3)"}) {
    EXPECT_FALSE(polygon.InitializeFromText(bad)) << bad;
  }
  for (const char* bad : {"", "(1;2)(3;4)", "(1;2) x", "(1)", "1 2"}) {
    EXPECT_FALSE(polygon.InitializeFromXML(ReaderOf(Xml(TPolygon({{1, 2}}), "Vertex", bad)).get())) << bad;
  }
  EXPECT_EQ(polygon, Known()) << "failures leave it alone";
}

// The way files of the wild look: a column called Data, other objects, rings counted on the line of the keyword,
// commas, CR LF, any case, a ring that is not closed, pens behind.
constexpr const char* kWildMif =
    "\xEF\xBB\xBFversion 300\r\nCharset \"WindowsLatin1\"\r\nDELIMITER \",\"\r\nTransform 2,0,0,-1\r\n"
    "CoordSys Earth Projection 1, 104\r\nColumns 2\r\n  Data Char(20)\r\n  Region Integer\r\ndata\r\n\r\n"
    "Point 1 2\r\n    Symbol (34,0,12)\r\nText\r\n  \"Region 1\"\r\n  0 0 1 1\r\n"
    "REGION  2\r\n  5\r\n0 0\r\n4 0\r\n4 4\r\n0 4\r\n0 0\r\n  3\r\n1,1\r\n2,1\r\n2,2\r\n"
    "    Pen (1,2,0)\r\n    Brush (2,16777215,16777215)\r\n    Center 2 2\r\n"
    "region 1 3 5 5 6 5 6 6";

TEST(PolygonMif, ReadsFilesOfTheWild) {
  TZxStringStream stream(kWildMif);
  std::vector<std::vector<TPolygon>> regions;
  ASSERT_TRUE(ReadMIF(&stream, &regions));
  ASSERT_EQ(regions.size(), 2u);
  ASSERT_EQ(regions[0].size(), 2u);
  EXPECT_EQ(regions[0][0], TPolygon({{0, -1}, {8, -1}, {8, 3}, {0, 3}}));
  EXPECT_EQ(regions[0][1], TPolygon({{2, 0}, {4, 0}, {4, 1}}));
  EXPECT_EQ(regions[1].at(0), TPolygon({{10, 4}, {12, 4}, {12, 5}}));
}

TEST(PolygonMif, MalformedFilesLeaveTheOutputAlone) {
  const std::string head = "Version 300\nColumns 0\nData\n";
  const std::string cases[] = {"",
                               "Version 300\nRegion 1\n3\n0 0\n1 0\n1 1\n",
                               "Columns 18446744073709551615\nData\n",
                               head + "Region\n",
                               head + "Region x\n",
                               head + "Region -1\n",
                               head + "Region 4000000000\n3\n0 0\n1 0\n1 1\n",
                               head + "Region 1\n4000000000\n0 0\n1 0\n1 1\n",
                               head + "Region 1\n4\n0 0\n1 0\n1 1\n",
                               head + "Region 1\n3\n0 0\n1 0\n1 nan\n",
                               head + "Region 1\n3\n0 0\n1 0\n1 1e999\n",
                               head + "Region 1\n3\n0 0\n1 0\n1 1x\n",
                               head + "Region 2\n3\n0 0\n1 0\n1 1\n"};
  std::vector<std::vector<TPolygon>> regions{{Known()}};
  TPolygon polygon = Known();
  for (const std::string& text : cases) {
    TZxStringStream stream(text), again(text);
    EXPECT_FALSE(ReadMIF(&stream, &regions)) << text;
    EXPECT_FALSE(polygon.InitializeFromMIF(&again)) << text;
    EXPECT_TRUE(regions.at(0).at(0) == Known() && polygon == Known()) << text;
  }
}

TEST(PolygonForms, ThereIsNoneWithoutReaderWriterOrStream) {
  TPolygon polygon({{0, 0}, {1, 0}, {0, 1}});
  EXPECT_FALSE(polygon.SaveToXML(nullptr) || TPolygon().SaveToXML(nullptr) || polygon.InitializeFromXML(nullptr));
  EXPECT_FALSE(polygon.SaveToMIF(nullptr) || polygon.InitializeFromMIF(nullptr));
  EXPECT_EQ(polygon.GetVertices().size(), 3u);
}

}  // namespace
}  // namespace SatCommonUtils
