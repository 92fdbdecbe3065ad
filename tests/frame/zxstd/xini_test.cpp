// Writing and reading documents of sections and items.

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/short_stream.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;

std::string Document(const std::string& inside) { return "<orbmath version=\"1\">" + inside + "</orbmath>"; }

// The text of the exception that `call` throws, or a text that says that there was none.
template <class Call>
std::string ThrownText(const Call& call) {
  try {
    call();
  } catch (const TZxMessage& message) {
    return message.what();
  }
  return "nothing was thrown";
}

TEST(XIni, EveryTextAndKeyComesBack) {
  const std::vector<std::string> texts = {"",
                                          " ",
                                          "\n",
                                          "\r\n",
                                          " a\tb ",
                                          "<&>\"'",
                                          "]]>",
                                          "%41",
                                          "C:\\x\\y",
                                          "caf\xC3\xA9 \xE4\xB8\xAD \xF0\x9F\x9B\xB0",
                                          std::string("a\0b", 3),
                                          "\x01\x1F\x7F",
                                          "\xFF\xFE",
                                          "\xC0\x80",
                                          "\xED\xA0\x80",
                                          "\xEF\xBF\xBF",
                                          "&#10;",
                                          "&lt;"};
  const std::string xml = SavedXml([&](TZxXIniWriter* writer) {
    for (const std::string& text : texts) {
      EXPECT_TRUE(writer->WriteS(text, text));
      const TZxXIniWriterSection section(writer, text);
      EXPECT_TRUE(writer->WriteS(std::string("inside"), text));
    }
  });
  const auto reader = ReaderOf(xml);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    ASSERT_NE(reader->GetKey(2 * i), nullptr);
    EXPECT_EQ(*reader->GetKey(2 * i), texts[i]);
    EXPECT_EQ(reader->FindF(texts[i]), 2 * i);
    EXPECT_EQ(reader->ReadE<std::string>(2 * i), texts[i]);
    const TZxXIniSection section(reader.get(), texts[i]);
    EXPECT_EQ(reader->ReadKeyE<std::string>("inside"), texts[i]);
  }
}

// Programs that carry text files may change every line end of them.
TEST(XIni, TextsSurviveOtherLineEnds) {
  const std::string text = "a\nb\r\nc\rd\t";
  const std::string xml = SavedXml([&](TZxXIniWriter* writer) { writer->WriteS("key", text); });
  std::string changed;
  for (const char c : xml) changed += c == '\n' ? std::string("\r\n") : std::string(1, c);
  EXPECT_EQ(ReaderOf(changed)->ReadKeyE<std::string>("key"), text);
}

TEST(XIni, EveryTypeComesBack) {
  const std::vector<double> doubles = orbmath_test::SpecialDoubles();
  const std::string xml = SavedXml([&](TZxXIniWriter* writer) {
    writer->WriteS("int", std::numeric_limits<int>::min());
    writer->WriteS("size", std::numeric_limits<unsigned long long>::max());
    writer->WriteS("yes", true);
    writer->WriteS("no", false);
    for (std::size_t i = 0; i < doubles.size(); ++i) writer->WriteS("d" + std::to_string(i), doubles[i]);
  });
  const auto reader = ReaderOf(xml);
  EXPECT_EQ(reader->ReadKeyE<int>("int"), std::numeric_limits<int>::min());
  EXPECT_EQ(reader->ReadKeyE<unsigned long long>("size"), std::numeric_limits<unsigned long long>::max());
  EXPECT_TRUE(reader->ReadKeyE<bool>("yes"));
  EXPECT_FALSE(reader->ReadKeyE<bool>("no"));
  for (std::size_t i = 0; i < doubles.size(); ++i) {
    EXPECT_TRUE(orbmath_test::SameBits(reader->ReadKeyE<double>("d" + std::to_string(i)), doubles[i]));
  }
}

TEST(XIni, FindStartsWhereItIsTold) {
  std::string many;
  for (int i = 0; i < 30; ++i) many += "<item name='x'>" + std::to_string(i) + "</item><item name='y'/>";
  const auto reader = ReaderOf(Document(many));
  EXPECT_EQ(reader->FindF("x"), 0u);
  EXPECT_EQ(reader->FindF("x"), 0u) << "the last hit must not hide an earlier one";
  EXPECT_EQ(reader->FindF("x", 1), 2u);
  EXPECT_EQ(reader->FindF("x", 58), 58u);
  EXPECT_EQ(reader->FindF("x", 59), TZxXIniReader::npos);
  EXPECT_EQ(reader->FindF("y", TZxXIniReader::npos), TZxXIniReader::npos);
  EXPECT_EQ(reader->FindF("z"), TZxXIniReader::npos);
  std::size_t position = 77;
  EXPECT_FALSE(reader->FindFP("z", &position));
  EXPECT_EQ(position, 77u);
  EXPECT_TRUE(reader->FindFP("y", &position));
  EXPECT_EQ(position, 1u);
}

