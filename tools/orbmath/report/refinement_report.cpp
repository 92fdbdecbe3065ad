// A refinement's parameters, tests and points as tables and JSON. CE90 follows from the root mean square of a circular
// normal distribution: C. R. Greenwalt and M. E. Shultz, "Principles of error theory and cartographic applications",
// ACIC Technical Report 96 (1962).

#include "report/refinement_report.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

#include "report/fixed_digits.h"
#include "report/json.h"

namespace orbmath_tool {

using SatCommonUtils::TRefinementFit;
using SatCommonUtils::TRefinementKindTest;
using SatCommonUtils::TRefinementResidual;

namespace {

constexpr int kDigits = 4;
constexpr std::size_t kNameWidth = 22;
constexpr std::size_t kWidth = 12;
constexpr double kPi = 3.14159265358979323846;
constexpr double kMetersPerDegree = 111320.0;

/// The radius that holds 90 % of a circular normal distribution, in standard deviations of either coordinate.
const double kCircle90 = std::sqrt(2.0 * std::log(10.0));

const char* NameOf(SatCommonUtils::TRPCRefinementTransformType type) {
  return SatCommonUtils::GetRPCRefinementTransformTypeName(type);
}

/// Significant digits enough for a parameter near 1 as for one of thousands.
std::string Short(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.6g", value);
  return text;
}

std::vector<double> CorrelationsOf(const std::vector<double>& covariance, std::size_t count) {
  std::vector<double> correlations(count * count);
  for (std::size_t i = 0; i < count; ++i) {
    for (std::size_t j = 0; j < count; ++j) {
      // A parameter that was held fixed has no variance.
      const double scale = std::sqrt(covariance[i * count + i] * covariance[j * count + j]);
      correlations[i * count + j] = scale > 0.0 ? covariance[i * count + j] / scale : i == j ? 1.0 : 0.0;
    }
  }
  return correlations;
}

/// Off a point in the image and on the ground.
struct CheckResidual {
  double line = 0.0;    ///< measured minus computed, pixels
  double sample = 0.0;  ///< measured minus computed, pixels
  double east = 0.0;    ///< the same on the ground at the point's height, metres
  double north = 0.0;   ///< metres
};

CheckResidual ResidualAt(const SatCommonUtils::TRPC& model, const ControlTable& control, std::size_t row) {
  double line = 0.0;
  double sample = 0.0;
  double d_line[3] = {};
  double d_sample[3] = {};
  model.CalculateLineSample(control.ground.lat[row], control.ground.lon[row], control.ground.height[row], &line,
                            &sample, d_line, d_sample);
  CheckResidual residual;
  residual.line = control.line[row] - line;
  residual.sample = control.sample[row] - sample;
  const double determinant = d_line[0] * d_sample[1] - d_line[1] * d_sample[0];
  const double lat = (residual.line * d_sample[1] - residual.sample * d_line[1]) / determinant;
  const double lon = (residual.sample * d_line[0] - residual.line * d_sample[0]) / determinant;
  residual.north = kMetersPerDegree * lat;
  residual.east = kMetersPerDegree * std::cos(control.ground.lat[row] * kPi / 180.0) * lon;
  return residual;
}

/// Root mean squares of two coordinates.
struct PairRms {
  double first = 0.0;
  double second = 0.0;

