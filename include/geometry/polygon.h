#pragma once
/// \file
/// A polygon in the plane: one ring of vertices, for footprints and validity regions.

#include <cstddef>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/stream.h"
#include "../frame/zxstd/xini_reader.h"
#include "../frame/zxstd/xini_writer.h"
#include "../frame/zxstd/xy.h"

namespace SatCommonUtils {

/// One closed ring of vertices. The last vertex is joined to the first without being repeated.
///
/// The ring may turn either way and may be empty, degenerate or self-intersecting: every operation says what it does
/// with such a ring. The unit is that of the use (degrees, metres, pixels); x is to the right and y up where a sense of
/// rotation is named. A value type: const operations are safe from several threads.
class ORBMATH_API TPolygon {
 public:
  /// Empty: no vertices.
  TPolygon() = default;
  /// \param vertices in order along the ring; the first is not repeated at the end.
  explicit TPolygon(std::vector<xy_d> vertices);
  TPolygon(const TPolygon&) = default;
  TPolygon(TPolygon&&) noexcept = default;
  TPolygon& operator=(const TPolygon&) = default;
  TPolygon& operator=(TPolygon&&) noexcept = default;
  virtual ~TPolygon();

  /// True when there are more than two vertices.
  virtual explicit operator bool() const;

  /// The vertices in order. Valid until the polygon changes.
  const std::vector<xy_d>& GetVertices() const noexcept { return vertices_; }
  /// Replaces all vertices.
  void SetVertices(std::vector<xy_d> vertices) noexcept;
  /// Takes all vertices away.
  void Clear() noexcept;

  /// Area enclosed, in squared units: positive when the ring runs counter-clockwise, negative when clockwise. Parts
  /// that a self-intersecting ring winds around in opposite senses cancel. 0 for fewer than three vertices.
  double GetSignedArea() const;
  /// The smallest axis-parallel box around the vertices; NaN coordinates are passed over.
  /// \return false, outputs untouched, when there is no vertex or an axis has no number at all.
  bool GetBoundingBox(xy_d* lowest, xy_d* highest) const;

  /// Whether `point` lies inside or on the boundary: edges and vertices count as inside.
  ///
  /// A self-intersecting ring follows the even-odd rule. The answer is exact for the coordinates as they stand, on
  /// which side of an edge a point lies being decided without rounding error, as long as products of coordinate
  /// differences neither overflow nor underflow. False for a polygon of fewer than three vertices and for a NaN.
  bool Contains(const xy_d& point) const;
  /// Distance from `point` to the nearest point of the boundary, inside and outside alike, never negative, in units.
  /// Two vertices count as a segment, one as a point; without vertices the result is infinity.
  double GetDistanceToBoundary(const xy_d& point) const;
  /// Whether the boundary neither touches nor crosses itself and no two vertices coincide, decided without rounding
  /// error. False for fewer than three vertices and for coordinates that are not finite. Takes time n^2.
  bool IsSimple() const;

  /// The text form: each vertex as "(x;y)", nothing between the vertices; "" without vertices. Numbers have as many
  /// digits as it takes to come back bit for bit.
  std::string GetString() const;
  /// Reads the text form; blanks, tabs and line ends are allowed anywhere between its parts.
  /// \return false, the polygon untouched, when the text is anything else.
  bool InitializeFromText(const std::string& text);

  /// Writes into the current section one item "Vertex" for each vertex, in order, each a text "(x;y)" as in
  /// `GetString`.
  /// \return whether the writer took everything.
  bool SaveToXML(TZxXIniWriter* writer) const;
  /// Reads every item "Vertex" of the current section; other items are passed over, no such item gives the empty
  /// polygon.
  /// \return false, the polygon untouched, when a "Vertex" is no "(x;y)".
  bool InitializeFromXML(TZxXIniReader* reader);

  /// Writes a MapInfo interchange file with the polygon as its only REGION; see `WriteMIF` in polygon_mif.h.
  bool SaveToMIF(TZxStream* stream) const;
  /// Reads the first ring of more than two vertices of the first REGION of a MapInfo interchange file that has one; see
  /// `ReadMIF` in polygon_mif.h for all of them.
  /// \return false, the polygon untouched, when there is none or the file is malformed.
  bool InitializeFromMIF(TZxStream* stream);

  /// Equal vertices in equal order (a ring that starts elsewhere is another polygon). A NaN equals nothing.
  friend bool operator==(const TPolygon& a, const TPolygon& b) { return a.vertices_ == b.vertices_; }
  friend bool operator!=(const TPolygon& a, const TPolygon& b) { return !(a == b); }

 private:
  std::vector<xy_d> vertices_;
};

}  // namespace SatCommonUtils