TEST(XIni, ItemsAndSectionsOfOneName) {
  const auto reader = ReaderOf(Document("<item name='a'>1</item><section name='a'><item name='b'>2</item></section>"));
  EXPECT_EQ(reader->ReadKeyE<int>("a"), 1);
  EXPECT_EQ(reader->GetText(1), nullptr);
  EXPECT_EQ(reader->Read<int>(1, 5), 5);
  ASSERT_NE(reader->EnterSectionS("a"), 0u);
  EXPECT_EQ(reader->GetPath(), "/a");
  EXPECT_EQ(reader->ReadKeyE<int>("b"), 2);
  EXPECT_EQ(reader->EnterSectionS("a"), 0u) << "only children count";
  EXPECT_TRUE(reader->LeaveSection());
  EXPECT_FALSE(reader->LeaveSection());
}

TEST(XIni, MessagesNameLineKeyAndSection) {
  const auto reader = ReaderOf(
      "<orbmath>\n<section name='IMAGE'>\n<item name='lineScale'>12abc</item>"
      "<item name='bandId' line='40'>P</item></section></orbmath>");
  EXPECT_EQ(ThrownText([&] { reader->EnterSectionSE("IMAG"); }), "there is no section \"IMAG\" in section \"/\"");
  reader->EnterSectionSE("IMAGE");
  EXPECT_EQ(ThrownText([&] { reader->ReadKeyE<double>("lineScale"); }),
            "line 3: \"lineScale\" in section \"/IMAGE\" is \"12abc\", not a number");
  EXPECT_EQ(ThrownText([&] { reader->ReadKeyE<int>("bandId"); }),
            "line 40: \"bandId\" in section \"/IMAGE\" is \"P\", not a whole number");
  EXPECT_EQ(ThrownText([&] { reader->FindFE("latScale"); }), "there is no key \"latScale\" in section \"/IMAGE\"");
  EXPECT_EQ(ThrownText([&] { reader->ReadE<double>(TZxXIniReader::npos); }), "a key is missing in section \"/IMAGE\"");
}

TEST(XIni, GuardBringsTheReaderBack) {
  const auto reader = ReaderOf(Document("<section name='a'><section name='b'/></section>"));
  try {
    const TZxXIniSection section(reader.get(), "a");
    ASSERT_TRUE(section);
    reader->EnterSectionSE("b");  // by hand, and lost when the next line throws
    reader->FindFE("missing");
    FAIL();
  } catch (const TZxMessage&) {
    EXPECT_EQ(reader->GetPath(), "/");
  }
  TZxXIniSection absent(reader.get(), "b");
  EXPECT_FALSE(absent);
  EXPECT_FALSE(absent.Leave());
  EXPECT_EQ(reader->GetDepth(), 0u);
  TZxXIniSection present(reader.get(), "a");
  EXPECT_TRUE(present.Leave());
  EXPECT_FALSE(present.Leave());
}

TEST(XIni, RefusesWhatIsNoDocument) {
  for (const std::string& text :
       {std::string(), std::string("text"), std::string("<html/>"), std::string("<orbmath>"),
        std::string("<orbmath/><orbmath/>"), std::string("<orbmath version='2'/>"),
        std::string("<orbmath version='x'/>"), Document("<item>1</item>"), Document("<other name='a'/>"),
        Document("<item name='a'><item name='b'/></item>"), Document("loose text"),
        Document("<item name='a' escape='%'>%4</item>"), Document("<item name='a' escape='%'>%+1</item>"),
        Document("<item name='a' escape='\\'>x</item>")}) {
    EXPECT_THROW(ReaderOf(text), TZxMessage) << text;
  }
  EXPECT_THROW(TZxXIniStreamReader(nullptr), TZxMessage);
}

TEST(XIni, AcceptsWhatOtherProgramsMakeOfIt) {
  const auto reader = ReaderOf(
      "\xEF\xBB\xBF<?xml version='1.0'?>\r\n<!DOCTYPE orbmath>\r\n<!-- by hand -->\r\n<orbmath>\r\n"
      "  <item name='a'> 1<!-- one -->2 </item>\r\n  <item name='b'><![CDATA[<x>]]></item>\r\n</orbmath>\r\n");
  EXPECT_EQ(reader->ReadKeyE<int>("a"), 12);
  EXPECT_EQ(reader->ReadKeyE<std::string>("b"), "<x>");
  EXPECT_EQ(reader->GetLine(1), 6u);
}

