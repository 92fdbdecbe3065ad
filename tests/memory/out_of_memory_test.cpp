// Memory that runs out at any allocation of any operation: no crash, no leak, no wrong result, old state kept.
//
// Every operation runs again and again, each time with the next allocation failing: alone, and with all behind it. It
// may then throw std::bad_alloc, report its failure, or have done without; what it says must be true.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "frame/zxstd/threads.h"
#include "memory/failing_memory.h"
#include "refine/adjusted_rpc.h"
#include "refine/fitted_models.h"
#include "refine/refinement_fit.h"
#include "refine/refinements.h"
#include "refine/robust_fit.h"
#include "refine/rpc_estimation.h"
#include "refine/rpc_exchange.h"
#include "rpc/ground_solution.h"
#include "rpc/image_to_ground.h"
#include "rpc/rpc_file.h"
#include "support/xml.h"

namespace SatCommonUtils {
namespace {

using orbmath_test::Affine;
using orbmath_test::EndShortage;
using orbmath_test::FailAllocation;
using orbmath_test::LiveBlocks;
using orbmath_test::PushbroomRecord;
using orbmath_test::ReaderOf;
using orbmath_test::SameBits;
using orbmath_test::SavedXml;
using orbmath_test::Shortage;
using orbmath_test::TPoints;

/// Beyond this many allocations only a share of them fails.
constexpr std::size_t kDense = 64;

using State = std::vector<double>;

/// What a run of an operation leaves: whether it said that it succeeded, and everything that it may have changed.
struct Outcome {
  bool success = false;
  State before;
  State after;
};

/// One operation. `run` prepares its own objects, calls `begin` right before the operation and `end` behind it.
struct Operation {
  const char* name;
  std::function<Outcome(const std::function<void()>& begin, const std::function<void()>& end)> run;
};

/// Runs `work` with the shortage on. \return its result, false when memory ran out.
template <class Work>
bool Short(const std::function<void()>& begin, const std::function<void()>& end, const Work& work) {
  bool success = false;
  begin();
  try {
    success = work();
  } catch (const std::bad_alloc&) {
    success = false;
  }
  end();
  return success;
}

State StateOf(const TRPC& model) {
  TRPCData record;
  model.GetRPCData(&record);
  const double* const numbers = &record.lineNumCoef[0];
  std::vector<double> state(numbers, numbers + 90);
  TPolygon margin;
  int width = 0;
  int height = 0;
  model.GetMargin(&margin);
  model.GetRasterDims(&width, &height);
  state.insert(state.end(), {static_cast<double>(margin.GetVertices().size()), 1.0 * width, 1.0 * height});
  double line = 0.0;
  double sample = 0.0;
  const double lat = model.GetCenterLatitude() + 0.01;
  model.CalculateLineSample(lat, model.GetCenterLongitude(), 100.0, &line, &sample, nullptr, nullptr);
  state.insert(state.end(), {line, sample});
  model.CalculateLatLon(line, sample, 100.0, &line, &sample);
  state.insert(state.end(), {line, sample});
  return state;
}

State StateOf(const TRPCData& record) {
  return std::vector<double>(&record.lineNumCoef[0], &record.lineNumCoef[0] + 90);
}

TRPC NewModel() {
  const TPolygon margin({{0.0, 0.0}, {9000.0, 10.0}, {8000.0, 7000.0}, {5.0, 6000.0}});
  TRPC model(PushbroomRecord(), &margin);
  model.SetRasterDims(9000, 7000);
  return model;
}

TRPCData OldRecord() {
  TRPCData record = PushbroomRecord();
  record.longOffset += 3.0;
  record.lineOffset -= 400.0;
  return record;
}

TAdjustedRPC AdjustedModel() {
  const TRPCData record = PushbroomRecord();
  const TRPCRefinementDataAffine affine = Affine();
  return TAdjustedRPC(&record, &affine);
}

const std::string& ModelXml() {
  static const std::string xml = SavedXml([](TZxXIniWriter* writer) {
    const TRPC model = NewModel();
    model.EnsureApproximation();
    model.SaveToXML(writer);
  });
  return xml;
}

const std::string& AdjustedXml() {
  static const std::string xml = SavedXml([](TZxXIniWriter* writer) { AdjustedModel().SaveToXML(writer); });
  return xml;
}

/// Points on the ground and where the model sees them.
struct Points {
  explicit Points(const TRPC& model, std::size_t count) : lat(count), lon(count), h(count), line(count), sample(count) {
    for (std::size_t i = 0; i < count; ++i) {
      lat[i] = model.GetCenterLatitude() + 1e-5 * static_cast<double>(i % 1000);
      lon[i] = model.GetCenterLongitude() - 1e-5 * static_cast<double>(i % 777);
      h[i] = model.GetAverageHeight() + static_cast<double>(i % 50);
      model.CalculateLineSample(lat[i], lon[i], h[i], &line[i], &sample[i], nullptr, nullptr);
    }
  }
  std::vector<double> lat, lon, h, line, sample;
};

TRPC OtherView() {
  TRPCData record = PushbroomRecord();
  record.sampNumCoef[3] += 0.1;
  return TRPC(record);
}

using Hook = std::function<void()>;

template <class Model>
Operation Load(const char* name, const std::string& (*xml)()) {
  return {name, [xml](const Hook& begin, const Hook& end) {
            const TRPCData record = OldRecord();
            const TRPCRefinementDataAffine affine = Affine();
            std::unique_ptr<TRPC> model;
            if constexpr (std::is_same_v<Model, TRPC>) {
              model = std::make_unique<TRPC>(record);
            } else {
              model = std::make_unique<TAdjustedRPC>(&record, &affine);
            }
            const auto reader = ReaderOf(xml());
            Outcome outcome;
            outcome.before = StateOf(*model);
            outcome.success = Short(begin, end, [&] { return model->InitializeFromXML(reader.get()); });
            outcome.after = StateOf(*model);
            return outcome;
          }};
}

Operation ReadFile(const char* name, TRPCFileForm form) {
  return {name, [form](const Hook& begin, const Hook& end) {
            TZxStringStream text;
            WriteRPCStream(&text, "x", form, PushbroomRecord(), {}, TRPCTextErrors::Omit, nullptr);
            TZxStringStream source(text.GetString());
            TRPCFile file;
            TRPCFileError error;
            Outcome outcome;
            outcome.before = StateOf(file.record);
            outcome.success = Short(begin, end, [&] { return ReadRPCStream(&source, "x", &file, &error); });
            outcome.after = StateOf(file.record);
            return outcome;
          }};
}

Operation SaveFile(const char* name, TRPCFileForm form) {
  return {name, [form](const Hook& begin, const Hook& end) {
            TZxStringStream text;
            const TRPCData record = PushbroomRecord();
            Outcome outcome;
            outcome.success = Short(begin, end, [&] {
              return WriteRPCStream(&text, "x", form, record, {}, TRPCTextErrors::Omit, nullptr);
            });
            if (outcome.success) outcome.after = {static_cast<double>(text.GetString().size())};
            return outcome;
          }};
}

template <class Make>
Operation SaveModel(const char* name, const Make& make) {
  return {name, [make](const Hook& begin, const Hook& end) {
            const auto model = make();
            TZxStringStream text;
            Outcome outcome;
            outcome.success = Short(begin, end, [&] {
              TZxXIniStreamWriter writer(&text);
              const bool saved = model.SaveToXML(&writer);
              return writer.Close() && saved;
            });
            if (outcome.success) outcome.after = {static_cast<double>(text.GetString().size())};
            return outcome;
          }};
}

/// What a caller does with points of a model whose approximation is not built yet.
template <class Work>
Operation Solve(const char* name, std::size_t count, const Work& work) {
  return {name, [count, work](const Hook& begin, const Hook& end) {
            const TRPC model(PushbroomRecord());
            const TRPC other = OtherView();
            const Points points(model, count);
            std::vector<double> second(count), third(count);
            other.CalculateLineSampleArray(count, points.lat.data(), points.lon.data(), points.h.data(), second.data(),
                                           third.data(), nullptr, nullptr);
            const TRPC* const models[] = {&model, &other};
            const double* const lines[] = {points.line.data(), second.data()};
            const double* const samples[] = {points.sample.data(), third.data()};
            const TImageArrays images = {2, models, count, lines, samples};
            std::vector<double> result(3 * count, orbmath_test::kPoison);
            Outcome outcome;
            outcome.success = Short(begin, end, [&] { return work(images, points, result.data()); });
            if (outcome.success) outcome.after = result;
            return outcome;
          }};
}

template <class Work>
Operation Fit(const char* name, const Work& work) {
  return {name, [work](const Hook& begin, const Hook& end) {
            orbmath_test::Random random("memory");
            const TPoints points = orbmath_test::RandomPoints(PushbroomRecord(), 60, 0.3, &random);
            TRPCData record = OldRecord();
            Outcome outcome;
            outcome.before = StateOf(record);
            outcome.success = Short(begin, end, [&] { return work(points, &record); });
            outcome.after = StateOf(record);
            return outcome;
          }};
}

std::vector<Operation> Operations() {
  std::vector<Operation> all;
  all.push_back(Load<TRPC>("load a model", &ModelXml));
  all.push_back(Load<TAdjustedRPC>("load an adjusted model", &AdjustedXml));
  all.push_back(ReadFile("read RPB", TRPCFileForm::RPB));
  all.push_back(ReadFile("read text", TRPCFileForm::Text));
  all.push_back(ReadFile("read XML", TRPCFileForm::XML));
  all.push_back(SaveFile("save RPB", TRPCFileForm::RPB));
  all.push_back(SaveFile("save text", TRPCFileForm::Text));
  all.push_back(SaveFile("save XML", TRPCFileForm::XML));
  all.push_back(SaveModel("save a model", &NewModel));
  all.push_back(SaveModel("save an adjusted model", &AdjustedModel));
  all.push_back({"copy", [](const Hook& begin, const Hook& end) {
                   const TRPC model = NewModel();
                   std::unique_ptr<TRPC> copy;
                   Outcome outcome;
                   outcome.success = Short(begin, end, [&] {
                     copy = std::make_unique<TRPC>(model);
                     return true;
                   });
                   if (copy) outcome.after = StateOf(*copy);
                   return outcome;
                 }});
  all.push_back({"virtual copy", [](const Hook& begin, const Hook& end) {
                   const TAdjustedRPC model = AdjustedModel();
                   var_a<TRPC*> copy;
                   Outcome outcome;
                   outcome.success = Short(begin, end, [&] {
                     copy = model.CreateVCopy();
                     return true;
                   });
                   if (copy) outcome.after = StateOf(*copy);
                   return outcome;
                 }});
  all.push_back({"assign", [](const Hook& begin, const Hook& end) {
                   const TRPC source = NewModel();
                   TRPC model(OldRecord());
                   Outcome outcome;
                   outcome.before = StateOf(model);
                   outcome.success = Short(begin, end, [&] {
                     model = source;
                     return true;
                   });
                   outcome.after = StateOf(model);
                   return outcome;
                 }});
  all.push_back({"assign an adjusted model", [](const Hook& begin, const Hook& end) {
                   const TAdjustedRPC source = AdjustedModel();
                   const TRPCData record = OldRecord();
                   TAdjustedRPC model(&record, nullptr);
                   Outcome outcome;
                   outcome.before = StateOf(model);
                   outcome.success = Short(begin, end, [&] {
                     model = source;
                     return true;
                   });
                   outcome.after = StateOf(model);
                   return outcome;
                 }});
  all.push_back(Solve("locate", 5000, [](const TImageArrays& images, const Points& points, double* out) {
    return images.models[0]->CalculateLatLonArray(images.count, points.line.data(), points.sample.data(),
                                                  points.h.data(), out, out + images.count, nullptr) == images.count;
  }));
  all.push_back(Solve("locate with status", 5000, [](const TImageArrays& images, const Points& points, double* out) {
    static std::vector<TGroundSolution> solutions(5000);
    const std::size_t found = SolveLatLonArray(*images.models[0], images.count, points.line.data(),
                                               points.sample.data(), points.h.data(), solutions.data());
    for (std::size_t i = 0; i < images.count; ++i) out[i] = solutions[i].lat;
    return found == images.count;
  }));
  all.push_back({"locate where the search begins anew", [](const Hook& begin, const Hook& end) {
                   // A pole of the line's denominator crosses the box at three quarters of its latitudes: beyond it,
                   // and outside of the image, the first start leads nowhere.
                   TRPCData record = PushbroomRecord();
                   record.lineDenCoef[2] = -1.3;
                   const TRPC model(record);
                   constexpr std::size_t kCount = 400;
                   std::vector<double> line(kCount), sample(kCount), h(kCount, record.heightOffset);
                   for (std::size_t i = 0; i < kCount; ++i) {
                     line[i] = record.lineOffset + record.lineScale * (0.02 * static_cast<double>(i) - 4.0);
                     sample[i] = record.sampOffset + record.sampScale * (0.01 * static_cast<double>(i % 177) - 0.9);
                   }
                   std::vector<TGroundSolution> solutions(kCount);
                   Outcome outcome;
                   outcome.success = Short(begin, end, [&] {
                     const std::size_t found =
                         SolveLatLonArray(model, kCount, line.data(), sample.data(), h.data(), solutions.data());
                     // Damped steps, or the branch followed from the centre of the model.
                     const auto is_anew = [](const TGroundSolution& s) { return s.method >= TGroundMethod::Damped; };
                     const auto anew = std::count_if(solutions.begin(), solutions.end(), is_anew);
                     return found > 0 && found < kCount && anew > 0;
                   });
                   if (!outcome.success) return outcome;
                   for (const TGroundSolution& s : solutions) {
                     outcome.after.insert(outcome.after.end(), {static_cast<double>(s.status.state),
                                                                1.0 * s.status.iterations, s.lat, s.lon});
                   }
                   return outcome;
                 }});
  all.push_back(Solve("intersect arrays", 5000, [](const TImageArrays& images, const Points&, double* out) {
    return CalculateLatLonHArray(images, out, out + images.count, out + 2 * images.count, nullptr) == images.count;
  }));
  all.push_back(Solve("intersect", 1, [](const TImageArrays& images, const Points&, double* out) {
    std::vector<TRPCCoordsDataItem> items;
    for (int i = 0; i < 2; ++i) items.push_back({images.models[i], images.line[i][0], images.sample[i][0]});
    const TGroundIntersection solution = SolveLatLonH(items);
    out[0] = solution.lat;
    return CalculateLatLonH(items, &out[0], &out[1], &out[2]) && solution;
  }));
  all.push_back(Fit("estimate", [](const TPoints& points, TRPCData* record) {
    TRPCEstimationDataSet set;
    set.Points = points;
    TRPCData fitted = *record;
    if (!EstimateRPC(set, &fitted)) return false;
    *record = fitted;  // a failed estimation leaves what its contract says
    return true;
  }));
  all.push_back(Fit("fit", [](const TPoints& points, TRPCData* record) {
    TRPCEstimationDataSet set;
    set.Points = points;
    TRPCFitReport report;
    TRPCFitOptions options;
    options.order = 1;
    return FitRPC(set, options, record, &report);
  }));
  all.push_back(Fit("fit an inverse", [](const TPoints&, TRPCData* record) {
    static const TRPC model(PushbroomRecord());
    TRPCFitReport report;
    return FitInvertedRPC(model, record, 4, nullptr, &report);
  }));
  all.push_back(Fit("refine", [](const TPoints& points, TRPCData* record) {
    static const TRPC model(PushbroomRecord());
    std::vector<TGroundControlPoint> control;
    for (std::size_t i = 0; i < 9; ++i) {
      TGroundControlPoint point;
      point.lat = points[i].Lat;
      point.lon = points[i].Lon;
      point.height = points[i].Height;
      point.line = points[i].Line + 2.0;
      point.sample = points[i].Sample - 3.0;
      control.push_back(point);
    }
    TRefinementFit fit;
    if (!FitRefinement(TiesOfGroundControl(model, control), {}, &fit)) return false;
    const TRPCData raw = PushbroomRecord();
    const TAdjustedRPC adjusted(&raw, fit.data.get());
    return adjusted.ExportRefined(record);
  }));
  all.push_back(Fit("export", [](const TPoints&, TRPCData* record) { return AdjustedModel().ExportRefined(record); }));
  all.push_back({"exchange document", [](const Hook& begin, const Hook& end) {
                   TCipherRPCImpExpDataset source;
                   source.items.resize(2);
                   source.items[1].name = "an image with a name that is too long for a small buffer";
                   source.items[1].rpc = PushbroomRecord();
                   Outcome outcome;
                   TCipherRPCImpExpDataset read;
                   const std::string path = ::testing::TempDir() + "orbmath_out_of_memory.xml";
                   outcome.success =
                       Short(begin, end, [&] { return source.SaveToXML(path) && read.InitializeFromXML(path); });
                   for (const auto& item : read.items) outcome.after.push_back(item.rpc.latOffset);
                   std::remove(path.c_str());
                   return outcome;
                 }});
  return all;
}

bool Same(const State& a, const State& b) { return a.size() == b.size() && SameBits(a.data(), b.data(), a.size()); }

/// Whether a vector gives its memory back when the making of its elements fails. LLVM's library of version 14 loses it:
/// this is no leak of ours, and hides those that are.
bool VectorsGiveBack() {
  const std::string source[2] = {std::string(60, 'a'), std::string(60, 'b')};
  const std::ptrdiff_t live = LiveBlocks();
  FailAllocation(3, Shortage::Once);
  try {
    const std::vector<std::string> copy(source, source + 2);
    EXPECT_EQ(copy.size(), 2u);
  } catch (const std::bad_alloc&) {
  }
  EXPECT_TRUE(EndShortage());
  const bool back = LiveBlocks() == live;
  if (!back) std::puts("[ LEFT OUT ] leaks when memory is short: the C++ library's vectors lose memory themselves");
  return back;
}

void CheckOperation(const Operation& operation, Shortage shortage) {
  static const bool no_leak_but_ours = VectorsGiveBack();
  const Hook nothing = [] {};
  const Outcome done = operation.run(nothing, nothing);  // fills what the program keeps, too
  ASSERT_TRUE(done.success);
  ASSERT_FALSE(Same(done.before, done.after)) << "the operation changes nothing";
  bool failed = true;
  for (std::size_t n = 1; failed; n += 1 + n / kDense) {
    const std::ptrdiff_t live = LiveBlocks();
    {
      const Outcome outcome =
          operation.run([n, shortage] { FailAllocation(n, shortage); }, [&failed] { failed = EndShortage(); });
      EXPECT_TRUE(outcome.success || failed) << "allocation " << n << ": failed with all the memory it asked for";
      EXPECT_TRUE(Same(outcome.after, outcome.success ? done.after : outcome.before))
          << "allocation " << n << (outcome.success ? ": said done, and is not" : ": the old state is gone");
    }
    ASSERT_TRUE(LiveBlocks() == live || !no_leak_but_ours)
        << "allocation " << n << ": a leak of " << LiveBlocks() - live;
  }
}

class OutOfMemory : public ::testing::TestWithParam<std::size_t> {};

TEST_P(OutOfMemory, LeavesWhatWasThere) {
  const std::vector<Operation> operations = Operations();
  const Operation& operation = operations[GetParam()];
  SCOPED_TRACE(operation.name);
  ZxSetThreadsCount(2);
  for (const Shortage shortage : {Shortage::Once, Shortage::FromThereOn}) CheckOperation(operation, shortage);
  ZxSetThreadsCount(0);
}

INSTANTIATE_TEST_SUITE_P(Operations, OutOfMemory, ::testing::Range<std::size_t>(0, Operations().size()));

}  // namespace
}  // namespace SatCommonUtils
