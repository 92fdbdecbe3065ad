// The boundary of the intersection is made of those parts of the two boundaries that lie in the other polygon
// (K. Weiler, P. Atherton, Hidden surface removal using polygon area sorting, 1977, DOI 10.1145/965141.563896). Both
// boundaries are cut where they meet, points that agree up to rounding become one node first, and parts that run
// between the same two nodes are recognised by their nodes and not by coordinates: shared edges and touching corners
// are no special cases.

#include "geometry/polygon_intersection.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "geometry/segments.h"

namespace SatCommonUtils {
namespace {

constexpr double kRelativeTolerance = 0x1p-46;
constexpr double kFullTurn = 6.283185307179586;

using Index = std::size_t;

struct Edge {
  Index from;
  Index to;
  bool operator==(const Edge& other) const { return from == other.from && to == other.to; }
};

double Largest(const std::vector<xy_d>& points, double largest) {
  for (const xy_d& p : points) largest = std::max({largest, std::fabs(p.x), std::fabs(p.y)});
  return largest;
}

/// Points of both boundaries; points within the tolerance of each other are one node.
class Nodes {
 public:
  explicit Nodes(double tolerance) : tolerance_(tolerance) {}

  Index Add(const xy_d& p) {
    for (Index i = 0; i < points_.size(); ++i) {
      if (std::fabs(points_[i].x - p.x) <= tolerance_ && std::fabs(points_[i].y - p.y) <= tolerance_) return i;
    }
    points_.push_back(p);
    return points_.size() - 1;
  }

  const xy_d& operator[](Index node) const { return points_[node]; }

  /// Where along the edge (0 to 1) the foot of the node lies.
  double Position(Index node, const Edge& edge) const {
    const xy_d& a = points_[edge.from];
    const xy_d& b = points_[edge.to];
    const double dx = b.x - a.x;
    const double dy = b.y - a.y;
    return ((points_[node].x - a.x) * dx + (points_[node].y - a.y) * dy) / (dx * dx + dy * dy);
  }

  /// Whether the node lies on the edge, its ends included, up to the tolerance.
  bool IsOn(Index node, const Edge& edge) const {
    if (node == edge.from || node == edge.to) return true;
    const double t = Position(node, edge);
    if (!(t > 0.0 && t < 1.0)) return false;
    return DistanceToSegment(points_[node], points_[edge.from], points_[edge.to]) <= tolerance_;
  }

  xy_d Middle(const Edge& edge) const {
    const xy_d& a = points_[edge.from];
    const xy_d& b = points_[edge.to];
    return {a.x + (b.x - a.x) / 2.0, a.y + (b.y - a.y) / 2.0};
  }

  /// Direction from one node to another, radians.
  double Azimuth(Index from, Index to) const {
    return std::atan2(points_[to].y - points_[from].y, points_[to].x - points_[from].x);
  }

  double GetTolerance() const { return tolerance_; }

 private:
  std::vector<xy_d> points_;
  double tolerance_;
};

/// A boundary as edges between nodes, counter-clockwise, each with the nodes that cut it.
struct Boundary {
  Boundary(const TPolygon& polygon, Nodes* nodes) {
    std::vector<Index> ring;
    for (const xy_d& vertex : polygon.GetVertices()) ring.push_back(nodes->Add(vertex));
    if (polygon.GetSignedArea() < 0.0) std::reverse(ring.begin(), ring.end());
    for (Index i = 0; i < ring.size(); ++i) {
      const Edge edge{ring[i], ring[(i + 1) % ring.size()]};
      if (edge.from != edge.to) edges.push_back(edge);
    }
    cuts.resize(edges.size());
  }

  /// The edges cut at their nodes.
  std::vector<Edge> Parts(const Nodes& nodes) const {
    std::vector<Edge> parts;
    for (Index i = 0; i < edges.size(); ++i) {
      const Edge& edge = edges[i];
      std::vector<std::pair<double, Index>> along;
      for (const Index node : cuts[i]) along.emplace_back(nodes.Position(node, edge), node);
      std::sort(along.begin(), along.end());
      Index from = edge.from;
      for (const auto& [position, node] : along) {
        if (node != from && node != edge.to) parts.push_back({std::exchange(from, node), node});
      }
      parts.push_back({from, edge.to});
    }
    return parts;
  }

