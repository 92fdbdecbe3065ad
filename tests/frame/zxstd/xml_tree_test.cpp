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
  TZxStringStream stream("<a>\n<b>\n</c></a>");
  try {
    ZxReadXmlE(&stream);
    FAIL();
  } catch (const TZxMessage& message) {
    EXPECT_EQ(message.GetText().rfind("line 3: ", 0), 0u) << message.GetText();
  }
  EXPECT_FALSE(ZxReadXml(nullptr));
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
