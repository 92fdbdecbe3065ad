#include "refine/adjusted_rpc.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <thread>
#include <vector>

#include "refine/refinements.h"
#include "rpc/models.h"
#include "support/bits.h"
#include "support/differences.h"
#include "support/random.h"
#include "support/xml.h"

using namespace SatCommonUtils;
using orbmath_test::CameraRecord;
using orbmath_test::MessageOf;
using orbmath_test::ReaderOf;
using orbmath_test::SameBits;
using orbmath_test::SavedXml;

namespace {

/// What image to ground promises for a point that a model projects, degrees.
constexpr double kGroundTolerance = 1e-9;
/// Relative error of the differences below.
constexpr double kDifferenceTolerance = 1e-6;

const TRPCData kRecord = CameraRecord(1.4);

TAdjustedRPC Adjusted(const TRPCRefinementDataBase& refinement) { return TAdjustedRPC(&kRecord, &refinement); }

std::string XmlOf(const TRPC& model) {
  return SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(model.SaveToXML(writer)); });
}

/// Ground points of the camera's box.
struct Points {
  explicit Points(std::size_t count) {
    orbmath_test::Random random("adjusted model");
    for (std::size_t i = 0; i < count; ++i) {
      lat.push_back(random.Uniform(43.55, 43.65));
      lon.push_back(random.Uniform(1.33, 1.47) + (i % 3 == 0 ? 360.0 : 0.0));
      h.push_back(random.Uniform(-100, 600));
    }
  }
  std::size_t Count() const { return lat.size(); }
  std::vector<double> lat, lon, h;
};

struct Image {
  double line, sample, d_line[3], d_sample[3];
};

Image Project(const TRPC& model, const Points& p, std::size_t i) {
  Image image;
  model.CalculateLineSample(p.lat[i], p.lon[i], p.h[i], &image.line, &image.sample, image.d_line, image.d_sample);
  return image;
}

}  // namespace

TEST(AdjustedRPC, WithoutARefinementItIsItsRPCPart) {
  const TAdjustedRPC model(&kRecord, nullptr);
  const TRPC plain(kRecord, nullptr);
  EXPECT_FALSE(model.IsAdjusted());
  EXPECT_FALSE(model.GetRPCRefinementData());
  const Points points(10);
  for (std::size_t i = 0; i < points.Count(); ++i) {
    const Image a = Project(model, points, i), b = Project(plain, points, i);
    EXPECT_TRUE(SameBits(&a.line, &b.line, 8));
    double lat[2], lon[2];
    EXPECT_TRUE(model.CalculateLatLon(a.line, a.sample, 100, &lat[0], &lon[0]));
    EXPECT_TRUE(plain.CalculateLatLon(a.line, a.sample, 100, &lat[1], &lon[1]));
    EXPECT_TRUE(SameBits(lat[0], lat[1]));
    EXPECT_TRUE(SameBits(lon[0], lon[1]));
  }
  EXPECT_EQ(XmlOf(model), XmlOf(plain));
}

TEST(AdjustedRPC, GroundToRefinedImageAndBackForEveryKind) {
  const Points points(50);
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    SCOPED_TRACE(GetRPCRefinementTransformTypeName(record->type));
    const TAdjustedRPC model = Adjusted(*record);
    EXPECT_TRUE(model.IsAdjusted());
    EXPECT_EQ(model.GetRPCRefinementData()->type, record->type);
    for (std::size_t i = 0; i < points.Count(); ++i) {
      const Image image = Project(model, points, i);
      double lat, lon;
      ASSERT_TRUE(model.CalculateLatLon(image.line, image.sample, points.h[i], &lat, &lon));
      EXPECT_NEAR(lat, points.lat[i], kGroundTolerance);
      EXPECT_NEAR(lon, points.lon[i] - (i % 3 == 0 ? 360.0 : 0.0), kGroundTolerance);
      const auto line_at = [&](double x) {
        double line, sample;
        model.CalculateLineSample(points.lat[i], points.lon[i], x, &line, &sample, nullptr, nullptr);
        return line;
      };
      const auto sample_at = [&](double x) {
        double line, sample;
        model.CalculateLineSample(points.lat[i], x, points.h[i], &line, &sample, nullptr, nullptr);
        return sample;
      };
      EXPECT_NEAR(image.d_line[2], orbmath_test::CentralDifference(line_at, points.h[i], 1.0), kDifferenceTolerance);
      EXPECT_NEAR(image.d_sample[1] / orbmath_test::CentralDifference(sample_at, points.lon[i], 1e-5), 1.0,
                  kDifferenceTolerance);
    }
  }
  const TAdjustedRPC shifted = Adjusted(orbmath_test::Shift(2, -3));
  const Image plain = Project(TRPC(kRecord, nullptr), points, 0), refined = Project(shifted, points, 0);
  EXPECT_EQ(refined.line, plain.line + 2.0);
  EXPECT_EQ(refined.sample, plain.sample - 3.0);
}

