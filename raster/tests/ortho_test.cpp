// Orthoimages: against an independent program where the machine has its results, and on scenes made here, whose grey
// values say where they come from.

#include "raster/ortho.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "frame/zxstd/threads.h"
#include "ortho_scenes.h"
#include "raster/height_files.h"
#include "raster/image_model.h"
#include "rpc/models.h"
#include "support/real_data.h"
#include "terrain/scenes.h"
#include "terrain/terrain_locator.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::DegreesOptions;
using orbmath_test::Grey;
using orbmath_test::Ortho;
using orbmath_test::PlainFrame;
using orbmath_test::PlainModel;
namespace fs = std::filesystem;
using orbmath_test::kNaN;
using orbmath_test::Load;
using orbmath_test::Pixels;
using orbmath_test::Save;
using orbmath_test::SmallModel;

class WithOrthoData : public Ortho {
 protected:
  void SetUp() override {
    Ortho::SetUp();
    if (!std::ifstream(Data("expected.json"))) GTEST_SKIP() << "no folder 'ortho' with images beside ORBMATH_TEST_DATA";
  }
  static std::string Data(const std::string& name) { return orbmath_test::RealDataPath("../ortho/" + name); }
};

TEST_F(WithOrthoData, PixelsAreThoseOfAnIndependentProgram) {
  struct Case {
    const char* expected;
    TResampling resampling;
    const char* crs;
    double resolution;
    TMapBounds bounds;
    double mostDifferent;  ///< share of pixels that differ at all: ties of rounding
    double largest;        ///< two pixels inside the image
  };
  const TMapBounds plane = {675190.0, 4897030.0, 675550.0, 4897380.0};
  const Case cases[] = {
      {"ortho_near.tif", TResampling::Nearest, "EPSG:32631", 2.0, plane, 1e-4, 200.0},
      {"ortho_bilinear.tif", TResampling::Bilinear, "EPSG:32631", 2.0, plane, 1e-3, 1.0},
      {"ortho_cubic.tif", TResampling::Cubic, "EPSG:32631", 2.0, plane, 1e-3, 1.0},
      {"ortho_geographic_bilinear.tif",
       TResampling::Bilinear,
       "EPSG:4326",
       2e-5,
       {5.19, 44.2035, 5.1985, 44.2105},
       1e-3,
       1.0},
  };
  TRPCFile file;
  ASSERT_TRUE(ReadImageModel(Data("color_band1.tif"), {}, &file, nullptr));
  const TRPC model(file.record);
  TDemSurface dem;
  ASSERT_TRUE(OpenDem({{Data("dem_ellipsoidal.tif")}, "none"}, &dem, nullptr));
  for (const Case& c : cases) {
    SCOPED_TRACE(c.expected);
    TOrthoOptions options;
    options.frame.crs = c.crs;
    options.frame.resolution = c.resolution;
    options.frame.bounds = c.bounds;
    options.resampling = c.resampling;
    const TOrthoResult result =
        Orthorectify({Data("color_band1.tif"), Path("o.tif"), &model, dem.surface.get()}, options);
    ASSERT_TRUE(result) << result.sentence;
    const Pixels ours = Load(Path("o.tif"));
    const Pixels theirs = Load(Data(c.expected));
    ASSERT_EQ(ours.width, theirs.width);
    ASSERT_EQ(ours.height, theirs.height);
    int different = 0;
    double largest = 0.0;
    for (std::size_t i = 0; i < ours.bands[0].size(); ++i) {
      const double difference = std::fabs(ours.bands[0][i] - theirs.bands[0][i]);
      different += difference > 0.0 ? 1 : 0;
      largest = std::fmax(largest, difference);
    }
    EXPECT_LE(different, c.mostDifferent * double(result.filled));
    EXPECT_LE(largest, c.largest);
  }
}

