// Pages: that texts from files stay texts, and the scales of plots on numbers that can be worked out by hand.

#include "report/page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "report/page_plots.h"
#include "report/page_scale.h"

namespace orbmath_tool {

namespace {

const double kNan = std::numeric_limits<double>::quiet_NaN();
const double kInfinite = std::numeric_limits<double>::infinity();

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

/// The x of the first two places of the path that begins with `start`.
std::pair<double, double> EndsOf(const std::string& svg, const std::string& start) {
  std::pair<double, double> ends{kNan, kNan};
  const std::size_t at = svg.find(start);
  if (at != std::string::npos) std::sscanf(svg.c_str() + at + start.size(), "%lf %*fL%lf", &ends.first, &ends.second);
  return ends;
}

TEST(PageTest, TextsAreEscaped) {
  EXPECT_EQ(HtmlText("<b a=\"1\" c='2'>&"), "&lt;b a=&quot;1&quot; c=&#39;2&#39;&gt;&amp;");
  EXPECT_EQ(HtmlText("Z\xC3\xBCrich \xFF\x01\x7F"), "Z\xC3\xBCrich \xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(PageCount(0) + " " + PageCount(999) + " " + PageCount(1000) + " " + PageCount(12345678),
            "0 999 1,000 12,345,678");
  EXPECT_EQ(PageNumber(kNan, 2) + " " + PageNumber(-0.001, 2), "none 0.00");
}

// Every way into a page is given an element; the only elements of these kinds are the page's own.
TEST(PageTest, NoWayIntoAPageLetsAnElementThrough) {
  const std::string evil = "</title></script></style><script>x()</script><img src=x onerror='x()'>\" onload=\"x()";
  const PageTable table{evil,
                        {{evil, evil, PageColumn::Kind::Text}, {evil, evil, PageColumn::Kind::Choice}},
                        {{{evil, evil}, PageTone::Bad}},
                        evil,
                        true,
                        1};
  GroundMap map;
  map.outlines = {{evil, {1.0, 2.0, 2.0}, {3.0, 3.0, 4.0}, PageTone::Plain}};
  map.marks = {{evil, 1.5, 3.5, PageTone::Second}};
  map.names = {evil, evil, evil};
  ArrowField field;
  field.arrows = {{evil, 0.5, 0.5, 1.0, 1.0, PageTone::Bad}};
  field.names = map.names;
  Page page(evil, evil, evil);
  page.Section(evil);
  page.Paragraph(evil);
  page.Facts({{evil, evil}});
  page.Figures({MapFigure(evil, evil, map), ArrowFigure(evil, evil, field),
                HistogramFigure(evil, evil, {{evil, {1.0, 2.0}}}, evil)});
  page.Table(table);
  const std::string html = page.Html();
  EXPECT_EQ(CountOf(html, "<script"), 1U);
  EXPECT_EQ(CountOf(html, "</script"), 1U);
  EXPECT_EQ(CountOf(html, "</style"), 1U);
  EXPECT_EQ(CountOf(html, "<img"), 0U);
  EXPECT_EQ(CountOf(html, "\" onload="), 0U);
  EXPECT_EQ(CountOf(html, "<h1"), 1U);
}

TEST(PageScaleTest, StepsAreRoundAndFit) {
  struct {
    double range;
    int most;
    double step;
  } const rows[] = {{10.0, 5, 2.0},   {11.0, 5, 5.0},  {1.0, 10, 0.1},     {0.3, 3, 0.1},
                    {16000, 4, 5000}, {7e-7, 4, 2e-7}, {50.0, 1, 50.0},    {51.0, 1, 100.0},
                    {0.0, 5, 1.0},    {kNan, 5, 1.0},  {kInfinite, 5, 1.0}};
  for (const auto& row : rows) EXPECT_DOUBLE_EQ(RoundStep(row.range, row.most), row.step) << row.range;
  const double lengths[][2] = {{19.9, 10.0}, {20.0, 20.0}, {0.5, 0.5}, {0.0999, 0.05}, {1000.0, 1000.0}, {-1.0, 1.0}};
  for (const auto& row : lengths) EXPECT_DOUBLE_EQ(RoundLength(row[0]), row[1]) << row[0];
  EXPECT_EQ(Multiples(-0.31, 0.31, 0.1).size(), 7U);
  EXPECT_EQ(Multiples(0.1, 0.3, 0.1).size(), 3U);  // both ends, though 3 * 0.1 is above 0.3
  EXPECT_TRUE(Multiples(0.0, 1.0, 1e-9).empty());
  EXPECT_EQ(AxisLabel(0.3, 0.1) + " " + AxisLabel(-1500, 500) + " " + AxisLabel(4e-7, 2e-7) + " " + AxisLabel(0, 1e-9),
            "0.3 -1500 4e-07 0");
}

TEST(PageScaleTest, EveryFiniteValueIsInOneClassOrBesideAll) {
  std::vector<double> values(1000);
  // Evenly over -4 ... 4: interquartile range 4, so the width is 2 * 4 / 10, and the next round step 1.
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = -4.0 + 8.0 * static_cast<double>(i) / 999.0;
  values.insert(values.end(), {1000.0, -2000.0, -3000.0, kNan, kInfinite});
  const HistogramClasses classes = ClassesOf({values});
  EXPECT_EQ(classes.width, 1.0);
  EXPECT_LT(classes.count, 30U);
  EXPECT_NEAR(std::remainder(classes.start, classes.width), 0.0, 1e-12);
  const HistogramCounts counts = CountsOf(values, classes);
  EXPECT_EQ(counts.above, 1U);
  EXPECT_EQ(counts.below, 2U);
  EXPECT_EQ(std::accumulate(counts.inside.begin(), counts.inside.end(), std::size_t{0}), 1000U);
}

TEST(PageScaleTest, ClassesOfFewOrEqualValues) {
  for (const std::vector<double>& values : {std::vector<double>{0.0}, {0.7, 0.7, 0.7}, {-3.0}, {1e-300}, {1.0, 2.0}}) {
    const HistogramClasses classes = ClassesOf({values, {}});
    const HistogramCounts counts = CountsOf(values, classes);
    EXPECT_GE(classes.count, 1U);
    EXPECT_EQ(std::accumulate(counts.inside.begin(), counts.inside.end(), std::size_t{0}), values.size());
  }
  EXPECT_EQ(ClassesOf({{}, {kNan}}).count, 0U);
}

// Half of a series that spreads ten times as far as the one drawn above it is no blunder.
TEST(PageScaleTest, EachSeriesHasItsOwnBlunders) {
  std::vector<double> narrow(400);
  std::vector<double> wide(400);
  for (std::size_t i = 0; i < 400; ++i) {
    narrow[i] = -0.05 + 0.1 * static_cast<double>(i) / 399.0;
    wide[i] = 10.0 * narrow[i];
  }
  narrow.push_back(50.0);
  const HistogramClasses classes = ClassesOf({narrow, wide});
  EXPECT_EQ(CountsOf(narrow, classes).above, 1U);
  EXPECT_EQ(CountsOf(wide, classes).above + CountsOf(wide, classes).below, 0U);
  EXPECT_LE(classes.width, 0.05) << "the narrow one has bars too";
}

TEST(PageScaleTest, GraticulesHaveStepsOfTheGlobeAndGoAcrossTheAntimeridian) {
  const Graticule town = GraticuleOf(47.21, 47.39, 8.38, 8.62, 5);
  EXPECT_DOUBLE_EQ(town.lat_step, 0.05);
  EXPECT_EQ(LatitudeLabel(town.lats.front(), town.lat_step), "47.25\u00b0\u00a0N");
  EXPECT_EQ(LongitudeLabel(town.lons.front(), town.lon_step), "8.40\u00b0\u00a0E");
  const Graticule fiji = GraticuleOf(-17.4, -16.6, 179.7, 180.5, 5);
  std::string labels;
  for (const double lon : fiji.lons) labels += LongitudeLabel(lon, fiji.lon_step) + " ";
  EXPECT_EQ(labels, "179.8\u00b0\u00a0E 180.0\u00b0 179.8\u00b0\u00a0W 179.6\u00b0\u00a0W ");
  EXPECT_EQ(LatitudeLabel(fiji.lats.front(), fiji.lat_step), "17.4\u00b0\u00a0S");
  const Graticule globe = GraticuleOf(-90.0, 90.0, -180.0, 180.0, 6);
  EXPECT_EQ(globe.lat_step, 30.0);
  EXPECT_EQ(globe.lon_step, 90.0);
  EXPECT_EQ(LatitudeLabel(0.0, 30.0) + LongitudeLabel(360.0, 90.0) + LongitudeLabel(-540.0, 90.0),
            "0\u00b0"
            "0\u00b0"
            "180\u00b0");
  std::vector<double> lons{179.9, -179.9, 540.2};
  HangTogether(&lons);
  EXPECT_NEAR(lons[1], 180.1, 1e-12);
  EXPECT_NEAR(lons[2], 180.2, 1e-12);
}

TEST(PageScaleTest, OfManyPointsTheWorstAndASampleAreTaken) {
  std::vector<double> values(10000, 1.0);
  for (std::size_t i = 0; i < 50; ++i) values[i * 113 + 7] = 2.0 + static_cast<double>(i);
  values[4321] = kNan;
  const std::vector<std::size_t> taken = WorstAndSample(values, 51, 51);
  ASSERT_EQ(taken.size(), 102U);
  EXPECT_TRUE(std::is_sorted(taken.begin(), taken.end()));
  EXPECT_EQ(std::adjacent_find(taken.begin(), taken.end()), taken.end());
  const auto has = [&](std::size_t i) { return std::binary_search(taken.begin(), taken.end(), i); };
  for (std::size_t i = 0; i < 50; ++i) EXPECT_TRUE(has(i * 113 + 7)) << i;
  EXPECT_TRUE(has(4321));
  // The sample reaches over the whole order.
  EXPECT_LT(taken.front(), 200U);
  EXPECT_GT(taken.back(), 9700U);
  EXPECT_EQ(WorstAndSample({3.0, 1.0}, 1, 1).size(), 2U);
}

// A scene across the antimeridian is one outline of a few kilometres, not one around the world.
TEST(PagePlotsTest, MapsHangTogetherAcrossTheAntimeridian) {
  GroundMap map;
  map.outlines = {{"a", {-17.0, -17.0, -17.1, -17.1}, {179.95, -179.95, -179.95, 179.95}, PageTone::Plain}};
  map.marks = {{"p", -17.05, 540.0 - 360.0, PageTone::Plain}, {"q", kNan, 1.0, PageTone::Plain}};
  const PageFigure figure = MapFigure("t", "c", map);
  // A tenth of a degree at this latitude is 10.65 km by the tables of the ellipsoid, the bar two.
  EXPECT_NE(figure.drawing.svg.find(">2 km<"), std::string::npos);
  const auto [left, right] = EndsOf(figure.drawing.svg, "class=\"outline\" d=\"M");
  const auto [from, to] = EndsOf(figure.drawing.svg, "class=\"scale\" d=\"M");
  EXPECT_NEAR((right - left) / (to - from), 10.65 / 2.0, 0.02);
  EXPECT_NE(figure.drawing.svg.find("\u00a0W<"), std::string::npos);
  EXPECT_EQ(CountOf(figure.drawing.svg, "<circle"), 1U);
  EXPECT_EQ(figure.numbers.rows.size(), 4U);
  const PageFigure nothing = MapFigure("t", "c", GroundMap());
  EXPECT_NE(nothing.drawing.svg.find("nothing to draw"), std::string::npos);
}

// Scenes over the whole globe: the map ends in the widest gap, here the Pacific, wherever the first of them lies.
TEST(PagePlotsTest, MapsEndInTheWidestGap) {
  GroundMap map;
  for (const double lon : {-97.0, 145.0, 1.0, 80.0}) map.marks.push_back({"p", 40.0, lon, PageTone::Plain});
  const std::string svg = MapFigure("t", "c", map).drawing.svg;
  EXPECT_NE(svg.find(">0\u00b0<"), std::string::npos) << svg;
  EXPECT_EQ(svg.find(">180\u00b0<"), std::string::npos) << svg;
}

// East is on the right, and halfway to the rim is half of its degrees. Names that are too long for one row get a
// second.
TEST(PagePlotsTest, DirectionsInTheSky) {
  const SkyMark east{"e", 90.0, 20.0, PageTone::Plain};
  const SkyMark unknown{"u", kNan, 20.0, PageTone::Plain};
  const SkyMark rim{"r", 180.0, 38.0, PageTone::Bad};
  const PageFigure figure = SkyFigure("t", "c", {east, unknown, rim}, {"a", "", "b"});
  EXPECT_NE(figure.drawing.svg.find("<circle class=\"mark\" cx=\"300.0\" cy=\"216.0\""), std::string::npos)
      << figure.drawing.svg;
  EXPECT_EQ(CountOf(figure.drawing.svg, "<title>"), 2U);
  const std::string name(30, 'n');
  EXPECT_EQ(SkyFigure("t", "c", {east}, {name, name, name}).drawing.height, figure.drawing.height + 36.0);
}

// The arrow in the key and the arrows of points have one scale; one arrow that is far too long is cut and counted.
TEST(PagePlotsTest, ArrowsShareTheScaleOfTheKey) {
  ArrowField field;
  field.last_line = 1000.0;
  field.last_sample = 1000.0;
  for (int i = 0; i < 20; ++i) field.arrows.push_back({"g", 50.0 * i, 500.0, 0.0, 2.0, PageTone::Plain});
  field.arrows.push_back({"b", 500.0, 100.0, 0.0, 90.0, PageTone::Bad});
  const PageFigure figure = ArrowFigure("t", "c", field);
  EXPECT_NE(figure.caption.find("1 arrow is much longer"), std::string::npos) << figure.caption;
  // Two pixels and the key's length in pixels, which stands behind it.
  EXPECT_NE(figure.drawing.svg.find(">2 px<"), std::string::npos) << figure.drawing.svg;
  const auto [key_from, key_to] = EndsOf(figure.drawing.svg, "class=\"arrow key\" d=\"M");
  const auto [from, to] = EndsOf(figure.drawing.svg, "class=\"arrow\" d=\"M");
  EXPECT_NEAR(key_to - key_from, to - from, 0.2);
  EXPECT_NE(ArrowFigure("t", "c", ArrowField()).drawing.svg.find("no arrow is longer"), std::string::npos);
  EXPECT_EQ(figure.caption.find("part of the image"), std::string::npos);
  for (ImageArrow& arrow : field.arrows) arrow.line *= 0.2;
  EXPECT_EQ(ArrowFigure("t", "c", field).caption.find("part of the image"), std::string::npos) << "wide as the image";
  for (ImageArrow& arrow : field.arrows) arrow.sample *= 0.2;
  EXPECT_NE(ArrowFigure("t", "c", field).caption.find("part of the image"), std::string::npos);
}

}  // namespace

}  // namespace orbmath_tool
