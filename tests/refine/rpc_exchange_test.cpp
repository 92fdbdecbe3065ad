#include "refine/rpc_exchange.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "frame/zxstd/unset_mark.h"
#include "rpc/records.h"
#include "support/bits.h"

using namespace SatCommonUtils;
using orbmath_test::CountingRecord;
using orbmath_test::SameBits;
using orbmath_test::SameRecord;

namespace {

TCipherRPCImpExpDataItem Item(const std::string& name) {
  TCipherRPCImpExpDataItem item;
  item.name = name;
  item.rpc = CountingRecord();
  item.rpc.sampDenCoef[19] = -2.5e-310;
  item.rpc.latScale = 0.1 + 0.2;
  item.refinement.LineBias = 1, item.refinement.LineDrift = 2, item.refinement.LineTilt = 3;
  item.refinement.SampleBias = 4, item.refinement.SampleDrift = 5, item.refinement.SampleTilt = -0.0;
  return item;
}

void ExpectSame(const TCipherRPCImpExpDataItem& a, const TCipherRPCImpExpDataItem& b) {
  EXPECT_EQ(a.name, b.name);
  EXPECT_TRUE(SameRecord(a.rpc, b.rpc));
  EXPECT_TRUE(SameBits(&a.refinement.LineBias, &b.refinement.LineBias, 6));
}

std::string TextOf(const TCipherRPCImpExpDataset& dataset) {
  TZxStringStream stream;
  EXPECT_TRUE(dataset.SaveToXML(&stream));
  return stream.GetString();
}

TCipherRPCImpExpDataset DatasetOf(const std::string& xml) {
  TZxStringStream stream(xml);
  const var_a<TZxXmlTagItem*> root = ZxReadXmlE(&stream);
  TCipherRPCImpExpDataset dataset;
  EXPECT_TRUE(dataset.InitializeFromXML(root.get()));
  return dataset;
}

}  // namespace

TEST(RPCExchange, ComesBackBitForBitThroughAFile) {
  TCipherRPCImpExpDataset dataset;
  dataset.items = {Item("Ünïted <1> & \"two\""), Item(" second ")};
  dataset.items[1].rpc.heightOffset = kUnsetMark;
  dataset.items[1].refinement.Reset();
  const std::string path = (std::filesystem::temp_directory_path() / "orbmath_exchange_test.xml").string();
  ASSERT_TRUE(dataset.SaveToXML(path));
  TCipherRPCImpExpDataset loaded;
  loaded.items.resize(5);
  ASSERT_TRUE(loaded.InitializeFromXML(path));
  std::filesystem::remove(path);
  ASSERT_EQ(loaded.items.size(), 2u);
  ExpectSame(loaded.items[0], dataset.items[0]);
  ExpectSame(loaded.items[1], dataset.items[1]);
  EXPECT_FALSE(loaded.items[1].refinement) << "what is unset stays so";
  EXPECT_EQ(TextOf(loaded), TextOf(dataset));
}

TEST(RPCExchange, LayoutOfAnImage) {
  TCipherRPCImpExpDataset dataset;
  EXPECT_NE(TextOf(dataset).find("<DE_RPC"), std::string::npos);
  EXPECT_EQ(TextOf(dataset).find("<image"), std::string::npos);
  dataset.items = {Item("a")};
  const std::string text = TextOf(dataset);
  std::size_t at = 0;
  for (const char* part : {"<image>",
                           "<name>a</name>\n",
                           "<LINEOFFSET>1</LINEOFFSET>\n",
                           "<LINESCALE>",
                           "<SAMPOFFSET>",
                           "<SAMPSCALE>",
                           "<LATOFFSET>",
                           "<LATSCALE>",
                           "<LONGOFFSET>",
                           "<LONGSCALE>",
                           "<HEIGHTOFFSET>",
                           "<HEIGHTSCALE>",
                           "<LINENUMCOEF>",
                           "<Coeff00>",
                           "<Coeff09>",
                           "<Coeff19>",
                           "</LINENUMCOEF>\n",
                           "<LINEDENCOEF>",
                           "<SAMPNUMCOEF>",
                           "<SAMPDENCOEF>",
                           "<Refinement>",
                           "<LineBias>1</LineBias>\n",
                           "<LineLine>2<",
                           "<LineSample>3<",
                           "<SampleBias>4<",
                           "<SampleLine>5<",
                           "<SampleSample>-0<",
                           "</Refinement>\n",
                           "</image>\n",
                           "</DE_RPC>"}) {
    const std::size_t found = text.find(part, at);
    ASSERT_NE(found, std::string::npos) << part;
    at = found;
  }
}

