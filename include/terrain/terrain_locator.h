#pragma once
/// \file
/// Image to ground on a height surface: where lines of sight first meet the terrain, and what terrain hides.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "../frame/api.h"
#include "../rpc/rpc_model.h"
#include "height_surface.h"

namespace SatCommonUtils {

/// How the search along a line of sight ended.
enum class TTerrainState : std::int32_t {
  NotRun,          ///< Nothing was computed.
  Found,           ///< The first point of the terrain seen from the sensor.
  FoundAfterVoid,  ///< Found, but the line passed over places without a height before: terrain there may hide it.
  NoTerrain,       ///< No crossing where heights are known; there are voids on the line, or it passes the surface by.
  NoCrossing,      ///< Heights are known all along the line, but it does not meet them in their range.
  NoLine,          ///< The model has no ground point for this image point at the terrain's heights.
};

/// One short sentence without a full stop, in English, for a message to people; never null.
ORBMATH_API const char* DescribeTerrainState(TTerrainState state);

/// A ground point on the terrain.
struct TTerrainSolution {
  double lat = 0.0;  ///< degrees; NaN when there is no point, as the two below
  double lon = 0.0;  ///< degrees, in the turn of the model
  double h = 0.0;    ///< metres above the ellipsoid
  /// Distance in pixels between the image point and the projection of the result; NaN when there is none.
  double residual = 0.0;
  TTerrainState state = TTerrainState::NotRun;  ///< how the search ended

  /// True when there is a point.
  explicit operator bool() const noexcept {
    return state == TTerrainState::Found || state == TTerrainState::FoundAfterVoid;
  }
};

/// Whether a ground point can be seen.
enum class TVisibility : std::int32_t {
  NotRun,       ///< Nothing was computed.
  Visible,      ///< No terrain on the line from the sensor to the point.
  VisibleVoid,  ///< Visible as far as heights are known: there are voids on the way.
  Hidden,       ///< Terrain lies before the point, or the point lies below it.
  NoLine,       ///< The model has no line of sight through the point.
};

/// One short sentence without a full stop, in English, for a message to people; never null.
ORBMATH_API const char* DescribeVisibility(TVisibility visibility);

/// Options of a locator.
struct TTerrainOptions {
  /// A point counts as visible when terrain reaches less than this above it on its line of sight, metres: points taken
  /// from the surface itself lie on it but for rounding.
  double visibilityTolerance = 0.01;
};

/// Finds where the lines of sight of one model meet one surface.
///
/// A line of sight is the curve of ground points that a model projects onto one image point. It is followed from the
/// highest height of the surface near the image downwards, over bounds of the heights first and then cell by cell of a
/// grid, so that no crossing is stepped over; the first crossing from above is the answer. Other surfaces are searched
/// by halving the line until bounds or signs tell; crossings less than half a metre of height apart may count as none.
///
/// Lines of sight of the image are interpolated from some that are inverted once, when the locator is made (about a
/// thousand inversions), to within 1e-4 metres; elsewhere each is inverted. Results are brought to the model itself:
/// they project back within 1e-7 pixels, and their height is the surface's within 1e-4 metres.
///
/// A result depends on model, surface and image point alone: not on what else is computed, in which order, or on how
/// many threads.
///
/// Thread safety: const operations may run from several threads. Model and surface are not owned and must outlive the
/// locator, unchanged.
class ORBMATH_API TTerrainLocator {
 public:
  /// Inverts the model on its lines of sight; a model or surface that cannot be used shows in every solution's state.
  TTerrainLocator(const TRPC& model, const THeightSurface& surface, const TTerrainOptions& options = {});
  TTerrainLocator(const TTerrainLocator&) = delete;
  TTerrainLocator& operator=(const TTerrainLocator&) = delete;
  TTerrainLocator(TTerrainLocator&& other) noexcept;
  TTerrainLocator& operator=(TTerrainLocator&& other) noexcept;
  ~TTerrainLocator();

  /// Image to ground of one point. \param line, sample pixels.
  TTerrainSolution Locate(double line, double sample) const;
  /// `Locate` of `count` points, the same bits, on up to `ZxGetThreadsCount()` threads.
  /// \param line, sample `count` values each. \param solutions room for `count`.
  /// \return the number of points found.
  std::size_t LocateArray(std::size_t count, const double* line, const double* sample,
                          TTerrainSolution* solutions) const;
  /// All crossings from above, the one nearest to the sensor first: the first is visible, the others are hidden.
  /// Without any, one solution that says why.
  std::vector<TTerrainSolution> LocateAll(double line, double sample) const;

  /// Whether a ground point is seen by the model. \param lat, lon degrees. \param h metres above the ellipsoid.
  TVisibility GetVisibility(double lat, double lon, double h) const;
  /// `GetVisibility` of `count` points, the same results, on up to `ZxGetThreadsCount()` threads.
  /// \param lat, lon, h `count` values each. \param visibility room for `count`.
  /// \return the number of points seen, with voids on the way or without.
  std::size_t GetVisibilityArray(std::size_t count, const double* lat, const double* lon, const double* h,
                                 TVisibility* visibility) const;

  /// The heights between which lines of sight are followed: those of the surface near the image.
  const THeightRange& GetHeightRange() const noexcept;

 private:
  struct TParts;
  std::unique_ptr<TParts> parts_;
};

}  // namespace SatCommonUtils
