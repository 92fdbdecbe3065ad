// The words of marked and lost points.

#include "points/ground_marks.h"

#include <cmath>

#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "report/fixed_digits.h"
#include "rpc/rpc_boxes.h"

namespace orbmath_tool {

using SatCommonUtils::TGroundSolution;
using SatCommonUtils::TGroundState;

namespace {

// Degrees. Longitudes may stand in another turn than the model's.
constexpr double kMostLatitude = 90.0;
constexpr double kMostLongitude = 540.0;

// The bits of a status.
constexpr int kImage = 1;
constexpr int kHeight = 2;
constexpr int kGround = 4;
constexpr int kMargin = 8;
constexpr const char* kPlaces[] = {"image", "height", "ground", "margin"};
constexpr int kPlaceSets = 2 * kMargin;

/// What makes a point doubtful that was found; the number behind the bits, counted from 1.
struct Doubt {
  TGroundState state;
  const char* word;
};
constexpr Doubt kDoubts[] = {{TGroundState::OtherBranch, "other-branch"},
                             {TGroundState::FarOut, "far-out"},
                             {TGroundState::BehindSensor, "behind-sensor"},
                             {TGroundState::FarHeight, "far-height"},
                             {TGroundState::Misfit, "misfit"}};

std::string PlacesWord(int places) {
  std::string word;
  for (int bit = 0; bit < 4; ++bit) {
    if ((places >> bit & 1) != 0) word += (word.empty() ? "outside-" : "+") + std::string(kPlaces[bit]);
  }
  return word;
}

std::vector<std::string> MakeWords() {
  std::vector<std::string> words{"ok"};
  for (int places = 1; places < kPlaceSets; ++places) words.push_back(PlacesWord(places));
  for (const Doubt& doubt : kDoubts) {
    words.emplace_back(doubt.word);
    for (int places = 1; places < kPlaceSets; ++places) words.push_back(doubt.word + ("+" + PlacesWord(places)));
  }
  return words;
}

int DoubtOf(TGroundState state) {
  int number = 0;
  for (const Doubt& doubt : kDoubts) {
    ++number;
    if (doubt.state == state) return number;
  }
  return 0;
}

std::string Points(std::size_t count) { return std::to_string(count) + (count == 1 ? " point" : " points"); }

}  // namespace

const std::vector<std::string>& StatusWords() {
  static const std::vector<std::string> words = MakeWords();
  return words;
}

int StatusOf(const TGroundSolution& solution) {
  return kPlaceSets * DoubtOf(solution.status.state) | (solution.outsideImage ? kImage : 0) |
         (solution.outsideHeight ? kHeight : 0) | (solution.outsideGround ? kGround : 0) |
         (solution.outsideMargin ? kMargin : 0);
}

bool IsGround(double lat, double lon) { return std::abs(lat) <= kMostLatitude && std::abs(lon) <= kMostLongitude; }

std::string WhyNoGround(double lat, double lon) {
  const auto beyond = [](const std::string& name, double value, double most) {
    const std::string limit = SatCommonUtils::FormatDouble(most);
    return name + " " + SatCommonUtils::FormatDouble(value) + " is not between -" + limit + " and " + limit;
  };
  return std::abs(lat) <= kMostLatitude ? beyond("longitude", lon, kMostLongitude)
                                        : beyond("latitude", lat, kMostLatitude);
}

int StatusOf(const SatCommonUtils::TRPC& model, double lat, double lon, double height) {
  // A NaN lies outside.
  const SatCommonUtils::TGroundBox box = SatCommonUtils::GroundBoxOf(model);
  return (box.Remoteness({lat, lon, height}) <= 1.0 ? 0 : kGround) |
         (box.HeightRemoteness(height) <= 1.0 ? 0 : kHeight);
}

std::size_t CountExchanged(const SatCommonUtils::TRPC& model, const LineBlock& block) {
  const SatCommonUtils::TGroundBox box = SatCommonUtils::GroundBoxOf(model);
  std::size_t count = 0;
  for (std::size_t i = 0; i < block.count; ++i) {
    if ((block.marks[i] & kGround) == 0) continue;
    const double height = block.in[2][i];
    count += box.Remoteness({block.in[1][i], block.in[0][i], height}) <= 1.0 ? 1 : 0;
  }
  return count;
}

bool IsGiven(const TGroundSolution& solution, bool extrapolate) {
  return solution || (extrapolate && SatCommonUtils::HasDoubtfulPoint(solution.status.state) &&
                      IsGround(solution.lat, solution.lon));
}

std::string WhyLost(const TGroundSolution& solution) {
  const TGroundState state = solution.status.state;
  std::string why = std::string("no ground point: ") + SatCommonUtils::DescribeGroundState(state);
  const std::string residual = Fixed(solution.residual, 6) + " px";
  if (state == TGroundState::Misfit) {
    why += ", " + residual + " rms";
  } else if (!SatCommonUtils::HasDoubtfulPoint(state) && std::isfinite(solution.residual)) {
    why += ", " + residual + " off at the best try";
  }
  return why;
}

void MarkCounter::Add(const LineBlock& block) {
  auto failed = block.failed.begin();
  for (std::size_t i = 0; i < block.count; ++i) {
    if (failed != block.failed.end() && failed->index == i) {
      ++failed;
      continue;
    }
    image_ += (block.marks[i] & kImage) != 0 ? 1 : 0;
    height_ += (block.marks[i] & kHeight) != 0 ? 1 : 0;
    ground_ += (block.marks[i] & kGround) != 0 ? 1 : 0;
    margin_ += (block.marks[i] & kMargin) != 0 ? 1 : 0;
    doubtful_ += block.marks[i] >= kPlaceSets ? 1 : 0;
  }
}

void MarkCounter::Report() const {
  if (image_ > 0) Note(Points(image_) + " outside the image, extrapolated (--status marks them)");
  if (height_ > 0) Note(Points(height_) + " outside the model's height range, extrapolated (--status marks them)");
  if (ground_ > 0) Note(Points(ground_) + " outside the model's ground, extrapolated (--status marks them)");
  if (margin_ > 0) Note(Points(margin_) + " outside the model's margin (--status marks them)");
  if (doubtful_ > 0) Note(Points(doubtful_) + " that the model cannot know, extrapolated (--status names them)");
}

void MarkCounter::ReportGiven() const {
  if (ground_ > 0) Note(Points(ground_) + " outside the model's ground, extrapolated");
  if (height_ > 0) Note(Points(height_) + " outside the model's height range, extrapolated");
}

}  // namespace orbmath_tool
