// PVL texts as they are found in the world.

#include "frame/sat_data_container/pvl.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/sat_data_container/numbers.h"
#include "frame/zxstd/xini_reader.h"
#include "support/real_data.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

// The items of a converted text in document order, each as "/group/key=value".
void Collect(TZxXIniReader* reader, std::string* out) {
  for (std::size_t i = 0; i < reader->GetCount(); ++i) {
    const std::string key = *reader->GetKey(i);
    if (const std::string* const text = reader->GetText(i)) {
      const std::string path = reader->GetPath();
      *out += (path == "/" ? path : path + "/") + key + "=" + *text + "|";
    } else {
      const TZxXIniSection section(reader, key);
      Collect(reader, out);
    }
  }
}

// As above, or the line and the cause of the failure.
std::string Converted(const std::string& pvl) {
  TZxStringStream in(pvl);
  TZxStringStream out;
  TPVLError error;
  if (!PVLtoXML(&in, &out, &error)) {
    EXPECT_EQ(out.GetString(), "") << "nothing is written on failure";
    return std::to_string(error.line) + ": " + error.text;
  }
  std::string items;
  Collect(orbmath_test::ReaderOf(out.GetString()).get(), &items);
  return items;
}

TEST(Pvl, FormsOfStatements) {
  const struct {
    const char* pvl;
    const char* items;
  } cases[] = {{"a = 1;\nb = 2;\nEND;", "/a=1|/b=2|"},
               {"a = 1\nb = 2\nEND\n", "/a=1|/b=2|"},
               {"a = 1 b = 2 END", "/a=1|/b=2|"},
               {"a=1;b=2", "/a=1|/b=2|"},
               {"\xEF\xBB\xBF"
                "a = 1\r\nb = 2\r\nEND\r\n",
                "/a=1|/b=2|"},
               {"a = 1\rb = 2\rEND", "/a=1|/b=2|"},
               {"  a\n =\n 1 ;;\n ; b = 2", "/a=1|/b=2|"},
               {"a = ;\nb = 2;", "/a=|/b=2|"},
               {"a =\nb = 2", "/a=|/b=2|"},
               {"a =\nEND", "/a=|"},
               {"a = 1; END; b = 2; \x01\x02", "/a=1|"},
               {"End = 5; a = 1; end", "/End=5|/a=1|"},
               {"a = two words; b = 2", "/a=two words|/b=2|"},
               {"a = 2009-10-01T12:00:00.5Z;", "/a=2009-10-01T12:00:00.5Z|"},
               {"a = http://host/x; b = 16#FF#", "/a=http://host/x|/b=16#FF#|"},
               {"^IMAGE = 5; a:b.c = 1;", "/^IMAGE=5|/a:b.c=1|"},
               {"aB = 1; AB = 2; aB = 3;", "/aB=1|/AB=2|/aB=3|"}};
  for (const auto& item : cases) EXPECT_EQ(Converted(item.pvl), item.items) << item.pvl;
}

TEST(Pvl, CommentsQuotesAndUnits) {
  const struct {
    const char* pvl;
    const char* items;
  } cases[] = {{"/* head */ a /* = */ = /* 0 */ 1 /* ; */; b = 2", "/a=1|/b=2|"},
               {"# head\na = 1 # one\n// more\nb = 2", "/a=1|/b=2|"},
               {"a = 1/* glued */b = 2", "/a=1|/b=2|"},
               {"a = \"x; y = 'z' /* no */ # (\"; b = 'say \"hi\"';", "/a=x; y = 'z' /* no */ # (|/b=say \"hi\"|"},
               {"a = \"\"; b = \"two\nlines\";", "/a=|/b=two\nlines|"},
               {"a = 5 <m>; b = 2.5<deg / s>\nc = (1 <m>, 2<m>) <x>", "/a=5|/b=2.5|/c=1,2|"}};
  for (const auto& item : cases) EXPECT_EQ(Converted(item.pvl), item.items) << item.pvl;
}

