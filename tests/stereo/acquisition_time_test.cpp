// Times as model files spell them, and the sun against makers' metadata.

#include "stereo/acquisition_time.h"

#include <gtest/gtest.h>

namespace orbmath_test {

namespace {

using namespace SatCommonUtils;

TEST(AcquisitionTime, ReadsWhatFilesHave) {
  const struct {
    const char* text;
    double days;
  } times[] = {
      {"2000-01-01T12:00:00Z", 0.0},
      {"2000-03-01T00:00:00.000000Z", 59.5},
      {"2006-02-12T10:49:12.695000Z; ", 2233.9508413773},
      {"1999-12-31 12:00", -1.0},
      {"1999-12-31T24:00:00", -0.5},
      {"2012-02-29T12:00:00", 4442.0},
      {"\"2100-03-01T12:00:00\"", 36584.0},  // 2100 is no leap year
  };
  for (const auto& time : times) {
    const std::optional<double> days = ParseAcquisitionTime(time.text);
    ASSERT_TRUE(days.has_value()) << time.text;
    EXPECT_NEAR(*days, time.days, 1e-9) << time.text;
  }
  for (const char* const text :
       {"", "2012-02-12", "12-02-2012T05:00:00", "2012-13-01T05:00:00", "2012-02-12T5:00", "yesterday",
        "2012-02-12T25:00:00", "2012-02-12T05:00:xx", "2012-02-30T05:00:00", "2100-02-29T05:00:00",
        "2012-04-31T05:00:00", "2012-12-32T05:00:00", "2012-02-12T24:00:01"}) {
    EXPECT_FALSE(ParseAcquisitionTime(text).has_value()) << text;
  }
}

TEST(Sun, StandsWhereMakersSay) {
  // MEANSUNAZ and MEANSUNEL of a WorldView-1 image in the metadata beside its model, at its centre.
  const TSunPosition sun = SunAt(*ParseAcquisitionTime("2012-02-12T05:33:43.088646Z"), 26.79, 80.9911);
  EXPECT_NEAR(sun.azimuth, 153.0, 0.2);
  EXPECT_NEAR(sun.elevation, 45.4, 0.2);
  // Midsummer noon at Greenwich: the declination is 23.44 degrees.
  EXPECT_NEAR(SunAt(*ParseAcquisitionTime("2000-06-21T12:01:40Z"), 51.4769, 0.0).elevation, 90.0 - 51.4769 + 23.44,
              0.02);
  EXPECT_NEAR(SunAt(*ParseAcquisitionTime("2000-06-21T12:01:40Z"), 51.4769, 0.0).azimuth, 180.0, 0.2);
}

}  // namespace

}  // namespace orbmath_test