  std::vector<Edge> edges;
  std::vector<std::vector<Index>> cuts;
};

/// Point in which two edges cross that are known to cross.
xy_d Crossing(const xy_d& a, const xy_d& b, const xy_d& c, const xy_d& d) {
  const double rx = b.x - a.x;
  const double ry = b.y - a.y;
  const double sx = d.x - c.x;
  const double sy = d.y - c.y;
  const double t = std::clamp(((c.x - a.x) * sy - (c.y - a.y) * sx) / (rx * sy - ry * sx), 0.0, 1.0);
  return {a.x + t * rx, a.y + t * ry};
}

/// Cuts edge i of one boundary and edge j of the other where they meet. An end of one edge that lies on the other is
/// the cut: a crossing beside it would be the same point up to the tolerance.
void Cut(Nodes* nodes, Boundary* first, Index i, Boundary* second, Index j) {
  const Edge e = first->edges[i];
  const Edge f = second->edges[j];
  bool ends_touch = false;
  for (const Index node : {f.from, f.to}) {
    if (!nodes->IsOn(node, e)) continue;
    first->cuts[i].push_back(node);
    ends_touch = true;
  }
  for (const Index node : {e.from, e.to}) {
    if (!nodes->IsOn(node, f)) continue;
    second->cuts[j].push_back(node);
    ends_touch = true;
  }
  const xy_d a = (*nodes)[e.from];
  const xy_d b = (*nodes)[e.to];
  const xy_d c = (*nodes)[f.from];
  const xy_d d = (*nodes)[f.to];
  if (ends_touch || !SegmentsMeet(a, b, c, d)) return;
  const Index node = nodes->Add(Crossing(a, b, c, d));
  first->cuts[i].push_back(node);
  second->cuts[j].push_back(node);
}

/// Appends to `kept` the parts of one boundary that bound the intersection. Parts of both boundaries that run the same
/// way have both polygons on their left and count once; those that run opposite ways have no common area beside them.
void Keep(const std::vector<Edge>& parts, const std::vector<Edge>& others, const TPolygon& other, bool keep_shared,
          const Nodes& nodes, std::vector<Edge>* kept) {
  const auto among_others = [&others](const Edge& e) {
    return std::find(others.begin(), others.end(), e) != others.end();
  };
  for (const Edge& part : parts) {
    const bool same = among_others(part);
    const bool shared = same || among_others({part.to, part.from});
    if (shared ? same && keep_shared : other.Contains(nodes.Middle(part))) kept->push_back(part);
  }
}

/// Takes from `edges` the one that bounds the same piece as `previous` and follows it: the leftmost turn.
bool TakeNext(const Edge& previous, const Nodes& nodes, std::vector<Edge>* edges, Edge* next) {
  const double back = nodes.Azimuth(previous.to, previous.from);
  auto best = edges->end();
  double best_turn = 0.0;
  for (auto edge = edges->begin(); edge != edges->end(); ++edge) {
    if (edge->from != previous.to) continue;
    double turn = back - nodes.Azimuth(edge->from, edge->to);
    if (turn <= 0.0) turn += kFullTurn;
    if (best == edges->end() || turn < best_turn) {
      best = edge;
      best_turn = turn;
    }
  }
  if (best == edges->end()) return false;
  *next = *best;
  edges->erase(best);
  return true;
}

/// Takes the corners of straight angles out of a ring, which cuts leave behind.
std::vector<xy_d> WithoutStraightAngles(std::vector<xy_d> ring, double tolerance) {
  for (Index i = 0; i < ring.size() && ring.size() > 2;) {
    const xy_d& before = ring[(i + ring.size() - 1) % ring.size()];
    const xy_d& after = ring[(i + 1) % ring.size()];
    if (DistanceToSegment(ring[i], before, after) <= tolerance) {
      ring.erase(ring.begin() + static_cast<std::ptrdiff_t>(i));
    } else {
      ++i;
    }
  }
  return ring;
}

/// Joins the kept edges to rings. A chain that does not close can only be a sliver of rounding, and is dropped.
std::vector<TPolygon> JoinRings(std::vector<Edge> edges, const Nodes& nodes) {
  std::vector<TPolygon> pieces;
  while (!edges.empty()) {
    const Edge first = edges.back();
    edges.pop_back();
    std::vector<xy_d> ring{nodes[first.from]};
    Edge edge = first;
    while (edge.to != first.from) {
      ring.push_back(nodes[edge.to]);
      if (!TakeNext(edge, nodes, &edges, &edge)) break;
    }
    if (edge.to != first.from) continue;
    TPolygon piece(WithoutStraightAngles(std::move(ring), nodes.GetTolerance()));
    if (piece && piece.GetSignedArea() > 0.0) pieces.push_back(std::move(piece));
  }
  return pieces;
}

}  // namespace

bool IntersectPolygons(const TPolygon& a, const TPolygon& b, std::vector<TPolygon>* pieces) {
  if (!a.IsSimple() || !b.IsSimple()) return false;
  Nodes nodes(kRelativeTolerance * Largest(a.GetVertices(), Largest(b.GetVertices(), 0.0)));
  Boundary first(a, &nodes);
  Boundary second(b, &nodes);
  for (Index i = 0; i < first.edges.size(); ++i) {
    for (Index j = 0; j < second.edges.size(); ++j) Cut(&nodes, &first, i, &second, j);
  }
  const std::vector<Edge> first_parts = first.Parts(nodes);
  const std::vector<Edge> second_parts = second.Parts(nodes);
  std::vector<Edge> kept;
  Keep(first_parts, second_parts, b, true, nodes, &kept);
  Keep(second_parts, first_parts, a, false, nodes, &kept);
  *pieces = JoinRings(std::move(kept), nodes);
  return true;
}

}  // namespace SatCommonUtils
