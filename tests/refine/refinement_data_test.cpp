#include "refine/refinement_data.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "refine/refinement.h"
#include "refine/refinements.h"
#include "support/debug_capture.h"
#include "support/xml.h"

using namespace SatCommonUtils;
using orbmath_test::MessageOf;
using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;
using Type = TRPCRefinementTransformType;

namespace {

std::string XmlOf(const TRPCRefinementDataBase& record) {
  return SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(record.SaveToXML(writer)); });
}

std::vector<double> ValuesOf(const TRPCRefinementDataBase& record) {
  std::vector<double> values = {1.0, 2.0};
  const std::size_t count = record.GetParametersValues(&values);
  EXPECT_EQ(count, values.size());
  return values;
}

/// A host's own record: it overrides what depends on its parameters, and has none.
class HostRecord : public TRPCRefinementDataBase {
 public:
  HostRecord() : TRPCRefinementDataBase(static_cast<Type>(7)) {}
  void InitializeUnity() override {}
  void Reset() override {}
  bool InitializeFromXML(TZxXIniReader*, std::uint64_t) override { return true; }
  var_a<TRPCRefinementDataBase*> CreateCopyE() const override { return make_var_a<HostRecord>(*this); }
  explicit operator bool() const override { return true; }
  bool IsUnity() const override { return false; }
};

}  // namespace

TEST(RefinementData, AHostsOwnKindIsARecordThatTheFactoriesRefuse) {
  const HostRecord record;
  EXPECT_TRUE(ValuesOf(record).empty());
  EXPECT_TRUE(record.CreateCopyN());
  EXPECT_FALSE(CreateRefinementDataCopyN(record));
  EXPECT_FALSE(CreateRefinementN(record));
}

TEST(RefinementData, KindsAndTheStateOfNewRecords) {
  const struct {
    int value;
    const char* name;
    bool valid, unity;
    std::size_t parameters;
  } rows[] = {{0, "None", true, true, 0},
              {1, "Shift", true, true, 2},
              {2, "Affine", false, false, 0},
              {3, "Projective", true, true, 9}};
  for (const auto& row : rows) {
    const Type type = static_cast<Type>(row.value);
    EXPECT_STREQ(GetRPCRefinementTransformTypeName(type), row.name);
    const auto record = CreateRefinementDataE(type);
    EXPECT_EQ(record->type, type);
    EXPECT_EQ(static_cast<bool>(*record), row.valid) << row.name;
    EXPECT_EQ(record->IsUnity(), row.unity) << row.name;
    EXPECT_EQ(ValuesOf(*record).size(), row.parameters) << row.name;
    record->InitializeUnity();
    EXPECT_TRUE(*record && record->IsUnity()) << row.name;
    EXPECT_EQ(record->GetParametersNames().size(), ValuesOf(*record).size()) << row.name;
  }
  for (const int value : {-1, 4, 7}) {
    const Type type = static_cast<Type>(value);
    EXPECT_STREQ(GetRPCRefinementTransformTypeName(type), "Unknown");
    EXPECT_FALSE(CreateRefinementDataN(type));
    EXPECT_EQ(MessageOf([&] { CreateRefinementDataE(type); }),
              "var_a<TRPCRefinementDataBase*> CreateE(const TRPCRefinementType& src)");
    TRPCRefinementDataShift record;
    record.type = type;
    EXPECT_FALSE(CreateRefinementDataCopyN(record));
    EXPECT_EQ(MessageOf([&] { CreateRefinementDataCopyE(record); }),
              "var_a<TRPCRefinementDataBase*> CreateRefinementDataCopyE(const TRPCRefinementDataBase&)");
  }
}

