// The base of 2D transforms, its registry, the projective transform and its matrix.

#include "frame/zxstd/transform_2d.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <stdexcept>
#include <thread>
#include <vector>

#include "frame/zxstd/projective_transform.h"
#include "support/bits.h"
#include "support/random.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::kPoison;
using orbmath_test::ReaderOf;
using orbmath_test::SameBits;
using orbmath_test::SavedXml;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

matr3x3 Matrix(const std::vector<double>& elements) {
  matr3x3 matrix;
  for (std::size_t i = 0; i < 9; ++i) matrix[i / 3][i % 3] = elements[i];
  return matrix;
}

// A mild perspective, as between two images.
const matr3x3 kPerspective = Matrix({1.1, -0.2, 300.0, 0.15, 0.9, -120.0, 1e-5, -2e-5, 1.0});

// x' = x + shift, y' = y, and no map at all left of x = 0. Its content can be made to fail.
class ShiftTransform : public TZx2DTransform {
 public:
  explicit ShiftTransform(double shift) : shift_(shift) {}
  var_a<TZx2DTransform*> CreateCopy() const override { return make_var_a<ShiftTransform>(shift_); }
  var_a<TZx2DTransform*> CreateInverseTransform() const override { return make_var_a<ShiftTransform>(-shift_); }
  xy_d GetTraCoord(const xy_d& p) const override { return {p.x < 0.0 ? kNaN : p.x + shift_, p.y}; }
  xy_d GetInverseTraCoord(const xy_d& p) const override { return {p.x - shift_, p.y}; }
  double GetTransformTime(bool /*inverse*/) const override { return 0.5; }
  const char* GetContentName() const override { return "test shift"; }

 protected:
  void SaveContent(TZxXIniWriter* ini) const override { ini->WriteS("shift", shift_); }
  void LoadContent(TZxXIniReader* ini) override {
    shift_ = ini->ReadKeyE<double>("shift");
    if (shift_ == 13.0) throw std::runtime_error("thirteen");
  }

 private:
  double shift_;
};

TEST(Transform2D, DefaultsOfTheBase) {
  const ShiftTransform shift(2.0);
  xy_d image(kPoison, kPoison);
  EXPECT_FALSE(shift.GetTraCoordB({-1.0, 5.0}, image));
  EXPECT_EQ(image, xy_d(kPoison, kPoison));
  EXPECT_TRUE(shift.GetTraCoordB({1.0, 5.0}, image));
  EXPECT_EQ(image, xy_d(3.0, 5.0));
  EXPECT_TRUE(shift.GetInverseTraCoordB(image, image)) << "in place";
  EXPECT_EQ(image, xy_d(1.0, 5.0));

  std::vector<xy_d> points = {{1.0, 2.0}, {3.0, 4.0}};
  shift.GetTraCoordM(points.data(), points.data(), points.size());
  EXPECT_EQ(points[1], xy_d(5.0, 4.0));
  shift.GetInverseTraCoordM(points.data(), points.data(), points.size());
  EXPECT_EQ(points[1], xy_d(3.0, 4.0));

  matr3x3 matrix = kPerspective;
  EXPECT_FALSE(shift.GetMatrix(&matrix));
  EXPECT_FALSE(shift.GetInverseMatrix(&matrix));
  EXPECT_EQ(matrix, kPerspective);
  EXPECT_EQ(shift.GetTransformFlags(), 0u);
}

TEST(TransformSerializer, EntriesComeAndGo) {
  using TSerializer = TZx2DTransform::TSerializer;
  const auto factory = [] { return var_a<TZx2DTransform*>(new ShiftTransform(7.0)); };
  EXPECT_FALSE(TSerializer::CreateN("test shift"));
  EXPECT_THROW(TSerializer::CreateE("test shift"), TZxMessage);
  EXPECT_FALSE(TSerializer::RegisterName("test shift", nullptr));
  EXPECT_TRUE(TSerializer::RegisterName("test shift", factory));
  EXPECT_FALSE(TSerializer::RegisterName("test shift", &TProjectiveTransform::CreateDefault));
  EXPECT_EQ(TSerializer::CreateE("test shift")->GetTraCoord({0.0, 0.0}), xy_d(7.0, 0.0));
  EXPECT_TRUE(TSerializer::UnregisterName("test shift"));
  EXPECT_FALSE(TSerializer::UnregisterName("test shift"));
  EXPECT_FALSE(TSerializer::CreateN("test shift"));
}

