// From a path to a model and back: every kind and form, each sentence on failure, what rounding costs, the old file.

#include "refine/model_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "refine/adjusted_rpc.h"
#include "refine/fitted_models.h"
#include "refine/refinements.h"
#include "rpc/image_distance.h"
#include "rpc/inverse_rpc.h"
#include "support/real_data.h"
#include "support/system.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

namespace fs = std::filesystem;
using orbmath_test::PushbroomRecord;
using orbmath_test::SameRecord;

// The record with digits that neither RPB nor text keeps.
TRPCData LongRecord() {
  TRPCData record = PushbroomRecord();
  record.lineOffset += 0.1234567;
  record.latOffset += 1.23456789e-10;
  record.heightScale += 0.0004321;
  return record;
}

class ModelFile : public ::testing::Test {
 protected:
  ModelFile() : folder_(orbmath_test::NewTemporaryFolder("orbmath_model")) {}
  ~ModelFile() override { fs::remove_all(folder_); }

  std::string In(const std::string& name) const { return folder_ + "/" + name; }
  std::string Put(const std::string& name, const std::string& text) const {
    std::ofstream(In(name), std::ios::binary) << text;
    return In(name);
  }
  std::string Get(const std::string& name) const {
    std::stringstream text;
    text << std::ifstream(In(name), std::ios::binary).rdbuf();
    return text.str();
  }

  std::string folder_;
};

TRPC WithImage(const TRPCData& record) {
  const TPolygon margin({{0.0, 0.0}, {9000.0, 10.0}, {8000.0, 7000.0}});
  TRPC model(record, &margin);
  model.SetRasterDims(9000, 7000);
  return model;
}

TEST_F(ModelFile, ResultsStartNotRun) {
  EXPECT_FALSE(TModelFile());
  EXPECT_EQ(TModelFile().message, "not run");
  EXPECT_FALSE(TWrittenModel());
  EXPECT_EQ(TWrittenModel().message, "not run");
}

TEST_F(ModelFile, XmlBringsEveryKindBackWhole) {
  const TRPCData record = LongRecord();
  const auto affine = orbmath_test::Affine();
  TAdjustedRPC adjusted(&record, &affine);
  TRPC plain = WithImage(record);
  CopyMarginAndRaster(plain, &adjusted);
  TRPCData inverse_record;
  ASSERT_TRUE(FitInvertedRPC(plain, &inverse_record, 8));
  const TRPC inverse(inverse_record);
  const struct {
    const TRPC& model;
    TModelKind kind;
    bool has_image;
  } cases[] = {
      {plain, TModelKind::Plain, true}, {adjusted, TModelKind::Adjusted, true}, {inverse, TModelKind::Inverse, false}};
  for (const auto& one : cases) {
    const TWrittenModel written = WriteModelFile(In("a.xml"), one.model, {std::nullopt, {"SAT", "P", 1.5, 0.25}});
    ASSERT_TRUE(written) << written.message;
    EXPECT_EQ(written.content, Get("a.xml"));
    const TModelFile read = ReadModelFile(In("a.xml"));
    ASSERT_TRUE(read) << read.message;
    EXPECT_EQ(read.kind, one.kind);
    EXPECT_EQ(read.file.extras, (TRPCFileExtras{"SAT", "P", 1.5, 0.25}));
    TRPCData raw;
    one.model.GetRPCData(&raw);
    EXPECT_TRUE(SameRecord(read.file.record, raw));
    EXPECT_TRUE(SameRecord(written.record, raw));
    int width = 0, height = 0;
    EXPECT_EQ(read.model->GetRasterDims(&width, &height), one.has_image);
    EXPECT_EQ(read.model->FindMargin() != nullptr, one.has_image);
    EXPECT_EQ(std::make_pair(width, height), one.has_image ? std::make_pair(9000, 7000) : std::make_pair(0, 0));
    if (one.kind == TModelKind::Inverse) {
      EXPECT_TRUE(std::isnan(written.worst));
    } else {
      EXPECT_EQ(written.worst, 0.0);
      EXPECT_EQ(DistanceInImage(one.model, *read.model).worst, 0.0);
    }
  }
}

