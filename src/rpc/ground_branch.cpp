// Poles and folds over a model's box, counted on a grid.

#include "rpc/ground_branch.h"

#include "rpc/branch.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils {

TBoxExamination ExamineBox(const TRPC& model) {
  constexpr int kAcross = 41;
  constexpr int kHeights = 9;
  const rpc::TBranch branch(model);
  TBoxExamination box;
  box.provenFree = branch.FreeBox().ground >= 1.0 && branch.FreeBox().height >= 1.0;
  const auto at = [](int i, int count) { return GridPlace(i, count, TGridNodes::Ends); };
  for (int i = 0; i < kAcross; ++i) {
    for (int j = 0; j < kAcross; ++j) {
      for (int k = 0; k < kHeights; ++k) {
        const rpc::TProbe probe = branch.Probe({at(i, kAcross), at(j, kAcross), at(k, kHeights)});
        const bool front = branch.IsInFront(probe);
        ++box.points;
        box.beyondPole += front ? 0 : 1;
        box.beyondFold += front && !branch.IsUnfolded(probe) ? 1 : 0;
      }
    }
  }
  return box;
}

}  // namespace SatCommonUtils