TEST(TransformSerializer, LoadsWhatItSavedAndLeavesTheReaderWhereItWas) {
  using TSerializer = TZx2DTransform::TSerializer;
  const std::string xml = SavedXml([](TZxXIniWriter* writer) {
    TSerializer::SaveE(TProjectiveTransform(kPerspective), writer, "projective");
    TSerializer::SaveE(ShiftTransform(2.5), writer, "shift");
    TSerializer::SaveE(ShiftTransform(13.0), writer, "fails");
  });
  const auto reader = ReaderOf(xml);
  matr3x3 matrix;
  ASSERT_TRUE(TSerializer::LoadE(reader.get(), "projective")->GetMatrix(&matrix));
  EXPECT_EQ(matrix, kPerspective);
  EXPECT_THROW(TSerializer::LoadE(reader.get(), "shift"), TZxMessage) << "not registered";
  TSerializer::RegisterName("test shift", [] { return var_a<TZx2DTransform*>(new ShiftTransform(0.0)); });
  EXPECT_EQ(TSerializer::LoadE(reader.get(), "shift")->GetTraCoord({1.0, 1.0}), xy_d(3.5, 1.0));
  EXPECT_THROW(TSerializer::LoadE(reader.get(), "fails"), TZxMessage);
  EXPECT_FALSE(TSerializer::LoadN(reader.get(), "absent"));
  EXPECT_EQ(reader->GetDepth(), 0u);
  TSerializer::UnregisterName("test shift");
}

