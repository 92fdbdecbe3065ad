// Vendors' files: real ones against what independent programs read in them, and what each reader refuses.

#include <gtest/gtest.h>

#include <array>
#include <cctype>
#include <cstring>
#include <string>
#include <vector>

#include "frame/zxstd/text.h"
#include "rpc/records.h"
#include "rpc/rpc_file.h"
#include "support/expected_formats.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::CountingRecord;
using orbmath_test::FormatsPath;
using orbmath_test::Json;
using orbmath_test::Replaced;
using orbmath_test::SameRecord;
using VendorFiles = orbmath_test::WithFormats;

struct Kind {
  const char* name;
  TRPCFileForm form;
};

constexpr Kind kFiles[] = {
    {"PHRDIMAP_P1BP--2017030824934340CP.XML", TRPCFileForm::Dimap},
    {"rpc_PLEIADES.xml", TRPCFileForm::Dimap},
    {"RPC_md_ple.XML", TRPCFileForm::Dimap},
    {"RPC_md_pneo.XML", TRPCFileForm::Dimap},
    {"constructed_S6_RPC.XML", TRPCFileForm::Dimap},
    {"md_dg_2.XML", TRPCFileForm::IsdXml},
    {"rpc_WV3.xml", TRPCFileForm::IsdXml},
    {"imd_rpb/md_dg.RPB", TRPCFileForm::RPB},
    {"rpc.vrt", TRPCFileForm::GdalXml},
    {"pam.png.aux.xml", TRPCFileForm::GdalXml},
    {"phr_pan.geom", TRPCFileForm::KeywordList},
    {"qb-2.geom", TRPCFileForm::KeywordList},
    {"maido.geom", TRPCFileForm::KeywordList},
    {"qb-2_format_A.geom", TRPCFileForm::KeywordList},
    {"RPC-ALOS-constructed.txt", TRPCFileForm::FixedWidth},
    {"rpcm_object.json", TRPCFileForm::Json},
    {"rpcm_bare.json", TRPCFileForm::Json},
    {"envi.hdr", TRPCFileForm::EnviHeader},
    {"radarsat2_product.xml", TRPCFileForm::Radarsat},
};

TRPCFile ReadGood(const std::string& name, const TRPCFileOptions& options = {}) {
  TRPCFile file;
  TRPCFileError error;
  EXPECT_TRUE(ReadRPCFile(FormatsPath(name), options, &file, &error)) << error.GetText();
  return file;
}

// The lists of an image-to-ground model: those of latitude stand in the places of lines.
void ExpectDirectModel(const TRPCData& direct, const TRPCData& record, const Json& expected) {
  const struct {
    const char* key;
    const double* list;
  } lists[] = {{"LAT_NUM_COEFF", direct.lineNumCoef},
               {"LAT_DEN_COEFF", direct.lineDenCoef},
               {"LON_NUM_COEFF", direct.sampNumCoef},
               {"LON_DEN_COEFF", direct.sampDenCoef}};
  for (const auto& list : lists) {
    for (int k = 0; k < 20; ++k) EXPECT_EQ(list.list[k], expected[list.key].items[k].number) << list.key << k;
  }
  EXPECT_EQ(direct.latOffset, record.lineOffset);
  EXPECT_EQ(direct.sampScale, record.longScale);
}

TEST_F(VendorFiles, SayWhatIndependentProgramsRead) {
  for (const Kind& kind : kFiles) {
    SCOPED_TRACE(kind.name);
    const Json& expected = expected_.at(kind.name);
    const TRPCFile file = ReadGood(kind.name);
    EXPECT_EQ(file.form, kind.form);
    orbmath_test::ExpectRecord(file.record, expected, 0.0);
    orbmath_test::ExpectProjections(file.record, expected);
    orbmath_test::ExpectExtras(file, expected);
    EXPECT_EQ(file.origin.firstPixel, expected.Has("as_in_file") && expected["as_in_file"]["LINE_OFF"].number !=
                                                                        expected["record"]["LINE_OFF"].number);
    EXPECT_EQ(file.origin.directModel.has_value(), expected.Has("direct_model"));
    if (file.origin.directModel) ExpectDirectModel(*file.origin.directModel, file.record, expected["direct_model"]);
    EXPECT_EQ(file.origin.imageDomain.has_value(), expected.Has("domain"));
    if (!file.origin.imageDomain) continue;
    EXPECT_EQ(file.origin.imageDomain->firstLine, expected["domain"]["FIRST_ROW"].number - file.origin.firstPixel);
    EXPECT_EQ(file.origin.imageDomain->lastSample, expected["domain"]["LAST_COL"].number - file.origin.firstPixel);
  }
}