TEST(RefinementData, ValuesComeInTheirOrder) {
  TRPCRefinementDataAffine affine;
  affine.LineBias = 1, affine.LineDrift = 2, affine.LineTilt = 3;
  affine.SampleBias = 4, affine.SampleDrift = 5, affine.SampleTilt = 6;
  EXPECT_EQ(ValuesOf(affine), (std::vector<double>{2, 3, 1, 5, 6, 4}));
  EXPECT_EQ(affine.GetParametersNames()[2], "LineBias");
  EXPECT_EQ(ValuesOf(orbmath_test::Shift(7, 8)), (std::vector<double>{7, 8}));
  const auto projective = orbmath_test::Projective();
  EXPECT_EQ(ValuesOf(projective)[2], 4.0);
  EXPECT_EQ(ValuesOf(*projective.CreateCopyN()), ValuesOf(projective));
  affine.type = Type::Shift;
  EXPECT_FALSE(affine) << "an affine record of another kind";
}

TEST(RefinementData, AnyScaleOfTheIdentityIsProjectiveUnity) {
  TRPCRefinementDataProjective record;
  for (const double scale : {2.0, -1.0, 0.0}) {
    for (int i = 0; i < 3; ++i) record.matr[i][i] = scale;
    EXPECT_TRUE(record.IsUnity()) << scale;
  }
  for (int i = 0; i < 8; ++i) {  // all but the element that the others are compared with
    record.InitializeUnity();
    record.matr[i / 3][i % 3] += 1e-9;
    EXPECT_FALSE(record.IsUnity()) << i;
  }
}

TEST(RefinementDataXml, EveryKindLoadsAgain) {
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const std::string xml = XmlOf(*record);
    const auto loaded = CreateRefinementDataFromXMLE(ReaderOf(xml).get());
    EXPECT_EQ(loaded->type, record->type);
    EXPECT_EQ(ValuesOf(*loaded), ValuesOf(*record));
    EXPECT_EQ(XmlOf(*loaded), xml);
    const auto reader = ReaderOf(xml);
    EXPECT_EQ(*reader->GetKey(0), "RPCRefinementType");
    EXPECT_EQ(reader->ReadKeyE<std::string>("RPCRefinementTypeName"), GetRPCRefinementTransformTypeName(record->type));
    EXPECT_EQ(*reader->GetKey(2), "Ver");
    EXPECT_EQ(reader->ReadKeyE<int>("Ver"), 1);
  }
}

TEST(RefinementDataXml, AShiftOfAnySizeLoadsAgain) {
  const auto shift = orbmath_test::Shift(std::numeric_limits<double>::max(), -2.0);
  const auto loaded = CreateRefinementDataFromXMLE(ReaderOf(XmlOf(shift)).get());
  EXPECT_EQ(ValuesOf(*loaded), ValuesOf(shift));
}

TEST(RefinementDataXml, ItemsThatAreCalledAsSectionsAreNone) {
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const std::string xml = SavedXml([&](TZxXIniWriter* writer) {
      for (const char* name : {"RawToRefined", "RefinedToRaw", "data"}) writer->WriteS<std::string>(name, "a remark");
      record->SaveToXML(writer);
    });
    EXPECT_EQ(ValuesOf(*CreateRefinementDataFromXMLE(ReaderOf(xml).get())), ValuesOf(*record));
  }
}

TEST(RefinementDataXml, NullReadersAndWritersGiveFalse) {
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const auto transform = CreateRefinementE(*record);
    EXPECT_FALSE(record->SaveToXML(nullptr));
    EXPECT_FALSE(transform->SaveToXML(nullptr));
    EXPECT_FALSE(record->InitializeFromXML(nullptr, 1));
    EXPECT_FALSE(transform->InitializeFromXML(nullptr, 1));
  }
  EXPECT_FALSE(CreateRefinementDataFromXMLN(nullptr));
  EXPECT_FALSE(CreateRefinementFromXMLN(nullptr));
}

TEST(RefinementDataXml, WithoutAVersionItIsAffine) {
  const auto reader = ReaderOf(SavedXml([](TZxXIniWriter* writer) {
    writer->WriteS<int>("RPCRefinementType", 1);
    for (const char* key : {"SampleTilt", "LineDrift", "LineBias", "LineTilt", "SampleBias", "SampleDrift"}) {
      writer->WriteS<double>(key, 0.5);
    }
  }));
  EXPECT_EQ(CreateRefinementDataFromXMLE(reader.get())->type, Type::Affine);
}

