#pragma once
// What the parts of a model's check share: the model with its grids, and the list of findings.

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "frame/zxstd/number_text.h"
#include "rpc/ground_solution.h"
#include "rpc/model_check.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils::rpc {

/// A number for people: `digits` significant ones.
inline std::string Rounded(double value, int digits = 3) {
  if (!std::isfinite(value) || value == 0.0) return FormatDouble(value);
  const int places = digits - 1 - static_cast<int>(std::floor(std::log10(std::abs(value))));
  if (places <= 0) return FormatDouble(std::round(value));
  if (places > 300) return FormatDouble(value);
  const double power = std::pow(10.0, places);
  return FormatDouble(std::round(value * power) / power);
}

/// Image points over the image and the heights, and what was found on the ground.
struct TSeenGrid {
  static constexpr int kAcross = 9;
  static constexpr int kHeights = 5;

  std::vector<TGroundSolution> solutions;  ///< heights fastest
  std::size_t lost = 0;                    ///< without a ground point
  std::size_t lostInTheMiddle = 0;         ///< of those, at the mean height
  double residual = 0.0;                   ///< the worst of those found, pixels
  double lat[2] = {90.0, -90.0};           ///< range of those found
  double lon[2] = {720.0, -720.0};
};

/// The image points and heights of such a grid, heights fastest.
struct TSeenNodes {
  std::vector<double> line, sample, height;

  TSeenNodes(const TImageBox& image, const TLinearNormalization& heights) {
    for (const TImagePoint& point : image.Grid(TSeenGrid::kAcross, TSeenGrid::kAcross, TGridNodes::Ends)) {
      for (int k = 0; k < TSeenGrid::kHeights; ++k) {
        line.push_back(point.line);
        sample.push_back(point.sample);
        height.push_back(heights.Normalized2Initial(GridPlace(k, TSeenGrid::kHeights, TGridNodes::Ends)));
      }
    }
  }
};

/// A model under examination.
struct TExamined {
  const TRPC& model;
  const TRPCFileOrigin* origin;  ///< may be null
  TModelCheckOptions options;
  TRPCData record;
  TSeenGrid seen;
  TModelCheck* out;

  void Add(TFindingSeverity severity, TFindingKind kind, std::string what, std::string where,
           std::string consequence) const {
    TModelFinding finding;
    finding.severity = severity;
    finding.kind = kind;
    finding.what = std::move(what);
    finding.where = std::move(where);
    finding.consequence = std::move(consequence);
    out->findings.push_back(std::move(finding));
  }
};

/// Numbers of the record. \return false when the model cannot be evaluated.
bool CheckRecord(const TExamined& examined);
/// Heights, latitudes, longitudes, scales against the earth.
void CheckRanges(const TExamined& examined);
/// Raster and domains against the record's boxes, the file's other model.
void CheckFile(const TExamined& examined);
/// Lines of sight, and the order of terms.
void CheckSight(const TExamined& examined);

}  // namespace SatCommonUtils::rpc
