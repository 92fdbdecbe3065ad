#pragma once
/// \file
/// Figures of pages: a map with outlines and marks, arrows over an image, histograms.

#include <cstddef>
#include <string>
#include <vector>

#include "geometry/polygon.h"
#include "report/page.h"
#include "report/page_svg.h"

namespace orbmath_tool {

/// A closed line on the ground.
struct GroundOutline {
  std::string name;
  std::vector<double> lats;  ///< degrees
  std::vector<double> lons;  ///< degrees, any turn
  PageTone tone = PageTone::Plain;
};

/// A point on the ground.
struct GroundMark {
  std::string name;
  double lat = 0.0;  ///< degrees
  double lon = 0.0;  ///< degrees, any turn
  PageTone tone = PageTone::Plain;
};

struct GroundMap {
  std::vector<GroundOutline> outlines;
  std::vector<GroundMark> marks;
  ToneNames outline_names;  ///< for the key
  ToneNames names;          ///< of marks
  bool labels = false;      ///< the outlines' names stand in them, where there is room
};

/// A ring, x longitude, y latitude in degrees, as an outline.
GroundOutline OutlineOf(const std::string& name, const SatCommonUtils::TPolygon& ring, PageTone tone = PageTone::Plain);

/// Outlines and marks on a graticule, north up, with a scale bar that holds in the middle. Its numbers are the corners
/// of a single outline. Places that are not finite are not drawn.
PageFigure MapFigure(const std::string& title, const std::string& caption, const GroundMap& map);

/// A difference at a place of an image.
struct ImageArrow {
  std::string name;
  double line = 0.0;           ///< pixels
  double sample = 0.0;         ///< pixels
  double line_offset = 0.0;    ///< pixels
  double sample_offset = 0.0;  ///< pixels
  PageTone tone = PageTone::Plain;
};

struct ArrowField {
  double first_line = 0.0, first_sample = 0.0;  ///< corners of the image, pixels
  double last_line = 1.0, last_sample = 1.0;
  std::vector<ImageArrow> arrows;
  ToneNames names;
};

/// Arrows at their places in the image, lines down, all enlarged by one factor, with a scale arrow. Those much longer
/// than the others are cut short; the caption counts them.
PageFigure ArrowFigure(const std::string& title, const std::string& caption, const ArrowField& field);

struct HistogramSeries {
  std::string name;
  std::vector<double> values;
};

/// Histograms below each other, on the same classes. \param name, unit of the values. \param counted what has them.
PageFigure HistogramFigure(const std::string& title, const std::string& caption,
                           const std::vector<HistogramSeries>& series, const std::string& unit,
                           const std::string& name = "residual", const std::string& counted = "points");

/// Where an image looks from.
struct SkyMark {
  std::string name;
  double azimuth = 0.0;    ///< towards the sensor, clockwise from north, degrees
  double incidence = 0.0;  ///< of the line of sight, from the vertical, degrees
  PageTone tone = PageTone::Plain;
};

/// Directions in the sky as seen from the ground: the vertical in the middle, north up, east on the right.
PageFigure SkyFigure(const std::string& title, const std::string& caption, const std::vector<SkyMark>& marks,
                     const ToneNames& names);

}  // namespace orbmath_tool
