#include "ground_marks.h"

#include <cmath>

#include "errors.h"
#include "number.h"

namespace orbmath_tool {

using SatCommonUtils::TGroundSolution;

namespace {

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

std::string WhyLost(const TGroundSolution& solution) {
  std::string why = std::string("no ground point: ") + SatCommonUtils::DescribeGroundState(solution.status.state);
  if (std::isfinite(solution.residual)) why += ", " + Fixed(solution.residual, 6) + " px off at the best try";
  return why;
}

void MarkCounter::Add(const PointBlock& block) {
  auto failed = block.failed.begin();
  for (std::size_t i = 0; i < block.count; ++i) {
    if (failed != block.failed.end() && failed->index == i) {
      ++failed;
      continue;
    }
    image_ += (block.marks[i] & kImage) != 0 ? 1 : 0;
    height_ += (block.marks[i] & kHeight) != 0 ? 1 : 0;
  }
}

void MarkCounter::Report() const {
  if (image_ > 0) Note(Points(image_) + " outside the image, extrapolated (--status marks them)");
  if (height_ > 0) Note(Points(height_) + " outside the model's height range, extrapolated (--status marks them)");
}

}  // namespace orbmath_tool
