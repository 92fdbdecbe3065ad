// Declaring and checking the options that commands on points share.

#include "points/point_options.h"

#include "errors.h"
#include "frame/zxstd/threads.h"
#include "report/fixed_digits.h"

namespace orbmath_tool {

void PixelOrigin::Declare(CommandLine& line) {
  line.Choice("--origin", {"center", "corner", "one"}, &choice_,
              "where line and sample of the points count from: 0 at the centre of the first pixel as in RPB and text "
              "files (center, the default), 0 at its corner (corner), 1 at its centre (one)");
}

double PixelOrigin::Shift() const {
  constexpr double kShifts[] = {0.0, 0.5, 1.0};
  return kShifts[choice_];
}

void PointOptions::DeclareOutput(CommandLine& line) {
  line.Count("--precision", "N", 0, kMostDigits, &precision_,
             "digits after the point (default: 6 for pixels, 10 for degrees, 4 for metres)");
  line.Flag("--json", &stream_.json, "one JSON object a point instead of a line of fields");
  line.Count("--threads", "N", 1, 1024, &threads_, "threads that compute (default: one a processor)");
}

void PointOptions::DeclareFiles(CommandLine& line) {
  line.Arguments("POINTS", &stream_.inputs, 0, "files of points, '-' for standard input (the default)");
}

void PointOptions::DeclareFilesOption(CommandLine& line) {
  line.Texts("--points", "FILE", &stream_.inputs, "file of points, '-' for standard input (the default)");
}

int PointOptions::Run(PointTask* task) const {
  if (threads_) SatCommonUtils::ZxSetThreadsCount(*threads_);
  const StreamResult result = RunPointStream(stream_, task);
  if (result.errors == 0) return kSuccess;
  Note(std::to_string(result.errors) + (result.errors == 1 ? " line" : " lines") + " could not be computed, see ERROR");
  return kFailure;
}

}  // namespace orbmath_tool
