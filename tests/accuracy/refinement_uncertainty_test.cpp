// Covariances of fitted refinements: against simulated fits, through files and windows, out to a plain record's errors.

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "accuracy/error_model.h"
#include "accuracy/ground_uncertainty.h"
#include "accuracy/simulation.h"
#include "refine/adjusted_rpc.h"
#include "refine/crop_model.h"
#include "refine/model_file.h"
#include "refine/refinement_fit.h"
#include "refine/refinements.h"
#include "rpc/models.h"
#include "support/random.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::Coverage;
using orbmath_test::Random;
using Type = TRPCRefinementTransformType;

constexpr double kLines = 14000.0;
constexpr double kSamples = 12000.0;

/// Ties of a correction: the points in one half of the image, the first four towards its corners, their sigmas unequal.
std::vector<TRefinementTie> DrawTies(const TRPCRefinementBase& truth, std::size_t count, Random* random) {
  std::vector<TRefinementTie> ties(count);
  for (std::size_t i = 0; i < count; ++i) {
    TRefinementTie& tie = ties[i];
    const double share = i < 4 ? 0.3 : 1.0;
    tie.line = 0.5 * kLines * (random->Uniform(0.0, share) + (i == 1 || i == 2 ? 0.7 : 0.0));
    tie.sample = kSamples * (random->Uniform(0.0, share) + (i == 1 || i == 3 ? 0.7 : 0.0));
    tie.sigma = random->Uniform(0.2, 0.8);
    truth.RawToRefined(tie.line, tie.sample, &tie.measuredLine, &tie.measuredSample, nullptr, nullptr);
    tie.measuredLine += random->Normal(tie.sigma);
    tie.measuredSample += random->Normal(tie.sigma);
  }
  return ties;
}

TRefinementFit Fit(const std::vector<TRefinementTie>& ties, Type type, bool sigmas_are_known) {
  TRefinementFitOptions options;
  options.automatic = false;
  options.type = type;
  options.keepAll = true;  // the one point in a hundred sets that is left out by chance does not count here
  options.sigmasAreKnown = sigmas_are_known;
  TRefinementFit fit;
  EXPECT_TRUE(FitRefinement(ties, options, &fit)) << fit.message;
  return fit;
}

TEST(RefinementCovariance, HoldsErrorsOfCorrectedPointsAnywhereInTheImage) {
  struct TCase {
    std::size_t kind, points, places;  // places a fit, fewer fits where they take long
    bool known;
  };
  // Few points and known sigmas; forty, whose residuals tell the sigma well enough.
  constexpr TCase kCases[] = {{1, 3, 2, true}, {2, 6, 2, true}, {3, 9, 10, true}, {1, 40, 2, false}};
  const auto kinds = orbmath_test::OneOfEachKind();
  for (const TCase& c : kCases) {
    SCOPED_TRACE(testing::Message() << "kind " << c.kind << ", " << c.points << " points");
    const auto truth = CreateRefinementE(*kinds[c.kind]);
    Random random("refinement covariance");
    Coverage points;
    for (std::size_t i = 0; i < orbmath_test::kPoints / c.places; ++i) {
      const TRefinementFit fit = Fit(DrawTies(*truth, c.points, &random), kinds[c.kind]->type, c.known);
      ASSERT_TRUE(fit.success);
      const TRefinementPropagation propagation(*fit.data, fit.covariance);
      const auto fitted = CreateRefinementE(*fit.data);
      for (std::size_t k = 0; k < c.places; ++k) {
        const double line = random.Uniform(0.0, kLines), sample = random.Uniform(0.0, kSamples);
        double at[2], meant[2];
        fitted->RawToRefined(line, sample, &at[0], &at[1], nullptr, nullptr);
        truth->RawToRefined(line, sample, &meant[0], &meant[1], nullptr, nullptr);
        const TImageCovariance stated = propagation.At(line, sample);
        const TPlaneCovariance plane = {stated.lineLine, stated.lineSample, stated.sampleSample};
        // Of the two coordinates the line stands in the place of a height.
        points.Add({at[0] - meant[0], at[1] - meant[1], at[0] - meant[0]}, CircularErrorsOf(plane),
                   kLinearError90 * std::sqrt(stated.lineLine));
      }
    }
    points.Expect(true);
  }
}

/// A model of the tests with a correction from simulated ground control.
TAdjustedRPC Refined(const TRPCData& record, const TRefinementFit& fit) {
  TAdjustedRPC model(&record, fit.data.get());
  EXPECT_TRUE(model.SetRefinementCovariance(fit.covariance));
  return model;
}