TEST_F(Ortho, WhatIsPaintedOnTheGroundComesBackInItsPlace) {
  const TRPC model = SmallModel();
  const orbmath_test::Formula surface(
      [](double lat, double lon) { return 900.0 + 90.0 * std::sin(lon * 900.0) * std::cos(lat * 1100.0); }, 1.3e5);
  // Each pixel holds the latitude and longitude that it sees, in units of some two metres, which a pixel is.
  constexpr double kUnit = 2e-5;
  Pixels image = {331, 257, {}};
  image.bands.assign(2, std::vector<double>(std::size_t(image.width) * std::size_t(image.height)));
  const TTerrainLocator locator(model, surface);
  for (int row = 0; row < image.height; ++row) {
    for (int column = 0; column < image.width; ++column) {
      const TTerrainSolution ground = locator.Locate(row, column);
      ASSERT_TRUE(ground);
      const std::size_t at = std::size_t(row) * std::size_t(image.width) + std::size_t(column);
      image.bands[0][at] = (ground.lat - 45.0) / kUnit;
      image.bands[1][at] = (ground.lon - 7.0) / kUnit;
    }
  }
  Save(Path("image.tif"), image, GDT_Float64);
  for (const char* crs : {"EPSG:4326", "EPSG:32632", "EPSG:3035"}) {
    SCOPED_TRACE(crs);
    TOrthoOptions options = DegreesOptions(TResampling::Bilinear);
    options.frame.crs = crs;
    TOrthoResult result;
    const Pixels ortho = Run(model, surface, options, &result);
    EXPECT_GT(result.filled, 60000);
    OGRSpatialReference plane, wgs84;
    plane.SetFromUserInput(crs);
    wgs84.SetWellKnownGeogCS("WGS84");
    plane.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    wgs84.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    const std::unique_ptr<OGRCoordinateTransformation> toGround(OGRCreateCoordinateTransformation(&plane, &wgs84));
    const double* const t = result.frame.transform;
    double worst = 0.0;
    std::int64_t seen = 0;
    for (int row = 0; row < ortho.height; ++row) {
      for (int column = 0; column < ortho.width; ++column) {
        if (std::isnan(ortho.At(0, column, row))) continue;
        ++seen;
        double lon = t[0] + (column + 0.5) * t[1];
        double lat = t[3] + (row + 0.5) * t[5];
        ASSERT_TRUE(toGround->Transform(1, &lon, &lat));
        double line, sample;
        model.CalculateLineSample(lat, lon, surface.GetHeight(lat, lon), &line, &sample, nullptr, nullptr);
        // The outer half pixel has nothing to interpolate to.
        const bool inside = line >= 0.0 && line <= image.height - 1 && sample >= 0.0 && sample <= image.width - 1;
        const double off =
            std::hypot(ortho.At(0, column, row) - (lat - 45.0) / kUnit, ortho.At(1, column, row) - (lon - 7.0) / kUnit);
        if (inside) worst = std::fmax(worst, off);
        EXPECT_LT(off, 1.0);
      }
    }
    EXPECT_EQ(seen, result.filled);
    EXPECT_LT(worst, 0.05);
  }
}

TEST_F(Ortho, HalfPixelsAreRightAtEveryEdge) {
  const TRPC model = PlainModel();
  const TConstantHeight flat(300.0);
  const Pixels image = Grey();
  Save(Path("image.tif"), image, GDT_Byte);
  for (const TResampling kind :
       {TResampling::Nearest, TResampling::Bilinear, TResampling::Cubic, TResampling::Lanczos}) {
    // Pixel on pixel, with two more around: every kernel gives the image back, and nothing around it.
    const Pixels same = Run(model, flat, PlainFrame(kind, -2.0 + 1e-7, -2.0 + 1e-7, 13, 11));
    ASSERT_EQ(same.width, 13);
    for (int row = 0; row < 11; ++row) {
      for (int column = 0; column < 13; ++column) {
        const bool inside = row >= 2 && row < 9 && column >= 2 && column < 11;
        EXPECT_EQ(same.At(0, column, row), inside ? image.At(0, column - 2, row - 2) : 0.0)
            << int(kind) << " " << column << " " << row;
      }
    }
  }
  // The outer half pixel belongs to the image: 0.45 to the left of and above the first centre is there, 0.55 is not.
  EXPECT_EQ(Run(model, flat, PlainFrame(TResampling::Bilinear, -0.45, -0.45, 1, 1)).At(0, 0, 0), 100.0);
  EXPECT_EQ(Run(model, flat, PlainFrame(TResampling::Bilinear, -0.55, 0.0, 1, 1)).At(0, 0, 0), 0.0);
  EXPECT_EQ(Run(model, flat, PlainFrame(TResampling::Cubic, 8.45, 6.45, 1, 1)).At(0, 0, 0), image.At(0, 8, 6));
  EXPECT_EQ(Run(model, flat, PlainFrame(TResampling::Cubic, 8.0, 6.55, 1, 1)).At(0, 0, 0), 0.0);
  // Between pixels: the mean of four, and Keys' weights (-1, 9, 9, -1) / 16 both ways.
  const Pixels middle = Run(model, flat, PlainFrame(TResampling::Bilinear, 3.5, 2.5, 1, 1));
  EXPECT_EQ(middle.At(0, 0, 0),
            std::floor((image.At(0, 3, 2) + image.At(0, 4, 2) + image.At(0, 3, 3) + image.At(0, 4, 3)) / 4.0 + 0.5));
  const double weights[] = {-0.0625, 0.5625, 0.5625, -0.0625};
  double keys = 0.0;
  for (int i = 0; i < 16; ++i) keys += weights[i / 4] * weights[i % 4] * image.At(0, 2 + i % 4, 1 + i / 4);
  EXPECT_EQ(Run(model, flat, PlainFrame(TResampling::Cubic, 3.5, 2.5, 1, 1)).At(0, 0, 0), std::floor(keys + 0.5));
}

