#include "refine/refinement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "refine/refinements.h"
#include "support/bits.h"
#include "support/differences.h"
#include "support/xml.h"

using namespace SatCommonUtils;
using orbmath_test::kPoison;
using orbmath_test::MessageOf;
using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;
using Type = TRPCRefinementTransformType;

namespace {

/// Error of a central difference over 2 pixels of a map with a curvature near 1e-8.
constexpr double kDifference = 1e-9;

struct TPoint {
  double line, sample;
};

TPoint Refined(const TRPCRefinementBase& refinement, double line, double sample) {
  TPoint p = {kPoison, kPoison};
  refinement.RawToRefined(line, sample, &p.line, &p.sample, nullptr, nullptr);
  return p;
}

TPoint Raw(const TRPCRefinementBase& refinement, double line, double sample) {
  TPoint p = {kPoison, kPoison};
  refinement.RefinedToRaw(line, sample, &p.line, &p.sample, nullptr, nullptr);
  return p;
}

std::string XmlOf(const TRPCRefinementBase& refinement) {
  return SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(refinement.SaveToXML(writer)); });
}

}  // namespace

TEST(Refinement, MapsByHand) {
  const auto shift = CreateRefinementE(orbmath_test::Shift(1.5, -2.0));
  EXPECT_EQ(Refined(*shift, 100, 200).line, 101.5);
  EXPECT_EQ(Refined(*shift, 100, 200).sample, 198.0);
  EXPECT_EQ(Raw(*shift, 101.5, 198).line, 100.0);
  EXPECT_EQ(Raw(*shift, 101.5, 198).sample, 200.0);
  TRPCRefinementDataAffine data;
  data.LineBias = 1, data.LineDrift = 2, data.LineTilt = 3;
  data.SampleBias = 4, data.SampleDrift = 5, data.SampleTilt = 6;
  const auto affine = CreateRefinementE(data);
  EXPECT_EQ(Refined(*affine, 10, 100).line, 321.0);
  EXPECT_EQ(Refined(*affine, 10, 100).sample, 654.0);
  TRPCRefinementDataProjective projective;
  projective.matr[0][2] = 4, projective.matr[2][1] = 0.01;
  EXPECT_EQ(Refined(*CreateRefinementE(projective), 10, 100).line, 7.0);
}