TEST(RefinementCovariance, HoldsErrorsOnTheGroundAfterItsFile) {
  const TRPCData record = orbmath_test::CameraRecord(1.4, 0.05);
  const auto truth = CreateRefinementE(orbmath_test::Affine());
  const TAdjustedRPC meant(&record, truth->GetRefinementData().get());
  Random random("refined ground");
  constexpr std::size_t kPlaces = 10;
  constexpr double kHeightSigma = 0.5;
  Coverage points;
  for (std::size_t i = 0; i < orbmath_test::kPoints / kPlaces; ++i) {
    const TAdjustedRPC fitted = Refined(record, Fit(DrawTies(*truth, 8, &random), Type::Affine, true));
    const std::string xml =
        orbmath_test::SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(fitted.SaveToXML(writer)); });
    TZxStringStream stream(xml);
    const TModelFile file = ReadModelStream(&stream, "refined");
    ASSERT_TRUE(file) << file.message;
    TRPCFileExtras extras;
    extras.biasError = 25.0;  // of the file, from before the refinement
    extras.randomError = -1.0;
    TImageErrorChoice choice;
    choice.sigma = 0.3;
    const TImageErrorModel errors = ErrorsOfImage(*file.model, extras, choice);
    ASSERT_TRUE(errors.success);
    EXPECT_TRUE(errors.biasKnown);
    EXPECT_EQ(errors.errors.bias, 0.0) << errors.message;
    for (std::size_t k = 0; k < kPlaces; ++k) {
      const double lat = record.latOffset + random.Uniform(-0.9, 0.9) * record.latScale;
      const double lon = record.longOffset + random.Uniform(-0.9, 0.9) * record.longScale;
      double line, sample;
      meant.CalculateLineSample(lat, lon, 200.0, &line, &sample, nullptr, nullptr);
      const TGroundSolution at = SolveLatLon(*file.model, line + random.Normal(0.3), sample + random.Normal(0.3),
                                             200.0 + random.Normal(kHeightSigma));
      points.Add(orbmath_test::ErrorOf(at.lat, at.lon, at.h, lat, lon, 200.0),
                 LocateUncertainty(*file.model, errors.errors, at.lat, at.lon, at.h, kHeightSigma));
    }
  }
  points.Expect(true);
}

TEST(RefinementCovariance, OfAShiftIsTheWeightedMeans) {
  std::vector<TRefinementTie> ties = {{0, 0, 1, 0, 0.5}, {100, 10, 102, 10, 2.0}, {300, 500, 300, 501, 1.0}};
  const TRefinementFit known = Fit(ties, Type::Shift, true);
  const double variance = 1.0 / (1.0 / 0.25 + 1.0 / 4.0 + 1.0);
  ASSERT_EQ(known.covariance.values.size(), 4u);
  EXPECT_NEAR(known.covariance.values[0], variance, 1e-12);
  EXPECT_NEAR(known.covariance.values[1], 0.0, 1e-12);
  EXPECT_EQ(known.covariance.redundancy, 0u);
  const TRefinementFit scaled = Fit(ties, Type::Shift, false);
  EXPECT_NEAR(scaled.covariance.values[3], variance * scaled.sigmaFactor * scaled.sigmaFactor, 1e-12);
  EXPECT_NEAR(scaled.covariance.sigma, scaled.sigmaFactor * 1.0, 1e-12);  // the typical sigma is 1
  EXPECT_EQ(scaled.covariance.redundancy, 4u);
}

TEST(RefinementCovariance, GoesWithItsModelThroughFilesCopiesAndWindows) {
  const TRPCData record = orbmath_test::CameraRecord(1.4);
  Random random("covariance files");
  for (const auto& kind : orbmath_test::OneOfEachKind()) {
    if (kind->type == Type::None) continue;
    const auto truth = CreateRefinementE(*kind);
    const TRefinementFit fit = Fit(DrawTies(*truth, 20, &random), kind->type, false);
    const TAdjustedRPC model = Refined(record, fit);
    const TWrittenModel written = FormatModelFile("refined.xml", model);
    TZxStringStream stream(written.content);
    const TModelFile read = ReadModelStream(&stream, "refined.xml");
    ASSERT_TRUE(read) << read.message;
    const auto copy = read.model->CreateVCopy();
    const auto* const back = dynamic_cast<const TAdjustedRPC*>(copy.get());
    ASSERT_TRUE(back != nullptr && back->FindRefinementCovariance() != nullptr);
    EXPECT_EQ(*back->FindRefinementCovariance(), fit.covariance);
    // Seen in a window the same correction is as uncertain, in the pixels of the window.
    const TImageWindow window{1234.0, 567.0, 4.0};
    const auto cropped = CropModel(model, window);
    const auto* const part = dynamic_cast<const TAdjustedRPC*>(cropped.get());
    ASSERT_TRUE(part != nullptr && part->FindRefinementCovariance() != nullptr);
    const TImageCovariance whole = TRefinementPropagation(*fit.data, fit.covariance).At(2000.0, 900.0);
    const TImageCovariance seen =
        TRefinementPropagation(*part->GetRPCRefinementData(), *part->FindRefinementCovariance())
            .At(window.MapLine(2000.0), window.MapSample(900.0));
    EXPECT_NEAR(seen.lineLine, 16.0 * whole.lineLine, 1e-6 * seen.lineLine);
    EXPECT_NEAR(seen.lineSample, 16.0 * whole.lineSample, 1e-6 * seen.lineLine);
    EXPECT_NEAR(seen.sampleSample, 16.0 * whole.sampleSample, 1e-6 * seen.sampleSample);
  }
}