TEST_F(Ortho, LanczosIsTheWindowedSincOfSixBySixPixels) {
  Pixels image = {11, 9, {{}}};
  for (int i = 0; i < 99; ++i) image.bands[0].push_back(1000.0 + 37.0 * (i * i % 11) - 11.0 * (i % 7));
  Save(Path("image.tif"), image, GDT_Float64);
  const double at[] = {4.3, 3.8};  // column and row
  const auto sinc = [](double x) { return x == 0.0 ? 1.0 : std::sin(M_PI * x) / (M_PI * x); };
  double weights[2][6], sums[2] = {};
  for (int axis = 0; axis < 2; ++axis) {
    for (int k = 0; k < 6; ++k) {
      const double x = at[axis] - (std::floor(at[axis]) - 2 + k);
      sums[axis] += weights[axis][k] = sinc(x) * sinc(x / 3.0);
    }
  }
  double expected = 0.0;
  for (int i = 0; i < 36; ++i) {
    expected += weights[0][i % 6] / sums[0] * weights[1][i / 6] / sums[1] * image.At(0, 2 + i % 6, 1 + i / 6);
  }
  const Pixels ortho = Run(PlainModel(), TConstantHeight(300.0), PlainFrame(TResampling::Lanczos, at[0], at[1], 1, 1));
  EXPECT_NEAR(ortho.At(0, 0, 0), expected, 1e-4);
}

TEST_F(Ortho, PixelsWithoutDataAndVoidsStayEmptyAndNothingElseDoes) {
  const TRPC model = PlainModel();
  Pixels image = Grey();
  image.bands[0][3 * 9 + 4] = 77.0;  // no data in the middle
  image.bands[0][0] = 5.0;
  Save(Path("image.tif"), image, GDT_UInt16, 77.0);
  const TConstantHeight flat(300.0);
  TOrthoOptions options = PlainFrame(TResampling::Cubic, 0.2, 0.2, 8, 6);
  TOrthoResult result;
  const Pixels ortho = Run(model, flat, options, &result);
  EXPECT_EQ(result.filled, 48);
  for (int row = 0; row < 6; ++row) {
    for (int column = 0; column < 8; ++column) {
      const bool lost = row == 3 && column == 4;
      EXPECT_EQ(ortho.At(0, column, row) == 77.0, lost) << column << " " << row;
      // Its neighbours are made of what there is, and stay between their own neighbours.
      if (lost || row + column == 0) continue;
      EXPECT_NEAR(ortho.At(0, column, row), image.At(0, column, row), 16.0);
    }
  }
  // Data of the value that stands for none become the next.
  options = PlainFrame(TResampling::Nearest, 0.0, 0.0, 9, 7);
  options.noData = 5.0;
  const Pixels moved = Run(model, flat, options);
  EXPECT_EQ(moved.At(0, 0, 0), 6.0);
  EXPECT_EQ(moved.At(0, 4, 3), 5.0);
  // A void of the terrain over the right half.
  const orbmath_test::Formula half([](double, double lon) { return lon < 7.0004 ? 300.0 : kNaN; }, 0.0);
  options = PlainFrame(TResampling::Bilinear, 0.0, 0.0, 9, 7);
  const Pixels voids = Run(model, half, options, &result);
  EXPECT_EQ(result.noHeight, 4 * 7);
  EXPECT_EQ(voids.At(0, 4, 1), image.At(0, 4, 1));
  EXPECT_EQ(voids.At(0, 5, 1), 77.0);
}

