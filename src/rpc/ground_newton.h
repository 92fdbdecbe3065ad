#pragma once
// Image to ground at known heights for one point or a block of points of a plain model: Newton on the collapsed cubics,
// a vector of points at a time, and the proof of what it found.

#include <cstddef>
#include <cstdint>

#include "rpc/blocks.h"
#include "rpc/rpc_prepared.h"

namespace SatCommonUtils::rpc {

// What is known of a point, as bits.
constexpr std::int64_t kProven = 1;     ///< projects back within 1e-7 pixels
constexpr std::int64_t kFree = 2;       ///< lies in the free box
constexpr std::int64_t kInImage = 4;    ///< inside the model's ranges of line and sample,
constexpr std::int64_t kInGround = 8;   ///< ... of latitude and longitude,
constexpr std::int64_t kInHeight = 16;  ///< ... of heights; these hold
constexpr std::int64_t kSure = 32;      ///< where no coordinate lies on a border, up to rounding

struct TNewtonPoint {
  double lat, lon;  ///< degrees
  double residual;  ///< pixels
  std::int64_t marks;
  std::int64_t evaluations;
};

/// \param line, sample pixels. \param h metres. \return the bits of the point in any block.
TNewtonPoint SolveNewtonPoint(const TRPCPrepared& model, double line, double sample, double h);

struct TNewtonBlock {
  double lat[kLaneBlock], lon[kLaneBlock];
  double residual[kLaneBlock];  ///< pixels
  std::int64_t marks[kLaneBlock];
  std::int64_t evaluations[kLaneBlock];
};

/// At most `kLaneBlock` points. A point's results do not depend on the others.
void SolveNewtonBlock(const TRPCPrepared& model, std::size_t count, const double* line, const double* sample,
                      const double* h, TNewtonBlock* block);

}  // namespace SatCommonUtils::rpc
