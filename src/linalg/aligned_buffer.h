#pragma once
// Memory for packed factors.

#include <cstddef>
#include <memory>
#include <new>

namespace SatCommonUtils::kernels {

/// Room for doubles, aligned to a cache line (and so to every vector), not initialised.
class TAlignedBuffer {
 public:
  explicit TAlignedBuffer(std::size_t count)
      : values_(static_cast<double*>(::operator new[](count * sizeof(double), kAlignment))) {}

  double* Get() const { return values_.get(); }

 private:
  static constexpr std::align_val_t kAlignment{64};
  struct TRelease {
    void operator()(double* values) const { ::operator delete[](values, kAlignment); }
  };
  std::unique_ptr<double[], TRelease> values_;
};

}  // namespace SatCommonUtils::kernels