TEST_F(Ortho, MapsInLongitudesOfOtherDatumsLieAcrossTheDateLine) {
  TRPCData record;
  PlainModel().GetRPCData(&record);
  const TConstantHeight ground(0.0);
  for (const double lon : {179.9, -179.9}) {
    record.longOffset = lon;
    TMapFrameOptions options;
    options.crs = "EPSG:4272";  // a datum some hundred metres away
    options.resolution = 1e-3;
    TMapFrame frame;
    std::string error;
    ASSERT_TRUE(PlanMapFrame(TRPC(record), ground, 4000, 2000, options, &frame, nullptr, &error)) << error;
    EXPECT_NEAR(frame.columns, 401, 2) << lon;
    EXPECT_NEAR(frame.rows, 201, 2);
  }
}

TEST_F(Ortho, KernelsDoNotDependOnTheMapsBounds) {
  // A model whose pixels get denser far from the image: at the middle of the wide map half as many again.
  TRPCData record;
  PlainModel().GetRPCData(&record);
  record.sampNumCoef[7] = 0.2 * record.sampNumCoef[1];
  const TRPC model(record);
  const TConstantHeight flat(300.0);
  Save(Path("image.tif"), Grey(), GDT_Float32);
  const Pixels narrow = Run(model, flat, PlainFrame(TResampling::Cubic, 0.3, 0.3, 8, 6));
  const Pixels wide = Run(model, flat, PlainFrame(TResampling::Cubic, 0.3, 0.3, 5000, 6));
  for (int row = 0; row < 6; ++row) {
    for (int column = 0; column < 8; ++column) {
      EXPECT_NEAR(wide.At(0, column, row), narrow.At(0, column, row), 1e-3) << column << " " << row;
    }
  }
}

TEST_F(Ortho, CoarserMapsTakeInEveryPixel) {
  const TRPC model = PlainModel();
  const TConstantHeight flat(300.0);
  // Columns of 10 and 250 in turn: without a filter a map of every fourth pixel is one of them alone.
  Pixels image = {64, 48, {{}}};
  for (int i = 0; i < 64 * 48; ++i) image.bands[0].push_back(i % 2 == 0 ? 10.0 : 250.0);
  Save(Path("image.tif"), image, GDT_Byte);
  for (const TResampling kind : {TResampling::Bilinear, TResampling::Cubic, TResampling::Lanczos}) {
    TOrthoOptions options = PlainFrame(kind, 0.0, 0.0, 16, 12, 4.0);
    const Pixels coarse = Run(model, flat, options);
    options.memoryBytes = 1000;  // no window fits: pixel by pixel
    EXPECT_EQ(Run(model, flat, options).bands, coarse.bands);
    for (int row = 3; row < 9; ++row) {
      for (int column = 3; column < 13; ++column) EXPECT_NEAR(coarse.At(0, column, row), 130.0, 6.0) << int(kind);
    }
  }
}

TEST_F(Ortho, ThreadsAndMemoryDoNotChangeThePixels) {
  const TRPC model = SmallModel();
  const orbmath_test::Formula surface([](double lat, double) { return 900.0 + 3e4 * (lat - 45.0); }, 4e4);
  Pixels image = {331, 257, {}};
  for (int band = 0; band < 3; ++band) {
    image.bands.emplace_back();
    for (int i = 0; i < image.width * image.height; ++i) image.bands.back().push_back((i * (7 + band)) % 251 + 1);
  }
  Save(Path("image.tif"), image, GDT_Byte);
  TOrthoOptions options;
  options.frame.resolution = 0.5;
  std::vector<Pixels> made;
  for (const int threads : {1, 3}) {
    const TZxThreadsScope scope(threads);
    options.memoryBytes = threads == 1 ? 512u << 20 : 100000u;
    made.push_back(Run(model, surface, options));
  }
  ASSERT_GT(made[0].width, 1024);
  EXPECT_EQ(made[0].bands, made[1].bands);
}

/// Stops at one of the calls.
class Stopper final : public TZxProgressHandler {
 public:
  explicit Stopper(int last) : last_(last) {}
  bool Progress(double) override { return ++calls_ < last_; }

 private:
  int last_;
  int calls_ = 0;
};

