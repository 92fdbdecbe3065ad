#pragma once
/// \file
/// Is a model fit for use? What is wrong with it, where, and what follows from that.

#include <limits>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "rpc_file.h"
#include "rpc_model.h"
#include "viewing_geometry.h"

namespace SatCommonUtils {

/// How much a finding weighs.
enum class TFindingSeverity {
  Note,     ///< worth knowing
  Warning,  ///< the model serves, with care
  Unfit     ///< the model must not be used as it is
};
/// "note", "warning", "unfit".
ORBMATH_API const char* FindingSeverityName(TFindingSeverity severity) noexcept;

/// What a finding is about.
enum class TFindingKind {
  Record,        ///< a number is missing or not finite, a scale is zero
  Denominator,   ///< its constant is not 1
  Coefficients,  ///< beyond sense
  Pole,          ///< a denominator changes its sign
  Fold,          ///< the determinant of the derivatives does
  Mirror,        ///< the image is a mirror image of the ground
  Pixel,         ///< pixels are far from square, or of very different sizes
  RoundTrip,     ///< image points have no ground point, or not the one they came from
  Sight,         ///< lines of sight are bent or cross
  TermOrder,     ///< the terms seem to stand in another order
  Scales,        ///< of exactly one degree
  GroundBox,     ///< far larger or smaller than what the image sees
  HeightRange,   ///< no heights of the earth's surface, or none at all
  Latitude,      ///< beyond a pole of the earth, or a pole within
  Longitude,     ///< in another turn, or across 180 degrees
  Raster,        ///< the record's image is not the raster
  Domain,        ///< where the file says that the model holds
  DirectModel,   ///< the file's own image-to-ground model
  SameImage      ///< another model of the same image
};
/// One word for programs: "record", "denominator", "coefficients", "pole", "fold", "mirror", "pixel", "round-trip",
/// "sight", "term-order", "scales", "ground-box", "height-range", "latitude", "longitude", "raster", "domain",
/// "direct-model", "same-image".
ORBMATH_API const char* FindingKindName(TFindingKind kind) noexcept;

/// One thing that was found.
struct TModelFinding {
  TFindingSeverity severity = TFindingSeverity::Note;  ///< how much it weighs
  TFindingKind kind = TFindingKind::Record;            ///< what it is about
  std::string what;                                    ///< e.g. "a denominator changes its sign"
  std::string where;                                   ///< e.g. "at 312 of 15129 points of the ground box"
  std::string consequence;                             ///< e.g. "what lies behind has no image"
  /// Pixels that it is about, NaN when it is not about pixels.
  double distance = std::numeric_limits<double>::quiet_NaN();
};

/// How to check.
struct TModelCheckOptions {
  /// Radar image: mirrored is right, and lines of equal line and sample are circles (`AsRadar`).
  bool radar = false;
  /// The image is known to be a mirror image of the ground.
  bool mirrored = false;
};

/// How a check ended.
enum class TModelCheckState {
  NotRun,
  Done,
  NoModel  ///< the record is incomplete or that of an inverse model: nothing but that could be looked at
};

/// What a check found.
struct ORBMATH_API TModelCheck {
  TModelCheckState state = TModelCheckState::NotRun;  ///< how the check ended
  std::string message = "not run";                    ///< one sentence
  std::vector<TModelFinding> findings;                ///< the heaviest first
  TViewingGeometry view;                              ///< of the middle of the image at the mean height
  TImageFootprint footprint;                          ///< at the mean height
  TImageFootprint lowFootprint;                       ///< at the lower end of the model's heights
  TImageFootprint highFootprint;                      ///< at the upper end
  /// The worst of image to ground to image, over a grid of the image and the heights, pixels.
  double roundTrip = std::numeric_limits<double>::quiet_NaN();
  /// How far lines of sight are from straight ones whose direction changes evenly over the image, pixels.
  double bentSight = std::numeric_limits<double>::quiet_NaN();
  /// How far the file's own image-to-ground model misses this one, pixels; NaN without one.
  double directModel = std::numeric_limits<double>::quiet_NaN();

  /// Whether it was checked and nothing makes it unfit.
  bool IsFit() const noexcept;
  /// The number of findings of a severity.
  std::size_t Count(TFindingSeverity severity) const noexcept;
};

/// Checks a model: its record, and how it maps its image to the ground and back, refinement included. Takes some
/// milliseconds. Any number of threads may call.
///
/// Order of terms: a camera sees along straight lines whose directions change evenly over its narrow field. A record
/// with its terms in another order does not, and does so by at least four times less once they are put back. What that
/// shows are errors of whole pixels; smaller ones are within the fit of a record.
/// \param origin what the model's file says beside its record; null when there is none.
ORBMATH_API TModelCheck CheckModel(const TRPC& model, const TRPCFileOrigin* origin = nullptr,
                                   const TModelCheckOptions& options = TModelCheckOptions());

/// Adds a finding of the caller's to a check, and brings its order and its sentence up to date. \param check not null.
ORBMATH_API void AddFinding(TModelFinding finding, TModelCheck* check);

/// Compares two models that are said to be of one image, over the ground that the first sees (`DistanceInImage`).
/// \param name of the other, for the finding. \return a note when they agree within half a pixel, or else a warning;
/// its `distance` is the largest there is, NaN when they cannot be compared.
ORBMATH_API TModelFinding CompareSameImage(const TRPC& model, const TRPC& other, const std::string& name);

}  // namespace SatCommonUtils