TEST_F(ModelFile, TheCostOfRoundingIsWhatARereadShows) {
  const TRPC model = WithImage(LongRecord());
  // Pixels. Digits of the coefficients only: offsets alone, cut and not expressed anew, would cost text 0.004.
  const struct {
    const char* name;
    double least, most;
  } cases[] = {{"a.RPB", 1e-9, 1e-2}, {"a.txt", 0.0, 1e-6}, {"a.json", 0.0, 0.0}, {"a.aux.xml", 0.0, 0.0}};
  for (const auto& one : cases) {
    const TWrittenModel written = WriteModelFile(In(one.name), model);
    ASSERT_TRUE(written) << written.message;
    EXPECT_GE(written.worst, one.least) << one.name;
    EXPECT_LE(written.worst, one.most) << one.name;
    const TModelFile read = ReadModelFile(In(one.name));
    ASSERT_TRUE(read) << read.message;
    EXPECT_EQ(read.kind, TModelKind::Plain);
    EXPECT_EQ(read.file.form, written.form);
    EXPECT_TRUE(SameRecord(read.file.record, written.record));
    EXPECT_EQ(DistanceInImage(model, *read.model).worst, written.worst);
    // A random point of the image moves no farther than the grid says, but for what lies between its nodes.
    EXPECT_LE(orbmath_test::Distance(LongRecord(), read.file.record).maximum, 1.5 * written.worst + 1e-9) << one.name;
  }
}

TEST_F(ModelFile, TheOffsetsOfAFormAreKeptAsTheyAre) {
  // A model that a form holds to the last digit is not expressed anew: writing it again gives the same bytes.
  const TWrittenModel first = FormatModelFile("a.RPB", TRPC(LongRecord()));
  const TWrittenModel again = FormatModelFile("a.RPB", TRPC(first.record));
  EXPECT_EQ(again.content, first.content);
  EXPECT_EQ(again.worst, 0.0);
}

TEST_F(ModelFile, AStreamGivesWhatTheFileGives) {
  const TWrittenModel text = FormatModelFile("a.txt", TRPC(LongRecord()));
  TZxStringStream stream(text.content);
  const TModelFile read = ReadModelStream(&stream, "standard input");
  ASSERT_TRUE(read);
  EXPECT_EQ(read.message, "standard input: read as text");
  EXPECT_TRUE(SameRecord(read.file.record, text.record));
  EXPECT_EQ(ReadModelStream(nullptr, "nothing").state, TModelFileState::NotRead);
}

TEST_F(ModelFile, EveryFailedReadingHasItsSentence) {
  const std::string damaged = orbmath_test::SavedXml([](TZxXIniWriter* writer) {
    TRPC(PushbroomRecord()).SaveToXML(writer);
    const TZxXIniWriterSection empty(writer, "Refinement");
  });
  const struct {
    std::string path;
    TModelFileState state;
    std::string message;  // behind the path, or a part of it
  } cases[] = {
      {In("none.RPB"), TModelFileState::NotRead, ": "},
      {Put("words", "these are words"), TModelFileState::NotRead, ": "},
      {Put("short.RPB", "satId = \"A\";\nEND;\n"), TModelFileState::NotRead, ": "},
      {Put("damaged.xml", damaged), TModelFileState::Damaged,
       ": the model in this file is damaged: its record can be read, what stands beside it cannot"},
  };
  for (const auto& one : cases) {
    const TModelFile read = ReadModelFile(one.path);
    EXPECT_EQ(read.state, one.state) << read.message;
    EXPECT_FALSE(read);
    EXPECT_FALSE(read.model);
    EXPECT_EQ(read.message.compare(0, one.path.size() + one.message.size(), one.path + one.message), 0) << read.message;
    EXPECT_GT(read.message.size(), one.path.size() + 10) << read.message;
  }
}

TEST_F(ModelFile, EveryRefusedWritingHasItsSentenceAndLeavesTheOldFile) {
  const TRPCData record = LongRecord();
  const auto shift = orbmath_test::Shift(1.0, 2.0);
  const TAdjustedRPC adjusted(&record, &shift);
  TRPCData tiny = PushbroomRecord();
  tiny.heightScale = 1e-4;
  const TRPCData unset;
  const struct {
    const TRPC& model;
    const char* name;
    TModelWriteOptions options;
    TModelFileState state;
    const char* message;
  } cases[] = {
      {TRPC(record), "a.bin", {}, TModelFileState::NotHeld, ": the name does not tell the form of the file"},
      {adjusted,
       "a.RPB",
       {},
       TModelFileState::NotHeld,
       ": the model holds a refinement, which a file of the form RPB cannot"},
      {TRPC(tiny),
       "a.txt",
       {},
       TModelFileState::NotHeld,
       ": the offsets and scales of this model need more digits than a file of the form text has; write XML instead"},
      {TRPC(unset), "a.json", {}, TModelFileState::NotHeld, ": "},
      {TRPC(unset), "a.xml", {}, TModelFileState::NotHeld, ": "},
      {TRPC(record), "a.xml", {TRPCFileForm::Dimap, {}}, TModelFileState::NotHeld, ": "},
      {TRPC(record), "a.tif", {TRPCFileForm::Image, {}}, TModelFileState::NotHeld, ": "},
      {TRPC(record), "none/a.RPB", {}, TModelFileState::NotWritten, ": "},
  };
  for (const auto& one : cases) {
    if (one.state == TModelFileState::NotHeld) Put(one.name, "old");
    const TWrittenModel written = WriteModelFile(In(one.name), one.model, one.options);
    EXPECT_EQ(written.state, one.state) << one.name << written.message;
    const std::string begin = In(one.name) + one.message;
    EXPECT_EQ(written.message.compare(0, begin.size(), begin), 0) << written.message;
    EXPECT_GT(written.message.size(), In(one.name).size() + 10) << written.message;
    EXPECT_TRUE(written.content.empty());
    EXPECT_TRUE(std::isnan(written.worst));
    EXPECT_EQ(Get(one.name), one.state == TModelFileState::NotHeld ? "old" : "");
  }
  // A directory in the file's place.
  fs::create_directory(In("b.xml"));
  EXPECT_EQ(WriteModelFile(In("b.xml"), TRPC(record)).state, TModelFileState::NotWritten);
  EXPECT_TRUE(fs::is_directory(In("b.xml")));
}

