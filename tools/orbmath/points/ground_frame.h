#pragma once
/// \file
/// How ground points are written: the order of their columns, their reference system, and what their heights count
/// from.

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "commands/command_line.h"
#include "models/raster_library.h"
#include "points/point_options.h"
#include "points/point_table.h"

namespace orbmath_tool {

/// Ground points in the terms of the models.
struct GroundPoints {
  std::vector<double> lat;     ///< degrees
  std::vector<double> lon;     ///< degrees
  std::vector<double> height;  ///< metres above the ellipsoid; NaN: none was given
};

/// The options that say how ground points are written, and the way from there to latitude, longitude and height above
/// the ellipsoid.
class GroundFrame {
 public:
  /// Declares `--lonlat` and `--crs`.
  void DeclareOrder(CommandLine& line);
  /// Declares `--height` for points that have none. \param help what the option means.
  void DeclareHeight(CommandLine& line, const std::string& help);
  /// Declares `--geoid` for the points' own heights.
  void DeclareGeoid(CommandLine& line);
  /// `--geoid` was declared elsewhere and has this value, perhaps an empty one.
  void SetGeoid(const std::string& name) { geoid_name_ = name; }

  /// Loads what the options name. \throws Failure, UsageError
  void Open();

  const std::optional<double>& Height() const { return height_; }
  bool HasGeoid() const { return geoid_ != nullptr; }
  bool HasSystem() const { return !system_name_.empty(); }
  bool IsSwapped() const { return lonlat_ || HasSystem(); }

  /// The two columns of place in the order in which a file without names has them: latitude and longitude, longitude
  /// and latitude with `--lonlat`, east and north of a reference system. Names in a file say themselves which is which.
  std::vector<TableColumn> PlaceColumns() const;
  /// The column of heights: required, unless `--height` or the caller has heights for points without one (which are
  /// NaN then).
  TableColumn HeightColumn(bool may_be_missing) const;

  /// Turns the columns in place into latitude, longitude and height above the ellipsoid. \param first, second the
  /// columns as `PlaceColumns` has them. A place that the reference system has not is NaN; a height that is NaN stays
  /// so.
  void ToGround(std::size_t count, double* first, double* second, double* height) const;
  /// The way back, into the columns as `PlaceColumns` has them; heights of a geoid do not come back.
  void FromGround(std::size_t count, double* first, double* second, double* height) const;

  /// Heights above the ellipsoid at places where heights above the geoid are known; NaN where the geoid has none.
  void ToEllipsoid(std::size_t count, const double* lat, const double* lon, const double* above_geoid,
                   double* height) const;

  /// The columns of a ground point among results, in the order of `PlaceColumns`, and its height.
  std::vector<OutputColumn> ResultColumns(const PointOptions& options) const;
  /// Where `FromGround` leaves ground points, or nothing where their coordinates are no longitudes and latitudes of
  /// WGS84.
  std::optional<GroundPlace> ResultPlace() const;

  /// Why a place is none, for a point that `ToGround` has made NaN.
  std::string WhyNowhere() const { return system_name_ + " has no such place"; }

  /// The ground points of a table, of which it loses the columns. \param first, second, height the columns.
  /// \throws Failure naming rows that are none.
  GroundPoints Take(PointTable* table, std::size_t first, std::size_t second, std::size_t height) const;

 private:
  bool lonlat_ = false;
  std::string system_name_;
  std::string geoid_name_;
  std::optional<double> height_;
  ReferenceSystem system_;
  std::shared_ptr<const SatCommonUtils::THeightSurface> geoid_;
};

}  // namespace orbmath_tool