TEST_F(VendorFiles, TakeWhatLiesBesideThem) {
  const TRPCFile rpb = ReadGood("imd_rpb/md_dg.RPB");
  EXPECT_EQ(rpb.origin.rasterWidth, 50);
  EXPECT_EQ(rpb.origin.acquisitionTime, "2010-04-01T12:00:00.000000Z");
  EXPECT_EQ(rpb.origin.source, FormatsPath("imd_rpb/md_dg.RPB") + ", " + FormatsPath("imd_rpb/md_dg.IMD"));
  const TRPCFile dimap = ReadGood("RPC_md_ple.XML");
  EXPECT_EQ(dimap.extras.satelliteId, "PHR 1A");
  EXPECT_EQ(dimap.extras.bandId, "PX");
  EXPECT_EQ(dimap.origin.acquisitionTime, "2015-01-01T00:00:00.0Z");
  EXPECT_EQ(ReadGood("radarsat2_product.xml").extras.satelliteId, "RADARSAT-2");
  EXPECT_EQ(ReadGood("phr_pan.geom").origin.rasterHeight, 38890);
}

TEST_F(VendorFiles, LetTheCallerSayWhatTheFirstPixelIs) {
  const TRPCFile ruled = ReadGood("RPC_md_ple.XML");
  TRPCFileOptions options;
  options.firstPixel = 0;
  const TRPCFile told = ReadGood("RPC_md_ple.XML", options);
  EXPECT_EQ(told.record.lineOffset, ruled.record.lineOffset + 1.0);
  EXPECT_EQ(told.record.sampOffset, ruled.record.sampOffset + 1.0);
  EXPECT_EQ(told.record.lineScale, ruled.record.lineScale);
  EXPECT_EQ(told.origin.imageDomain->lastSample, ruled.origin.imageDomain->lastSample + 1.0);
  EXPECT_EQ(told.origin.directModel->latOffset, told.record.lineOffset);
  EXPECT_EQ(told.origin.firstPixelRule, "as the caller says");
  options.firstPixel = 1;
  EXPECT_EQ(ReadGood("qb-2.geom", options).record.sampOffset, 13762.0);
}

// The product description beside a model, and files whose numbers are words or zeros.
TEST_F(VendorFiles, RefuseWhatHasNoModel) {
  TRPCFile file;
  TRPCFileError error;
  EXPECT_FALSE(ReadRPCFile(FormatsPath("DIM_md_ple.XML"), &file, &error));
  EXPECT_EQ(error.key, "Global_RFM");
  EXPECT_FALSE(error.unknownForm);
  EXPECT_FALSE(ReadRPCFile(FormatsPath("tag_classic_little.tif"), &file, &error));
  EXPECT_TRUE(error.unknownForm);
  for (const auto& [name, expected] : expected_) {
    if (!expected.Has("must_refuse")) continue;
    EXPECT_FALSE(ReadRPCFile(FormatsPath(name), &file, &error)) << name;
    EXPECT_NE(error.reason, "") << name;
  }
}

// Every form by a small file of our own: the counting record, whose numbers are 1.0, 1.5, 2.0 ...

std::string Number(double number) { return std::to_string(number); }

std::string List(const double* list, const char* between) {
  std::string text;
  for (int k = 0; k < 20; ++k) text += (k == 0 ? "" : between) + Number(list[k]);
  return text;
}

const std::array<TRPCScalarField, 10>& Scalars() { return RPCScalarFields(); }

