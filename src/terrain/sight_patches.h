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
struct alignas(64) TSightBounds {
  double top = 1.0;      ///< u above which none of them meets terrain
  double bottom = -1.0;  ///< u below which none does
  /// None of them crosses the terrain more than once between the two: it is nowhere steeper than they are. All cells
  /// there are known and lie in the tile below.
  bool single = false;
  /// Single, and the square's own polynomials (`sight_square.h`) follow the lines.
  bool simple = false;
  bool voids = false;  ///< heights may be unknown somewhere on them between u = -1 and 1
  int tileColumn = 0;
  int tileRow = 0;
  double start = 0.0;        ///< where `single`: u of the crossing at the square's centre, roughly
  double startByLine = 0.0;  ///< how `start` changes to the square's edge
  double startBySample = 0.0;

  double GetMiddle() const { return 0.5 * (top + bottom); }
  double GetReach() const { return 0.5 * (top - bottom); }
  bool IsOverTileOf(const TSightBounds& other) const {
    return tileColumn == other.tileColumn && tileRow == other.tileRow;
  }
};

/// An image point's place in a square.
struct TSquarePlace {
  std::size_t number;
  double s;  ///< line and sample, from -1 to 1 across the square
  double t;
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

  /// The square of an image point; false where there is none.
  bool FindSquare(double line, double sample, TSquarePlace* place) const {
    const double i = (line - firstLine_) * squaresPerLine_;
    const double j = (sample - firstSample_) * squaresPerSample_;
    if (!(i >= 0.0 && i < side_ && j >= 0.0 && j < side_)) return false;
    const int row = static_cast<int>(i);
    const int column = static_cast<int>(j);
    place->number = std::size_t(row) * side_ + column;
    place->s = 2.0 * (i - row) - 1.0;
    place->t = 2.0 * (j - column) - 1.0;
    return true;
  }
  const TSightBounds& GetBounds(std::size_t square) const { return bounds_[square]; }
  /// The polynomials of a simple square.
  const double* GetTerms(std::size_t square) const { return terms_.data() + square * termsSize_; }
  /// Asks for what is known of a square, so that it is near when it is needed.
  void Prefetch(std::size_t square) const {
    __builtin_prefetch(&bounds_[square]);
    const double* const terms = GetTerms(square);
    for (std::size_t i = 0; i < termsSize_; i += 8) __builtin_prefetch(terms + i);
  }
  int CountLanes() const { return lanes_; }
  /// By how much a pixel changes s and t of a square.
  double GetPerLine() const { return 2.0 * squaresPerLine_; }
  double GetPerSample() const { return 2.0 * squaresPerSample_; }
  double GetHeight(double u) const { return center_ + half_ * u; }
  double GetHalf() const { return half_; }

 private:
  /// \return whether all patches are usable.
  bool Build(const TScene& scene, int patches);
  void Fit(const std::vector<double>* values, int row, int column, TSightPatch* patch) const;
  void Check(const TScene& scene);
  /// Bounds of the square around (s, t) of a patch.
  TSightBounds Bound(const TScene& scene, const TSightPatch& patch, double s, double t) const;
  /// Bounds and polynomials of all squares.
  void BuildSquares(const TScene& scene);
  /// Solves some points of each simple square, so that others start near their crossing.
  void FindStarts(const TScene& scene);

  double center_ = 0.0;
  double half_ = 0.0;
  double firstLine_ = 0.0;
  double firstSample_ = 0.0;
  double lineSize_ = 0.0;  ///< of a patch, pixels
  double sampleSize_ = 0.0;
  int patches_ = 0;  ///< along each side
  int squares_ = 0;  ///< along each side of a patch
  std::vector<TSightPatch> table_;
  int side_ = 0;  ///< squares along each side of the image
  double squaresPerLine_ = 0.0;
  double squaresPerSample_ = 0.0;
  std::vector<TSightBounds> bounds_;  ///< of the squares, row by row
  int lanes_ = 0;
  std::size_t termsSize_ = 0;  ///< of a square
  std::vector<double> terms_;
};

}  // namespace SatCommonUtils::terrain
