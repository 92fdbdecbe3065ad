#include "points/ground_marks.h"

#include <cmath>

#include "errors.h"
#include "frame/zxstd/number_text.h"
#include "poly/linear_normalization.h"
#include "report/fixed_digits.h"

namespace orbmath_tool {

using SatCommonUtils::TGroundSolution;

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

std::vector<std::string> MakeWords() {
  std::vector<std::string> words{"ok"};
  for (int status = 1; status < 2 * kMargin; ++status) {
    std::string word;
    for (int bit = 0; bit < 4; ++bit) {
      if ((status >> bit & 1) != 0) word += (word.empty() ? "outside-" : "+") + std::string(kPlaces[bit]);
    }
    words.push_back(word);
  }
  return words;
}

std::string Points(std::size_t count) { return std::to_string(count) + (count == 1 ? " point" : " points"); }

}  // namespace

const std::vector<std::string>& StatusWords() {
  static const std::vector<std::string> words = MakeWords();
  return words;
}

int StatusOf(const TGroundSolution& solution) {
  return (solution.outsideImage ? kImage : 0) | (solution.outsideHeight ? kHeight : 0) |
         (solution.outsideGround ? kGround : 0) | (solution.outsideMargin ? kMargin : 0);
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
  const auto outside = [](const SatCommonUtils::TLinearNormalization& range, double value) {
    return !(std::abs(range.Initial2Normalized(value)) <= 1.0);
  };
  const double center = model.GetCenterLongitude();
  const double in_turn = center + std::remainder(lon - center, 360.0);
  const bool ground =
      outside(*model.GetLatitudeNormalization(), lat) || outside(*model.GetLongitudeNormalization(), in_turn);
  return (ground ? kGround : 0) | (outside(*model.GetHeightNormalization(), height) ? kHeight : 0);
}

std::string WhyLost(const TGroundSolution& solution) {
  std::string why = std::string("no ground point: ") + SatCommonUtils::DescribeGroundState(solution.status.state);
  if (std::isfinite(solution.residual)) why += ", " + Fixed(solution.residual, 6) + " px off at the best try";
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
  }
}

void MarkCounter::Report() const {
  if (image_ > 0) Note(Points(image_) + " outside the image, extrapolated (--status marks them)");
  if (height_ > 0) Note(Points(height_) + " outside the model's height range, extrapolated (--status marks them)");
}

void MarkCounter::ReportGiven() const {
  if (ground_ > 0) Note(Points(ground_) + " outside the model's ground, extrapolated");
  if (height_ > 0) Note(Points(height_) + " outside the model's height range, extrapolated");
}

}  // namespace orbmath_tool