TEST(AdjustedRPC, ArraysGiveTheBitsOfSinglePoints) {
  const Points points(5000);  // more than one thread takes
  const std::size_t n = points.Count();
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const TAdjustedRPC model = Adjusted(*record);
    std::vector<double> line(n), sample(n), derivatives(6 * n);
    double* d[6];
    for (std::size_t k = 0; k < 6; ++k) d[k] = derivatives.data() + k * n;
    std::vector<double> lat(n), lon(points.h), line_alone(n), sample_alone(n);
    model.CalculateLineSampleArray(n, points.lat.data(), points.lon.data(), points.h.data(), line.data(), sample.data(),
                                   d, d + 3);
    model.CalculateLineSampleArray(n, points.lat.data(), points.lon.data(), points.h.data(), line_alone.data(),
                                   sample_alone.data(), nullptr, nullptr);
    EXPECT_TRUE(SameBits(line.data(), line_alone.data(), n));
    // Heights in the buffer that becomes the longitudes.
    EXPECT_EQ(model.CalculateLatLonArray(n, line.data(), sample.data(), lon.data(), lat.data(), lon.data(), nullptr),
              n);
    std::vector<double> d_sample_alone(derivatives.begin() + static_cast<std::ptrdiff_t>(3 * n), derivatives.end());
    model.CalculateLineSampleArray(n, points.lat.data(), points.lon.data(), points.h.data(), line_alone.data(),
                                   sample_alone.data(), nullptr, d + 3);
    EXPECT_TRUE(SameBits(d_sample_alone.data(), d[3], 3 * n)) << "without the line's derivatives";
    for (std::size_t i = 0; i < n; ++i) {
      const Image one = Project(model, points, i);
      const double expected[8] = {line[i], sample[i], d[0][i], d[1][i], d[2][i], d[3][i], d[4][i], d[5][i]};
      ASSERT_TRUE(SameBits(&one.line, expected, 8)) << i;
      double one_lat, one_lon;
      ASSERT_TRUE(model.CalculateLatLon(one.line, one.sample, points.h[i], &one_lat, &one_lon));
      ASSERT_TRUE(SameBits(one_lat, lat[i])) << i;
      ASSERT_TRUE(SameBits(one_lon, lon[i])) << i;
    }
  }
}

TEST(AdjustedRPC, CopiesShareTheRefinement) {
  TAdjustedRPC model = Adjusted(orbmath_test::Affine());
  model.SetRasterDims(100, 200);
  const TAdjustedRPC copy(model);
  TAdjustedRPC assigned(&kRecord, nullptr);
  assigned = copy;
  const var_a<TRPC*> virtual_copy = model.CreateVCopy();
  const auto* adjusted = dynamic_cast<const TAdjustedRPC*>(virtual_copy.get());
  ASSERT_NE(adjusted, nullptr);
  for (const TAdjustedRPC* other : {&copy, static_cast<const TAdjustedRPC*>(&assigned), adjusted}) {
    EXPECT_EQ(other->GetRefinement().get(), model.GetRefinement().get());
    EXPECT_EQ(XmlOf(*other), XmlOf(model));
  }
}