TEST_F(Ortho, ComesWholeOrNotAtAll) {
  const TRPC model = SmallModel();
  const TConstantHeight flat(900.0);
  Pixels image = {331, 257, {std::vector<double>(331 * 257, 9.0)}};
  Save(Path("image.tif"), image, GDT_UInt16);
  std::ofstream(Path("ortho.tif")) << "old";
  const TOrthoProblem problem = {Path("image.tif"), Path("ortho.tif"), &model, &flat};
  TOrthoOptions options;
  options.frame.resolution = 0.5;
  Stopper stopper(3);
  options.progress = &stopper;
  EXPECT_EQ(Orthorectify(problem, options).state, TMapState::Stopped);
  options.progress = nullptr;
  // No file may get larger than this: the disk is full.
  struct rlimit before {};
  getrlimit(RLIMIT_FSIZE, &before);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  const struct rlimit small = {300000, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  const TOrthoResult full = Orthorectify(problem, options);
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(full.state, TMapState::Failed) << full.sentence;
  EXPECT_EQ(fs::file_size(Path("ortho.tif")), 3u);
  EXPECT_EQ(FilesThere(), 2);
  EXPECT_EQ(Orthorectify({Path("none.tif"), Path("ortho.tif"), &model, &flat}, options).state, TMapState::Failed);
  EXPECT_EQ(Orthorectify({Path("image.tif"), Path("no/ortho.tif"), &model, &flat}, options).state, TMapState::Failed);
  EXPECT_EQ(Orthorectify({Path("image.tif"), Path("image.tif"), &model, &flat}, options).state, TMapState::Failed);
  for (const double resolution : {-0.5, orbmath_test::kNaN}) {
    options.frame.resolution = resolution;
    EXPECT_EQ(Orthorectify(problem, options).state, TMapState::Failed);
  }
  EXPECT_EQ(FilesThere(), 2);
  // A format that is written by copying, and one of two files.
  for (const char* format : {"COG", "ENVI"}) {
    options.format = format;
    options.frame.resolution = 5.0;
    const TOrthoResult made = Orthorectify(problem, options);
    EXPECT_TRUE(made) << made.sentence;
    EXPECT_EQ(Load(Path("ortho.tif")).width, made.frame.columns) << format;
  }
  EXPECT_EQ(FilesThere(), 4) << "image, ortho, the latter's header and auxiliary file";
  options.format = "GTiff";
  EXPECT_TRUE(Orthorectify(problem, options));
  EXPECT_EQ(FilesThere(), 3) << "the auxiliary file was that of the replaced raster";
  options.format = "COG";
  Stopper late(2);  // after the only tile, in the copying
  options.progress = &late;
  EXPECT_EQ(Orthorectify(problem, options).state, TMapState::Stopped);
  EXPECT_EQ(FilesThere(), 3);
}

TEST_F(Ortho, MasksWhatTerrainHides) {
  const TRPC model = PlainModel();
  TRPCData record;
  model.GetRPCData(&record);
  record.sampNumCoef[3] = -0.005;  // a metre of height moves the sample by -0.01 pixels
  const TRPC oblique(record);
  // A wall of 400 m, 4 pixels of the image; the sensor looks from the east, where it is high.
  const orbmath_test::Formula wall([](double, double lon) { return lon < 7.001 ? 1000.0 : 1400.0; }, 1e9);
  Pixels image = {40, 7, {std::vector<double>(40 * 7, 50.0)}};
  Save(Path("image.tif"), image, GDT_Byte);
  TOrthoOptions options = PlainFrame(TResampling::Nearest, 0.0, 0.0, 30, 7);
  TOrthoResult keep, mask;
  Run(oblique, wall, options, &keep);
  options.hidden = THiddenGround::Mask;
  const Pixels ortho = Run(oblique, wall, options, &mask);
  EXPECT_EQ(keep.hidden, 0);
  EXPECT_EQ(mask.filled + mask.hidden, keep.filled);
  for (int row = 0; row < 7; ++row) {
    for (int column = 0; column < 30; ++column) {
      // Pixel 10 lies on the wall's edge.
      if (column < 5 || (column > 6 && column < 10)) {
        EXPECT_EQ(ortho.At(0, column, row), column < 5 ? 50.0 : 0.0) << column;
      }
    }
  }
}

}  // namespace
}  // namespace SatCommonUtils
