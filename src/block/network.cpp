// The network of a block: sorting, and who takes part. Elementary.

#include "block/network.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>

namespace SatCommonUtils::block {
namespace {

using Image = TBlockImageState;
using Point = TBlockPointState;
using Ray = TBlockMeasurementState;

bool IsPlace(const TBlockPoint& point) {
  return std::isfinite(point.lon) && std::fabs(point.lat) <= 90.0 && std::isfinite(point.height);
}

bool IsUsable(const TBlockPoint& point) {
  for (const double sigma : {point.sigmaHorizontal, point.sigmaVertical}) {
    if (!(sigma >= 0.0) || std::isinf(sigma)) return false;
  }
  switch (point.role) {
    case TBlockPointRole::Tie:
      return true;
    case TBlockPointRole::Height:
      return std::isfinite(point.height);
    case TBlockPointRole::Control:
    case TBlockPointRole::Check:
      return IsPlace(point);
  }
  return false;
}

double OrElse(double value, double otherwise) { return value > 0.0 ? value : otherwise; }

}  // namespace

TNetwork::TNetwork(const TBlockProblem& theProblem, const TBlockOptions& theOptions)
    : problem(theProblem),
      options(theOptions),
      imageState(problem.images.size(), Image::NoModel),
      pointState(problem.points.size(), Point::NotFinite),
      outside(problem.measurements.Size(), Ray::NotRun),
      knownIsBad(problem.points.size(), 0) {
  for (std::size_t k = 0; k < problem.images.size(); ++k) {
    const TBlockImage& image = problem.images[k];
    if (image.model == nullptr || !image.model->GetNormalization().IsUsable()) continue;
    imageState[k] = image.correction == TBlockCorrection::None ? Image::Fixed : Image::Adjusted;
  }
  for (std::size_t j = 0; j < problem.points.size(); ++j) {
    if (IsUsable(problem.points[j])) pointState[j] = Point::Used;
  }
  MakeGroups();
  TakeMeasurements();
}

void TNetwork::MakeGroups() {
  groupOf.assign(problem.images.size(), kNobody);
  std::map<std::int32_t, std::uint32_t> passes;
  for (std::uint32_t k = 0; k < problem.images.size(); ++k) {
    const TBlockImage& image = problem.images[k];
    if (imageState[k] != Image::Adjusted) continue;
    const auto next = static_cast<std::uint32_t>(groups.size());
    const std::uint32_t group = image.pass < 0 ? next : passes.emplace(image.pass, next).first->second;
    if (group == next) {
      TGroup own;
      own.isOpen = image.correction == TBlockCorrection::Automatic;
      own.kind = own.isOpen ? TBlockCorrection::Affine : image.correction;
      own.sigmaShift = OrElse(image.sigmaShift, options.sigmaShift);
      own.sigmaDrift = OrElse(image.sigmaDrift, options.sigmaDrift);
      groups.push_back(own);
    }
    groups[group].images.push_back(k);
    groupOf[k] = group;
  }
}

void TNetwork::TakeMeasurements() {
  const TBlockMeasurements& from = problem.measurements;
  const std::size_t count = from.Size();
  const std::size_t points = problem.points.size();
  first.assign(points + 1, 0);
  for (std::size_t m = 0; m < count; ++m) {
    const double sigma = from.sigma.empty() ? 0.0 : from.sigma[m];
    if (!std::isfinite(from.line[m]) || !std::isfinite(from.sample[m]) || !(sigma >= 0.0) || std::isinf(sigma)) {
      outside[m] = Ray::NotFinite;
    } else {
      ++first[from.point[m] + 1];
    }
  }
  std::partial_sum(first.begin(), first.end(), first.begin());
  rays.resize(first[points]);
  std::vector<std::size_t> next(first.begin(), first.end() - 1);
  for (std::uint32_t m = 0; m < count; ++m) {
    if (outside[m] == Ray::NotFinite) continue;
    const double sigma = OrElse(from.sigma.empty() ? 0.0 : from.sigma[m], options.sigmaMeasurement);
    rays[next[from.point[m]]++] = {from.image[m], m, from.line[m], from.sample[m], sigma};
  }
  pointOf.resize(rays.size());
  for (std::uint32_t j = 0; j < points; ++j) std::fill(pointOf.begin() + first[j], pointOf.begin() + first[j + 1], j);
  rayState.assign(rays.size(), Ray::Used);
  // A second measurement in the same image is no second ray; the first stays.
  std::vector<std::uint32_t> seenBy(problem.images.size(), kNobody);
  for (std::uint32_t j = 0; j < points; ++j) {
    for (std::size_t i = first[j]; i < first[j + 1]; ++i) {
      if (seenBy[rays[i].image] == j) rayState[i] = Ray::Repeated;
      seenBy[rays[i].image] = j;
    }
  }
  imageFirst.assign(problem.images.size() + 1, 0);
  for (const TRay& ray : rays) ++imageFirst[ray.image + 1];
  std::partial_sum(imageFirst.begin(), imageFirst.end(), imageFirst.begin());
  imageRays.resize(rays.size());
  next.assign(imageFirst.begin(), imageFirst.end() - 1);
  for (std::uint32_t i = 0; i < rays.size(); ++i) imageRays[next[rays[i].image]++] = i;
}

TKnowledge TNetwork::Known(std::size_t point) const {
  if (knownIsBad[point] != 0) return {};
  switch (problem.points[point].role) {
    case TBlockPointRole::Control:
      return {true, true};
    case TBlockPointRole::Height:
      return {false, true};
    case TBlockPointRole::Tie:
      return {false, options.surface != nullptr};
    case TBlockPointRole::Check:
      break;
  }
  return {};
}

double TNetwork::SigmaHorizontal(std::size_t point) const {
  return OrElse(problem.points[point].sigmaHorizontal, options.sigmaHorizontal);
}

double TNetwork::SigmaVertical(std::size_t point) const {
  if (problem.points[point].role == TBlockPointRole::Tie) return options.sigmaSurface;
  return OrElse(problem.points[point].sigmaVertical, options.sigmaVertical);
}

std::size_t TNetwork::UsedRays(std::size_t point) const {
  std::size_t count = 0;
  for (std::size_t i = first[point]; i < first[point + 1]; ++i) count += IsUsed(i) ? 1 : 0;
  return count;
}

std::size_t TNetwork::NeededRays(std::size_t point) const {
  // A tie of one ray on the surface has no redundancy: it would say nothing of its image.
  const bool stated = problem.points[point].role != TBlockPointRole::Tie && Known(point).height;
  return stated ? 1 : 2;
}

bool TNetwork::PointsLeave(Point reason) {
  bool someone = false;
  for (std::size_t j = 0; j < pointState.size(); ++j) {
    if (pointState[j] != Point::Used || UsedRays(j) >= NeededRays(j)) continue;
    pointState[j] = reason;
    someone = true;
  }
  return someone;
}

std::vector<double> TNetwork::Equations() const {
  // Each ray brings its correction as many equations as its point has to spare, shared among the point's rays.
  std::vector<double> equations(groups.size(), 0.0);
  for (std::size_t j = 0; j < pointState.size(); ++j) {
    if (pointState[j] != Point::Used) continue;
    const TKnowledge known = Known(j);
    const double more = (known.plane ? 2.0 : 0.0) + (known.height ? 1.0 : 0.0);
    const auto used = static_cast<double>(UsedRays(j));
    const double share = (2.0 * used + more - 3.0) / used;
    for (std::size_t i = first[j]; i < first[j + 1]; ++i) {
      const std::uint32_t group = groupOf[rays[i].image];
      if (group != kNobody && IsUsed(i)) equations[group] += share;
    }
  }
  return equations;
}

bool TNetwork::ImagesLeave() {
  const std::vector<double> equations = Equations();
  bool someone = false;
  for (std::size_t g = 0; g < groups.size(); ++g) {
    // What is to be chosen needs a shift at least.
    const TBlockCorrection kind = groups[g].isOpen ? TBlockCorrection::Shift : groups[g].kind;
    if (equations[g] >= ParametersOf(kind) - 1e-9) continue;
    for (const std::uint32_t image : groups[g].images) {
      someone = someone || imageState[image] == Image::Adjusted;
      imageState[image] = Image::TooFewTies;
    }
  }
  return someone;
}

bool TNetwork::LeaveOut(Point reason) {
  bool someone = false;
  for (bool more = true; more;) {
    const bool points = PointsLeave(reason);
    const bool images = ImagesLeave();
    more = images;
    someone = someone || points || images;
  }
  return someone;
}

}  // namespace SatCommonUtils::block