TEST(Pvl, ListsBecomeOneText) {
  const struct {
    const char* pvl;
    const char* items;
  } cases[] = {{"a = (1,\r\n\t\t+2.0E+00, /* c */\n -3 );", "/a=1,+2.0E+00,-3|"},
               {"a = {x, 'y z', \"w\"}; b = ()", "/a=x,y z,w|/b=|"},
               {"a = ((1, 2), {3}) b = 2", "/a=1,2,3|/b=2|"},
               {"a = (1,,2,)", "/a=1,,2,|"}};
  for (const auto& item : cases) EXPECT_EQ(Converted(item.pvl), item.items) << item.pvl;
}

TEST(Pvl, GroupsNest) {
  const std::string body = "x = 1";
  for (const auto& [begin, end] :
       std::vector<std::pair<std::string, std::string>>{{"BEGIN_GROUP = IMAGE", "END_GROUP = IMAGE"},
                                                        {"GROUP=\"IMAGE\";", "END_GROUP;"},
                                                        {"group = IMAGE", "end_group = image;"},
                                                        {"OBJECT = IMAGE", "END_OBJECT"},
                                                        {"Begin_Object = IMAGE", "End_Object = IMAGE"}}) {
    EXPECT_EQ(Converted("a = 0\n" + begin + "\n" + body + "\n" + end + "\nb = 2\nEND"), "/a=0|/IMAGE/x=1|/b=2|")
        << begin;
    EXPECT_EQ(Converted(begin + "\n" + begin + "\n" + body + "\n" + end + "\ny = 2\n" + end),
              "/IMAGE/IMAGE/x=1|/IMAGE/y=2|");
  }
}

TEST(Pvl, FaultsAreNamedWithTheirLine) {
  const struct {
    const char* pvl;
    const char* message;
  } cases[] = {
      {"", "0: there is no \"keyword = value\" in the text"},
      {"END;", "0: there is no \"keyword = value\" in the text"},
      {"a = 1;\nb;\n", "2: \"b\" is not followed by \"=\""},
      {"LINE_OFF: 5", "1: \"LINE_OFF:\" is not followed by \"=\""},
      {"<?xml?>", "1: \"<\" stands where a keyword is expected"},
      {"a = b = c", "1: a second \"=\" follows \"b\""},
      {"a = 1\r\n/* b", "2: the comment is not closed"},
      {"a = 1\n\nb = \"x;\nc = 2;", "3: the quoted text is not closed"},
      {"a = 1 <m;", "1: the unit is not closed"},
      {"a = (1,\n2;\nb = 3;", "2: the list that begins in line 1 is not closed, or a comma is missing in it"},
      {"a = (1,\n2\n", "3: the list that begins in line 1 is not closed, or a comma is missing in it"},
      {"a = (1 2)", "1: the list that begins in line 1 is not closed, or a comma is missing in it"},
      {"a = (1,2}", "1: the list that begins in line 1 is not closed, or a comma is missing in it"},
      {"a = (1,>)", "1: \">\" stands where a value is expected"},
      {"\nGROUP = A\nx = 1\n", "2: the group \"A\" is not closed"},
      {"GROUP = A\nx = 1\nEND", "1: the group \"A\" is not closed"},
      {"GROUP =\nx = 1", "1: \"GROUP\" has no name"},
      {"x = 1\nEND_GROUP = A", "2: no group is open that could end here"},
      {"GROUP = A\nEND_GROUP = B", "2: the group that is open here is \"A\" of line 1, which this does not end"},
      {"GROUP = A\nEND_OBJECT", "2: the group that is open here is \"A\" of line 1, which this does not end"},
      {"\xFF\xFE"
       "a",
       "1: the text is UTF-16, not UTF-8"}};
  for (const auto& item : cases) EXPECT_EQ(Converted(item.pvl), item.message) << item.pvl;
  EXPECT_FALSE(PVLtoXML(nullptr, nullptr));
}

