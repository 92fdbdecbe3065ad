// Statistics of residuals, their worst points, and the file of all of them.

#include "report/residual_report.h"

#include <algorithm>
#include <cmath>

#include "report/fixed_digits.h"
#include "report/json.h"

namespace orbmath_tool {

namespace {

constexpr int kDigits = 6;
constexpr std::size_t kWidth = 14;

std::string StatisticsLine(const char* label, const SatCommonUtils::TRPCFitStatistics& statistics) {
  std::string line = PadRight(label, 10);
  for (const double value : {statistics.rms, statistics.percentile95, statistics.maximum}) {
    line += PadLeft(Fixed(value, kDigits), kWidth);
  }
  return line + "\n";
}

void AddStatistics(const char* key, const SatCommonUtils::TRPCFitStatistics& statistics, JsonWriter* json) {
  json->Key(key).BeginObject().Member("rms", statistics.rms);
  json->Member("percentile_95", statistics.percentile95).Member("max", statistics.maximum).EndObject();
}

}  // namespace

double PointResidual::Distance() const { return std::hypot(line, sample); }

void AddStatistics(const std::string& key, const std::string& title, const SatCommonUtils::TRPCFitResiduals& residuals,
                   const std::string& unit, Report* report) {
  report->Heading(title + ", " + std::to_string(residuals.count) + " points, " + unit);
  report->Lines(std::string(10, ' ') + PadLeft("rms", kWidth) + PadLeft("95 %", kWidth) + PadLeft("max", kWidth) +
                "\n" + StatisticsLine("line", residuals.line) + StatisticsLine("sample", residuals.sample) +
                StatisticsLine("distance", residuals.distance));
  JsonWriter json;
  json.BeginObject().Member("count", residuals.count);
  AddStatistics("line", residuals.line, &json);
  AddStatistics("sample", residuals.sample, &json);
  AddStatistics("distance", residuals.distance, &json);
  report->Json(key, json.EndObject());
}

void AddWorst(const PointTable& table, const std::vector<PointResidual>& residuals, std::size_t count, Report* report) {
  std::vector<PointResidual> worst(std::min(count, residuals.size()));
  const auto further = [](const PointResidual& a, const PointResidual& b) { return a.Distance() > b.Distance(); };
  std::partial_sort_copy(residuals.begin(), residuals.end(), worst.begin(), worst.end(), further);
  report->Heading("worst points, measured minus computed, px");
  JsonWriter json;
  json.BeginArray();
  for (const PointResidual& residual : worst) {
    report->Lines(PadRight(table.ShortPlace(residual.row), std::max<std::size_t>(22, table.ShortPlaceWidth())) +
                  PadLeft("line " + Fixed(residual.line, kDigits), kWidth + 6) +
                  PadLeft("sample " + Fixed(residual.sample, kDigits), kWidth + 8) + "  " + residual.set + "\n");
    json.BeginObject().Member("input_line", table.Line(residual.row)).Member("line", residual.line);
    json.Member("sample", residual.sample).Member("set", residual.set).EndObject();
  }
  report->Json("worst", json.EndArray());
}

void WriteResiduals(const PointTable& table, const std::vector<PointResidual>& residuals, OutputFile* file) {
  std::string text = "# input_line residual_line residual_sample distance set (measured minus computed, pixels)\n";
  for (const PointResidual& residual : residuals) {
    text += std::to_string(table.Line(residual.row)) + " " + Fixed(residual.line, kDigits) + " " +
            Fixed(residual.sample, kDigits) + " " + Fixed(residual.Distance(), kDigits) + " " + residual.set + "\n";
  }
  file->Write(text);
}

}  // namespace orbmath_tool