TEST(RefinementDataXml, MissingKeysAndUnknownKindsFail) {
  const char* const text = "var_a<TRPCRefinementDataBase*> CreateFromXMLE(TZxXIniReader* XML_reader)";
  const struct {
    var_a<TRPCRefinementDataBase*> record;
    const char* key;
    const char* replacement;
  } rows[] = {{orbmath_test::Shift(1, 2).CreateCopyE(), "d_line", "dLine!"},
              {orbmath_test::Affine().CreateCopyE(), "SampleTilt", "SampleTlit"},
              {orbmath_test::Projective().CreateCopyE(), "matr", "mart"},
              {TRPCRefinementDataNone().CreateCopyE(), ">0<", ">9<"}};
  for (const auto& row : rows) {
    std::string xml = XmlOf(*row.record);
    ASSERT_NE(xml.find(row.key), std::string::npos) << xml;
    xml.replace(xml.find(row.key), std::string(row.key).size(), row.replacement);
    const auto reader = ReaderOf(xml);
    EXPECT_EQ(MessageOf([&] { CreateRefinementDataFromXMLE(reader.get()); }), text) << row.key;
    EXPECT_FALSE(CreateRefinementDataFromXMLN(reader.get())) << row.key;
    EXPECT_NE(reader->FindF("Ver"), TZxXIniReader::npos) << "the reader is where it was";
  }
  EXPECT_EQ(MessageOf([] { CreateRefinementDataFromXMLE(nullptr); }), text);
  TRPCRefinementDataAffine affine = orbmath_test::Affine();
  EXPECT_FALSE(affine.InitializeFromXML(ReaderOf(XmlOf(orbmath_test::Shift(1, 2))).get(), 1));
  EXPECT_FALSE(affine) << "what is missing is unset";
}

TEST(RefinementDataDump, SaysKindNamesAndValues) {
  orbmath_test::DebugCapture capture;
  const auto affine = orbmath_test::Affine();
  affine.TRPCRefinementDataBase::DebugOutput();
  const std::string rule = std::string(60, '-') + "\n";
  ASSERT_EQ(capture.messages.size(), 5 + 6 + 6 + 1u);
  EXPECT_EQ(capture.messages.front(), rule);
  EXPECT_EQ(capture.messages[1], "RPC refinement type:Affine");
  EXPECT_EQ(capture.messages[3], "\nParameters names:\n");
  EXPECT_EQ(capture.messages[4], "LineDrift\n");
  EXPECT_EQ(capture.messages[10], "\nParameters values:\n");
  EXPECT_EQ(capture.messages[13], "3.25\n");
  EXPECT_EQ(capture.messages.back(), rule);

  capture.messages.clear();
  TRPCRefinementDataAffine().TRPCRefinementDataBase::DebugOutput();
  EXPECT_EQ(capture.messages, (std::vector<std::string>{rule, "The refinement data ara INCORRECT!!!\n", rule}));

  capture.messages.clear();
  affine.DebugOutput();
  const std::string short_rule(43, '-');
  EXPECT_EQ(capture.messages,
            (std::vector<std::string>{short_rule, "LineBias 3.25", "LineDrift 1.0001", "LineTilt -0.0001",
                                      "- - - - - - - - - - - - - - - - - - - - - -", "SampleBias -2.5",
                                      "SampleDrift 5e-05", "SampleTilt 0.9999", short_rule}));
  capture.messages.clear();
  orbmath_test::Shift(1, -2.5).DebugOutput();
  orbmath_test::Projective().DebugOutput();
  EXPECT_EQ(capture.messages[1], "d_sample -2.5");
  EXPECT_EQ(capture.messages[2], "d_line 1");
  EXPECT_EQ(capture.messages[7], "m[0][2] 4");
}
