// orbmath compare: how far two models are apart.

#include <string>
#include <vector>

#include "commands/command.h"
#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "models/ground_grid.h"
#include "models/model.h"
#include "report/fixed_digits.h"
#include "report/json.h"
#include "report/report.h"
#include "rpc/rpc_compare.h"
#include "rpc/rpc_fields.h"

namespace orbmath_tool {

using SatCommonUtils::FormatDouble;
using SatCommonUtils::TRPCData;

namespace {

constexpr int kPixelReportDigits = 9;

struct FieldRow {
  std::string name;
  double a;
  double b;
  double difference;
};

/// The names of the ninety numbers in the order of `VisitRPCNumbers`.
std::vector<std::string> FieldNames() {
  std::vector<std::string> names;
  for (const SatCommonUtils::TRPCScalarField& field : SatCommonUtils::RPCScalarFields()) names.push_back(field.rpbKey);
  for (const SatCommonUtils::TRPCCoefficientField& field : SatCommonUtils::RPCCoefficientFields()) {
    for (int k = 0; k < 20; ++k) names.push_back(std::string(field.rpbKey) + "[" + std::to_string(k) + "]");
  }
  return names;
}

std::vector<double> Numbers(const TRPCData& record) {
  std::vector<double> numbers;
  SatCommonUtils::VisitRPCNumbers(record, [&numbers](double value) {
    numbers.push_back(value);
    return true;
  });
  return numbers;
}

std::vector<FieldRow> CompareFields(const TRPCData& a, const TRPCData& b) {
  TRPCData difference;
  SatCommonUtils::DebugEstimateRPCDataDifference(a, b, &difference);
  const std::vector<std::string> names = FieldNames();
  const std::vector<double> of_a = Numbers(a);
  const std::vector<double> of_b = Numbers(b);
  const std::vector<double> of_difference = Numbers(difference);
  std::vector<FieldRow> rows;
  for (std::size_t i = 0; i < names.size(); ++i) rows.push_back({names[i], of_a[i], of_b[i], of_difference[i]});
  return rows;
}

void AddFields(const std::vector<FieldRow>& rows, Report* report) {
  std::string lines = PadRight("field", 18) + PadRight("A", 26) + PadRight("B", 26) + "A - B\n";
  JsonWriter json;
  json.BeginArray();
  std::size_t different = 0;
  for (const FieldRow& row : rows) {
    different += row.difference != 0.0 ? 1 : 0;
    lines += PadRight(row.name, 18) + PadRight(FormatDouble(row.a), 26) + PadRight(FormatDouble(row.b), 26) +
             FormatDouble(row.difference) + "\n";
    json.BeginObject().Member("field", row.name).Member("a", row.a).Member("b", row.b);
    json.Member("difference", row.difference).EndObject();
  }
  report->Lines(lines + "\n");
  report->Count("fields_different", "fields that differ, of 90", different);
  report->Json("fields", json.EndArray());
}

class Compare : public Command {
 public:
  const char* Notes() const override {
    return "The first table holds the records; the differences in pixels are those of the whole models, "
           "refinements included, over a grid of the ground that both cover.\n\n"
           "Example:\n"
           "  orbmath compare image.RPB image_RPC.TXT";
  }

  void Declare(CommandLine& line) override {
    line.Argument("A", &a_, "model file of any form");
    line.Argument("B", &b_, "model file of any form");
    line.Flag("--json", &json_, "one JSON object");
    reading_.Declare(line);
  }

  int Run() override {
    const Model a = ReadModel(a_, reading_);
    const Model b = ReadModel(b_, reading_);
    Report report;
    AddFields(CompareFields(a.file.record, b.file.record), &report);
    const bool inverse = a.kind == SatCommonUtils::TModelKind::Inverse || b.kind == SatCommonUtils::TModelKind::Inverse;
    if (inverse) Note("an inverse model gives no image points, only the records are compared");
    const bool common = !inverse && CommonBox(*a.rpc, *b.rpc).has_value();
    const PixelDifference difference = common ? CompareModels(*a.rpc, *b.rpc) : PixelDifference({}, {});
    report.Text("common_ground", "common ground box", common ? "yes" : "no");
    report.Number("max_px", "largest difference", difference.max, kPixelReportDigits, "px");
    report.Number("rms_px", "rms difference", difference.rms, kPixelReportDigits, "px");
    report.Number("max_line_px", "largest in line", difference.max_line, kPixelReportDigits, "px");
    report.Number("max_sample_px", "largest in sample", difference.max_sample, kPixelReportDigits, "px");
    report.Print(json_);
    return 0;
  }

 private:
  ModelReading reading_;
  std::string a_;
  std::string b_;
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeCompare() { return std::make_unique<Compare>(); }

}  // namespace orbmath_tool
