#pragma once
/// \file
/// Fitting a refinement to points: ground control or image ties, with bad points found and named.

#include <cstddef>
#include <string>
#include <vector>

#include "../frame/api.h"
#include "../frame/zxstd/var_a.h"
#include "../rpc/rpc_model.h"
#include "adjusted_rpc.h"
#include "refinement_covariance.h"
#include "refinement_data.h"

namespace SatCommonUtils {

/// A ground point and where it was measured in the image.
struct TGroundControlPoint {
  double lat = 0.0;     ///< Degrees.
  double lon = 0.0;     ///< Degrees, in any turn.
  double height = 0.0;  ///< Metres.
  double line = 0.0;    ///< Measured, pixels.
  double sample = 0.0;  ///< Measured, pixels.
  double sigma = 1.0;   ///< Standard deviation of either measured coordinate, pixels; only ratios count in a fit.
};

/// Where a model puts a point and where it was measured.
struct TRefinementTie {
  double line = 0.0;            ///< Raw, as the model computes it without a refinement, pixels.
  double sample = 0.0;          ///< Raw, pixels.
  double measuredLine = 0.0;    ///< Pixels.
  double measuredSample = 0.0;  ///< Pixels.
  double sigma = 1.0;           ///< As with `TGroundControlPoint`.
};

/// The ties of ground control: each ground point projected by `model` without the refinement that it may have.
ORBMATH_API std::vector<TRefinementTie> TiesOfGroundControl(const TRPC& model,
                                                            const std::vector<TGroundControlPoint>& points);

/// Ties whose line and sample are those of an adjusted model, refinement included, brought back to raw ones.
ORBMATH_API std::vector<TRefinementTie> RawTies(const TAdjustedRPC& model, const std::vector<TRefinementTie>& ties);

/// A misfit up to this, in pixels, or in metres by the model's own scale where those are more pixels, is within reason.
constexpr double kReasonableMisfit = 20.0;

/// What a caller may ask of a fit.
struct TRefinementFitOptions {
  /// True: the kind is chosen, the simplest whose misfit no richer one improves significantly, of those that the number
  /// and the spread of the points bear. False: it is `type`.
  bool automatic = true;
  /// The kind to fit, Shift, Affine or Projective; not used when it is chosen.
  TRPCRefinementTransformType type = TRPCRefinementTransformType::Affine;
  /// True: bad points are named but take part in the fit.
  bool keepAll = false;
  /// Size of the image in pixels, which the chosen kind must bear the points' correction to the corners of; 0 when
  /// unknown: then the square around the points counts.
  double lines = 0.0;
  double samples = 0.0;  ///< see `lines`
  /// Root mean square misfit after the fit, pixels, up to which `FitGroundControl` and `FitImageTies` accept it; 0: as
  /// `kReasonableMisfit` says; infinite: whatever it is.
  double largestMisfit = 0.0;
  /// True: the covariance of the parameters counts the sigmas of the points as they are; false: it is scaled by what
  /// the residuals say, and not known where no point is redundant.
  bool sigmasAreKnown = false;
};

/// The story of one point.
struct TRefinementResidual {
  double lineBefore = 0.0;    ///< Measured minus raw, pixels.
  double sampleBefore = 0.0;  ///< Measured minus raw, pixels.
  double lineAfter = 0.0;     ///< Measured minus refined, pixels.
  double sampleAfter = 0.0;   ///< Measured minus refined, pixels.
  /// Length of the residual after the fit in standard deviations of what it would be for a good point, estimated
  /// from the other points; 0 when there are too few to tell.
  double standardized = 0.0;
  bool isBad = false;  ///< The point does not belong to the others; it is left out of the fit unless all are kept.
};

/// A richer kind is taken when a poorer one would leave a misfit as large by chance with less than this probability.
constexpr double kRefinementKindLevel = 1e-3;

/// How a kind fared when one was chosen.
struct TRefinementKindTest {
  TRPCRefinementTransformType type = TRPCRefinementTransformType::None;  ///< The kind.
  bool taken = false;  ///< It became the choice; a later kind that is taken too takes its place.
  /// The F test of the misfit that it takes away against what it leaves: the ratio, its degrees of freedom, and the
  /// probability of a larger ratio by chance. There was no test when `denominator` is 0.
  double ratio = 0.0;
  std::size_t numerator = 0;    ///< Degrees of freedom of the gain: parameters more than the kind before.
  std::size_t denominator = 0;  ///< Degrees of freedom of what is left.
  double probability = 0.0;     ///< Dimensionless.
  std::string reason;           ///< Why it was taken or not, as the rest of a sentence.
};

/// The result of a fit.
struct ORBMATH_API TRefinementFit {
  /// True when there is a refinement.
  bool success = false;
  /// The kind that was fitted.
  TRPCRefinementTransformType type = TRPCRefinementTransformType::None;
  /// The record; empty without success.
  var_a<TRPCRefinementDataBase*> data;
  /// One of each tie, in order; empty without success.
  std::vector<TRefinementResidual> points;
  /// Points that took part in the fit.
  std::size_t used = 0;
  /// Points all of whose numbers are those of an earlier one, as in joined files: no second measurement. They do not
  /// count, and their story is that of the earlier one.
  std::size_t copies = 0;
  /// Root mean square distance over the points that took part, before and after, pixels.
  double rmsBefore = 0.0;
  double rmsAfter = 0.0;  ///< see `rmsBefore`
  /// A posteriori standard deviation of a coordinate of unit weight: what the stated sigmas have to be multiplied by;
  /// 0 when no point is redundant.
  double sigmaFactor = 0.0;
  /// Standard deviation of the correction at the worst corner of the image (or of the square around the points), in
  /// standard deviations of one measurement of the typical sigma.
  double cornerFactor = 0.0;
  /// Covariance of the parameters of `data`; nothing is known without success, and with neither redundant points nor
  /// `sigmasAreKnown`. It knows nothing of what makes all points wrong together, such as a control net that lies off.
  TRefinementCovariance covariance;
  /// How the kinds fared, poorer ones first; empty when the caller wanted one.
  std::vector<TRefinementKindTest> kinds;
  /// Places of points outside the model's box of the image or of the ground, by more than a tenth of half its size;
  /// only `FitGroundControl` and `FitImageTies`, which know the model, fill it.
  std::vector<std::size_t> outside;
  /// One sentence that a person can read: "not run", why there is no refinement, or what was fitted.
  std::string message = "not run";
};

/// Points that a kind needs: 0, 1, 3, 4.
ORBMATH_API std::size_t LeastRefinementPoints(TRPCRefinementTransformType type) noexcept;

/// Fits a refinement to ties by weighted least squares of the distances in the image, projective ones by Gauss-Newton;
/// coordinates are centred and scaled inside.
///
/// The start is the map with the least median of squares over small subsets of the points (P. Rousseeuw, "Least median
/// of squares regression", 1984, doi:10.1080/01621459.1984.10477105), which up to almost half of the points cannot
/// spoil; where half of the points crowd at fewer places than determine a map, up to almost half of the places, unless
/// what these say misses the crowd (a few far points with wrong ground coordinates make a crowd of the others). From
/// there points enter and leave by the t-test of their residual against the others (leave-one-out for those inside), at
/// a level at which one set of good points in a hundred loses one. Residuals below a thousandth of a pixel count as
/// that. The subsets come from a fixed seed: the same ties give the same bits.
///
/// \return success. Refused with a reason: too few points for the kind, numbers that are not finite or beyond 1e60,
/// sigmas not above 0 or below 1e-60, points at one place or so close to a line that the correction would be uncertain
/// by more than 30 times the error of a point within the square around them.
ORBMATH_API bool FitRefinement(const std::vector<TRefinementTie>& ties, const TRefinementFitOptions& options,
                               TRefinementFit* result);

/// `FitRefinement` to ground control, and a look at whether it can be meant.
///
/// Refused, beside what `FitRefinement` refuses, is a result whose misfit is beyond reason (see `largestMisfit`), or
/// whose correction is more than half the image or mirrors it. The reason names the likely cause: latitude and
/// longitude, or line and sample, or both pairs are exchanged when that way round the points fit five times better and
/// within reason. Points outside the model's box are named by `outside`, with success and without. \param model
/// projects the points without the refinement that it may have.
ORBMATH_API bool FitGroundControl(const TRPC& model, const std::vector<TGroundControlPoint>& points,
                                  const TRefinementFitOptions& options, TRefinementFit* result);

/// The same for ties of the raw `model` (see `RawTies`), where the two computed or the two measured coordinates may be
/// exchanged.
ORBMATH_API bool FitImageTies(const TRPC& model, const std::vector<TRefinementTie>& ties,
                              const TRefinementFitOptions& options, TRefinementFit* result);

}  // namespace SatCommonUtils
