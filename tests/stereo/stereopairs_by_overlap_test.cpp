#include "stereo/stereopairs_by_overlap.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "support/xml.h"

namespace StereopairsByOverlap {
namespace {

using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;
using SatCommonUtils::TZxMessage;
using SatCommonUtils::TZxXIniReader;
using SatCommonUtils::TZxXIniWriter;
using Params = TStereopairsByOverlapParams;

std::string Saved(const Params& params) {
  return SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(params.SaveToXML(writer)); });
}

/// The XML of a record, as items in document order, with the given keys left out.
std::string SavedWithout(const Params& params, const std::vector<std::string>& left_out) {
  const auto reader = ReaderOf(Saved(params));
  return SavedXml([&](TZxXIniWriter* writer) {
    for (std::size_t i = 0; i < reader->GetCount(); ++i) {
      const std::string key = *reader->GetKey(i);
      bool keep = true;
      for (const std::string& name : left_out) keep = keep && key != name;
      if (keep) writer->WriteS<std::string>(key, *reader->GetText(i));
    }
  });
}

/// Whether reading the section succeeds; a missing mandatory key throws.
bool Loads(const std::string& xml, Params* params) {
  const auto reader = ReaderOf(xml);
  try {
    return params->InitializeFromXML(reader.get());
  } catch (const TZxMessage&) {
    return false;
  }
}

Params AllChecked() {
  Params params;
  params.CheckOverlapPercentage = params.CheckOverlapPixels = params.CheckConvergenceAngle = true;
  params.CheckTimeGap = params.CheckDateGap = params.CheckGSD = true;
  params.CheckSunAzimuthDiff = params.CheckSunElevationDiff = true;
  return params;
}

TEST(StereopairsByOverlap, DefaultsAndInvalidValues) {
  Params params;
  EXPECT_TRUE(static_cast<bool>(params));
  EXPECT_TRUE(static_cast<bool>(AllChecked())) << "the default limits are valid";
  EXPECT_EQ(params.MinConvergenceAngle, 10.0);
  EXPECT_EQ(params.MaxTimeGap, 0.1);
  EXPECT_EQ(params.MaxDateGap, 30);
  EXPECT_TRUE(params.RejectUndefGSD);
  params.Invalidate();
  EXPECT_FALSE(static_cast<bool>(params));
  EXPECT_TRUE(params.TiesRequired && params.TheSameSensor && params.CheckDateGap);
  EXPECT_EQ(params.MaxConvergenceAngle, 361.0);
  EXPECT_EQ(params.MinTimeGap, 0.0);
  EXPECT_EQ(params.MaxDateGap, -1);
  params.Reset();
  EXPECT_EQ(Saved(params), Saved(Params()));
}

TEST(StereopairsByOverlap, KeysStandInTheOrderOfTheRecord) {
  const char* const keys[] = {"TiesRequired",
                              "CheckOverlapPercentage",
                              "MinOverlapPercentage",
                              "RejectUndefOverlapPercentage",
                              "CheckOverlapPixels",
                              "MinOverlapPixels",
                              "RejectUndefOverlapPixels",
                              "CheckConvergenceAngle",
                              "MinConvergenceAngle",
                              "MaxConvergenceAngle",
                              "RejectUndefConvergenceAngle",
                              "TheSameSensor",
                              "RejectUndefSensor",
                              "CheckTimeGap",
                              "MinTimeGap",
                              "MaxTimeGap",
                              "RejectUndefTimeGap",
                              "CheckDateGap",
                              "MaxDateGap",
                              "RejectUndefDateGap",
                              "CheckGSD",
                              "MaxGSDPercentDiff",
                              "RejectUndefGSD",
                              "CheckSunAzimuthDiff",
                              "MaxSunAzimuthDiff",
                              "RejectUndefSunAzimuthDiff",
                              "CheckSunElevationDiff",
                              "MaxSunElevationDiff",
                              "RejectUndefSunElevationDiff"};
  const auto reader = ReaderOf(Saved(Params()));
  ASSERT_EQ(reader->GetCount(), std::size(keys));
  for (std::size_t i = 0; i < std::size(keys); ++i) EXPECT_EQ(*reader->GetKey(i), keys[i]);
}

TEST(StereopairsByOverlap, LimitsOfEachGroup) {
  const double unset = std::numeric_limits<double>::max();
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const struct {
    bool Params::*check;
    double Params::*limit;
    std::vector<double> good, bad;
  } cases[] = {
      {&Params::CheckOverlapPercentage, &Params::MinOverlapPercentage, {1e-300, 100}, {0, -1, 100.001, nan}},
      {&Params::CheckOverlapPixels, &Params::MinOverlapPixels, {1e-300, 1e300}, {0, -1, unset, nan}},
      {&Params::CheckConvergenceAngle, &Params::MinConvergenceAngle, {-5, 90}, {90.001, 361, nan}},
      {&Params::CheckConvergenceAngle, &Params::MaxConvergenceAngle, {10, 400}, {9.999, 361, nan}},
      {&Params::CheckTimeGap, &Params::MinTimeGap, {0, 0.1}, {-1e-300, 0.2, nan}},
      {&Params::CheckTimeGap, &Params::MaxTimeGap, {0, 1e300}, {-1e-300, nan}},
      {&Params::CheckGSD, &Params::MaxGSDPercentDiff, {0, 100}, {-1, 100.001, nan}},
      {&Params::CheckSunAzimuthDiff, &Params::MaxSunAzimuthDiff, {0, 180}, {-1, 180.001, nan}},
      {&Params::CheckSunElevationDiff, &Params::MaxSunElevationDiff, {0, 90}, {-1, 90.001, nan}},
  };
  for (const auto& c : cases) {
    for (const bool is_good : {true, false}) {
      for (const double limit : is_good ? c.good : c.bad) {
        Params params;
        params.*c.limit = limit;
        EXPECT_TRUE(static_cast<bool>(params)) << "not checked";
        params.*c.check = true;
        EXPECT_EQ(static_cast<bool>(params), is_good) << limit;
      }
    }
  }
  Params date;
  date.CheckDateGap = true;
  date.MaxDateGap = -1;
  EXPECT_FALSE(static_cast<bool>(date));
}