std::string Isd(const TRPCData& r, const char* order) {
  std::string xml = std::string("<?xml version=\"1.0\"?>\n<!-- isd -->\n<isd><RPB><SATID>WV09</SATID><SPECID>") +
                    order + "</SPECID><IMAGE>\n<ERRBIAS>1.5</ERRBIAS>\n";
  for (const auto& field : Scalars()) {
    const std::string key = toupper(field.rpbKey);
    xml += "<" + key + ">" + Number(r.*field.value) + "</" + key + ">\n";
  }
  for (const auto& field : RPCCoefficientFields()) {
    const std::string key = toupper(field.rpbKey);
    xml += "<" + key + "List><" + key + ">" + List(r.*field.values, " ") + "</" + key + "></" + key + "List>\n";
  }
  return xml + "</IMAGE></RPB></isd>";
}

std::string Geom(const TRPCData& r, const char* prefix) {
  std::string text = std::string(prefix) + "polynomial_format:  B\n";
  for (const auto& field : Scalars())
    text += prefix + std::string(field.textKey) + ":  " + Number(r.*field.value) + "\n";
  for (const auto& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) {
      text += prefix + std::string(field.textKey) + (k < 10 ? "0" : "") + std::to_string(k) + ":  " +
              Number((r.*field.values)[k]) + "\n";
    }
  }
  for (char& c : text) c = static_cast<char>(c == 'B' ? c : std::tolower(c));
  return text;
}

std::string Lists(const TRPCData& r, const char* equals) {
  std::string text = "! a model\n";
  for (const auto& field : Scalars()) text += std::string(field.textKey) + equals + Number(r.*field.value) + " px\n";
  for (const auto& field : RPCCoefficientFields()) {
    text += std::string(field.textKey, std::strlen(field.textKey) - 1) + equals + List(r.*field.values, ", ") + "\n";
  }
  return text;
}

std::string Envi(const TRPCData& r) {
  std::string text = "ENVI\nsamples = 8\nlines = 6\nrpc info = {\n";
  for (const int i : {0, 2, 4, 6, 8, 1, 3, 5, 7, 9}) text += Number(r.*Scalars()[i].value) + ",\n";
  for (const auto& field : RPCCoefficientFields()) text += List(r.*field.values, ", ") + ",\n";
  return text + "100, 200, 1}\n";
}

TRPCData OrderedAs(TRPCTermOrder order, TRPCData record) {
  const TRPCData sorted = record;
  for (const auto& field : RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) (record.*field.values)[RPCTermPosition(order, k)] = (sorted.*field.values)[k];
  }
  return record;
}

std::string Written(TRPCFileForm form, const TRPCData& record) {
  return orbmath_test::Saved([&](TZxStream* dst) {
    return WriteRPCStream(dst, "out", form, record, {"a \"b\" <c>&", "P", 1.25, std::nullopt}, TRPCTextErrors::Omit,
                          nullptr);
  });
}

bool Read(const std::string& content, TRPCFile* file, TRPCFileError* error) {
  TZxStringStream stream(content);
  return ReadRPCStream(&stream, "x", file, error);
}

TEST(VendorForms, ReadTheSameRecordInEveryLayout) {
  const TRPCData record = CountingRecord();
  const TRPCData order_a = OrderedAs(TRPCTermOrder::RPC00A, record);
  const struct {
    TRPCFileForm form;
    std::string content;
    std::size_t notes;
  } cases[] = {
      {TRPCFileForm::IsdXml, Isd(record, "RPC00B"), 0},
      {TRPCFileForm::IsdXml, Isd(order_a, "RPC00A"), 1},
      {TRPCFileForm::IsdXml, Isd(record, "RPC99Z"), 1},
      {TRPCFileForm::KeywordList, Geom(record, ""), 0},
      {TRPCFileForm::KeywordList, Geom(record, "image0."), 0},
      {TRPCFileForm::KeywordList, Replaced(Geom(order_a, ""), "B\n", "A\n"), 1},
      {TRPCFileForm::VendorText, Lists(record, " = "), 1},
      {TRPCFileForm::VendorText, Lists(record, " "), 1},
      {TRPCFileForm::EnviHeader, Envi(record), 1},
      {TRPCFileForm::EnviHeader, Replaced(Envi(record), "100, 200, 1", ""), 0},
      {TRPCFileForm::Json, Written(TRPCFileForm::Json, record), 0},
      {TRPCFileForm::GdalXml, Written(TRPCFileForm::GdalXml, record), 0},
  };
  for (const auto& c : cases) {
    TRPCFile file;
    TRPCFileError error;
    ASSERT_TRUE(Read(c.content, &file, &error)) << error.GetText() << "\n" << c.content;
    EXPECT_EQ(file.form, c.form) << c.content;
    EXPECT_TRUE(SameRecord(file.record, record)) << c.content;
    EXPECT_EQ(file.origin.notes.size(), c.notes) << c.content;
    if (c.form != TRPCFileForm::Json && c.form != TRPCFileForm::GdalXml) continue;
    EXPECT_EQ(file.extras, (TRPCFileExtras{"a \"b\" <c>&", "P", 1.25, std::nullopt}));
  }
}