TEST(AdjustedRPC, ThreadsThatShareAModelGetTheSameBits) {
  const Points points(64);
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const TAdjustedRPC model = Adjusted(*record);
    std::vector<std::vector<double>> results(4);
    std::vector<std::thread> threads;
    for (std::vector<double>& result : results) {
      threads.emplace_back([&model, &points, &result] {
        for (std::size_t i = 0; i < points.Count(); ++i) {
          const Image image = Project(model, points, i);
          double lat, lon;
          model.CalculateLatLon(image.line, image.sample, points.h[i], &lat, &lon);
          result.insert(result.end(), {image.line, image.sample, lat, lon});
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& result : results) {
      EXPECT_TRUE(SameBits(result.data(), results[0].data(), results[0].size()));
    }
  }
}

TEST(AdjustedRPCXml, ComesBackByteForByte) {
  for (const auto& record : orbmath_test::OneOfEachKind()) {
    const TAdjustedRPC model = Adjusted(*record);
    ASSERT_TRUE(model.EnsureApproximation());
    const std::string xml = XmlOf(model);
    const TAdjustedRPC loaded(ReaderOf(xml).get());
    EXPECT_EQ(XmlOf(loaded), xml);
    // The layout of a bare record is taken too.
    const TAdjustedRPC from_record(ReaderOf(SavedXml([&](TZxXIniWriter* writer) {
                                     TAdjustedRPC plain(&kRecord, nullptr);
                                     plain.EnsureApproximation();
                                     plain.SaveToXML(writer);
                                     TZxXIniWriterSection section(writer, "Refinement");
                                     record->SaveToXML(writer);
                                   })).get());
    EXPECT_EQ(from_record.GetRPCRefinementData()->type, record->type);
    EXPECT_EQ(Project(from_record, Points(1), 0).line, Project(model, Points(1), 0).line);
  }
}

TEST(AdjustedRPCXml, AnItemThatIsCalledRefinementIsNone) {
  for (const bool adjusted : {false, true}) {
    const std::string xml = SavedXml([&](TZxXIniWriter* writer) {
      writer->WriteS<std::string>("Refinement", "a remark");
      Adjusted(orbmath_test::Shift(1, 2)).TRPC::SaveToXML(writer);
      if (!adjusted) return;
      TZxXIniWriterSection section(writer, "Refinement");
      orbmath_test::Shift(1, 2).SaveToXML(writer);
    });
    TAdjustedRPC model(&kRecord, nullptr);
    EXPECT_TRUE(model.InitializeFromXML(ReaderOf(xml).get()));
    EXPECT_EQ(model.IsAdjusted(), adjusted);
  }
}

TEST(AdjustedRPCXml, NullReadersAndWritersGiveFalse) {
  TAdjustedRPC model = Adjusted(orbmath_test::Affine());
  EXPECT_FALSE(model.SaveToXML(nullptr));
  EXPECT_FALSE(model.InitializeFromXML(nullptr));
  EXPECT_EQ(MessageOf([] { TAdjustedRPC m(static_cast<TZxXIniReader*>(nullptr)); }),
            "TAdjustedRPC::TAdjustedRPC(TZxXIniReader *src)");
}

TEST(AdjustedRPCXml, ARefinementIsOptionalButMustBeSound) {
  TAdjustedRPC model = Adjusted(orbmath_test::Shift(1, 2));
  EXPECT_TRUE(model.InitializeFromXML(ReaderOf(XmlOf(TRPC(kRecord, nullptr))).get()));
  EXPECT_FALSE(model.IsAdjusted());
  std::string xml = XmlOf(Adjusted(orbmath_test::Shift(1, 2)));
  xml.replace(xml.find("d_line"), 6, "no key");
  EXPECT_FALSE(model.InitializeFromXML(ReaderOf(xml).get()));
  EXPECT_FALSE(model.IsAdjusted());
  EXPECT_EQ(MessageOf([&] { TAdjustedRPC m(ReaderOf(xml).get()); }), "TAdjustedRPC::TAdjustedRPC(TZxXIniReader *src)");
  EXPECT_EQ(MessageOf([&] { Adjusted(TRPCRefinementDataAffine()); }),
            "var_a<TRPCRefinementBase*> CreateRefinementE(const TRPCRefinementDataBase& src)");
}