TEST(TransformSerializer, MayBeUsedFromManyThreads) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([i] {
      const std::string name = "thread " + std::to_string(i);
      for (int k = 0; k < 500; ++k) {
        EXPECT_TRUE(TZx2DTransform::TSerializer::RegisterName(name, &TProjectiveTransform::CreateDefault));
        EXPECT_TRUE(TZx2DTransform::TSerializer::CreateN(name));
        EXPECT_TRUE(TZx2DTransform::TSerializer::UnregisterName(name));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Matr3x3, ComesBackBitForBit) {
  const double nine[] = {-0.0, 5e-324, kNaN, HUGE_VAL, -std::numeric_limits<double>::max(), 0.1, 1e22, 1.0 / 3.0, 1.0};
  const matr3x3 saved = Matrix(std::vector<double>(nine, nine + 9));
  const auto reader = ReaderOf(SavedXml([&](TZxXIniWriter* writer) { saved.XIniSaveE(writer, "matr"); }));
  matr3x3 loaded;
  loaded.XIniLoadE(reader.get(), "matr");
  EXPECT_TRUE(SameBits(loaded[0], nine, 9));

  const auto short_of_one = ReaderOf("<orbmath><section name='matr'><item name='00'>1</item></section></orbmath>");
  EXPECT_THROW(loaded.XIniLoadE(short_of_one.get(), "matr"), TZxMessage);
  EXPECT_THROW(loaded.XIniLoadE(short_of_one.get(), "other"), TZxMessage);
  EXPECT_TRUE(SameBits(loaded[0], nine, 9));
  EXPECT_EQ(short_of_one->GetDepth(), 0u);
  loaded.fill_unity();
  EXPECT_EQ(loaded, Matrix({1, 0, 0, 0, 1, 0, 0, 0, 1}));
}

TEST(ProjectiveTransform, MapsAndMapsBack) {
  const TProjectiveTransform transform(kPerspective);
  // By hand: W = 1 + 0.01 - 0.04 = 0.97, X = 1100 - 400 + 300, Y = 150 + 1800 - 120.
  const xy_d image = transform.GetTraCoord({1000.0, 2000.0});
  EXPECT_NEAR(image.x, 1000.0 / 0.97, 1e-9);
  EXPECT_NEAR(image.y, 1830.0 / 0.97, 1e-9);
  orbmath_test::Random random("projective");
  for (int i = 0; i < 100; ++i) {
    const xy_d point(random.Uniform(0.0, 10000.0), random.Uniform(0.0, 10000.0));
    const xy_d back = transform.GetInverseTraCoord(transform.GetTraCoord(point));
    EXPECT_NEAR(back.x, point.x, 1e-8);
    EXPECT_NEAR(back.y, point.y, 1e-8);
    const xy_d other = transform.CreateInverseTransform()->GetTraCoord(transform.GetTraCoord(point));
    EXPECT_NEAR(other.x, point.x, 1e-8);
  }
}

TEST(ProjectiveTransform, DerivativesAreThoseOfTheMap) {
  const TProjectiveTransform transform(kPerspective);
  const xy_d point(1500.0, 700.0);
  const struct {
    xy_d (TProjectiveTransform::*map)(const xy_d&) const;
    xy_d (TProjectiveTransform::*with_derivatives)(const xy_d&, xy_d*, xy_d*) const;
  } directions[] = {{&TProjectiveTransform::GetTraCoord, &TProjectiveTransform::GetTraCoordDeriv},
                    {&TProjectiveTransform::GetInverseTraCoord, &TProjectiveTransform::GetInverseTraCoordDeriv}};
  for (const auto& direction : directions) {
    const auto map = [&](double x, double y) { return (transform.*direction.map)({x, y}); };
    xy_d by_x;
    xy_d by_y;
    EXPECT_EQ((transform.*direction.with_derivatives)(point, &by_x, &by_y), map(point.x, point.y));
    constexpr double kStep = 0.5;
    // Of a map this mild the third derivative times the step squared is below 1e-9.
    constexpr double kTolerance = 1e-8;
    const auto difference = [&](const xy_d& high, const xy_d& low, const xy_d& derivative) {
      EXPECT_NEAR((high.x - low.x) / (2.0 * kStep), derivative.x, kTolerance);
      EXPECT_NEAR((high.y - low.y) / (2.0 * kStep), derivative.y, kTolerance);
    };
    difference(map(point.x + kStep, point.y), map(point.x - kStep, point.y), by_x);
    difference(map(point.x, point.y + kStep), map(point.x, point.y - kStep), by_y);
    EXPECT_EQ((transform.*direction.with_derivatives)(point, nullptr, nullptr), map(point.x, point.y));
  }
}

TEST(ProjectiveTransform, SingularMatricesHaveNoInverse) {
  const std::vector<std::vector<double>> singular = {
      {0, 0, 0, 0, 0, 0, 0, 0, 0},
      {1, 2, 3, 2, 4, 6, 0, 0, 1},
      {0.1, 0.2, 0.3, 0.4, 0.5, 0.6, 0.7, 0.8, 0.9},  // rank 2; rounding leaves a determinant of 7e-18
      {1, 0, 0, 0, 1, 0, 0, 0, HUGE_VAL},
      {kNaN, 0, 0, 0, 1, 0, 0, 0, 1}};
  for (const std::vector<double>& elements : singular) {
    const TProjectiveTransform transform(Matrix(elements));
    EXPECT_FALSE(transform.IsInvertible()) << elements[0] << " " << elements[1];
    EXPECT_THROW(transform.CreateInverseTransform(), TZxMessage);
    EXPECT_TRUE(std::isnan(transform.GetInverseTraCoord({1.0, 1.0}).x));
    xy_d image(kPoison, kPoison);
    EXPECT_FALSE(transform.GetInverseTraCoordB({1.0, 1.0}, image));
    matr3x3 matrix = kPerspective;
    EXPECT_FALSE(transform.GetInverseMatrix(&matrix));
    EXPECT_EQ(matrix, kPerspective);
  }
}

// The map of a matrix does not change when the matrix is multiplied by a number, and so must not its inverse.
TEST(ProjectiveTransform, ScaleOfTheMatrixDoesNotMatter) {
  const xy_d image(500.0, 800.0);
  const xy_d expected = TProjectiveTransform(kPerspective).GetInverseTraCoord(image);
  for (const int exponent : {-900, -40, 40, 900}) {
    matr3x3 scaled = kPerspective;
    for (double& element : scaled.m[0]) element = std::ldexp(element, exponent);
    for (double& element : scaled.m[1]) element = std::ldexp(element, exponent);
    for (double& element : scaled.m[2]) element = std::ldexp(element, exponent);
    const TProjectiveTransform transform(scaled);
    ASSERT_TRUE(transform.IsInvertible());
    const xy_d found = transform.GetInverseTraCoord(image);
    EXPECT_TRUE(SameBits(found.x, expected.x));
    EXPECT_TRUE(SameBits(found.y, expected.y));
    matr3x3 inverse;
    ASSERT_TRUE(transform.GetInverseMatrix(&inverse));
    double unity = 0.0;
    for (std::size_t i = 0; i < 3; ++i) unity += scaled[0][i] * inverse[i][0];
    EXPECT_NEAR(unity, 1.0, 1e-12);
  }
}

}  // namespace
}  // namespace SatCommonUtils