TEST(Refinement, LawsOfEveryKind) {
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const auto refinement = CreateRefinementE(*record);
    SCOPED_TRACE(GetRPCRefinementTransformTypeName(record->type));
    EXPECT_TRUE(*refinement);
    EXPECT_EQ(refinement->IsUnity(), record->type == Type::None);
    const TPoint there = Refined(*refinement, 4321.5, 1234.25);
    const TPoint back = Raw(*refinement, there.line, there.sample);
    EXPECT_NEAR(back.line, 4321.5, kRefinementRoundTrip) << "law 1";
    EXPECT_NEAR(back.sample, 1234.25, kRefinementRoundTrip) << "law 1";
    // Law 3.
    double line = 4321.5, sample = 1234.25;
    refinement->RawToRefined(line, sample, &line, &sample, nullptr, nullptr);
    EXPECT_EQ(line, there.line);
    EXPECT_EQ(sample, there.sample);
    // Law 2.
    for (const auto map : {&TRPCRefinementBase::RawToRefined, &TRPCRefinementBase::RefinedToRaw}) {
      double by_line[2], by_sample[2];
      (*refinement.*map)(4321.5, 1234.25, &line, &sample, by_line, by_sample);
      for (const int output : {0, 1}) {
        const auto value = [&](double l, double s) {
          double out[2];
          (*refinement.*map)(l, s, &out[0], &out[1], nullptr, nullptr);
          return out[output];
        };
        const auto along_line = [&](double l) { return value(l, 1234.25); };
        const auto along_sample = [&](double s) { return value(4321.5, s); };
        EXPECT_NEAR(by_line[output], orbmath_test::CentralDifference(along_line, 4321.5, 1.0), kDifference);
        EXPECT_NEAR(by_sample[output], orbmath_test::CentralDifference(along_sample, 1234.25, 1.0), kDifference);
      }
      // Law 4.
      double alone[2] = {kPoison, kPoison};
      (*refinement.*map)(1, 2, &line, &sample, alone, nullptr);
      (*refinement.*map)(1, 2, &line, &sample, nullptr, alone);
      EXPECT_EQ(alone[0], kPoison);
      EXPECT_EQ(alone[1], kPoison);
    }
    // Law 5.
    const std::string xml = XmlOf(*refinement);
    EXPECT_EQ(XmlOf(*CreateRefinementCopyE(*refinement)), xml);
    EXPECT_EQ(XmlOf(*CreateRefinementE(*refinement->GetRefinementData())), xml);
    EXPECT_EQ(XmlOf(*CreateRefinementFromXMLE(ReaderOf(xml).get())), xml);
    // Law 6.
    const std::string record_xml = SavedXml([&](TZxXIniWriter* writer) { record->SaveToXML(writer); });
    const auto record_again = CreateRefinementDataFromXMLE(ReaderOf(xml).get());
    EXPECT_EQ(SavedXml([&](TZxXIniWriter* writer) { record_again->SaveToXML(writer); }), record_xml);
    EXPECT_EQ(XmlOf(*CreateRefinementFromXMLE(ReaderOf(record_xml).get())), xml);
    // Law 7.
    double lines[3] = {4321.5, -7.0, 1e4}, samples[3] = {1234.25, 3.0, -2e3}, raw_lines[3], raw_samples[3];
    refinement->RefinedToRawArray(3, lines, samples, raw_lines, raw_samples);
    for (int i = 0; i < 3; ++i) {
      const TPoint one = Raw(*refinement, lines[i], samples[i]);
      EXPECT_TRUE(orbmath_test::SameBits(one.line, raw_lines[i]) && orbmath_test::SameBits(one.sample, raw_samples[i]));
    }
    double refined_lines[3], refined_samples[3];
    std::copy_n(lines, 3, refined_lines);
    std::copy_n(samples, 3, refined_samples);
    refinement->RawToRefinedArray(3, refined_lines, refined_samples);
    for (int i = 0; i < 3; ++i) {
      const TPoint one = Refined(*refinement, lines[i], samples[i]);
      EXPECT_TRUE(orbmath_test::SameBits(one.line, refined_lines[i]));
      EXPECT_TRUE(orbmath_test::SameBits(one.sample, refined_samples[i]));
    }
    // Law 8.
    refinement->Reset();
    EXPECT_EQ(static_cast<bool>(*refinement), record->type == Type::None);
  }
}

TEST(RefinementAffine, WhatHasNoInverseIsRefused) {
  TRPCRefinementDataAffine flat, tenths, unset = orbmath_test::Affine(), nan = unset, infinite = unset;
  flat.LineBias = flat.LineDrift = flat.LineTilt = flat.SampleBias = flat.SampleDrift = flat.SampleTilt = 0.0;
  tenths = flat;
  tenths.LineDrift = 0.1, tenths.LineTilt = 0.3, tenths.SampleDrift = 0.2, tenths.SampleTilt = 0.6;
  unset.SampleBias = TRPCRefinementDataAffine().SampleBias;
  nan.LineTilt = NAN;
  infinite.LineBias = INFINITY;
  for (const auto& data : {flat, tenths, unset, nan, infinite}) {
    EXPECT_EQ(MessageOf([&] { TRPCRefinementAffine t(data); }),
              "TRPCRefinementAffine::TRPCRefinementAffine(const TRPCRefinementDataAffine&)");
    EXPECT_EQ(MessageOf([&] { CreateRefinementE(data); }),
              "var_a<TRPCRefinementBase*> CreateRefinementE(const TRPCRefinementDataBase& src)");
    EXPECT_FALSE(CreateRefinementN(data));
    TRPCRefinementAffine transform(orbmath_test::Affine());
    EXPECT_FALSE(transform.Setup(data));
    EXPECT_EQ(XmlOf(transform), XmlOf(TRPCRefinementAffine(orbmath_test::Affine())));
    const std::string xml = SavedXml([&](TZxXIniWriter* writer) { data.SaveToXML(writer); });
    EXPECT_EQ(MessageOf([&] { CreateRefinementFromXMLE(ReaderOf(xml).get()); }),
              "var_a<TRPCRefinementBase*> CreateRefinementFromXMLE(TZxXIniReader* from_xml)");
    EXPECT_FALSE(transform.InitializeFromXML(ReaderOf(xml).get(), 1));
    EXPECT_FALSE(transform) << "a failed read leaves it reset";
  }
  TRPCRefinementDataProjective singular;
  singular.matr[1][1] = 0.0;
  EXPECT_FALSE(CreateRefinementN(singular));
}