// What a host's image functions were asked for.
std::string asked_for;

bool ReadFromImage(const std::string& path, const TRPCFileOptions& options, TRPCFile* out, TRPCFileError* error) {
  asked_for = path + (options.firstPixel ? " 1" : "");
  if (path.find("empty") != std::string::npos) {
    error->file = path;
    error->reason = "has no model";
    return false;
  }
  out->form = TRPCFileForm::Image;
  out->record = PushbroomRecord();
  out->origin.rasterWidth = 640;
  out->origin.rasterHeight = 480;
  return true;
}

bool WriteIntoImage(const std::string& path, const TRPCData& record, const TRPCFileExtras&, TRPCFileError* error) {
  asked_for = path;
  error->file = path;
  error->reason = "is read-only";
  return SameRecord(record, PushbroomRecord());
}

TEST_F(ModelFile, ImagesGoThroughTheFunctionsOfTheHost) {
  TModelReadOptions options;
  options.readImage = &ReadFromImage;
  options.file.firstPixel = 1;
  const std::string image = Put("a.tif", std::string("II*\0", 4));
  const TModelFile read = ReadModelFile(image, options);
  ASSERT_TRUE(read) << read.message;
  EXPECT_EQ(asked_for, image + " 1");
  int width = 0, height = 0;
  ASSERT_TRUE(read.model->GetRasterDims(&width, &height));
  EXPECT_EQ(std::make_pair(width, height), std::make_pair(640, 480));
  EXPECT_EQ(ReadModelFile(image).state, TModelFileState::NotRead) << "no function, no image";

  EXPECT_TRUE(ReadModelFile("/vsizip/a.zip/b.tif", options));
  const TModelFile empty = ReadModelFile(Put("empty.tif", std::string("II*\0", 4)), options);
  EXPECT_EQ(empty.state, TModelFileState::NotRead);
  EXPECT_EQ(empty.message, In("empty.tif") + ": has no model");

  // A model file that is bad is told so, and is no image.
  asked_for.clear();
  EXPECT_FALSE(ReadModelFile(Put("bad.RPB", "satId = \"A\";\nEND;\n"), options));
  EXPECT_EQ(asked_for, "");

  TModelWriteOptions writing;
  writing.writeImage = &WriteIntoImage;
  const TWrittenModel written = WriteModelFile(image, *read.model, writing);
  ASSERT_TRUE(written) << written.message;
  EXPECT_EQ(written.form, TRPCFileForm::Image);
  EXPECT_EQ(written.worst, 0.0);
  const TWrittenModel refused = WriteModelFile(image, TRPC(LongRecord()), writing);
  EXPECT_EQ(refused.state, TModelFileState::NotWritten);
  EXPECT_EQ(refused.message, image + ": is read-only");
  const TRPCData record = PushbroomRecord();
  const auto shift = orbmath_test::Shift(1.0, 2.0);
  EXPECT_EQ(WriteModelFile(image, TAdjustedRPC(&record, &shift), writing).state, TModelFileState::NotHeld);
  // A suffix that names a form is not asked of the image functions.
  asked_for.clear();
  EXPECT_TRUE(WriteModelFile(In("b.RPB"), *read.model, writing));
  EXPECT_EQ(asked_for, "");
}

