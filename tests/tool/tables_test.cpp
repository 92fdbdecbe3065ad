// Tables: how headers, separators, quotes and angles are read.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "points/angle_text.h"
#include "points/table_layout.h"

namespace orbmath_test {

namespace {

using namespace orbmath_tool;

/// Rows as "[lat lon height|id|others...]", refused ones as "!reason".
std::string Read(const std::string& text, const std::string& names = "") {
  std::vector<TableColumn> wanted{columns::kLat, columns::kLon, columns::kHeight.Optional(-1), columns::kId};
  wanted[2].may_be_missing = true;
  LayoutFinder finder(wanted, ColumnNames(names), true, LayoutFinder::Header::KnownNames);
  if (!finder.Look(text)) return "no layout";
  if (!finder.Layout().missing.empty()) return "missing " + finder.Layout().missing;
  std::string rows = text;
  const std::string_view header = finder.HeaderLine();
  if (!header.empty()) rows.erase(0, static_cast<std::size_t>(header.data() - text.data()) + header.size() + 1);
  LineBlock block;
  ParseRows(rows, finder.Layout(), &block);
  std::string shown;
  std::size_t point = 0;
  std::size_t refused = 0;
  for (const PointLine& line : block.lines) {
    if (line.kind == PointLine::Kind::Refused) shown += "!" + block.refused[refused++].reason;
    if (line.kind != PointLine::Kind::Point) continue;
    shown += "[";
    for (int i = 0; i < 3; ++i) {
      char number[32];
      std::snprintf(number, sizeof number, i == 0 ? "%g" : " %g", block.in[i][point]);
      shown += number;
    }
    for (std::size_t i = 3; i < block.texts.size(); ++i) shown += "|" + std::string(block.texts[i][point]);
    shown += "]";
    ++point;
  }
  return shown;
}

struct TableRow {
  const char* name;
  const char* text;
  const char* names;
  const char* read;
};

class Tables : public ::testing::TestWithParam<TableRow> {};

TEST_P(Tables, Row) { EXPECT_EQ(Read(GetParam().text, GetParam().names), GetParam().read); }

INSTANTIATE_TEST_SUITE_P(
    Separators, Tables,
    ::testing::Values(TableRow{"order", "45 7 500\n46 8\n", "", "[45 7 500|][46 8 -1|]"},
                      TableRow{"comma", "Longitude (deg),\"lat\",ID,h\n7,45,A 1,500\n", "", "[45 7 500|A 1]"},
                      TableRow{"semicolon", "lat_deg;lon_deg;note\n45;7;a, b\n", "", "[45 7 -1||a, b]"},
                      TableRow{"tab_with_empty_fields", "Point ID\tlat\tlon\tz\n\t45\t7\t\n", "", "[45 7 -1|]"},
                      TableRow{"blanks", "name lat lon\n'a 45 7 # b\n", "", "[45 7 -1|'a]"},
                      TableRow{"blanks_under_commas", "lat,lon,h\n45 7 500\n", "", "[45 7 500|]"},
                      TableRow{"columns_option", "x;7;45\ny;8;46\n", "id,lon,lat", "[45 7 -1|x][46 8 -1|y]"},
                      TableRow{"columns_over_header", "a,b\n7,45\n", "lon,lat", "[45 7 -1|]"},
                      TableRow{"names_in_a_comment", "# survey\n#lon\tlat\n7\t45\n", "", "[45 7 -1|]"},
                      TableRow{"comment_of_other_length", "# lon lat\n45 7 500\n", "", "[45 7 500|]"},
                      TableRow{"own_names_before_aliases", "x,y,lat,lon\n1,2,45,7\n", "", "[45 7 -1||1|2]"},
                      TableRow{"short_and_long_rows", "lat,lon,id\n45\n45,7,a,b,c\n45,7\n", "",
                               "!the row ends before its column 'lon'[45 7 -1|a][45 7 -1|]"},
                      TableRow{"names_end_in_a_separator", "lon;lat;\n7;45;\n", "", "[45 7 -1||]"},
                      TableRow{"comma_and_blank", "lat lon h\n45, 7 , 500\n45,7,500\n", "", "[45 7 500|][45 7 500|]"},
                      TableRow{"decimal_commas", "lat lon h\n45,5 7,5 500\n", "",
                               "!commas and blanks both stand between numbers; decimals are written with a point"},
                      TableRow{"missing_name", "lat,height\n45,7\n", "", "missing lon"},
                      TableRow{"unknown_words", "a b\n45 7\n", "", "!'a' is not a finite number (lat)[45 7 -1|]"}),
    [](const auto& row) { return std::string(row.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Quotes, Tables,
    ::testing::Values(TableRow{"doubled", "id,lat,lon\n\"a \"\"b\"\", c\",45,\"7\"\n", "", "[45 7 -1|a \"b\", c]"},
                      TableRow{"not_closed", "id,lat,lon\n\"a,45,7\nb,46,8\n", "",
                               "!a quote is not closed, or something stands behind it[46 8 -1|b]"},
                      TableRow{"behind", "id,lat,lon\n\"a\"b,45,7\n", "",
                               "!a quote is not closed, or something stands behind it"},
                      TableRow{"blanks", "id lat lon\n\"a b\" 45 7\n", "", "[45 7 -1|a b]"},
                      TableRow{"number_sign", "id,lat,lon,use\nGCP #3,45,7,a #b\n", "", "[45 7 -1|GCP #3|a]"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(AnglesTest, DegreesMinutesAndSecondsAreRead) {
  const struct {
    const char* text;
    const char* letters;
    double degrees;
  } rows[] = {{"47\xC2\xB0"
               "20'15.3\"N",
               "NS", 47.3375833333333},
              {"47:20:15.3 S", "NS", -47.3375833333333},
              {"-8 30", "EW", -8.5},
              {"W8d30'", "EW", -8.5},
              {"E 8.25", "EW", 8.25},
              {"0d0'36\"W", "EW", -0.01}};
  for (const auto& row : rows) {
    double degrees = 0.0;
    EXPECT_TRUE(ParseAngle(row.text, row.letters, &degrees)) << row.text;
    EXPECT_NEAR(degrees, row.degrees, 1e-12) << row.text;
  }
  for (const char* text : {"", "N", "47E", "-47N", "47:60", "47.5:20", "47:20:15:3", "47x", "4 7 5 6", "47 20 60"}) {
    double degrees = 1.5;
    EXPECT_FALSE(ParseAngle(text, "NS", &degrees)) << text;
    EXPECT_EQ(degrees, 1.5) << text;
  }
}

TEST(AnglesTest, WrittenAnglesComeBackAndHaveNoSixty) {
  for (const double degrees : {47.3375833333, -0.0002777, 179.99999999999, 7.0}) {
    char text[128];
    const std::string written(text, PrintAngle(degrees, "EW", 6, text));
    double read = 0.0;
    EXPECT_TRUE(ParseAngle(written, "EW", &read)) << written;
    EXPECT_NEAR(read, degrees, 2e-10) << written;
    EXPECT_EQ(written.find("60"), std::string::npos) << written;
  }
}

}  // namespace

}  // namespace orbmath_test
