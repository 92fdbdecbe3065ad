// Declaring the options of uncertainties, and their columns.

#include "points/uncertainty_columns.h"

#include <algorithm>
#include <cmath>

#include "errors.h"
#include "frame/zxstd/number_text.h"

namespace orbmath_tool {

namespace {

using SatCommonUtils::TGroundUncertainty;
using SatCommonUtils::TImageErrors;
using SatCommonUtils::TRPC;

/// Digits of a column of square metres: centimetres, squared, need four.
constexpr int kSquareMetreDigits = 6;

struct UncertaintyColumn {
  const char* name;
  bool squared;  ///< in square metres
  double (*value)(const TGroundUncertainty&);
};

constexpr UncertaintyColumn kColumns[] = {
    {"cov_ee", true, [](const TGroundUncertainty& u) { return u.covariance.eastEast; }},
    {"cov_en", true, [](const TGroundUncertainty& u) { return u.covariance.eastNorth; }},
    {"cov_eu", true, [](const TGroundUncertainty& u) { return u.covariance.eastUp; }},
    {"cov_nn", true, [](const TGroundUncertainty& u) { return u.covariance.northNorth; }},
    {"cov_nu", true, [](const TGroundUncertainty& u) { return u.covariance.northUp; }},
    {"cov_uu", true, [](const TGroundUncertainty& u) { return u.covariance.upUp; }},
    {"ce90", false, [](const TGroundUncertainty& u) { return u.ce90; }},
    {"le90", false, [](const TGroundUncertainty& u) { return u.le90; }},
    {"ce95", false, [](const TGroundUncertainty& u) { return u.ce95; }},
};

/// Ground points of solutions as arrays.
struct GroundArrays {
  template <class Solution>
  explicit GroundArrays(const std::vector<Solution>& points) {
    for (const Solution& point : points) lat.push_back(point.lat), lon.push_back(point.lon), h.push_back(point.h);
  }
  std::vector<double> lat, lon, h;
};

}  // namespace

void UncertaintyChoice::Declare(CommandLine& line) {
  line.Flag("--uncertainty", &given_,
            "add the covariance towards east, north and up (square metres), CE90, LE90 and CE95 (metres)");
  line.Number("--bias", "M", &bias_, "error that all points of an image share, metres a horizontal axis");
  line.Number("--random", "M", &random_, "error of the model from point to point, metres a horizontal axis");
  line.Number("--height-sigma", "M", &height_sigma_, "standard deviation of given heights, metres (default 0)");
  line.Number("--dem-sigma", "M", &dem_sigma_, "standard deviation of the DEM's heights, metres (default 0)");
}

void UncertaintyChoice::DeclareForSeveral(CommandLine& line) {
  line.Text("--image-sigmas", "PX,PX,...", &sigmas_, "standard deviation of a coordinate of each image, pixels");
  line.Number("--bias-correlation", "R", &correlation_, "how alike the biases of the images are, 0 (default) to 1");
}

void UncertaintyChoice::Check(bool dem) const {
  const struct {
    const char* name;
    const std::optional<double>& value;
  } numbers[] = {{"--bias", bias_},
                 {"--random", random_},
                 {"--height-sigma", height_sigma_},
                 {"--dem-sigma", dem_sigma_},
                 {"--bias-correlation", correlation_}};
  for (const auto& number : numbers) {
    if (!number.value) continue;
    if (!given_) throw UsageError(std::string(number.name) + " needs --uncertainty");
    if (*number.value < 0.0) throw UsageError(std::string(number.name) + " must not be below 0");
  }
  if (!sigmas_.empty() && !given_) throw UsageError("--image-sigmas needs --uncertainty");
  if (correlation_.value_or(0.0) > 1.0) throw UsageError("--bias-correlation must not be above 1");
  if (dem_sigma_ && !dem) throw UsageError("--dem-sigma needs --dem");
  if (height_sigma_ && dem) throw UsageError("--height-sigma does not go with --dem: give --dem-sigma");
}

std::vector<double> UncertaintyChoice::SigmasOf(std::size_t images, double sigma) const {
  if (sigmas_.empty()) return std::vector<double>(images, sigma);
  std::vector<double> read;
  for (std::size_t begin = 0; begin <= sigmas_.size();) {
    const std::size_t end = std::min(sigmas_.find(',', begin), sigmas_.size());
    double value;
    if (!SatCommonUtils::ParseDouble(sigmas_.substr(begin, end - begin), &value) || !(value >= 0.0)) {
      throw UsageError("--image-sigmas are numbers that are not below 0, with commas between them");
    }
    read.push_back(value);
    begin = end + 1;
  }
  if (read.size() != images) {
    throw UsageError("--image-sigmas: " + std::to_string(read.size()) + " for " + std::to_string(images) + " images");
  }
  return read;
}

UncertaintyColumns::UncertaintyColumns(const UncertaintyChoice& choice, const std::vector<const Model*>& models,
                                       const std::optional<double>& sigma, const PointOptions& options)
    : choice_(choice),
      digits_of_metres_(options.Digits(kMetreDigits)),
      digits_of_square_metres_(options.Digits(kSquareMetreDigits)) {
  if (!choice.given_) return;
  const std::vector<double> sigmas = choice.SigmasOf(models.size(), sigma.value_or(1.0));
  for (std::size_t m = 0; m < models.size(); ++m) {
    const Model& model = *models[m];
    const SatCommonUtils::TImageErrorModel found =
        SatCommonUtils::ErrorsOfImage(*model.rpc, model.file.extras, {sigmas[m], choice.bias_, choice.random_});
    if (!found.success) throw Failure(model.name + ": " + found.message);
    Note(model.name + ": " + found.message);
    errors_[model.rpc.get()] = found.errors;
  }
  image_ = models[0]->rpc.get();
}

void UncertaintyColumns::AppendTo(std::vector<OutputColumn>* columns) {
  first_ = columns->size();
  if (!choice_.given_) return;
  for (const UncertaintyColumn& column : kColumns) {
    columns->push_back({column.name, column.squared ? digits_of_square_metres_ : digits_of_metres_});
  }
}

std::vector<TGroundUncertainty> UncertaintyColumns::At(
    const std::vector<SatCommonUtils::TGroundSolution>& points) const {
  if (!choice_.given_) return {};
  const GroundArrays ground(points);
  std::vector<TGroundUncertainty> uncertainties(points.size());
  const std::vector<double> sigmas(points.size(), choice_.height_sigma_.value_or(0.0));
  SatCommonUtils::LocateUncertaintyArray(*image_, errors_.at(image_), points.size(), ground.lat.data(),
                                         ground.lon.data(), ground.h.data(), sigmas.data(), uncertainties.data());
  return uncertainties;
}

std::vector<TGroundUncertainty> UncertaintyColumns::At(const std::vector<SatCommonUtils::TTerrainSolution>& points,
                                                       const SatCommonUtils::THeightSurface& surface) const {
  if (!choice_.given_) return {};
  const GroundArrays ground(points);
  std::vector<TGroundUncertainty> uncertainties(points.size());
  SatCommonUtils::TerrainUncertaintyArray(*image_, errors_.at(image_), surface, {choice_.dem_sigma_.value_or(0.0), 0.0},
                                          points.size(), ground.lat.data(), ground.lon.data(), ground.h.data(),
                                          uncertainties.data());
  return uncertainties;
}

TGroundUncertainty UncertaintyColumns::Of(const std::vector<SatCommonUtils::TRPCCoordsDataItem>& items,
                                          const SatCommonUtils::TGroundIntersection& point,
                                          SatCommonUtils::TIntersectionHeight height,
                                          const std::optional<double>& height_variance, double solved_variance) const {
  std::vector<const TRPC*> models;
  std::vector<TImageErrors> errors;
  for (const SatCommonUtils::TRPCCoordsDataItem& item : items) {
    models.push_back(item.model);
    errors.push_back(errors_.at(item.model));
  }
  SatCommonUtils::TIntersectionErrors together;
  together.height = height;
  together.heightSigma = choice_.height_sigma_.value_or(std::sqrt(height_variance.value_or(0.0)));
  together.heightVariance = solved_variance;
  together.biasCorrelation = choice_.correlation_.value_or(0.0);
  return SatCommonUtils::IntersectionUncertainty(models, errors, together, point.lat, point.lon, point.h);
}

bool UncertaintyColumns::Store(const TGroundUncertainty& uncertainty, std::size_t index, LineBlock* block) const {
  std::size_t column = first_;
  for (const UncertaintyColumn& kind : kColumns) block->out[column++][index] = kind.value(uncertainty);
  if (uncertainty) return true;
  block->Fail(index, std::string("the point has no uncertainty: ") +
                         SatCommonUtils::DescribeUncertaintyState(uncertainty.state));
  return false;
}

}  // namespace orbmath_tool
