// The boundary of the intersection is made of those parts of the two boundaries that lie in the other polygon
// (K. Weiler, P. Atherton, Hidden surface removal using polygon area sorting, 1977, DOI 10.1145/965141.563896).
//
// Which parts those are and how they follow each other is decided without rounding error, from the vertices of the
// arguments alone, by the predicates of segments.h: boundaries that run within a rounding error of each other are no
// special case, and neither are shared edges and touching corners. Coordinates of crossings are rounded at the end
// only. That rounding may fold what is thinner than it; such slivers are cut off.

#include "geometry/polygon_intersection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <utility>

#include "geometry/segments.h"

namespace SatCommonUtils {
namespace {

using Index = std::size_t;

/// Where a node lies on a boundary.
struct Place {
  enum Kind { Off, OnEdge, AtVertex } kind = Off;
  Index index = 0;  ///< Of the edge, or of the vertex, which is where the edge of the same index begins.
};

/// A vertex of one or both arguments, or a crossing of an edge of each.
struct Node {
  xy_d point;
  bool crossing = false;
  Place places[2];
};

/// What a boundary runs between two of its nodes; the direction is that of its edge, without rounding.
struct Part {
  Index from;
  Index to;
  TSegment edge;
};

/// A polygon as a ring of vertices, counter-clockwise, without the repeated vertex of a closed one.
std::vector<xy_d> OpenRing(const TPolygon& polygon) {
  std::vector<xy_d> ring = polygon.GetVertices();
  if (ring.size() > 3 && ring.front() == ring.back()) ring.pop_back();
  if (TPolygon(ring).GetSignedArea() < 0.0) std::reverse(ring.begin(), ring.end());
  return ring;
}

/// Both boundaries and where they meet.
class Arrangement {
 public:
  Arrangement(const std::vector<xy_d>& first, const std::vector<xy_d>& second) : rings_{first, second} {
    for (const int which : {0, 1}) on_edges_[which].resize(rings_[which].size());
    for (const int which : {0, 1}) AddVertices(which);
    for (const int which : {0, 1}) PlaceVerticesOnEdges(which);
    AddCrossings();
  }

  const Node& GetNode(Index node) const { return nodes_[node]; }

  TSegment Edge(int which, Index i) const {
    const std::vector<xy_d>& ring = rings_[which];
    return {ring[i], ring[(i + 1) % ring.size()]};
  }

  /// The edges of a boundary cut at their nodes, in their order.
  std::vector<Part> Parts(int which) const {
    std::vector<Part> parts;
    const std::vector<Index>& vertices = vertices_[which];
    for (Index i = 0; i < vertices.size(); ++i) {
      std::vector<Index> along = on_edges_[which][i];
      std::sort(along.begin(), along.end(), [&](Index a, Index b) { return ComesFirst(which, i, a, b); });
      along.push_back(vertices[(i + 1) % vertices.size()]);
      Index from = vertices[i];
      for (const Index to : along) parts.push_back({std::exchange(from, to), to, Edge(which, i)});
    }
    return parts;
  }

  /// Whether a part that does not run along the boundary `which` begins inside it.
  bool BeginsInside(const Part& part, int which, const TPolygon& polygon) const {
    const Node& node = nodes_[part.from];
    const Place& place = node.places[which];
    if (place.kind == Place::Off) return polygon.Contains(node.point);
    if (place.kind == Place::OnEdge) return Turn(Edge(which, place.index), part.edge) > 0;
    // Within the angle from the edge that leaves the vertex, to the left, to the one that comes, seen backwards.
    const Index count = rings_[which].size();
    const TSegment out = Edge(which, place.index);
    const TSegment in = Edge(which, (place.index + count - 1) % count);
    const TSegment back{in.to, in.from};
    const int right = Turn(out, part.edge);
    const int left = Turn(part.edge, back);
    const int angle = Turn(out, back);
    if (angle == 0) return right > 0;  // a straight angle
    return angle > 0 ? right > 0 && left > 0 : right > 0 || left > 0;
  }

 private:
  void AddVertices(int which) {
    for (Index i = 0; i < rings_[which].size(); ++i) {
      const xy_d& point = rings_[which][i];
      const auto known = by_point_.find({point.x, point.y});
      const Index node = known != by_point_.end() ? known->second : nodes_.size();
      if (node == nodes_.size()) {
        by_point_[{point.x, point.y}] = node;
        nodes_.push_back({point, false, {}});
      }
      nodes_[node].places[which] = {Place::AtVertex, i};
      vertices_[which].push_back(node);
    }
  }

