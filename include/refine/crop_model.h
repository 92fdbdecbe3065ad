#pragma once
/// \file
/// The model of a part of an image, its refinement included.

#include "../frame/api.h"
#include "../frame/zxstd/var_a.h"
#include "../rpc/image_window.h"
#include "../rpc/rpc_model.h"
#include "refinement_data.h"

namespace SatCommonUtils {

/// The refinement of a window: what corrects the image's raw points, in the pixels of the window's result. So a
/// correction that was found on one band serves another of other size and resolution.
/// \return the same kind; empty for a window that is not valid and a refinement that is unset.
ORBMATH_API var_a<TRPCRefinementDataBase*> CropRefinement(const TRPCRefinementDataBase& refinement,
                                                          const TImageWindow& window);

/// The model of a window: a `TAdjustedRPC` when `model` carries a refinement, else a `TRPC`. It gives
/// `window.MapLine(line)`, `window.MapSample(sample)` where `model` gives line and sample, and knows how uncertain its
/// refinement is when `model` does. The margin, which lies on
/// the ground, stays; a raster size is not set. \return empty for a window that is not valid, a model without a record,
/// and a refinement without an inverse.
ORBMATH_API var_a<TRPC*> CropModel(const TRPC& model, const TImageWindow& window);

}  // namespace SatCommonUtils