TEST(RefinementAffine, InvalidOnesAreNotCopied) {
  const TRPCRefinementAffine invalid;
  TRPCRefinementDataAffine data = orbmath_test::Affine();
  EXPECT_FALSE(invalid);
  EXPECT_FALSE(invalid.GetRefinementData(&data));
  EXPECT_EQ(data.LineBias, 3.25);
  EXPECT_EQ(MessageOf([&] { TRPCRefinementAffine copy(invalid); }),
            "TRPCRefinementAffine::TRPCRefinementAffine(const TRPCRefinementAffine&)");
  EXPECT_EQ(MessageOf([&] { CreateRefinementCopyE(invalid); }),
            "var_a<TRPCRefinementBase*> CreateRefinementCopyE(const TRPCRefinementBase& src)");
  EXPECT_FALSE(CreateRefinementCopyN(invalid));
  EXPECT_EQ(MessageOf([&] { CreateRefinementE(static_cast<Type>(7)); }),
            "var_a<TRPCRefinementBase*> CreateRefinementE(TRPCRefinementType::TType type)");
  EXPECT_FALSE(CreateRefinementN(static_cast<Type>(7)));
  EXPECT_EQ(CreateRefinementE(Type::Projective)->GetType(), Type::Projective);
}

TEST(RefinementAffine, TheStoredInverseCountsWhenItCanBeRead) {
  TRPCRefinementDataAffine other = orbmath_test::Affine();
  other.LineBias = 77.0;
  TRPCRefinementDataAffine direct = orbmath_test::Affine();
  const auto with_second = [&direct](const TRPCRefinementDataAffine& second, const char* name) {
    return SavedXml([&](TZxXIniWriter* writer) {
      for (const bool first : {true, false}) {
        TZxXIniWriterSection section(writer, first ? "RawToRefined" : name);
        (first ? direct : second).SaveToXML(writer);
      }
    });
  };
  const auto raw_line = [](const std::string& xml) {
    return Raw(*CreateRefinementFromXMLE(ReaderOf(xml).get()), 0, 0).line;
  };
  const double computed = Raw(*CreateRefinementE(orbmath_test::Affine()), 0, 0).line;
  EXPECT_EQ(raw_line(with_second(other, "RefinedToRaw")), 77.0);
  EXPECT_EQ(raw_line(with_second(other, "SomethingElse")), computed);
  direct.LineDrift = direct.LineTilt = 0.0;
  TRPCRefinementAffine transform;
  EXPECT_TRUE(transform.InitializeFromXML(ReaderOf(with_second(other, "RefinedToRaw")).get(), 1));
  EXPECT_EQ(Raw(transform, 0, 0).line, 77.0) << "no inverse had to be computed";
  EXPECT_FALSE(transform.InitializeFromXML(ReaderOf(with_second(other, "SomethingElse")).get(), 1));
  EXPECT_FALSE(CreateRefinementFromXMLN(ReaderOf(with_second(other, "RefinedToRaw")).get())) << "no usable record";
  direct = orbmath_test::Affine();
  other.SampleTilt = NAN;
  EXPECT_EQ(raw_line(with_second(other, "RefinedToRaw")), computed);
  other.Reset();
  EXPECT_EQ(raw_line(with_second(other, "RefinedToRaw")), computed);
}