TEST(XIni, EveryTruncationIsRefused) {
  const std::string xml = SavedXml([](TZxXIniWriter* writer) {
    const TZxXIniWriterSection section(writer, "LineNum");
    writer->WriteS("00", 0.125);
    writer->WriteS("bell", std::string("\a"));
  });
  for (std::size_t size = 0; size + 1 < xml.size(); ++size) {
    EXPECT_THROW(ReaderOf(xml.substr(0, size)), TZxMessage) << size;
  }
}

TEST(XIni, NestingIsBounded) {
  constexpr std::size_t kAllowed = 256;
  const auto nested = [](std::size_t depth, const std::string& open) {
    std::string inside;
    for (std::size_t i = 0; i < depth; ++i) inside += open;
    for (std::size_t i = 0; i < depth; ++i) inside += "</section>";
    return Document(inside);
  };
  EXPECT_NO_THROW(ReaderOf(nested(kAllowed, "<section name='s'>")));
  EXPECT_THROW(ReaderOf(nested(kAllowed + 1, "<section name='s'>")), TZxMessage);
  EXPECT_THROW(ReaderOf(nested(1000000, "<section name='s'>")), TZxMessage);
  TZxStringStream stream;
  TZxXIniStreamWriter writer(&stream);
  for (std::size_t i = 0; i < kAllowed; ++i) writer.BeginSectionSE("s");
  EXPECT_THROW(writer.BeginSectionSE("s"), TZxMessage);
  EXPECT_FALSE(writer.Close()) << "sections were open";
  EXPECT_NO_THROW(ReaderOf(stream.GetString()));
}

// 100,000 items in order, in random order and all of one key. A search that walks the section would take minutes.
TEST(XIni, ManyItemsAreFoundInLinearTime) {
  constexpr int kCount = 100000;
  const std::string xml = SavedXml([](TZxXIniWriter* writer) {
    for (int i = 0; i < kCount; ++i) writer->WriteS(std::to_string(i), i);
    const TZxXIniWriterSection section(writer, "same");
    for (int i = 0; i < kCount; ++i) writer->WriteS("key", i);
  });
  const auto reader = ReaderOf(xml);
  std::vector<int> order(kCount);
  for (int i = 0; i < kCount; ++i) order[static_cast<std::size_t>(i)] = i;
  for (const int i : order) ASSERT_EQ(reader->ReadKeyE<int>(std::to_string(i)), i);
  orbmath_test::Random random("frame");
  std::shuffle(order.begin(), order.end(), random.Engine());
  for (const int i : order) ASSERT_EQ(reader->ReadKeyE<int>(std::to_string(i)), i);
  const TZxXIniSection section(reader.get(), "same");
  for (const int i : order) {
    ASSERT_EQ(reader->FindFE("key", static_cast<std::size_t>(i)), static_cast<std::size_t>(i));
    ASSERT_EQ(reader->FindFE("key"), 0u);
  }
}

TEST(XIniWriter, TellsOfEveryShortWrite) {
  const auto write = [](TZxStream* stream) {
    TZxXIniStreamWriter writer(stream);
    try {
      writer.BeginSectionSE("s");
    } catch (const TZxMessage&) {
      EXPECT_FALSE(writer.WriteS("a", 1));
      return false;
    }
    const bool wrote = writer.WriteS("a", 1);
    const bool ended = writer.EndSection();
    const bool closed = writer.Close();
    EXPECT_TRUE(wrote || !ended);
    EXPECT_TRUE(ended || !closed);
    return closed;
  };
  TZxStringStream whole;
  EXPECT_TRUE(write(&whole));
  const std::size_t size = whole.GetString().size();
  for (std::size_t room = 0; room < size; ++room) {
    orbmath_test::ShortStream stream(room);
    EXPECT_FALSE(write(&stream)) << room;
  }
  EXPECT_FALSE(write(nullptr));
}

TEST(XIniWriter, NothingFollowsTheEnd) {
  TZxStringStream stream;
  TZxXIniStreamWriter writer(&stream);
  EXPECT_FALSE(writer.EndSection());
  EXPECT_TRUE(writer.Close());
  EXPECT_FALSE(writer.WriteS("a", 1));
  EXPECT_FALSE(writer.EndSection());
  EXPECT_THROW(writer.BeginSectionSE("s"), TZxMessage);
  EXPECT_NO_THROW(ReaderOf(stream.GetString()));
}

}  // namespace
}  // namespace SatCommonUtils
