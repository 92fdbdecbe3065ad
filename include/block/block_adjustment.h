#pragma once
/// \file
/// Block adjustment: corrections of many images and the ground points that they see, by one least-squares solution.

#include <cstddef>
#include <memory>

#include "../frame/api.h"
#include "../frame/zxstd/var_a.h"
#include "../refine/adjusted_rpc.h"
#include "../refine/refinement_covariance.h"
#include "../refine/refinement_data.h"
#include "../rpc/rpc_model.h"
#include "block_options.h"
#include "block_problem.h"
#include "block_result.h"

namespace SatCommonUtils {

/// Adjusts a block.
///
/// Every measurement is an equation measured = p + A(p) + error, p being the projection of its ground point by the
/// image's model and A the image's correction (`TBlockCorrection`). Corrections and ground points are the unknowns;
/// control, heights and a-priori sigmas of the corrections are further equations. Gauss-Newton steps, damped where a
/// step fails, with the ground points eliminated one by one; docs/adjustment-numerics.md says how, and what the search
/// for bad measurements does.
///
/// \return the result. Trouble with the data ends in states and sentences, never in an exception but for memory.
/// Thread safety: the problem is only read; any number of threads may adjust at once. The result has the same bits for
/// any number of threads.
ORBMATH_API TBlockResult AdjustBlock(const TBlockProblem& problem, const TBlockOptions& options = TBlockOptions());

/// The correction as a refinement record of the model's record: raw is the projection by the record alone, refined what
/// is measured. A refinement that the model has already is part of it: affine, or projective where that one is.
/// \return empty when the numbers are not finite.
ORBMATH_API var_a<TRPCRefinementDataBase*> RefinementOfBlock(const TRPC& model, const TBlockParameters& parameters);

/// The covariance of the correction of an image of a result, for the record of `RefinementOfBlock` with the same model
/// and for `TAdjustedRPC::SetRefinementCovariance`. What a refinement that the model had already leaves uncertain is
/// not in it. \param image place of the image. \return not valid where it was not worked out, and of fixed images.
ORBMATH_API TRefinementCovariance CovarianceOfBlock(const TRPC& model, const TBlockResult& result, std::size_t image);

/// The model of an image with the correction on top: the same raster size and margin.
/// \return null in that case.
ORBMATH_API std::shared_ptr<TAdjustedRPC> AdjustedModelOf(const TRPC& model, const TBlockParameters& parameters);

}  // namespace SatCommonUtils
