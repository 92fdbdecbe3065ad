#include "stereo/stereopairs_by_overlap.h"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "support/xml.h"

namespace StereopairsByOverlap {
namespace {

using orbmath_test::ReaderOf;
using orbmath_test::SavedXml;
using SatCommonUtils::TZxMessage;
using SatCommonUtils::TZxXIniWriter;
using Params = TStereopairsByOverlapParams;
using Items = std::vector<std::pair<std::string, std::string>>;

/// Keys and texts of a saved record in document order.
Items Saved(const Params& params) {
  const auto reader = ReaderOf(SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(params.SaveToXML(writer)); }));
  Items items;
  for (std::size_t i = 0; i < reader->GetCount(); ++i) items.emplace_back(*reader->GetKey(i), *reader->GetText(i));
  return items;
}

std::string Joined(const Params& params) {
  std::string text;
  for (const auto& [key, value] : Saved(params)) text += key + ' ' + value + ' ';
  return text;
}

/// Whether a section "Criteria" of those items, some keys left out, loads; otherwise it throws.
bool Loads(const Items& items, const std::set<std::string>& left_out, Params* params) {
  const auto reader = ReaderOf(SavedXml([&](TZxXIniWriter* writer) {
    SatCommonUtils::TZxXIniWriterSection section(writer, "Criteria");
    for (const auto& [key, value] : items) {
      if (left_out.count(key) == 0) writer->WriteS<std::string>(key, value);
    }
  }));
  EXPECT_FALSE(params->InitializeFromXML(reader.get(), "Other"));
  EXPECT_EQ(Joined(*CreateStereopairsByOverlapParams(reader.get(), "Other")), Joined(Params())) << "has the defaults";
  try {
    EXPECT_TRUE(params->InitializeFromXML(reader.get(), "Criteria"));
    return true;
  } catch (const TZxMessage&) {
    EXPECT_NE(reader->FindF("Criteria"), reader->npos) << "the reader is back where it was";
    EXPECT_FALSE(static_cast<bool>(*params));
    EXPECT_THROW(CreateStereopairsByOverlapParams(reader.get(), "Criteria"), TZxMessage);
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

TEST(StereopairsByOverlap, KeysDefaultsAndInvalidValues) {
  EXPECT_EQ(Joined(Params()),
            "TiesRequired false CheckOverlapPercentage false MinOverlapPercentage 10 RejectUndefOverlapPercentage true "
            "CheckOverlapPixels false MinOverlapPixels 1 RejectUndefOverlapPixels true CheckConvergenceAngle false "
            "MinConvergenceAngle 10 MaxConvergenceAngle 90 RejectUndefConvergenceAngle true TheSameSensor false "
            "RejectUndefSensor true CheckTimeGap false MinTimeGap 0 MaxTimeGap 0.1 RejectUndefTimeGap true "
            "CheckDateGap false MaxDateGap 30 RejectUndefDateGap true CheckGSD false MaxGSDPercentDiff 20 "
            "RejectUndefGSD true CheckSunAzimuthDiff false MaxSunAzimuthDiff 15 RejectUndefSunAzimuthDiff true "
            "CheckSunElevationDiff false MaxSunElevationDiff 15 RejectUndefSunElevationDiff true ");
  Params params;
  params.Invalidate();
  EXPECT_EQ(Joined(params),
            "TiesRequired true CheckOverlapPercentage true MinOverlapPercentage -1 RejectUndefOverlapPercentage true "
            "CheckOverlapPixels true MinOverlapPixels -1 RejectUndefOverlapPixels true CheckConvergenceAngle true "
            "MinConvergenceAngle 361 MaxConvergenceAngle 361 RejectUndefConvergenceAngle true TheSameSensor true "
            "RejectUndefSensor true CheckTimeGap true MinTimeGap 0 MaxTimeGap -1 RejectUndefTimeGap true "
            "CheckDateGap true MaxDateGap -1 RejectUndefDateGap true CheckGSD true MaxGSDPercentDiff -1 "
            "RejectUndefGSD true CheckSunAzimuthDiff true MaxSunAzimuthDiff 361 RejectUndefSunAzimuthDiff true "
            "CheckSunElevationDiff true MaxSunElevationDiff 361 RejectUndefSunElevationDiff true ");
  EXPECT_FALSE(static_cast<bool>(params));
  params.Reset();
  EXPECT_EQ(Joined(params), Joined(Params()));
  EXPECT_TRUE(static_cast<bool>(params) && static_cast<bool>(AllChecked())) << "the default limits are valid";
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
    Params params;
    for (const double limit : c.bad) {
      params.*c.check = false;
      params.*c.limit = limit;
      EXPECT_TRUE(static_cast<bool>(params)) << "not checked";
      params.*c.check = true;
      EXPECT_FALSE(static_cast<bool>(params)) << limit;
    }
    for (const double limit : c.good) EXPECT_TRUE((params.*c.limit = limit, params)) << limit;
  }
  Params date = AllChecked();
  date.MaxDateGap = -1;
  EXPECT_FALSE(static_cast<bool>(date));
}

// Every flag turned and every limit another number, whether they make sense or not: reading does not judge them.
TEST(StereopairsByOverlap, EveryFieldComesBack) {
  Items items = Saved(Params());
  for (std::size_t i = 0; i < items.size(); ++i) {
    std::string& text = items[i].second;
    text = text == "true" ? "false" : text == "false" ? "true" : "-" + std::to_string(i);
  }
  Params read;
  ASSERT_TRUE(Loads(items, {}, &read));
  EXPECT_EQ(Saved(read), items);
}

// Each key taken out of a section with every check off, and with every check on.
TEST(StereopairsByOverlap, MandatoryAndOptionalKeys) {
  const std::set<std::string> always = {
      "TiesRequired",          "CheckOverlapPercentage", "CheckOverlapPixels", "TheSameSensor",
      "CheckConvergenceAngle", "RejectUndefSensor",      "CheckTimeGap",       "CheckGSD"};
  const std::set<std::string> never = {"MinTimeGap", "CheckDateGap", "CheckSunAzimuthDiff", "CheckSunElevationDiff"};
  for (const auto& [key, text] : Saved(Params())) {
    Params read;
    const bool optional = always.count(key) == 0;
    EXPECT_EQ(Loads(Saved(Params()), {key}, &read), optional) << key;
    EXPECT_EQ(Joined(read) == Joined(Params()), optional) << key << " has its default";
    EXPECT_EQ(Loads(Saved(AllChecked()), {key}, &read), never.count(key) == 1) << key << ", checks on";
  }
  Params old;
  ASSERT_TRUE(Loads(Saved(AllChecked()), never, &old)) << "a file from before those checks";
  EXPECT_FALSE(old.CheckDateGap || old.CheckSunAzimuthDiff || old.CheckSunElevationDiff);
}

TEST(StereopairsByOverlap, WithoutReaderOrWriterNothingHappens) {
  Params params = AllChecked();
  EXPECT_FALSE(params.InitializeFromXML(nullptr));
  EXPECT_FALSE(params.InitializeFromXML(nullptr, "Criteria"));
  EXPECT_EQ(Joined(params), Joined(AllChecked()));
  EXPECT_FALSE(params.SaveToXML(nullptr));
  EXPECT_FALSE(params.SaveToXML(nullptr, "Criteria"));
}

}  // namespace
}  // namespace StereopairsByOverlap
