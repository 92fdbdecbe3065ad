// One-sided Jacobi rotations, a round of disjoint pairs at a time; sources in the header.

#include "refine/estimation/row_rotations.h"

#include <algorithm>
#include <cmath>

#include "linalg/simd.h"

namespace SatCommonUtils::estimation {

namespace {

constexpr int kMaxSweeps = 40;
// Rows whose cosine is below this count as orthogonal.
constexpr double kOrthogonal = 1e-15;
// A squared norm that a rotation brings below this share of itself is summed again: the difference has lost digits.
constexpr double kLostDigits = 1e-3;
// Lanes of a sum of products, whatever the width of vectors, so that its bits do not depend on it.
constexpr std::size_t kLanes = 8;

// A rotation that makes two rows orthogonal; the cosine is 0 where they are.
struct TRotation {
  double cosine;
  double sine;
};

struct TOrthogonalise {
  TRotatedRows* rotated;

  // The rows of a sweep. Each round pairs opposite ones of `order`, of which all but the first then move on by one.
  struct TSweep {
    std::size_t places;  ///< rows, and one that does not exist if their number is odd
    std::size_t order[TRotatedRows::kStride];
    double squares[TRotatedRows::kStride] = {};  ///< of the norms
    double products[TRotatedRows::kStride / 2];
    TRotation rotations[TRotatedRows::kStride / 2];
  };

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    // Only as many columns as there are go by: 8, 24 or 40.
    if (rotated->columns <= kLanes) return Sweeps<Width, 1>();
    if (rotated->columns <= 3 * kLanes) return Sweeps<Width, 3>();
    Sweeps<Width, TRotatedRows::kStride / kLanes>();
  }

  template <int Width, std::size_t Blocks>
  [[gnu::always_inline]] void Sweeps() const {
    TSweep sweep;
    sweep.places = rotated->count + rotated->count % 2;
    bool is_rotated = rotated->count > 1;
    for (int i = 0; is_rotated && i < kMaxSweeps; ++i) {
      is_rotated = false;
      for (std::size_t row = 0; row < sweep.places; ++row) sweep.order[row] = row;
      for (std::size_t row = 0; row < rotated->count; ++row) sweep.squares[row] = Dot<Width, Blocks>(row, row);
      for (std::size_t round = 0; round + 1 < sweep.places; ++round) {
        is_rotated = Round<Width, Blocks>(&sweep) || is_rotated;
        std::rotate(sweep.order + 1, sweep.order + 2, sweep.order + sweep.places);
      }
    }
  }

  template <int Width, std::size_t Blocks>
  [[gnu::always_inline]] bool Round(TSweep* sweep) const {
    const std::size_t pairs = sweep->places / 2;
    const auto row_a = [&](std::size_t p) { return std::min(sweep->order[p], sweep->order[sweep->places - 1 - p]); };
    const auto row_b = [&](std::size_t p) { return std::max(sweep->order[p], sweep->order[sweep->places - 1 - p]); };
    for (std::size_t p = 0; p < pairs; ++p) {
      sweep->products[p] = row_b(p) < rotated->count ? Dot<Width, Blocks>(row_a(p), row_b(p)) : 0.0;
    }
    bool any = false;
    for (std::size_t p = 0; p < pairs; ++p) {
      sweep->rotations[p] = {0.0, 0.0};
      const double ab = sweep->products[p];
      const double aa = sweep->squares[row_a(p)];
      const double bb = sweep->squares[row_b(p)];
      if (ab * ab <= kOrthogonal * kOrthogonal * aa * bb) continue;
      const double cotangent = (bb - aa) / (2.0 * ab);
      const double tangent =
          std::copysign(1.0, cotangent) / (std::fabs(cotangent) + std::sqrt(1.0 + cotangent * cotangent));
      const double cosine = 1.0 / std::sqrt(1.0 + tangent * tangent);
      sweep->rotations[p] = {cosine, cosine * tangent};
      sweep->products[p] = tangent * ab;
      any = true;
    }
    if (!any) return false;
    for (std::size_t p = 0; p < pairs; ++p) {
      if (sweep->rotations[p].cosine == 0.0) continue;
      const std::size_t a = row_a(p), b = row_b(p);
      Rotate<Width, Blocks>(sweep->rotations[p], a, b);
      Take<Width, Blocks>(a, sweep->squares[a] - sweep->products[p], sweep);
      Take<Width, Blocks>(b, sweep->squares[b] + sweep->products[p], sweep);
    }
    return true;
  }

  template <int Width, std::size_t Blocks>
  [[gnu::always_inline]] void Take(std::size_t row, double square, TSweep* sweep) const {
    // Not a comparison that a NaN passes: then everything is lost anyway.
    if (square < kLostDigits * sweep->squares[row]) square = Dot<Width, Blocks>(row, row);
    sweep->squares[row] = square;
  }

  template <int Width, std::size_t Blocks>
  [[gnu::always_inline]] double Dot(std::size_t a, std::size_t b) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    constexpr std::size_t kParts = kLanes / Width;
    TVector sums[kParts] = {};
    for (std::size_t block = 0; block < Blocks; ++block) {
      for (std::size_t part = 0; part < kParts; ++part) {
        const std::size_t column = block * kLanes + part * Width;
        sums[part] = sums[part] + At<TVector>(a, column) * At<TVector>(b, column);
      }
    }
    alignas(64) double lanes[kLanes];
    for (std::size_t part = 0; part < kParts; ++part) *reinterpret_cast<TVector*>(lanes + part * Width) = sums[part];
    return ((lanes[0] + lanes[4]) + (lanes[2] + lanes[6])) + ((lanes[1] + lanes[5]) + (lanes[3] + lanes[7]));
  }

  template <int Width, std::size_t Blocks>
  [[gnu::always_inline]] void Rotate(const TRotation& rotation, std::size_t a, std::size_t b) const {
    using TVector = typename simd::TLanes<Width>::TVector;
    for (std::size_t column = 0; column < Blocks * kLanes; column += Width) {
      const TVector of_a = At<TVector>(a, column), of_b = At<TVector>(b, column);
      At<TVector>(a, column) = rotation.cosine * of_a - rotation.sine * of_b;
      At<TVector>(b, column) = rotation.sine * of_a + rotation.cosine * of_b;
    }
    const double of_a = rotated->values[a], of_b = rotated->values[b];
    rotated->values[a] = rotation.cosine * of_a - rotation.sine * of_b;
    rotated->values[b] = rotation.sine * of_a + rotation.cosine * of_b;
  }

  template <class TVector>
  [[gnu::always_inline]] TVector& At(std::size_t row, std::size_t column) const {
    return *reinterpret_cast<TVector*>(rotated->rows[row] + column);
  }
};

}  // namespace

void OrthogonaliseRows(TRotatedRows* rotated) { simd::Dispatch(TOrthogonalise{rotated}); }

}  // namespace SatCommonUtils::estimation
