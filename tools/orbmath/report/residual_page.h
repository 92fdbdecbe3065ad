#pragma once
/// \file
/// The page of points and how far a model misses them: map, arrows, histogram, table.

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "points/control_table.h"
#include "points/point_table.h"
#include "refine/refinement_fit.h"
#include "refine/robust_fit.h"
#include "report/page.h"
#include "report/page_plots.h"
#include "rpc/rpc_model.h"

namespace orbmath_tool {

/// A point of an image, measured and computed.
struct MeasuredPoint {
  static constexpr double kUnknown = std::numeric_limits<double>::quiet_NaN();

  std::string name;
  PageTone tone = PageTone::Plain;  ///< what it was used for, see `ResidualPage::names`
  double lat = kUnknown;            ///< degrees
  double lon = kUnknown;            ///< degrees
  double line = 0.0;                ///< measured, pixels, counted as the points are
  double sample = 0.0;              ///< measured, pixels
  double line_off = 0.0;            ///< measured minus computed, pixels
  double sample_off = 0.0;          ///< measured minus computed, pixels
  double line_before = kUnknown;    ///< the same before a correction
  double sample_before = kUnknown;
  double standardized = kUnknown;  ///< length of the residual beside what it should be
};

/// What stands on such a page.
struct ResidualPage {
  std::string command;
  std::string title;
  std::string lead;
  std::vector<PageFact> facts;
  std::vector<PageTable> tables;  ///< below the facts
  ToneNames names;                ///< uses of points, one word or two each
  bool corrected = false;         ///< there are residuals before and after, and standardized ones
  std::vector<MeasuredPoint> points;
};

/// The page as HTML. Of very many points it draws and lists the worst ones and a sample, and says so.
/// \param model its footprint and its image are drawn. \param shift where line and sample of the points count from.
std::string ResidualPageHtml(const ResidualPage& page, const SatCommonUtils::TRPC& model, double shift);

/// A table of root mean square, 95 % and maximum of some sets of residuals, each with its name.
PageTable StatisticsTable(const std::vector<std::pair<std::string, SatCommonUtils::TRPCFitResiduals>>& sets);

/// What a page calls a row: its identifier, or its place where it has none.
std::string RowName(const PointTable& table, std::size_t row);

/// Where the points of a refinement lie, one of each row of their table.
struct RefinementPlaces {
  std::vector<double> lat;     ///< degrees; empty with image ties
  std::vector<double> lon;     ///< degrees; empty with image ties
  std::vector<double> line;    ///< measured, pixels, 0 at the centre of the first one
  std::vector<double> sample;  ///< measured, pixels
};

/// What a refinement was made of, for its page.
struct RefinementOrigin {
  std::string model;    ///< path
  std::string written;  ///< path
  const PointTable& points;
  const RefinementPlaces& places;
  double shift = 0.0;  ///< where line and sample count from on the page
};

/// The page of a refinement. \param model the refined one. \param checks points that took no part in the fit.
std::string RefinementPageHtml(const RefinementOrigin& origin, const SatCommonUtils::TRefinementFit& fit,
                               const SatCommonUtils::TRPC& model, const std::vector<ControlTable>& checks = {});

}  // namespace orbmath_tool
