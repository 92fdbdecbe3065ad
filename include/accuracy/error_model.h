#pragma once
/// \file
/// What is known of the errors of one image: of its measurements, of its model as its file states them, of its
/// refinement.

#include <memory>
#include <optional>
#include <string>

#include "../frame/api.h"
#include "../refine/refinement_covariance.h"
#include "../rpc/rpc_file.h"
#include "../rpc/rpc_model.h"

namespace SatCommonUtils {

/// The errors of one image, a plain value; all of them standard deviations of normally distributed errors, independent
/// of each other. A new one knows a measurement of one pixel and a model without errors.
struct TImageErrors {
  /// Of a measured line and of a measured sample, pixels: independent from point to point.
  double sigma = 1.0;
  /// Of the model, metres on the ground towards east and towards north each: the same error for all points of the
  /// image.
  double bias = 0.0;
  /// The same, independent from point to point.
  double random = 0.0;
  /// Of the refinement's parameters, whose errors all points of the image share; null for a model without a
  /// refinement, or one whose refinement counts as exact.
  std::shared_ptr<const TRefinementCovariance> refinement;
};

/// What a caller says of the errors of an image in the place of its file. Values below 0 or not finite are refused.
struct TImageErrorChoice {
  std::optional<double> sigma;   ///< pixels; absent: 1
  std::optional<double> bias;    ///< metres; absent: the refinement's covariance, or else the file's
  std::optional<double> random;  ///< metres; absent: the file's
};

/// The errors of an image, and where they come from.
struct ORBMATH_API TImageErrorModel {
  bool success = false;             ///< whether there are errors to compute with
  TImageErrors errors;              ///< what is not known is 0
  bool biasKnown = false;           ///< whether anything tells how far all points are off together
  std::string message = "not run";  ///< one sentence: what was taken from where, or what was refused
};

/// The errors of an image from what is known of it.
///
/// A refinement whose covariance the model has (`TAdjustedRPC::FindRefinementCovariance`) takes the place of the file's
/// bias, which it has removed. An error of the file counts when it is above 0: writers put 0 and -1 where they know
/// none.
/// \param model plain or adjusted. \param extras what its file says. \return without success for a choice that is no
/// standard deviation.
ORBMATH_API TImageErrorModel ErrorsOfImage(const TRPC& model, const TRPCFileExtras& extras,
                                           const TImageErrorChoice& choice = {});

/// What the errors of a form's files mean by the documents that define them, with the source: one sentence, in English;
/// never null.
ORBMATH_API const char* DescribeFileErrors(TRPCFileForm form) noexcept;

/// What a plain record that carries a refinement says of its errors.
struct TExportedErrors {
  /// Root mean square over the image of the standard deviation that the parameters' covariance gives towards east and
  /// north, metres; absent when it is not known.
  std::optional<double> bias;
  /// What one coordinate of a good point of the fit was off by after the correction, its measurement included, in
  /// metres on the ground; absent when it is not known.
  std::optional<double> random;
};

/// The errors that belong into the file of a plain record of an adjusted model (`TAdjustedRPC::ExportRefined`): those
/// of the original file are gone with the correction. On a grid of 9 x 9 points of the image at the model's height
/// offset. \return both absent without a covariance.
ORBMATH_API TExportedErrors ErrorsOfExport(const TRPC& model);

}  // namespace SatCommonUtils
