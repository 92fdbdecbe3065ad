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

TEST(PolygonText, ComesBackBitForBit) {
  for (const TPolygon& polygon : {TPolygon(), Known(), SpecialPolygon()}) {
    TPolygon read = Known();
    ASSERT_TRUE(read.InitializeFromText(polygon.GetString()));
    ExpectSameVertices(read, polygon);
  }
  EXPECT_EQ(TPolygon({{0, 0.5}, {-1, 2}}).GetString(), "(0;0.5)(-1;2)");
}

TEST(PolygonText, TakesBlanksAndNothingElse) {
  TPolygon polygon;
  ASSERT_TRUE(polygon.InitializeFromText(" ( 7 ;+7)\n(8 ; 7.0)\t(8;8e0 ) "));
  EXPECT_EQ(polygon, Known());
  const std::string whole = Known().GetString();
  for (std::size_t length = 1; length < whole.size(); ++length) {
    if (whole[length - 1] == ')') continue;
    EXPECT_FALSE(polygon.InitializeFromText(whole.substr(0, length))) << length;
  }
  for (const char* bad :
       {"x", "(1;2", "(1,2)", "(1;2;3)", "(;2)", "(1;1e999)", "(1;2))", "1;2", "(1;+-2)", "(1;0x1p3)"}) {
    EXPECT_FALSE(polygon.InitializeFromText(bad)) << bad;
  }
  EXPECT_EQ(polygon, Known()) << "failures leave it alone";
}

TEST(PolygonXml, ComesBackBitForBitAmongOtherItems) {
  for (const TPolygon& polygon : {TPolygon(), Known(), SpecialPolygon()}) {
    const std::string xml = SavedXml([&polygon](TZxXIniWriter* writer) {
      writer->WriteS<int>("Before", 1);
      EXPECT_TRUE(polygon.SaveToXML(writer));
      writer->WriteS<int>("Behind", 2);
    });
    TPolygon read = Known();
    ASSERT_TRUE(read.InitializeFromXML(ReaderOf(xml).get()));
    ExpectSameVertices(read, polygon);
  }
}

TEST(PolygonXml, BadVertexLeavesThePolygonAlone) {
  for (const char* bad : {"", "(1;2)(3;4)", "(1;2) x", "(1)", "1 2"}) {
    const std::string xml = SavedXml([bad](TZxXIniWriter* writer) {
      writer->WriteS<std::string>("Vertex", "(1;2)");
      writer->WriteS<std::string>("Vertex", bad);
    });
    TPolygon polygon = Known();
    EXPECT_FALSE(polygon.InitializeFromXML(ReaderOf(xml).get())) << bad;
    EXPECT_EQ(polygon, Known());
  }
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

TEST(PolygonMif, ComesBackBitForBit) {
  // One is closed already, one has collinear and extreme coordinates.
  const std::vector<TPolygon> polygons = {TPolygon({{0, 0}, {1, 0}, {1, 1}, {0, 0}}),
                                          TPolygon({{0.1, -0.0}, {5e-324, 1.0 / 3.0}, {1.7e308, -1e22}})};
  TZxStringStream stream;
  ASSERT_TRUE(WriteMIF(&stream, polygons));
  std::vector<std::vector<TPolygon>> regions;
  ASSERT_TRUE(ReadMIF(&stream, &regions));
  ASSERT_EQ(regions.size(), polygons.size());
  for (std::size_t i = 0; i < polygons.size(); ++i) ExpectSameVertices(regions[i].at(0), polygons[i]);

  TZxStringStream single;
  ASSERT_TRUE(polygons[1].SaveToMIF(&single));
  TPolygon read;
  ASSERT_TRUE(read.InitializeFromMIF(&single));
  ExpectSameVertices(read, polygons[1]);
}

TEST(PolygonMif, WritesNothingThatItCannotHold) {
  for (const TPolygon& polygon : {TPolygon(), TPolygon({{0, 0}, {1, 1}}), SpecialPolygon()}) {
    TZxStringStream stream;
    EXPECT_FALSE(WriteMIF(&stream, {Known(), polygon}));
    EXPECT_EQ(stream.GetString(), "");
  }
  TZxStringStream stream;
  EXPECT_FALSE(WriteMIF(&stream, {Known()}, "Earth\nData"));
}

TEST(PolygonMif, MalformedFilesLeaveTheOutputAlone) {
  const std::string head = "Version 300\nColumns 0\nData\n";
  const std::string cases[] = {
      "",
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
      head + "Region 2\n3\n0 0\n1 0\n1 1\n",
  };
  for (const std::string& text : cases) {
    std::vector<std::vector<TPolygon>> regions{{Known()}};
    TZxStringStream stream(text);
    EXPECT_FALSE(ReadMIF(&stream, &regions)) << text;
    EXPECT_EQ(regions.at(0).at(0), Known()) << text;
    TPolygon polygon = Known();
    TZxStringStream again(text);
    EXPECT_FALSE(polygon.InitializeFromMIF(&again)) << text;
    EXPECT_EQ(polygon, Known()) << text;
  }
}

}  // namespace
}  // namespace SatCommonUtils
