// Poles, folds and the way from a model's centre.

#include "rpc/branch.h"

#include <algorithm>
#include <cmath>

#include "frame/zxstd/plane_length.h"
#include "rpc/height_slice.h"
#include "rpc/rpc_terms.h"

namespace SatCommonUtils::rpc {

namespace {

struct TInterval {
  double low, high;
};

TInterval operator*(const TInterval& x, const TInterval& y) {
  const double products[] = {x.low * y.low, x.low * y.high, x.high * y.low, x.high * y.high};
  return {*std::min_element(products, products + 4), *std::max_element(products, products + 4)};
}

TInterval operator-(const TInterval& x, const TInterval& y) { return {x.low - y.high, x.high - y.low}; }

/// Clear of zero by more than rounding and a NaN can hide.
bool HasOneSign(const TInterval& x) {
  const double clear = 1e-9 * std::fmax(std::fabs(x.low), std::fabs(x.high));
  return x.low > clear || x.high < -clear;
}

/// What a polynomial and its derivatives by latitude and longitude can be in a box around the centre.
struct TRanges {
  TInterval value, by[2];
};

TRanges RangesOf(const double* coefficients, const TRPCFreeBox& box) {
  const double ground[4] = {1.0, box.ground, box.ground * box.ground, box.ground * box.ground * box.ground};
  const double height[4] = {1.0, box.height, box.height * box.height, box.height * box.height * box.height};
  double value = 0.0;
  double by[2] = {0.0, 0.0};
  for (int k = 1; k < kRPCTermCount; ++k) {
    const auto& [P, L, H] = kRPCTermPowers[k];
    const double size = std::fabs(coefficients[k]) * height[H];
    value += size * ground[L + P];
    if (P > 0 && k != 2) by[0] += size * P * ground[L + P - 1];
    if (L > 0 && k != 1) by[1] += size * L * ground[L + P - 1];
  }
  const auto around = [](double middle, double radius) { return TInterval{middle - radius, middle + radius}; };
  return {around(coefficients[0], value), {around(coefficients[2], by[0]), around(coefficients[1], by[1])}};
}

/// The sign of a quotient's derivative is that of num' den - num den'.
TInterval Wronskian(const TRanges& num, const TRanges& den, int variable) {
  return num.by[variable] * den.value - num.value * den.by[variable];
}

bool IsBoxFree(const TRPCData& record, const TRPCFreeBox& box) {
  const TRanges lineDen = RangesOf(record.lineDenCoef, box);
  const TRanges sampDen = RangesOf(record.sampDenCoef, box);
  if (!HasOneSign(lineDen.value) || !HasOneSign(sampDen.value)) return false;
  const TRanges lineNum = RangesOf(record.lineNumCoef, box);
  const TRanges sampNum = RangesOf(record.sampNumCoef, box);
  // A matrix of intervals whose determinant excludes zero is regular whatever is chosen from each: the mean value
  // theorem, with a place of its own for each row, then makes the mapping one to one.
  return HasOneSign(Wronskian(lineNum, lineDen, 0) * Wronskian(sampNum, sampDen, 1) -
                    Wronskian(lineNum, lineDen, 1) * Wronskian(sampNum, sampDen, 0));
}

double DenominatorAt(const double* coefficients, const double (&ground)[3]) {
  TSliceCubic<double> slice;
  double value;
  CollapseAtHeight(coefficients, ground[2], slice);
  SliceValue(slice, ground[0], ground[1], value);
  return value;
}

// A step along the way is taken when ...
constexpr int kCorrections = 4;             // ... this many corrections bring it to its aim,
constexpr double kContraction = 0.3;        // ... each at most so long as the one before: it stays on its root,
constexpr double kLargestChange = 4.0;      // ... and no side changes by more than this factor: zero is far.
constexpr double kArrived = 1e-4;           // pixels
constexpr double kShortestStep = 1.0 / 64;  // of the way; behind it is a pole or a fold
constexpr std::int32_t kEvaluationsOfAWay = 32;

bool IsNear(const TProbe& probe, const TProbe& before) {
  bool near = true;
  for (int k = 0; k < 3; ++k) {
    const double change = probe.sides[k] / before.sides[k];
    near = near && change <= kLargestChange && change >= 1.0 / kLargestChange;
  }
  return near;
}

}  // namespace

TRPCFreeBox FindFreeBox(const TRPCData& record) noexcept {
  // Beyond the scene's own range first, then ever smaller ground at the model's heights.
  constexpr int kBoxes = 10;
  TRPCFreeBox box = {kWidestBox, kWidestBox};
  for (int i = 0; i < kBoxes; ++i) {
    if (IsBoxFree(record, box)) return box;
    box = {i == 0 ? 1.0 : box.ground * 0.5, 1.0};
  }
  return {};
}

TBranch::TBranch(const TRPC& model) : model_(model), center_{} {
  model.GetRPCData(&record_);
  center_.probe = Probe(center_.ground);
}

void TBranch::Normalize(double lat, double lon, double h, double (&ground)[3]) const {
  const TNormalizedGroundPoint point = model_.GetNormalization().Normalize(TGroundPoint{lat, lon, h});
  ground[0] = point.lat;
  ground[1] = point.lon;
  ground[2] = point.h;
}

TProbe TBranch::Probe(const double (&ground)[3]) const {
  const TRPCNormalization& axes = model_.GetNormalization();
  const TGroundPoint point = axes.Denormalize(TNormalizedGroundPoint{ground[0], ground[1], ground[2]});
  const double scale[3] = {axes.latitude.GetScale(), axes.longitude.GetScale(), axes.height.GetScale()};
  TProbe probe;
  model_.CalculateLineSample(point.lat, point.lon, point.h, &probe.image[0], &probe.image[1], probe.slope[0],
                             probe.slope[1]);
  for (double(&image)[3] : probe.slope) {
    for (int c = 0; c < 3; ++c) image[c] *= scale[c];
  }
  probe.sides[0] = DenominatorAt(record_.lineDenCoef, ground);
  probe.sides[1] = DenominatorAt(record_.sampDenCoef, ground);
  probe.sides[2] = probe.slope[0][0] * probe.slope[1][1] - probe.slope[0][1] * probe.slope[1][0];
  return probe;
}

bool TBranch::IsInFront(const TProbe& probe) const {
  const double(&sides)[3] = center_.probe.sides;
  return probe.sides[0] * sides[0] > 0.0 && probe.sides[1] * sides[1] > 0.0;
}

bool TBranch::IsUnfolded(const TProbe& probe) const { return probe.sides[2] * center_.probe.sides[2] > 0.0; }

bool TBranch::IsFree(const double (&ground)[3]) const {
  return std::fabs(ground[0]) <= FreeBox().ground && std::fabs(ground[1]) <= FreeBox().ground &&
         std::fabs(ground[2]) <= FreeBox().height;
}

bool TBranch::IsStraightWayFree(const double (&ground)[3], std::int32_t* evaluations) const {
  const std::int32_t most = *evaluations + kEvaluationsOfAWay;
  TProbe before = center_.probe;
  double done = 0.0;
  double part = 1.0 / 8;
  while (done < 1.0 && *evaluations < most) {
    const double next = std::fmin(done + part, 1.0);
    const TProbe probe = Probe({next * ground[0], next * ground[1], next * ground[2]});
    ++*evaluations;
    const bool near = IsNear(probe, before);
    part *= near ? 1.5 : 0.5;
    if (part < kShortestStep / 8) return false;
    if (!near) continue;
    before = probe;
    done = next;
  }
  return done == 1.0;
}

bool TBranch::Reach(const double (&aim)[3], TBranchNode* node, std::int32_t* evaluations) const {
  const TProbe before = node->probe;
  double longest = HUGE_VAL;
  for (int i = 0; i <= kCorrections; ++i) {
    const TProbe& probe = node->probe;
    const double rise = aim[2] - node->ground[2];
    const double line = aim[0] - probe.image[0] - probe.slope[0][2] * rise;
    const double sample = aim[1] - probe.image[1] - probe.slope[1][2] * rise;
    const double step[2] = {(line * probe.slope[1][1] - sample * probe.slope[0][1]) / probe.sides[2],
                            (sample * probe.slope[0][0] - line * probe.slope[1][0]) / probe.sides[2]};
    const double length = PlaneLength(step[0], step[1]);
    if (!(length <= longest)) return false;
    longest = kContraction * length;
    node->ground[0] += step[0];
    node->ground[1] += step[1];
    node->ground[2] = aim[2];
    node->probe = Probe(node->ground);
    ++*evaluations;
    if (!IsNear(node->probe, before)) return false;
    if (PlaneLength(aim[0] - node->probe.image[0], aim[1] - node->probe.image[1]) <= kArrived) return true;
  }
  return false;
}

bool TBranch::FollowLine(const double (&target)[3], TBranchNode* at, std::int32_t* evaluations) const {
  const double origin[3] = {at->probe.image[0], at->probe.image[1], at->ground[2]};
  const std::int32_t most = *evaluations + kEvaluationsOfAWay;
  double done = 0.0;
  double part = 1.0;
  while (done < 1.0) {
    const double next = std::fmin(done + part, 1.0);
    double aim[3];
    for (int c = 0; c < 3; ++c) aim[c] = next == 1.0 ? target[c] : origin[c] + next * (target[c] - origin[c]);
    TBranchNode there = *at;
    if (Reach(aim, &there, evaluations)) {
      *at = there;
      done = next;
      part *= 2.0;
    } else {
      part *= 0.5;
      if (part < kShortestStep || *evaluations >= most) return false;
    }
  }
  return true;
}

bool TBranch::Follow(double line, double sample, double h, TBranchNode* end, std::int32_t* evaluations) const {
  const double H = model_.GetNormalization().height.Initial2Normalized(h);
  const double target[3] = {line, sample, H};
  *end = center_;
  if (FollowLine(target, end, evaluations)) return true;
  const double raised[3] = {center_.probe.image[0], center_.probe.image[1], H};
  *end = center_;
  if (FollowLine(raised, end, evaluations) && FollowLine(target, end, evaluations)) return true;
  const double moved[3] = {line, sample, 0.0};
  *end = center_;
  return FollowLine(moved, end, evaluations) && FollowLine(target, end, evaluations);
}

}  // namespace SatCommonUtils::rpc