  /// Places the vertices of the other boundary that lie within edges of this one.
  void PlaceVerticesOnEdges(int which) {
    for (Index i = 0; i < rings_[which].size(); ++i) {
      const TSegment edge = Edge(which, i);
      for (const Index node : vertices_[1 - which]) {
        if (nodes_[node].places[which].kind == Place::AtVertex) continue;
        if (!IsOnSegment(nodes_[node].point, edge.from, edge.to)) continue;
        nodes_[node].places[which] = {Place::OnEdge, i};
        on_edges_[which][i].push_back(node);
      }
    }
  }

  void AddCrossings() {
    for (Index i = 0; i < rings_[0].size(); ++i) {
      for (Index j = 0; j < rings_[1].size(); ++j) {
        const TSegment a = Edge(0, i), b = Edge(1, j);
        if (!SegmentsCross(a, b)) continue;
        on_edges_[0][i].push_back(nodes_.size());
        on_edges_[1][j].push_back(nodes_.size());
        nodes_.push_back({Crossing(a, b), true, {{Place::OnEdge, i}, {Place::OnEdge, j}}});
      }
    }
  }

  /// Whether one of two different nodes on an edge comes before the other. No crossing coincides with another node:
  /// edges of a simple polygon have no points in common but its vertices.
  bool ComesFirst(int which, Index i, Index a, Index b) const {
    if (a == b) return false;
    const TSegment edge = Edge(which, i);
    const Node& first = nodes_[a];
    const Node& second = nodes_[b];
    if (!first.crossing && !second.crossing) {
      return HaveOneSense({first.point, second.point}, edge);
    }
    if (first.crossing && second.crossing) return CrossingOrder(edge, Other(which, first), Other(which, second)) < 0;
    // A vertex comes before a crossing when the edge's beginning is on the same side of the crossing edge.
    const Node& vertex = first.crossing ? second : first;
    const TSegment line = Other(which, first.crossing ? first : second);
    const bool vertex_first =
        Orientation(line.from, line.to, vertex.point) == Orientation(line.from, line.to, edge.from);
    return vertex_first != first.crossing;
  }

  /// The edge of the other boundary that a crossing lies on.
  TSegment Other(int which, const Node& crossing) const { return Edge(1 - which, crossing.places[1 - which].index); }

