// Where the errors of an image come from. Meanings: NIMA STDI-0002, appendix E (RPC00B), and "RPCs in GeoTIFF" (tag
// 50844, http://geotiff.maptools.org/rpc_prop.html).

#include "accuracy/error_model.h"

#include <cmath>
#include <cstddef>
#include <vector>

#include "accuracy/ground_uncertainty.h"
#include "frame/zxstd/text.h"
#include "refine/adjusted_rpc.h"
#include "rpc/ground_solution.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils {

namespace {

/// An error as a file states it, where it states one.
std::optional<double> Stated(const std::optional<double>& error) {
  return error && std::isfinite(*error) && *error > 0.0 ? error : std::nullopt;
}

bool IsSigma(const std::optional<double>& sigma) { return !sigma || (*sigma >= 0.0 && std::isfinite(*sigma)); }

/// "NAME V m (WHERE)".
std::string Said(const char* name, double value, const char* where) {
  return Zentarix::ssprintf("%s %.4lg m (%s)", name, value, where);
}

}  // namespace

TImageErrorModel ErrorsOfImage(const TRPC& model, const TRPCFileExtras& extras, const TImageErrorChoice& choice) {
  TImageErrorModel result;
  if (!IsSigma(choice.sigma) || !IsSigma(choice.bias) || !IsSigma(choice.random)) {
    result.message = "a given error is no standard deviation";
    return result;
  }
  const auto* const adjusted = dynamic_cast<const TAdjustedRPC*>(&model);
  const TRefinementCovariance* const covariance = adjusted != nullptr ? adjusted->FindRefinementCovariance() : nullptr;
  TImageErrors& errors = result.errors;
  errors.sigma = choice.sigma.value_or(errors.sigma);
  std::string bias = "bias not known";
  if (choice.bias) {
    errors.bias = *choice.bias;
    bias = Said("bias", errors.bias, "given");
  } else if (covariance != nullptr) {
    errors.refinement = std::make_shared<const TRefinementCovariance>(*covariance);
    bias = "bias of the refinement's parameters";
  } else if (const auto stated = Stated(extras.biasError)) {
    errors.bias = *stated;
    const bool refined = adjusted != nullptr && adjusted->IsAdjusted();
    bias = Said("bias", errors.bias, refined ? "the file's, from before the refinement" : "the file's");
  }
  result.biasKnown = choice.bias || errors.refinement || errors.bias > 0.0;
  const std::optional<double> stated = Stated(extras.randomError);
  errors.random = choice.random.value_or(stated.value_or(0.0));
  const char* const where = choice.random ? "given" : "the file's";
  const std::string random =
      choice.random || stated ? Said("random error", errors.random, where) : "random error not known";
  result.success = true;
  result.message = Zentarix::ssprintf("measurements %.4lg px, %s, %s", errors.sigma, bias.c_str(), random.c_str());
  return result;
}

const char* DescribeFileErrors(TRPCFileForm form) noexcept {
  switch (form) {
    case TRPCFileForm::RPB:
    case TRPCFileForm::IsdXml:
    case TRPCFileForm::GdalXml:
    case TRPCFileForm::Image:
      return "root mean square errors in metres per horizontal axis: the bias of all points of the image, the random "
             "error of each (RPCs in GeoTIFF, tag 50844); 0 or -1 where they are not known";
    case TRPCFileForm::Text:
    case TRPCFileForm::VendorText:
    case TRPCFileForm::Json:
    case TRPCFileForm::XML:
    case TRPCFileForm::AdjustedXML:
    case TRPCFileForm::KeywordList:
    case TRPCFileForm::Radarsat:
      return "68 % error estimates in metres: the bias does not vary with time, the random error does (STDI-0002, "
             "appendix E, RPC00B); taken per horizontal axis; 0 or -1 where they are not known";
    case TRPCFileForm::Dimap:
      return "errors of the fit of the polynomials to the camera, in pixels: nothing is said of errors on the ground";
    case TRPCFileForm::FixedWidth:
    case TRPCFileForm::EnviHeader:
      return "nothing is said of errors";
  }
  return "nothing is known of this form";
}

TExportedErrors ErrorsOfExport(const TRPC& model) {
  constexpr int kAcross = 9;
  TExportedErrors exported;
  const TImageErrorModel known = ErrorsOfImage(model, TRPCFileExtras());
  if (!known.errors.refinement) return exported;
  TImageErrors errors = known.errors;
  errors.sigma = errors.refinement->sigma;
  std::vector<double> line, sample, h, level;
  for (const TImagePoint& point :
       ImageBoxOf(model, TRasterBounds::PixelCentres).Grid(kAcross, kAcross, TGridNodes::Ends)) {
    line.push_back(point.line);
    sample.push_back(point.sample);
    h.push_back(model.GetAverageHeight());
  }
  std::vector<TGroundSolution> points(line.size());
  SolveLatLonArray(model, line.size(), line.data(), sample.data(), h.data(), points.data());
  double shared = 0.0;
  double own = 0.0;
  std::size_t count = 0;
  for (const TGroundSolution& point : points) {
    if (!point) continue;
    const TGroundUncertainty at = LocateUncertainty(model, errors, point.lat, point.lon, point.h, 0.0);
    if (!at) continue;
    const double both = at.covariance.eastEast + at.covariance.northNorth;
    const double common = at.shared.eastEast + at.shared.northNorth;
    shared += 0.5 * common;
    own += 0.5 * (both - common);
    ++count;
  }
  if (count == 0) return exported;
  exported.bias = std::sqrt(shared / static_cast<double>(count));
  if (errors.sigma > 0.0) exported.random = std::sqrt(own / static_cast<double>(count));
  return exported;
}

}  // namespace SatCommonUtils
