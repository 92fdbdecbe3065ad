// Images of intersections, prepared: their models in the normalised coordinates of the first.

#include <cmath>
#include <typeinfo>

#include "rpc/height_slice.h"
#include "rpc/intersection/intersection_newton.h"
#include "rpc/intersection/intersection_start.h"
#include "rpc/rpc_boxes.h"

namespace SatCommonUtils::rpc {

namespace {

/// The longest way from a model's centre to a border of the box that is looked at, degrees: within it and 180 degrees
/// no longitude turns.
constexpr double kSurelyNear = 179.0;

}  // namespace

TNewtonImages::TNewtonImages(std::size_t count, const TRPC* const* models) {
  if (count < 2) return;
  for (std::size_t m = 0; m < count; ++m) {
    if (models[m] == nullptr) return;
  }
  reference_ = &models[0]->GetPrepared();
  images_.resize(count);
  for (std::size_t m = 0; m < count; ++m) {
    if (!Prepare(*models[m], &images_[m])) return;
    derived_ = derived_ || images_[m].derived != nullptr;
    margins_ = margins_ || images_[m].margin;
  }
  fit_ = true;
}

bool TNewtonImages::Prepare(const TRPC& model, TNewtonImage* image) const {
  const TRPCPrepared& own = model.GetPrepared();
  const TRPCNormalization &axes = own.normalization, &first = reference_->normalization;
  if (!(own.free.ground > 0.0 && own.free.ground * std::fabs(axes.longitude.GetScale()) < kSurelyNear)) return false;
  TStartImage start;
  if (!PrepareStart(model, first.longitude.GetOffset(), &start)) return false;
  const double scale[3] = {first.latitude.GetScale(), first.longitude.GetScale(), first.height.GetScale()};
  const double offset[3] = {first.latitude.GetOffset(), first.longitude.GetOffset() - start.turn,
                            first.height.GetOffset()};
  const double ownOffset[3] = {axes.latitude.GetOffset(), axes.longitude.GetOffset(), axes.height.GetOffset()};
  const double reciprocal[3] = {own.reciprocal.latitude, own.reciprocal.longitude, own.reciprocal.height};
  for (int c = 0; c < 3; ++c) {
    image->factor[c] = scale[c] * reciprocal[c];
    image->shift[c] = (offset[c] - ownOffset[c]) * reciprocal[c];
  }
  image->derived = typeid(model) == typeid(TRPC) ? nullptr : &model;
  image->terms = own.Terms();
  for (int k = 0; k < 2; ++k) {
    const double(*const from[2])[4] = {&start.numerator[1 - k], &start.denominator[1 - k]};
    double(&to)[2][4] = image->start[k];
    for (int part = 0; part < 2; ++part) {
      to[part][3] = (*from[part])[3];
      for (int c = 0; c < 3; ++c) {
        to[part][c] = (*from[part])[c] * scale[c];
        to[part][3] += (*from[part])[c] * offset[c];
      }
    }
    const double center = 1.0 / to[1][3];  // denominators of about 1, as those of the models
    for (double(&part)[4] : to) {
      for (double& number : part) number *= center;
    }
    const TLinearNormalization& axis = k == 0 ? axes.line : axes.sample;
    image->offset[k] = axis.GetOffset();
    image->scale[k] = axis.GetScale();
    image->reciprocal[k] = k == 0 ? own.reciprocal.line : own.reciprocal.sample;
    const TOnePolynomial den = {image->terms + 2 * k + 1};
    image->aimed[k] = axis.GetScale() / den[0];
    const int byVariable[3] = {2, 1, 3};
    for (int c = 0; c < 3; ++c) image->denominator[k][c] = den[byVariable[c]] / den[0];
  }
  const TImageBox box = ImageBoxOf(model);
  image->boxOffset[0] = box.line.GetOffset();
  image->boxOffset[1] = box.sample.GetOffset();
  image->boxReciprocal[0] = 1.0 / box.line.GetScale();
  image->boxReciprocal[1] = 1.0 / box.sample.GetScale();
  image->freeGround = own.free.ground;
  image->freeHeight = own.free.height;
  image->margin = model.FindMargin() != nullptr;
  return true;
}

}  // namespace SatCommonUtils::rpc
