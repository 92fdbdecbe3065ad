#pragma once
// Lines of sight of a whole image, interpolated in line, sample and height.

#include <cstddef>
#include <vector>

#include "terrain/sight_line.h"

namespace SatCommonUtils::terrain {

/// Lines of sight over a rectangle of the image, as cubics in line, sample and height each.
struct TSightPatch {
  static constexpr int kNodes = kTerms * kTerms;
  /// Coefficients of the powers of line and sample (both from -1 to 1 over the patch): `c[i * 4 + j]` belongs to
  /// line^i sample^j and holds a sight line's coefficients.
  double c[kNodes][kComponents][kTerms];
  /// Derivatives of latitude and longitude by line and sample at the centre, degrees per pixel.
  double latByLine, latBySample, lonByLine, lonBySample;
  bool usable;  ///< interpolates to within the tolerance
};

/// What is known beforehand of the lines of sight of a small square of the image.
struct TSightBounds {
  double top = 1.0;      ///< u above which none of them meets terrain
  double bottom = -1.0;  ///< u below which none does
  /// None of them crosses the terrain more than once between the two: it is nowhere steeper than they are. All cells
  /// there are known and lie in the tile below.
  bool single = false;
  double start = 0.0;  ///< u of the crossing at the square's centre, where `single`, roughly
  bool voids = false;  ///< heights may be unknown somewhere on them between u = -1 and 1
  int tileColumn = 0;
  int tileRow = 0;
};

/// The patches of one image and one range of heights.
class TSightPatches {
 public:
  TSightPatches() = default;
  TSightPatches(const TScene& scene, double lowest, double highest);

  /// The patch of an image point with the point's place in it, and what is known of the lines of sight about the point;
  /// null where there is none that is usable.
  const TSightPatch* Find(double line, double sample, double* s, double* t, const TSightBounds** bounds) const;
  /// The sight lines of points with their patches. \param components those that are needed, see `TScene`.
  void Interpolate(std::size_t count, const TSightPatch* const* patches, const double* s, const double* t,
                   int components, TSightLine* sights) const;

 private:
  /// \return whether all patches are usable.
  bool Build(const TScene& scene, int patches);
  void Fit(const TScene& scene, const std::vector<double>* values, int row, int column, TSightPatch* patch) const;
  void Check(const TScene& scene);
  /// Bounds of the square around (s, t) of a patch.
  TSightBounds Bound(const TScene& scene, const TSightPatch& patch, double s, double t) const;

  double center_ = 0.0;
  double half_ = 0.0;
  double firstLine_ = 0.0;
  double firstSample_ = 0.0;
  double lineSize_ = 0.0;  ///< of a patch, pixels
  double sampleSize_ = 0.0;
  int patches_ = 0;  ///< along each side
  int squares_ = 0;  ///< along each side of a patch
  std::vector<TSightPatch> table_;
  std::vector<TSightBounds> bounds_;
};

}  // namespace SatCommonUtils::terrain