TEST(StereopairsByOverlap, EveryFieldComesBack) {
  // Every flag turned, every limit odd.
  Params params = AllChecked();
  params.TiesRequired = params.TheSameSensor = true;
  params.RejectUndefOverlapPercentage = params.RejectUndefOverlapPixels = params.RejectUndefConvergenceAngle = false;
  params.RejectUndefSensor = params.RejectUndefTimeGap = params.RejectUndefDateGap = params.RejectUndefGSD = false;
  params.RejectUndefSunAzimuthDiff = params.RejectUndefSunElevationDiff = false;
  params.MinOverlapPercentage = 1.0 / 3.0;
  params.MinOverlapPixels = 1e-7;
  params.MinConvergenceAngle = 12.3;
  params.MaxConvergenceAngle = 45.6;
  params.MinTimeGap = 0.01;
  params.MaxTimeGap = 0.02;
  params.MaxDateGap = 2147483647;
  params.MaxGSDPercentDiff = 7.7;
  params.MaxSunAzimuthDiff = 8.8;
  params.MaxSunElevationDiff = 9.9;
  Params read;
  ASSERT_TRUE(Loads(Saved(params), &read));
  EXPECT_EQ(Saved(read), Saved(params));

  const std::string xml = SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(params.SaveToXML(writer, "Criteria")); });
  const auto created = CreateStereopairsByOverlapParams(ReaderOf(xml).get(), "Criteria");
  ASSERT_TRUE(created);
  EXPECT_EQ(Saved(*created), Saved(params));
  EXPECT_EQ(Saved(*CreateStereopairsByOverlapParams(ReaderOf(xml).get(), "Other")), Saved(Params()));
  EXPECT_FALSE(read.InitializeFromXML(ReaderOf(xml).get(), "Other"));
  EXPECT_EQ(Saved(read), Saved(params)) << "no such section, nothing changed";
}

// Each key taken out of a section with every check off, and with every check on.
TEST(StereopairsByOverlap, MandatoryAndOptionalKeys) {
  const std::vector<std::string> always = {
      "TiesRequired",  "CheckOverlapPercentage", "CheckOverlapPixels", "CheckConvergenceAngle",
      "TheSameSensor", "RejectUndefSensor",      "CheckTimeGap",       "CheckGSD"};
  const std::vector<std::string> never = {"MinTimeGap", "CheckDateGap", "CheckSunAzimuthDiff", "CheckSunElevationDiff"};
  const auto contains = [](const std::vector<std::string>& list, const std::string& key) {
    for (const std::string& name : list) {
      if (name == key) return true;
    }
    return false;
  };
  const auto keys = ReaderOf(Saved(Params()));
  for (std::size_t i = 0; i < keys->GetCount(); ++i) {
    const std::string key = *keys->GetKey(i);
    Params read;
    EXPECT_EQ(Loads(SavedWithout(Params(), {key}), &read), !contains(always, key)) << key;
    if (!contains(always, key)) {
      EXPECT_EQ(Saved(read), Saved(Params())) << key << " has its default";
    }
    EXPECT_EQ(Loads(SavedWithout(AllChecked(), {key}), &read), contains(never, key)) << key << ", checks on";
  }
  Params old;
  ASSERT_TRUE(Loads(SavedWithout(AllChecked(), never), &old)) << "a file from before those checks";
  EXPECT_FALSE(old.CheckDateGap || old.CheckSunAzimuthDiff || old.CheckSunElevationDiff);
}

TEST(StereopairsByOverlap, AFailedReadLeavesAnInvalidRecordAndTheReaderWhereItWas) {
  const std::string inner = SavedWithout(AllChecked(), {"RejectUndefSunElevationDiff"});
  const auto items = ReaderOf(inner);
  const std::string xml = SavedXml([&](TZxXIniWriter* writer) {
    SatCommonUtils::TZxXIniWriterSection section(writer, "Criteria");
    for (std::size_t i = 0; i < items->GetCount(); ++i)
      writer->WriteS<std::string>(*items->GetKey(i), *items->GetText(i));
  });
  const auto reader = ReaderOf(xml);
  Params params;
  EXPECT_THROW(params.InitializeFromXML(reader.get(), "Criteria"), TZxMessage);
  EXPECT_NE(reader->FindF("Criteria"), TZxXIniReader::npos);
  EXPECT_FALSE(static_cast<bool>(params));
  EXPECT_THROW(CreateStereopairsByOverlapParams(reader.get(), "Criteria"), TZxMessage);
}

TEST(StereopairsByOverlap, ReadingDoesNotJudgeTheValues) {
  Params params = AllChecked();
  params.MinConvergenceAngle = 30.0;
  params.MaxConvergenceAngle = 20.0;
  Params read;
  ASSERT_TRUE(Loads(Saved(params), &read));
  EXPECT_FALSE(static_cast<bool>(read));
}

}  // namespace
}  // namespace StereopairsByOverlap