TEST(RefinementCovariance, IsOneSectionThatMayBeMissingAndMustNotBeWrong) {
  const TRPCData record = orbmath_test::CameraRecord(1.4);
  const auto shift = orbmath_test::Shift(3.0, -2.0);
  TAdjustedRPC model(&record, &shift);
  const auto saved = [](const TAdjustedRPC& of) {
    return orbmath_test::SavedXml([&](TZxXIniWriter* writer) { EXPECT_TRUE(of.SaveToXML(writer)); });
  };
  const std::string without = saved(model);
  EXPECT_EQ(without.find("RefinementCovariance"), std::string::npos);
  ASSERT_TRUE(model.SetRefinementCovariance({Type::Shift, {0.25, 0.1, 0.1, 0.5}, 0.7, 12}));
  const std::string with = saved(model);
  // What stood there before stands there still, to the byte.
  const std::size_t begin = with.find("  <section name=\"RefinementCovariance\"");
  ASSERT_NE(begin, std::string::npos);
  const std::string end = "  </section>\n";
  EXPECT_EQ(with.substr(0, begin) + with.substr(with.find("\n" + end, begin) + 1 + end.size()), without);
  const auto read = [](const std::string& xml, TAdjustedRPC* into) {
    return into->InitializeFromXML(orbmath_test::ReaderOf(xml).get());
  };
  TAdjustedRPC other(&record, nullptr);
  EXPECT_TRUE(read(with, &other));
  EXPECT_EQ(*other.FindRefinementCovariance(), *model.FindRefinementCovariance());
  EXPECT_TRUE(read(without, &other));
  EXPECT_EQ(other.FindRefinementCovariance(), nullptr);
  std::string wrong = with;
  wrong.replace(wrong.find(">0.25<"), 6, ">-1<");
  EXPECT_FALSE(read(wrong, &other));
  EXPECT_TRUE(other.IsAdjusted());
  EXPECT_EQ(other.FindRefinementCovariance(), nullptr);
  // Of another kind, of another size, not symmetric.
  EXPECT_FALSE(model.SetRefinementCovariance({Type::Affine, std::vector<double>(36, 0.0), 1.0, 0}));
  EXPECT_FALSE(model.SetRefinementCovariance({Type::Shift, {1.0, 0.0, 1.0}, 1.0, 0}));
  EXPECT_FALSE(model.SetRefinementCovariance({Type::Shift, {1.0, 0.2, 0.1, 1.0}, 1.0, 0}));
  EXPECT_NE(model.FindRefinementCovariance(), nullptr);
}

TEST(ImageErrors, AreTheChoiceTheRefinementsOrTheFiles) {
  const TRPC model = orbmath_test::CameraModel();
  TRPCFileExtras extras;
  EXPECT_FALSE(ErrorsOfImage(model, extras).biasKnown);
  extras.biasError = 0.0;  // what the form RPB has where nothing is known
  EXPECT_FALSE(ErrorsOfImage(model, extras).biasKnown);
  extras.biasError = 1.49, extras.randomError = 0.58;
  const TImageErrorModel of_file = ErrorsOfImage(model, extras);
  EXPECT_EQ(of_file.errors.bias, 1.49);
  EXPECT_EQ(of_file.errors.random, 0.58);
  EXPECT_EQ(of_file.message, "measurements 1 px, bias 1.49 m (the file's), random error 0.58 m (the file's)");
  TImageErrorChoice choice;
  choice.bias = 0.0, choice.random = 2.0, choice.sigma = 0.2;
  const TImageErrorModel chosen = ErrorsOfImage(model, extras, choice);
  EXPECT_TRUE(chosen.biasKnown);
  EXPECT_EQ(chosen.errors.bias + chosen.errors.random + chosen.errors.sigma, 2.2);
  choice.random = -1.0;
  EXPECT_FALSE(ErrorsOfImage(model, extras, choice).success);
}

TEST(ExportedErrors, AreTheRefinementsInMetres) {
  // A shift of known sigmas: on the ground the square root of half its trace, in pixels of known size.
  const TRPCData record = orbmath_test::CameraRecord(1.4);
  const auto shift = orbmath_test::Shift(3.0, -2.0);
  TAdjustedRPC model(&record, &shift);
  EXPECT_FALSE(ErrorsOfExport(model).bias);
  ASSERT_TRUE(model.SetRefinementCovariance({Type::Shift, {0.04, 0.0, 0.0, 0.04}, 0.6, 10}));
  const TExportedErrors errors = ErrorsOfExport(model);
  ASSERT_TRUE(errors.bias && errors.random);
  const TGroundScale scale = GroundScaleAt(record.latOffset, record.heightOffset);
  const double by_line = record.latScale * scale.north / record.lineScale / 1.05;
  const double by_sample = record.longScale * scale.east / record.sampScale / 1.01;
  const double pixel = std::sqrt(0.5 * (by_line * by_line + by_sample * by_sample));
  EXPECT_NEAR(*errors.bias, 0.2 * pixel, 0.01 * pixel);
  EXPECT_NEAR(*errors.random, 0.6 * pixel, 0.03 * pixel);
}

}  // namespace
}  // namespace SatCommonUtils