TEST(VendorForms, RpbInTheOrderOfRpc00aIsSortedAndSaysSo) {
  const TRPCData record = CountingRecord();
  const TRPCData order_a = OrderedAs(TRPCTermOrder::RPC00A, record);
  const std::string plain =
      orbmath_test::Saved([&](TZxStream* dst) { return order_a.SaveToRPB(dst, "WV03", "P", 1.0, 0.5); });
  TRPCFile file;
  ASSERT_TRUE(Read(Replaced(plain, "RPC00B", "RPC00A"), &file, nullptr));
  EXPECT_TRUE(SameRecord(file.record, record));
  EXPECT_EQ(file.origin.termOrder, TRPCTermOrder::RPC00A);
  ASSERT_EQ(file.origin.notes.size(), 1u);
  EXPECT_EQ(file.origin.notes[0],
            "the terms stand in the order of RPC00A in the file; they were brought into that of RPC00B");
  ASSERT_TRUE(Read(plain, &file, nullptr));
  EXPECT_TRUE(SameRecord(file.record, order_a));
  EXPECT_TRUE(file.origin.notes.empty());
}

TEST(VendorForms, RefuseWordsZerosAndHalves) {
  const TRPCData record = CountingRecord();
  const std::string isd = Isd(record, "RPC00B");
  const std::string geom = Geom(record, "");
  const std::string envi = Envi(record);
  const std::string json = Written(TRPCFileForm::Json, record);
  const std::string gdal = Written(TRPCFileForm::GdalXml, record);
  const struct {
    std::string content;
    const char* message;
  } cases[] = {
      {"{\"a\": " + json + ",\n\"b\": " + json + "}",
       "x:24: a second model of 2 in the document: which one is meant is not clear"},
      {Replaced(isd, "<LATSCALE>3.500000", "<LATSCALE>0"), "x:10: LATSCALE: is 0, which no scale of a model can be"},
      {Replaced(isd, "<LATSCALE>3.500000", "<LATSCALE>N/A"), "x:10: LATSCALE: \"N/A\" is no number"},
      {Replaced(isd, "36.000000 ", ""), "x:18: SAMPDENCOEF: 19 numbers where 20 are needed"},
      {Replaced(isd, "</isd>", ""), "x:19: Start-end tags mismatch"},
      {"<isd/>", "x: RPB/IMAGE: is missing: this product has no model"},
      {Replaced(geom, "samp_den_coeff_19", "x"), "x: samp_den_coeff_19: is missing"},
      {Replaced(geom, "height_off:  5.000000", "height_off:  nan"), "x:10: height_off: is no finite number"},
      {Replaced(envi, "1.500000", "0"), "x:4: LINE_SCALE: is 0, which no scale of a model can be"},
      {Replaced(envi, "100, 200, 1}", "100}"),
       "x:4: rpc info: has more than the 90 numbers that are needed (93, or 90 without those of a tile)"},
      {"ENVI\nlines = 3\n", "x: rpc info: is missing or not closed: the image has no model"},
      {Replaced(json, "\"alt_scale\": 5.5", "\"alt_scale\": \"5.5 m\""), "x:12: alt_scale: \"5.5 m\" is no number"},
      {Replaced(json, "\"alt_scale\": 5.5", R"("alt_scale": "\ud834\uDD1e")"),
       "x:12: alt_scale: \"\xF0\x9D\x84\x9E\" is no number"},
      {Replaced(json, "\"alt_scale\": 5.5", R"("alt_scale": "\ud834")"), "x:12: half a character"},
      {Replaced(json, "\"alt_scale\": 5.5", R"("alt_scale": "\ud834\u0041")"), "x:12: half a character"},
      {Replaced(json, "\"alt_scale\": 5.5", R"("alt_scale": "\udd1e")"), "x:12: half a character"},
      {Replaced(json, "36,", "[36],"), "x:16: col_den: \"?\" is no number"},
      {Replaced(json, "row_num", "row_nun"), "x: row_num: is missing: the document has no model"},
      {json.substr(0, json.size() - 4), "x:20: a comma or a closing bracket is missing"},
      {Replaced(gdal, "\"RPC\"", "\"IMD\""), "x: RPC: there is no such metadata domain: the raster has no model"},
      {Replaced(gdal, "36 ", ""), "x:17: SAMP_DEN_COEFF: 19 numbers where 20 are needed"},
      {"<Dimap_Document><Global_RFM><RFM_Validity/></Global_RFM></Dimap_Document>", "x:1: Inverse_Model: is missing"},
      {"<product/>", "x: rationalFunctions: is missing: this product has no model"},
  };
  for (const auto& c : cases) {
    TRPCFile file;
    TRPCFileError error;
    EXPECT_FALSE(Read(c.content, &file, &error)) << c.content;
    EXPECT_EQ(error.GetText(), c.message);
    EXPECT_FALSE(error.unknownForm);
  }
}