  double Both() const { return std::hypot(first, second); }
  double Circle90() const { return kCircle90 * Both() / std::sqrt(2.0); }
};

template <class First, class Second>
PairRms RmsOf(const std::vector<CheckResidual>& residuals, First first, Second second) {
  PairRms rms;
  for (const CheckResidual& residual : residuals) {
    rms.first += residual.*first * residual.*first;
    rms.second += residual.*second * residual.*second;
  }
  const double count = static_cast<double>(residuals.size());
  rms.first = std::sqrt(rms.first / count);
  rms.second = std::sqrt(rms.second / count);
  return rms;
}

void AddSummary(const PairRms& rms, const char* first, const char* second, const char* unit, std::string* lines,
                JsonWriter* json) {
  const std::string behind = std::string("_") + unit;
  *lines += PadRight(std::string("rms ") + first + ", " + second + ", both, CE90", kNameWidth + 12);
  for (const double value : {rms.first, rms.second, rms.Both(), rms.Circle90()}) {
    *lines += PadLeft(Fixed(value, kDigits), kWidth);
  }
  *lines += std::string(" ") + unit + "\n";
  json->Member(std::string("rms_") + first + behind, rms.first)
      .Member(std::string("rms_") + second + behind, rms.second);
  json->Member("rms" + behind, rms.Both()).Member("ce90" + behind, rms.Circle90());
}

std::string Describe(const TRefinementKindTest& test) {
  if (test.denominator == 0) return test.reason;
  return test.reason + ": F(" + std::to_string(test.numerator) + ", " + std::to_string(test.denominator) +
         ") = " + Fixed(test.ratio, 2) + ", probability " + Short(test.probability) + " (level " +
         Short(SatCommonUtils::kRefinementKindLevel) + ")";
}

/// Columns that the names of points take.
std::size_t NameWidth(const PointTable& table) { return std::max(kNameWidth, table.ShortPlaceWidth()); }

std::string LineOf(const PointTable& table, std::size_t row, std::size_t width, const TRefinementResidual& point) {
  return PadRight(table.ShortPlace(row), width) + PadLeft(Fixed(point.lineBefore, kDigits), kWidth) +
         PadLeft(Fixed(point.sampleBefore, kDigits), kWidth) + PadLeft(Fixed(point.lineAfter, kDigits), kWidth + 2) +
         PadLeft(Fixed(point.sampleAfter, kDigits), kWidth) + PadLeft(Fixed(point.standardized, 1), kWidth + 2) +
         (point.isBad ? "  BAD\n" : "\n");
}

std::string RecordOf(const PointTable& table, std::size_t row, const TRefinementResidual& point) {
  JsonWriter json;
  json.BeginObject().Member("input_line", table.Line(row));
  if (!table.Id(row).empty()) json.Member("id", table.Id(row));
  json.Member("line_before", point.lineBefore).Member("sample_before", point.sampleBefore);
  json.Member("line_after", point.lineAfter).Member("sample_after", point.sampleAfter);
  json.Member("standardized", point.standardized).Member("bad", point.isBad).EndObject();
  return std::move(json).TakeText();
}

}  // namespace

void AddParameters(const TRefinementFit& fit, Report* report) {
  std::vector<double> values;
  const SatCommonUtils::TRPCRefinementDataBase& record = *fit.data;
  record.GetParametersValues(&values);
  const std::vector<std::string> names = record.GetParametersNames();
  const std::size_t count = values.size();
  if (fit.covariance.values.size() != count * count) return;
  const std::vector<double>& covariance = fit.covariance.values;
  const std::vector<double> correlations = CorrelationsOf(covariance, count);
  report->Heading("parameters, their standard deviations and correlations");
  JsonWriter parameters;
  parameters.BeginArray();
  JsonWriter matrix;
  matrix.BeginArray();
  for (std::size_t i = 0; i < count; ++i) {
    const double sigma = std::sqrt(covariance[i * count + i]);
    std::string line =
        PadRight(names[i], kNameWidth) + PadLeft(Short(values[i]), kWidth) + PadLeft(Short(sigma), kWidth + 2);
    for (std::size_t j = 0; j < i; ++j) line += PadLeft(Fixed(correlations[i * count + j], 2), 7);
    report->Lines(line + "\n");
    parameters.BeginObject().Member("name", names[i]).Member("value", values[i]).Member("sigma", sigma).EndObject();
    matrix.Numbers(std::vector<double>(correlations.begin() + static_cast<std::ptrdiff_t>(i * count),
                                       correlations.begin() + static_cast<std::ptrdiff_t>((i + 1) * count)));
  }
  report->Json("parameters", parameters.EndArray());
  report->Json("correlations", matrix.EndArray());
}

void AddKinds(const TRefinementFit& fit, Report* report) {
  if (fit.kinds.empty()) return;
  report->Heading("choice of the kind");
  JsonWriter json;
  json.BeginArray();
  for (const TRefinementKindTest& test : fit.kinds) {
    report->Lines(PadRight(NameOf(test.type), kNameWidth) + (test.taken ? "taken, " : "not taken, ") + Describe(test) +
                  "\n");
    json.BeginObject().Member("kind", NameOf(test.type)).Member("taken", test.taken).Member("reason", test.reason);
    if (test.denominator > 0) {
      json.Member("f", test.ratio).Member("numerator", test.numerator).Member("denominator", test.denominator);
      json.Member("probability", test.probability).Member("level", SatCommonUtils::kRefinementKindLevel);
    }
    json.EndObject();
  }
  report->Json("kinds", json.EndArray());
}

void AddPoints(const PointTable& table, const std::vector<TRefinementResidual>& points, Report* report) {
  report->Heading("residuals, measured minus computed, px");
  std::string bad;
  for (std::size_t row = 0; row < points.size(); ++row) {
    if (points[row].isBad) bad += (bad.empty() ? "" : ", ") + table.Place(row);
  }
  const std::size_t width = NameWidth(table);
  report->Lines(std::string(width, ' ') + PadLeft("before", 24) + PadLeft("after", 26) + "\n" +
                PadLeft("line", width + kWidth) + PadLeft("sample", 12) + PadLeft("line", 14) + PadLeft("sample", 12) +
                PadLeft("standardized", 14) + "\n");
  report->Rows("points", points.size(), [&table, &points, width](std::size_t row, bool json) {
    return json ? RecordOf(table, row, points[row]) : LineOf(table, row, width, points[row]);
  });
  report->Lines("\n");
  report->Text("bad", "bad points", bad.empty() ? "none" : bad);
}

void AddCheck(const SatCommonUtils::TRPC& refined, const std::vector<ControlTable>& tables, Report* report) {
  std::vector<CheckResidual> residuals;
  std::size_t width = kNameWidth;
  for (const ControlTable& control : tables) width = std::max(width, NameWidth(control.table));
  std::string lines = PadLeft("line px", width + kWidth) + PadLeft("sample px", kWidth) + PadLeft("east m", kWidth) +
                      PadLeft("north m", kWidth) + "\n";
  JsonWriter points;
  points.BeginArray();
  for (const ControlTable& control : tables) {
    for (std::size_t row = 0; row < control.table.size(); ++row) {
      const CheckResidual residual = ResidualAt(refined, control, row);
      residuals.push_back(residual);
      lines += PadRight(control.table.ShortPlace(row), width);
      for (const double value : {residual.line, residual.sample, residual.east, residual.north}) {
        lines += PadLeft(Fixed(value, kDigits), kWidth);
      }
      lines += "\n";
      points.BeginObject().Member("input_line", control.table.Line(row));
      if (!control.table.Id(row).empty()) points.Member("id", control.table.Id(row));
      points.Member("line", residual.line).Member("sample", residual.sample);
      points.Member("east", residual.east).Member("north", residual.north).EndObject();
    }
  }
  if (residuals.empty()) return;
  JsonWriter json;
  json.BeginObject().Member("count", residuals.size());
  AddSummary(RmsOf(residuals, &CheckResidual::line, &CheckResidual::sample), "line", "sample", "px", &lines, &json);
  AddSummary(RmsOf(residuals, &CheckResidual::east, &CheckResidual::north), "east", "north", "m", &lines, &json);
  report->Heading("check points, measured minus computed, " + std::to_string(residuals.size()) + " points");
  report->Lines(lines);
  report->Json("check", json.Key("points").Raw(points.EndArray().Text()).EndObject());
}

}  // namespace orbmath_tool
