// Element trees from and to XML text.

#include "frame/zxstd/xml_tree.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/zxstd/stream.h"

namespace SatCommonUtils {
namespace {

var_a<TZxXmlTagItem*> Read(const std::string& xml) {
  TZxStringStream stream(xml);
  return ZxReadXml(&stream);
}

std::string Written(const TZxXmlTagItem& root) {
  TZxStringStream stream;
  EXPECT_TRUE(WriteXml(&stream, &root));
  return stream.GetString();
}

constexpr const char* kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";

TEST(XmlTree, KeepsMixedContentInOrder) {
  const std::string xml = "<p a=\"1\" b=\"x &lt; y\">one<b>two</b> three <b>\n</b><c></c>&amp;four</p>";
  const var_a<TZxXmlTagItem*> root = Read(xml);
  ASSERT_TRUE(root);
  EXPECT_EQ(root->items.get_text(), "one three &four");
  EXPECT_EQ(root->attributes.get_value("b"), "x < y");
  EXPECT_EQ(root->attributes.get_value("c", "none"), "none");
  const std::size_t first = root->items.find_tag_f("b");
  const std::size_t second = root->items.find_tag_f("b", first + 1);
  EXPECT_EQ(first, 1u);
  EXPECT_EQ(second, 3u);
  EXPECT_EQ(root->items[second].as_tag()->items.get_text(), "\n");
  EXPECT_EQ(root->items.find_tag_f("b", second + 1), TZxXmlTagItems::npos);
  EXPECT_EQ(root->items.find_tag("d"), nullptr);
  EXPECT_EQ(root->items[0].as_tag(), nullptr);
  EXPECT_EQ(Written(*root), kHead + xml + "\n");
}

TEST(XmlTree, TextsComeBackExactly) {
  const std::vector<std::string> texts = {"", " ", "\n", "a\r\nb", "\t", "<&>\"'", "]]>", "\xE4\xB8\xAD&#10;"};
  TZxXmlTagItem root("root");
  for (const std::string& text : texts) {
    root.items.push_back_tag("t", text).attributes.push_back({"a", text});
    root.items.push_back_text("\n");
  }
  const var_a<TZxXmlTagItem*> back = Read(Written(root));
  ASSERT_TRUE(back);
  std::size_t index = 0;
  for (const std::string& text : texts) {
    index = back->items.find_tag_f("t", index);
    ASSERT_NE(index, TZxXmlTagItems::npos);
    const TZxXmlTagItem& tag = *back->items[index++].as_tag();
    EXPECT_EQ(tag.items.get_text(), text);
    EXPECT_EQ(tag.attributes.get_value("a"), text);
  }
}

TEST(XmlTree, WritesNothingThatIsNoXml) {
  const auto refused = [](const TZxXmlTagItem& root) {
    TZxStringStream stream;
    return !WriteXml(&stream, &root) && stream.GetString().empty();
  };
  for (const char* name : {"", "1a", "a b", "a<", "-a", "a\xFF"}) {
    TZxXmlTagItem root("root");
    root.items.push_back_tag(name);
    EXPECT_TRUE(refused(root)) << name;
    TZxXmlTagItem with_attribute("root");
    with_attribute.attributes.push_back({name, "x"});
    EXPECT_TRUE(refused(with_attribute)) << name;
  }
  for (const char* text : {"\x01", "\xFF", "\xC3"}) {
    TZxXmlTagItem root("root");
    root.items.push_back_text(text);
    EXPECT_TRUE(refused(root));
  }
  TZxStringStream stream;
  EXPECT_FALSE(WriteXml(&stream, nullptr));
  EXPECT_FALSE(WriteXml(nullptr, Read("<a/>").get()));
}

TEST(XmlTree, MalformedTextGivesLineAndCause) {
  for (const char* xml : {"", "text", "<a>", "<a></b>", "<a/><b/>", "<a b></a>", "<a"}) EXPECT_FALSE(Read(xml)) << xml;
  const struct {
    const char* xml;
    const char* message;
  } kCases[] = {
      {"x<a/>", "line 1: there is text outside of the root element"},
      {"<a/>\n\n x", "line 3: there is text outside of the root element"},
      {"<a/><![CDATA[x]]>", "line 1: there is text outside of the root element"},
      {"<a/>&#32;", "line 1: there is text outside of the root element"},
      {"<a b='1'\n c='2' b='3'/>", "line 1: the attribute \"b\" is given twice in one tag"},
      {"<a b='1'c='2'/>", "line 1: no blank stands between the attributes of a tag"},
      {"<a b=1/>", "line 1: the value of \"b\" is not in quotes"},
      {"<a b='x<y'/>", "line 1: the value of \"b\" holds a \"<\"; it is written \"&lt;\""},
      {"<a>\n&nbsp;</a>", "line 2: the entity \"&nbsp;\" is unknown"},
      {"<!DOCTYPE a [<!ENTITY e 'it\">s'>]><a>&e;</a>", "line 1: the entity \"&e;\" is unknown"},
      {"<a b='&AMP;'/>", "line 1: the entity \"&AMP;\" is unknown"},
      {"<a>&#xD800;</a>", "line 1: the entity \"&#xD800;\" is unknown"},
      {"<a>&#0;</a>", "line 1: the entity \"&#0;\" is unknown"},
      {"<a>\nx & y</a>", "line 2: an ampersand begins no entity; it is written \"&amp;\""},
      {"<a>\n\xE9t\xE9</a>", "line 2: there are bytes that are no UTF-8"},
      {"<a>\xC0\xAF</a>", "line 1: there are bytes that are no UTF-8"},
      {"<a>\x01</a>", "line 1: there is a character that XML does not know"},
      {"<!-- \xFF --><a/>", "line 1: there are bytes that are no UTF-8"},
      {"<a/><!-- ", "line 1: a comment is not closed"},
  };
  for (const auto& test : kCases) {
    TZxStringStream text{test.xml};
    try {
      ZxReadXmlE(&text);
      ADD_FAILURE() << test.xml;
    } catch (const TZxMessage& message) {
      EXPECT_EQ(message.GetText(), test.message) << test.xml;
    }
  }
  TZxStringStream stream("<a>\n<b>\n</c></a>");
  try {
    ZxReadXmlE(&stream);
    FAIL();
  } catch (const TZxMessage& message) {
    EXPECT_EQ(message.GetText().rfind("line 3: ", 0), 0u) << message.GetText();
  }
  EXPECT_FALSE(ZxReadXml(nullptr));
}

TEST(XmlTree, EveryEncodingIsReadTheSame) {
  const auto units = [](const std::u32string& text, std::size_t size, bool little_endian) {
    std::string bytes;
    for (const char32_t code : text) {
      for (std::size_t k = 0; k < size; ++k) {
        bytes += static_cast<char>(code >> 8 * (little_endian ? k : size - 1 - k) & 0xFF);
      }
    }
    return bytes;
  };
  // e with an acute accent, and U+1D11E as the two surrogates of UTF-16 or as itself.
  const std::u32string kWide = U"<a b='\u00E9'>\n&amp;\U0001D11E</a>";
  std::u32string kUtf16 = U"<a b='\u00E9'>\n&amp;";
  kUtf16 += {char32_t{0xD834}, char32_t{0xDD1E}};
  kUtf16 += U"</a>";
  std::vector<std::string> texts = {"<a b='\xC3\xA9'>\n&#38;&#x1D11E;</a>",
                                    "\xEF\xBB\xBF<a b='\xC3\xA9'>\n&amp;&#119070;</a>",
                                    "<?xml version='1.0' encoding='ISO-8859-1'?><!DOCTYPE a [ <!-- ' --> <?x ' ?> ]>"
                                    "<a b='\xE9'>\n&amp;&#119070;</a>\n<!-- end -->"};
  for (const bool little_endian : {false, true}) {
    for (const char32_t mark : {char32_t{0xFEFF}, char32_t{0}}) {
      const std::u32string front = mark == 0 ? U"" : std::u32string(1, mark);
      texts.push_back(units(front + kUtf16, 2, little_endian));
      texts.push_back(units(front + kWide, 4, little_endian));
    }
  }
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const auto tree = Read(texts[i]);
    ASSERT_TRUE(tree) << i;
    EXPECT_EQ(tree->attributes.get_value("b"), "\xC3\xA9") << i;
    EXPECT_EQ(tree->items.get_text(), "\n&\xF0\x9D\x84\x9E") << i;
  }
  EXPECT_FALSE(Read(texts[3].substr(0, texts[3].size() - 1))) << "half a character";
  kUtf16.erase(kUtf16.size() - 5, 1);
  EXPECT_FALSE(Read(units(kUtf16, 2, true))) << "a surrogate without its twin";
}

TEST(XmlTree, NestingIsBoundedAndDestructionDoesNotRecurse) {
  const auto nested = [](std::size_t depth) {
    std::string xml;
    for (std::size_t i = 0; i < depth; ++i) xml += "<a>";
    for (std::size_t i = 0; i < depth; ++i) xml += "</a>";
    return xml;
  };
  EXPECT_TRUE(Read(nested(kZxMaxXmlDepth)));
  EXPECT_FALSE(Read(nested(kZxMaxXmlDepth + 1)));
  EXPECT_FALSE(Read(nested(1000000)));

  TZxXmlTagItem root("a");
  TZxXmlTagItem* deepest = &root;
  for (int i = 0; i < 1000000; ++i) deepest = &deepest->items.push_back_tag("a");
  TZxStringStream stream;
  EXPECT_FALSE(WriteXml(&stream, &root));
}

TEST(XmlTree, DestructionIsLinearInAnyShape) {
  // A comb: each element holds leaves on both sides of the next one. And a wide element of elements.
  for (const int siblings : {0, 1, 3}) {
    var_a<TZxXmlTagItem*> kept;
    {
      TZxXmlTagItem root("a");
      TZxXmlTagItem* deepest = &root;
      for (int depth = 0; depth < 200000; ++depth) {
        for (int i = 0; i < siblings; ++i) deepest->items.push_back_tag("leaf", "text");
        const var_a<TZxXmlTagItem*> next = make_var_a<TZxXmlTagItem>("next");
        deepest->items.push_back(next);
        for (int i = 0; i < siblings; ++i) deepest->items.push_back_tag("leaf", "text");
        deepest = next.get();
        if (depth == 100000) kept = next;
      }
    }
    EXPECT_EQ(kept.use_count(), 1) << "the tree is gone";
    EXPECT_EQ(kept->items.size(), 1u + 2 * static_cast<std::size_t>(siblings)) << "what is shared is left whole";
  }
  TZxXmlTagItem wide("a");
  for (int i = 0; i < 200000; ++i) wide.items.push_back_tag("b", "text").items.push_back_tag("c", "text");
}

TEST(XmlTree, SharedItemsOutliveTheTree) {
  var_a<TZxXmlTagItem*> shared;
  {
    TZxXmlTagItem root("root");
    shared = make_var_a<TZxXmlTagItem>("shared");
    shared->items.push_back_tag("inner", "text");
    root.items.push_back(shared);
  }
  EXPECT_EQ(shared->items.find_tag("inner")->items.get_text(), "text");
}

class Stopper : public TZxProgressHandler {
 public:
  bool Progress(double fraction) override {
    last = fraction;
    return false;
  }
  double last = 0.0;
};

TEST(XmlTree, ProgressCanStopTheReading) {
  Stopper stopper;
  TZxStringStream stream("<a/>");
  EXPECT_FALSE(ZxReadXml(&stream, 0, &stopper));
  EXPECT_EQ(stopper.last, 0.5);
}

}  // namespace
}  // namespace SatCommonUtils