TEST(VendorForms, NoTruncatedFileIsComplete) {
  const TRPCData record = CountingRecord();
  for (const std::string& good : {Isd(record, "RPC00B"), Geom(record, ""), Envi(record),
                                  Written(TRPCFileForm::Json, record), Written(TRPCFileForm::GdalXml, record)}) {
    // The last number of a keyword list may end anywhere.
    const std::size_t end = good.find_last_of(":}>");
    for (std::size_t size = 0; size < end; size += 7) {
      TRPCFile file;
      EXPECT_FALSE(Read(good.substr(0, size), &file, nullptr)) << size << "\n" << good.substr(0, size);
    }
  }
}

// Bytes that cost little to send must not cost much to read.
TEST(VendorForms, HostileContentsAreRefusedEarly) {
  const auto repeated = [](const std::string& piece, std::size_t bytes) {
    std::string text;
    while (text.size() < bytes) text += piece;
    return text;
  };
  constexpr std::size_t kMiB = std::size_t{1} << 20;
  const struct {
    std::string content;
    const char* message;
  } cases[] = {
      {repeated("satId = \"\";\n", kMiB - 64), "x: has more than 20000 statements: that is no model file"},
      {repeated("LINE_OFF: 1\n", kMiB + 1), "x: is longer than the 1 MiB that a model file that is no XML can have"},
      {"{\"rpc\":" + repeated("[", 4096), "x:1: values are nested too deeply"},
      {"{\"rpc\":[" + repeated("1,", kMiB - 64), "x:1: there are too many values for a model file"},
      {"<isd>" + repeated("<a>", kMiB) + "</isd>", "x:1: Start-end tags mismatch"},
  };
  for (const auto& c : cases) {
    TRPCFile file;
    TRPCFileError error;
    EXPECT_FALSE(Read(c.content, &file, &error));
    EXPECT_EQ(error.GetText(), c.message);
  }
}

TEST(VendorForms, TheTableNamesEveryForm) {
  std::size_t count = 0;
  const TRPCFileFormInfo* const infos = RPCFileForms(&count);
  ASSERT_EQ(count, static_cast<std::size_t>(TRPCFileForm::Image) + 1);
  for (int form = 0; form < static_cast<int>(count); ++form) {
    std::size_t rows = 0;
    for (std::size_t i = 0; i < count; ++i) rows += infos[i].form == static_cast<TRPCFileForm>(form) ? 1 : 0;
    EXPECT_EQ(rows, 1u) << form;
  }
  EXPECT_STREQ(RPCFileFormName(TRPCFileForm::Dimap), "DIMAP");
  EXPECT_EQ(RPCFileFormOfName("a.json"), TRPCFileForm::Json);
}

}  // namespace
}  // namespace SatCommonUtils
