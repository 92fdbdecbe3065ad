#pragma once
// A block of six images over one place, made in the workspace of the tool's tests.

#include <string>
#include <vector>

namespace orbmath_test {

/// One measurement of the block as it was made.
struct MadeMeasurement {
  int point;
  int image;
  double line, sample;
  bool bad;  ///< some tens of pixels off
};

struct MadePoint {
  std::string name;  ///< "t00" ... ties, "g0" ... control, "c0" ... check points
  double lat, lon, height;
};

/// What `MakeSmallBlock` has written.
struct SmallBlock {
  static constexpr int kImages = 6;
  std::vector<MadePoint> points;
  std::vector<MadeMeasurement> measurements;  ///< of ties first
};

/// Makes, once, in the workspace: block/im0_RPC.xml ... im5_RPC.xml, bent models that look left and right in turn, each
/// off by a shift of some pixels and a drift; ties.csv (60 ties in all six images, 0.1 px of noise, six bad ones),
/// obs.csv and control.csv (seven control points of 0.05 m in any order of columns, and three check points).
const SmallBlock& MakeSmallBlock();

/// The command line of its adjustment into `folder`, without "--type".
std::string AdjustSmallBlock(const std::string& folder);

/// Line and sample of a ground point in a model of the workspace, by the tool.
struct ImagePlace {
  double line, sample;
};
ImagePlace Projected(const std::string& model, const MadePoint& point);

}  // namespace orbmath_test
