// The search for pairs: boxes sorted by latitude and swept, then every pair whose boxes touch. Source of the sweep: F.
// P. Preparata and M. I. Shamos, "Computational Geometry" (1985), doi:10.1007/978-1-4612-1098-6.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <exception>
#include <utility>

#include "frame/zxstd/threads.h"
#include "linalg/team.h"
#include "stereo/pair_geometry.h"
#include "stereo/seen_image.h"

namespace SatCommonUtils {

namespace {

using stereo::TSeenImage;

struct TBox {
  std::uint32_t image;
  double south, north;
  double middle, half;  ///< of longitude
};

std::vector<TBox> BoxesOf(const std::vector<TSeenImage>& images, const TStereoPairOptions& options) {
  // The height of a pair lies between the lowest and the highest of all.
  double low = HUGE_VAL, high = -HUGE_VAL;
  for (const TSeenImage& image : images) {
    if (!image) continue;
    low = std::min(low, options.height.value_or(image.lowest));
    high = std::max(high, options.height.value_or(image.highest));
  }
  std::vector<TBox> boxes;
  for (std::size_t i = 0; i < images.size(); ++i) {
    if (!images[i]) continue;
    xy_d lowest, highest;
    images[i].BoxOver(low, high, &lowest, &highest);
    boxes.push_back({static_cast<std::uint32_t>(i), lowest.y, highest.y, 0.5 * (lowest.x + highest.x),
                     0.5 * (highest.x - lowest.x)});
  }
  return boxes;
}

using TCandidate = std::pair<std::uint32_t, std::uint32_t>;

std::vector<TCandidate> CandidatesOf(std::vector<TBox> boxes) {
  std::sort(boxes.begin(), boxes.end(),
            [](const TBox& a, const TBox& b) { return a.south != b.south ? a.south < b.south : a.image < b.image; });
  std::vector<TCandidate> candidates;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    for (std::size_t k = i + 1; k < boxes.size() && boxes[k].south <= boxes[i].north; ++k) {
      // The way between the middles around the globe, whatever the turns.
      const double way = std::abs(std::remainder(boxes[i].middle - boxes[k].middle, 360.0));
      if (way <= boxes[i].half + boxes[k].half) candidates.push_back(std::minmax(boxes[i].image, boxes[k].image));
    }
  }
  return candidates;
}

/// Runs `work(i)` for each i below `count` on a team, and throws what one of them threw.
template <class Work>
void ForEach(std::size_t count, const Work& work) {
  const std::size_t threads = std::clamp<std::size_t>(count, 1, kernels::TeamSize());
  std::vector<std::exception_ptr> errors(threads);
  kernels::OnTeam(threads, [&](std::size_t thread, std::size_t team) {
    // A parallel region must not be left by an exception.
    try {
      const TZxThreadsScope alone(1);
      for (std::size_t i = thread; i < count; i += team) work(i);
    } catch (...) {
      errors[thread] = std::current_exception();
    }
  });
  for (const std::exception_ptr& error : errors) {
    if (error) std::rethrow_exception(error);
  }
}

std::string Count(std::size_t count, const char* what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

}  // namespace

TPairSearch FindStereoPairs(const std::vector<TStereoImage>& images,
                            const StereopairsByOverlap::TStereopairsByOverlapParams& criteria,
                            const TStereoPairOptions& options) {
  TPairSearch out;
  if (!criteria) {
    out.state = TPairSearchState::BadCriteria;
    out.message = "the criteria are not valid: a limit of a check that is on is out of its range";
    return out;
  }
  std::vector<TSeenImage> seen(images.size());
  ForEach(images.size(), [&](std::size_t i) { seen[i] = TSeenImage(images[i], options.pointsPerSide); });
  for (std::size_t i = 0; i < seen.size(); ++i) {
    if (!seen[i]) out.unseen.push_back(i);
  }
  const std::vector<TCandidate> candidates = CandidatesOf(BoxesOf(seen, options));
  out.candidates = candidates.size();

  std::vector<TStereoPair> pairs(candidates.size());
  std::vector<char> meets(candidates.size());
  ForEach(candidates.size(), [&](std::size_t k) {
    const auto [first, second] = candidates[k];
    pairs[k] = stereo::LookAt(seen[first], seen[second], options);
    pairs[k].first = first;
    pairs[k].second = second;
    meets[k] = pairs[k] && FailedCriteria(pairs[k], criteria).empty() ? 1 : 0;
  });

  std::vector<std::size_t> order;
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    if (pairs[k]) order.push_back(k);
  }
  std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
    if (meets[a] != meets[b]) return meets[a] > meets[b];
    if (pairs[a].quality != pairs[b].quality) return pairs[a].quality > pairs[b].quality;
    return candidates[a] < candidates[b];
  });
  out.pairs.reserve(order.size());
  for (const std::size_t k : order) {
    out.accepted += static_cast<std::size_t>(meets[k]);
    out.pairs.push_back(std::move(pairs[k]));
  }
  out.state = TPairSearchState::Done;
  out.message = Count(out.pairs.size(), "pair") + " of " + Count(images.size(), "image") + " overlap, " +
                std::to_string(out.accepted) + " meet the criteria";
  return out;
}

}  // namespace SatCommonUtils