  std::vector<xy_d> rings_[2];
  std::vector<Node> nodes_;
  std::map<std::pair<double, double>, Index> by_point_;
  std::vector<Index> vertices_[2];               ///< Nodes of the rings' vertices.
  std::vector<std::vector<Index>> on_edges_[2];  ///< Nodes within each edge.
};

/// Appends to `kept` the parts of one boundary that bound the intersection. Parts of both boundaries that run the same
/// way have both polygons on their left and count once; those that run opposite ways have no common area beside them.
void Keep(const Arrangement& arrangement, const std::vector<Part>& parts, const std::vector<Part>& others,
          int other_which, const TPolygon& other, std::vector<Part>* kept) {
  std::map<std::pair<Index, Index>, bool> runs;
  for (const Part& part : others) runs[{part.from, part.to}] = true;
  for (const Part& part : parts) {
    if (runs.count({part.from, part.to}) != 0) {
      if (other_which == 1) kept->push_back(part);
    } else if (runs.count({part.to, part.from}) == 0 && arrangement.BeginsInside(part, other_which, other)) {
      kept->push_back(part);
    }
  }
}

/// Where a direction comes when one turns to the right from `back`: less than half a turn, half, more, a whole one.
int QuarterToTheRight(const TSegment& back, const TSegment& direction) {
  const int turn = Turn(back, direction);
  if (turn != 0) return turn < 0 ? 0 : 2;
  return HaveOneSense(back, direction) ? 3 : 1;
}

/// The part of `parts` that bounds the same piece as `previous` and follows it: the leftmost turn. The end when none
/// begins where it ends.
std::vector<Part>::iterator Following(const Part& previous, std::vector<Part>* parts) {
  const TSegment back{previous.edge.to, previous.edge.from};
  auto best = parts->end();
  for (auto part = parts->begin(); part != parts->end(); ++part) {
    if (part->from != previous.to) continue;
    if (best != parts->end()) {
      const int quarter = QuarterToTheRight(back, part->edge), best_quarter = QuarterToTheRight(back, best->edge);
      if (quarter > best_quarter || (quarter == best_quarter && Turn(best->edge, part->edge) < 0)) continue;
    }
    best = part;
  }
  return best;
}

double Largest(const std::vector<xy_d>& points, double largest) {
  for (const xy_d& p : points) largest = std::max({largest, std::fabs(p.x), std::fabs(p.y)});
  return largest;
}

/// Takes out of a ring what is thinner than the tolerance: corners that lie on the line between their neighbours, whose
/// neighbours they repeat, or that are the point of a needle. With `crossings_only` vertices of the arguments stay.
void CutSlivers(bool crossings_only, double tolerance, std::vector<Node>* ring) {
  for (Index i = 0, seen = 0; seen < ring->size() && ring->size() > 2;) {
    const Index count = ring->size();
    i %= count;
    const xy_d& before = (*ring)[(i + count - 1) % count].point;
    const xy_d& corner = (*ring)[i].point;
    const xy_d& after = (*ring)[(i + 1) % count].point;
    const bool thin = DistanceToSegment(corner, before, after) <= tolerance ||
                      DistanceToSegment(before, corner, after) <= tolerance ||
                      DistanceToSegment(after, before, corner) <= tolerance;
    if (thin && (!crossings_only || (*ring)[i].crossing)) {
      ring->erase(ring->begin() + static_cast<std::ptrdiff_t>(i));
      i = i + count - 2;  // its neighbours look different now
      seen = 0;
    } else {
      ++i;
      ++seen;
    }
  }
}

/// Looks for a neck in a ring: a corner that lies within the tolerance of an edge of others, and parts the ring there
/// in two, which touch. \return false when there is none.
bool PartAtNeck(double tolerance, std::vector<Node>* ring, std::vector<Node>* rest) {
  const Index count = ring->size();
  for (Index i = 0; i < count; ++i) {
    std::rotate(ring->begin(), ring->begin() + 1, ring->end());
    const Node corner = ring->front();
    for (Index j = 1; j + 1 < count; ++j) {
      if (DistanceToSegment(corner.point, (*ring)[j].point, (*ring)[j + 1].point) > tolerance) continue;
      rest->assign(ring->begin() + static_cast<std::ptrdiff_t>(j) + 1, ring->end());
      rest->push_back(corner);
      ring->resize(j + 1);
      return true;
    }
  }
  return false;
}

/// Appends the pieces that a ring bounds, without slivers. \return false when rounding has made one touch itself.
bool AppendPieces(std::vector<Node> ring, double tolerance, std::vector<TPolygon>* pieces) {
  for (std::vector<std::vector<Node>> rings{std::move(ring)}; !rings.empty();) {
    ring = std::move(rings.back());
    rings.pop_back();
    CutSlivers(true, tolerance, &ring);
    CutSlivers(false, tolerance, &ring);
    if (ring.size() < 3) continue;
    std::vector<Node> rest;
    if (PartAtNeck(tolerance, &ring, &rest)) {
      rings.push_back(std::move(ring));
      rings.push_back(std::move(rest));
      continue;
    }
    std::vector<xy_d> vertices;
    vertices.reserve(ring.size());
    for (const Node& node : ring) vertices.push_back(node.point);
    TPolygon piece(std::move(vertices));
    if (!piece.IsSimple() || !(piece.GetSignedArea() > 0.0)) return false;
    pieces->push_back(std::move(piece));
  }
  return true;
}

/// Joins the kept parts to rings and those to pieces. \return false when a ring does not close, which only arithmetic
/// out of range can cause, or does not bound pieces.
bool JoinRings(const Arrangement& arrangement, std::vector<Part> parts, double tolerance,
               std::vector<TPolygon>* pieces) {
  while (!parts.empty()) {
    const Index start = parts.back().from, second = parts.back().to;
    std::vector<Node> ring;
    Part part = parts.back();
    do {
      ring.push_back(arrangement.GetNode(part.from));
      const auto next = Following(part, &parts);
      if (next == parts.end()) return false;
      part = *next;
      parts.erase(next);
    } while (part.from != start || part.to != second);
    if (!AppendPieces(std::move(ring), tolerance, pieces)) return false;
  }
  return true;
}

}  // namespace

bool IntersectPolygons(const TPolygon& a, const TPolygon& b, std::vector<TPolygon>* pieces) {
  const TPolygon first(OpenRing(a)), second(OpenRing(b));
  if (!first.IsSimple() || !second.IsSimple()) return false;
  const Arrangement arrangement(first.GetVertices(), second.GetVertices());
  const std::vector<Part> first_parts = arrangement.Parts(0);
  const std::vector<Part> second_parts = arrangement.Parts(1);
  std::vector<Part> kept;
  Keep(arrangement, first_parts, second_parts, 1, second, &kept);
  Keep(arrangement, second_parts, first_parts, 0, first, &kept);
  const double tolerance = kThinnestIntersection * Largest(a.GetVertices(), Largest(b.GetVertices(), 0.0));
  std::vector<TPolygon> found;
  if (!JoinRings(arrangement, std::move(kept), tolerance, &found)) return false;
  *pieces = std::move(found);
  return true;
}

}  // namespace SatCommonUtils