TEST(RPCExchange, DocumentsOfOtherHandsAreRead) {
  const TCipherRPCImpExpDataset dataset = DatasetOf(
      "<?xml version=\"1.0\"?>\n<!-- a comment -->\n<DE_RPC version=\"7\"> loose text <other/>\n"
      "  <image id=\"1\">\n\t<Refinement><SampleSample> 1.5 </SampleSample><!-- x --><LineBias>\n-2\n</LineBias>"
      "</Refinement>\n<LINESCALE>+1e3</LINESCALE><LINESCALE>7</LINESCALE><LINEOFFSET>twelve</LINEOFFSET>"
      "<SAMPDENCOEF><Coeff19>4</Coeff19><Coeff20>5</Coeff20></SAMPDENCOEF><name>\n b <!-- y -->c </name></image>\n"
      "<image/></DE_RPC>");
  ASSERT_EQ(dataset.items.size(), 2u);
  const TCipherRPCImpExpDataItem& item = dataset.items[0];
  EXPECT_EQ(item.name, "b c");
  EXPECT_EQ(item.refinement.SampleTilt, 1.5);
  EXPECT_EQ(item.refinement.LineBias, -2.0);
  EXPECT_EQ(item.refinement.LineDrift, kUnsetMark);
  EXPECT_EQ(item.rpc.lineScale, 1000.0) << "the first of two counts";
  EXPECT_EQ(item.rpc.lineOffset, kUnsetMark) << "no number";
  EXPECT_EQ(item.rpc.sampDenCoef[19], 4.0);
  ExpectSame(dataset.items[1], TCipherRPCImpExpDataItem());
}

TEST(RPCExchange, ANamespacePrefixIsPassedOver) {
  TCipherRPCImpExpDataset dataset;
  dataset.items = {Item("a"), Item("b")};
  std::string text = TextOf(dataset);
  for (std::size_t at = text.find("<DE_RPC"); at != std::string::npos; at = text.find('<', at + 1)) {
    text.insert(at + (text[at + 1] == '/' ? 2 : 1), "de:");
  }
  text.insert(text.find("DE_RPC") + 6, " xmlns:de=\"urn:de\"");
  const std::string path = (std::filesystem::temp_directory_path() / "orbmath_exchange_prefix.xml").string();
  std::ofstream(path) << text;
  TCipherRPCImpExpDataset loaded;
  EXPECT_TRUE(loaded.InitializeFromXML(path)) << text.substr(0, 200);
  std::filesystem::remove(path);
  ASSERT_EQ(loaded.items.size(), 2u);
  ExpectSame(loaded.items[0], dataset.items[0]);
  ExpectSame(loaded.items[1], dataset.items[1]);
}

TEST(RPCExchange, WhatIsNoDocumentLeavesTheListAlone) {
  TCipherRPCImpExpDataset dataset;
  dataset.items = {Item("kept")};
  const std::string path = (std::filesystem::temp_directory_path() / "orbmath_exchange_bad.xml").string();
  for (const char* text : {"", "<DE_RPC><image></DE_RPC>", "<OTHER><image/></OTHER>", "no xml"}) {
    TZxFileStream file;
    ASSERT_TRUE(file.Open(TZxPath(path), TZxOpenMode::Write));
    file.Write(text, std::string(text).size());
    ASSERT_TRUE(file.Close());
    EXPECT_FALSE(dataset.InitializeFromXML(path)) << text;
  }
  std::filesystem::remove(path);
  EXPECT_FALSE(dataset.InitializeFromXML(path)) << "no such file";
  EXPECT_FALSE(dataset.InitializeFromXML(static_cast<TZxXmlTagItem*>(nullptr)));
  EXPECT_FALSE(TCipherRPCImpExpDataItem().InitializeFromXML(nullptr));
  EXPECT_FALSE(dataset.SaveToXML(static_cast<TZxStream*>(nullptr)));
  EXPECT_FALSE(dataset.SaveToXML(path + "/no/such/folder"));
  ASSERT_EQ(dataset.items.size(), 1u);
  ExpectSame(dataset.items[0], Item("kept"));
  dataset.items[0].name = "bad\x01name";
  TZxStringStream stream;
  EXPECT_FALSE(dataset.SaveToXML(&stream));
}

TEST(RPCExchange, ASaveThatFailsLeavesTheOldFile) {
  const std::string path = (std::filesystem::temp_directory_path() / "orbmath_exchange_old.xml").string();
  TCipherRPCImpExpDataset dataset;
  dataset.items = {Item("kept")};
  ASSERT_TRUE(dataset.SaveToXML(path));
  dataset.items[0].name = "bad\x01name";
  EXPECT_FALSE(dataset.SaveToXML(path));
  EXPECT_TRUE(dataset.InitializeFromXML(path));
  std::filesystem::remove(path);
  ExpectSame(dataset.items[0], Item("kept"));
}