TEST_F(ModelFile, AnInverseModelIsEvaluatedWhereItsSamplesWouldBeTakenForTurns) {
  const TRPC model(PushbroomRecord());
  TRPCData record;
  ASSERT_TRUE(FitInvertedRPC(model, &record, 8));
  EXPECT_TRUE(IsInverseRPC(record));
  EXPECT_FALSE(IsInverseRPC(PushbroomRecord()));
  ASSERT_TRUE(WriteModelFile(In("inverse.json"), TRPC(record)));
  const TModelFile read = ReadModelFile(In("inverse.json"));
  ASSERT_TRUE(read) << read.message;
  EXPECT_EQ(read.kind, TModelKind::Inverse);
  // Across the whole width of the image, pixels and metres.
  const double line[] = {200.0, 8000.0, 15000.0};
  const double sample[] = {15800.0, 100.0, 7000.0};
  const double height[] = {350.0, 500.0, 420.0};
  double lat[3], lon[3];
  TInverseRPC(read.file.record).Evaluate(3, line, sample, height, lat, lon);
  for (int i = 0; i < 3; ++i) {
    double back_line, back_sample;
    model.CalculateLineSample(lat[i], lon[i], height[i], &back_line, &back_sample, nullptr, nullptr);
    EXPECT_NEAR(back_line, line[i], 0.01);
    EXPECT_NEAR(back_sample, sample[i], 0.01);
  }
}

TEST_F(ModelFile, AFirstPixelThatTheCallerNamesMovesTheImagePointsOfEveryKind) {
  const TRPCData record = PushbroomRecord();
  const auto affine = orbmath_test::Affine();
  TAdjustedRPC adjusted(&record, &affine);
  const TRPC plain = WithImage(record);
  CopyMarginAndRaster(plain, &adjusted);
  TRPCData inverse;
  ASSERT_TRUE(FitInvertedRPC(plain, &inverse, 8));
  TModelReadOptions options;
  options.file.firstPixel = 1;
  const TRPC* const models[] = {&plain, &adjusted};
  for (const TRPC* const model : models) {
    ASSERT_TRUE(WriteModelFile(In("a.xml"), *model));
    const TModelFile read = ReadModelFile(In("a.xml"), options);
    ASSERT_TRUE(read) << read.message;
    EXPECT_EQ(read.kind, model == &plain ? TModelKind::Plain : TModelKind::Adjusted);
    const double lat = record.latOffset + 0.3 * record.latScale, lon = record.longOffset - 0.6 * record.longScale;
    double line, sample, moved_line, moved_sample;
    model->CalculateLineSample(lat, lon, record.heightOffset, &line, &sample, nullptr, nullptr);
    read.model->CalculateLineSample(lat, lon, record.heightOffset, &moved_line, &moved_sample, nullptr, nullptr);
    EXPECT_NEAR(moved_line, line - 1.0, 1e-8);
    EXPECT_NEAR(moved_sample, sample - 1.0, 1e-8);
    EXPECT_EQ(read.file.record.lineOffset, record.lineOffset - 1.0);
    EXPECT_TRUE(read.model->GetRasterDims(nullptr, nullptr));
    EXPECT_NE(read.model->FindMargin(), nullptr);
  }
  for (const char* name : {"i.xml", "i.json"}) {
    ASSERT_TRUE(WriteModelFile(In(name), TRPC(inverse)));
    const TModelFile read = ReadModelFile(In(name), options);
    ASSERT_TRUE(read) << read.message;
    EXPECT_EQ(read.kind, TModelKind::Inverse);
    TRPCData expected = inverse;
    expected.latOffset -= 1.0;
    expected.longOffset -= 1.0;
    EXPECT_TRUE(SameRecord(read.file.record, expected)) << name;
    TRPCData of_model;
    read.model->GetRPCData(&of_model);
    EXPECT_TRUE(SameRecord(of_model, expected)) << name;
  }
}

class ModelFilesOfMakers : public orbmath_test::WithRealData {};

TEST_F(ModelFilesOfMakers, GoIntoEveryFormAndTellTheCost) {
  for (const std::string& name : orbmath_test::RealModelFiles()) {
    const TModelFile read = ReadModelFile(orbmath_test::RealDataPath(name));
    ASSERT_TRUE(read) << read.message;
    EXPECT_EQ(read.kind, TModelKind::Plain) << name;
    for (const char* out : {"a.RPB", "a.txt", "a.xml", "a.json"}) {
      const TWrittenModel written = FormatModelFile(out, *read.model);
      ASSERT_TRUE(written) << written.message;
      EXPECT_LE(written.worst, 0.05) << name << " as " << out;
    }
  }
}

}  // namespace
}  // namespace SatCommonUtils
