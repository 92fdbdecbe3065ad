#pragma once
// Grey values between pixels.

#include <cstddef>
#include <cstdint>
#include <vector>

#include "image_coordinates.h"
#include "raster/ortho.h"

namespace SatCommonUtils {

/// Pixels of one band within a rectangle of the image, row by row.
template <class Sample>
struct PixelWindow {
  PixelRect rect;
  const Sample* pixels = nullptr;
  const std::uint8_t* known = nullptr;  ///< 0: no data there; null: data everywhere
};

/// A kernel and how far it reaches.
class Resampler {
 public:
  /// \param alongLines, alongSamples pixels of the image to one of the map; above 1.25 the kernel is made as much
  /// wider.
  Resampler(TResampling kind, double alongLines, double alongSamples);

  /// Pixels around the one that a point falls in which the kernel may ask for.
  int ReachInLines() const noexcept { return reach_[0]; }
  int ReachInSamples() const noexcept { return reach_[1]; }

  /// \param line, sample `count` image points, NaN for none; their pixels are in the window, with what the kernel
  /// reaches around them as far as the image has it.
  /// \param out `count` grey values, not rounded; NaN where there is no point or the pixel there has no data.
  template <class Sample>
  void Run(const PixelWindow<Sample>& window, std::size_t count, const double* line, const double* sample,
           Sample* out) const;

 private:
  template <class Sample, TResampling kKind>
  void RunInside(const PixelWindow<Sample>& window, std::size_t count, const double* line, const double* sample,
                 Sample* out) const;
  template <class Sample>
  Sample One(const PixelWindow<Sample>& window, double line, double sample) const;
  template <class Sample>
  Sample General(const PixelWindow<Sample>& window, double line, double sample) const;
  int Weights(TResampling kind, int axis, double at, int first, int last, double* weights, int* begin) const;

  TResampling kind_;
  double scale_[2];
  bool wider_ = false;
  int reach_[2];
};

extern template void Resampler::Run(const PixelWindow<float>&, std::size_t, const double*, const double*, float*) const;
extern template void Resampler::Run(const PixelWindow<double>&, std::size_t, const double*, const double*,
                                    double*) const;

}  // namespace SatCommonUtils
