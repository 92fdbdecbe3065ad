// How far to trust a ground point: from one image at a height that is known so well, and from a pair whose images share
// a part of their errors.
//
//   example_uncertainty [LEFT RIGHT]    the models of the simulated pair unless given

#include <cmath>
#include <cstdio>
#include <vector>

#include <orbmath/accuracy/error_model.h>
#include <orbmath/accuracy/ground_uncertainty.h>
#include <orbmath/refine/model_file.h>
#include <orbmath/rpc/ground_solution.h>

using namespace SatCommonUtils;

namespace {

void Print(const char* what, const TGroundUncertainty& uncertainty) {
  if (!uncertainty) {
    std::printf("%-28s %s\n", what, DescribeUncertaintyState(uncertainty.state));
    return;
  }
  const TGroundCovariance& c = uncertainty.covariance;
  const TErrorEllipse ellipse = ErrorEllipseOf({c.eastEast, c.eastNorth, c.northNorth});
  std::printf("%-28s CE90 %6.2f m, CE95 %6.2f m, LE90 %6.2f m; ellipse %.2f x %.2f m\n", what, uncertainty.ce90,
              uncertainty.ce95, uncertainty.le90, ellipse.major, ellipse.minor);
}

}  // namespace

int main(int argc, char** argv) {
  const char* const shipped[] = {ORBMATH_EXAMPLES_DATA "/pushbroom_left.RPB",
                                 ORBMATH_EXAMPLES_DATA "/pushbroom_right.RPB"};
  std::vector<TModelFile> files;
  std::vector<TImageErrors> errors;
  for (int i = 0; i < 2; ++i) {
    files.push_back(ReadModelFile(argc > 2 ? argv[i + 1] : shipped[i]));
    if (!files.back()) {
      std::fprintf(stderr, "%s\n", files.back().message.c_str());
      return 1;
    }
    // The simulated files know no errors: 3 m that all points share, 0.3 m from point to point.
    TImageErrorChoice choice;
    choice.sigma = 0.5;
    choice.bias = 3.0;
    choice.random = 0.3;
    const TImageErrorModel known = ErrorsOfImage(*files[i].model, files[i].file.extras, choice);
    std::printf("image %d: %s\n", i + 1, known.message.c_str());
    errors.push_back(known.errors);
  }
  const TRPC& left = *files[0].model;
  const TRPC& right = *files[1].model;

  // One image: what the height is off moves the point along the line of sight's foot.
  const TGroundSolution at = SolveLatLon(left, 5000.0, 9000.0, left.GetAverageHeight());
  if (!at) return 1;
  for (const double sigma : {0.0, 2.0, 10.0}) {
    char what[64];
    std::snprintf(what, sizeof what, "one image, height +- %.0f m", sigma);
    Print(what, LocateUncertainty(left, errors[0], at.lat, at.lon, at.h, sigma));
  }

  // Both images, with the errors that each file means: of their own, and the same ones.
  std::vector<TRPCCoordsDataItem> items(2);
  for (int i = 0; i < 2; ++i) {
    items[i].model = i == 0 ? &left : &right;
    items[i].model->CalculateLineSample(at.lat, at.lon, at.h, &items[i].line, &items[i].sample, nullptr, nullptr);
  }
  const TGroundIntersection point = SolveLatLonH(items);
  if (!point) return 1;
  for (const double correlation : {0.0, 0.5, 1.0}) {
    TIntersectionErrors together;
    together.biasCorrelation = correlation;
    char what[64];
    std::snprintf(what, sizeof what, "a pair, biases alike by %.1f", correlation);
    Print(what, IntersectionUncertainty({&left, &right}, errors, together, point.lat, point.lon, point.h));
  }
  return 0;
}