TEST(Pvl, BytesAndLinesComeThrough) {
  TZxStringStream in("\n\nname = \"<&>\x01\xFF\"; k\xC3\xA9y = (\n1,\n2);\nlast = 3");
  TZxStringStream out;
  ASSERT_TRUE(PVLtoXML(&in, &out));
  const auto reader = orbmath_test::ReaderOf(out.GetString());
  EXPECT_EQ(reader->ReadKeyE<std::string>("name"), "<&>\x01\xFF");
  EXPECT_EQ(reader->GetLine(reader->FindFE("name")), 3u);
  EXPECT_EQ(reader->GetLine(reader->FindFE("k\xC3\xA9y")), 3u);
  EXPECT_EQ(reader->GetLine(reader->FindFE("last")), 6u);
}

constexpr const char* kModel =
    "satId = \"X1\";\nbandId = \"P\";\nBEGIN_GROUP = IMAGE\n\terrBias =    1.00;\n\tlineNumCoef = (\n\t\t\t+1.0E+00,\n"
    "\t\t\t-2.0E-03);\nEND_GROUP = IMAGE\nEND;";

// A text cut inside its group is never taken for a whole one.
TEST(Pvl, TruncationIsNoticed) {
  const std::string text = kModel;
  const std::size_t group = text.find("BEGIN_GROUP = IMAGE") + 18;
  const std::size_t group_end = text.find("END_GROUP") + 9;
  ASSERT_EQ(Converted(text), Converted(text.substr(0, group_end)));
  for (std::size_t size = group; size < group_end; ++size) {
    EXPECT_EQ(Converted(text.substr(0, size)).find('|'), std::string::npos) << text.substr(0, size);
  }
}

// Hostile shapes: each would take hours, or the stack, in a converter that is not linear and flat.
TEST(Pvl, HostileShapesAreBoundedAndLinear) {
  constexpr std::size_t kMany = 300000;
  const auto repeated = [](const std::string& piece) {
    std::string text;
    for (std::size_t i = 0; i < kMany; ++i) text += piece;
    return text;
  };
  EXPECT_EQ(Converted("a = " + repeated("(")), "1: lists are nested too deeply");
  EXPECT_EQ(Converted(repeated("GROUP = A\n")), "257: groups are nested too deeply");
  EXPECT_EQ(Converted("a = (" + repeated("1,") + "1)").size(), 2 * kMany + 5);
  EXPECT_EQ(Converted("a = " + repeated("w ") + ";").size(), 2 * kMany + 3);
  EXPECT_EQ(Converted("a = (1" + repeated("/* */") + ")"), "/a=1|");
  EXPECT_EQ(Converted("a = 1" + repeated(" # \n")), "/a=1|");
  EXPECT_EQ(Converted(repeated("a=") + "1").substr(0, 3), "1: ");
  EXPECT_EQ(Converted(repeated("a=\n") + "a=1").size(), 4 * kMany + 5);
}

class PvlOfRealModels : public orbmath_test::WithRealData {};

TEST_F(PvlOfRealModels, Converts) {
  for (const char* name : {"md_dg.RPB", "qb02_korea.RPB", "wv02_toulouse_left.RPB"}) {
    TZxStringStream in(orbmath_test::FileContent(orbmath_test::RealDataPath(name)));
    TZxStringStream out;
    ASSERT_TRUE(PVLtoXML(&in, &out)) << name;
    const auto reader = orbmath_test::ReaderOf(out.GetString());
    reader->EnterSectionSE("IMAGE");
    for (const char* list : {"lineNumCoef", "lineDenCoef", "sampNumCoef", "sampDenCoef"}) {
      EXPECT_EQ(SplitStringIntoDoubles(reader->ReadKeyE<std::string>(list), ",", nullptr, 0), 20u);
    }
  }
}

}  // namespace
}  // namespace SatCommonUtils
