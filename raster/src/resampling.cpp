// Kernels. Cubic: R. Keys, "Cubic convolution interpolation for digital image processing" (1981),
// doi:10.1109/TASSP.1981.1163711, with a = -1/2. Lanczos: C. Duchon, "Lanczos filtering in one and two dimensions"
// (1979), doi:10.1175/1520-0450(1979)018<1016:LFIOAT>2.0.CO;2, with three lobes, its weights brought to a sum of 1.

#include "resampling.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

namespace SatCommonUtils {

namespace {

/// Up to this many pixels of the image to one of the map nothing is filtered: what would alias then has few periods
/// more than two pixels, which sensors and kernels hardly pass, and a filter would blur maps whose pixels are as large
/// as the image's in one direction only (degrees).
constexpr double kNotCoarser = 1.25;
constexpr double kPi = 3.14159265358979323846;

constexpr int Radius(TResampling kind) {
  if (kind == TResampling::Nearest) return 0;
  if (kind == TResampling::Bilinear) return 1;
  return kind == TResampling::Cubic ? 2 : 3;
}

/// sin(pi x) for |x| <= 1/2, its series: the library function's last bit is another on other processors.
double SinPi(double x) {
  const double t = kPi * x;
  const double q = t * t;
  // 1 / (k (k - 1)) for k = 19, 17 ... 3
  constexpr double kParts[] = {1.0 / 342, 1.0 / 272, 1.0 / 210, 1.0 / 156, 1.0 / 110,
                               1.0 / 72,  1.0 / 42,  1.0 / 20,  1.0 / 6};
  double sum = 1.0;
  for (const double part : kParts) sum = 1.0 - sum * q * part;
  return t * sum;
}

/// sin(pi x) for 0 <= x <= 3.
double SinPiUpTo3(double x) {
  const double shifted = x + 0.5;
  const int turns = static_cast<int>(shifted);
  const double s = SinPi(x - turns);
  return turns % 2 == 0 ? s : -s;
}

/// \param x distance in pixels, not negative.
double Kernel(TResampling kind, double x) {
  switch (kind) {
    case TResampling::Nearest:
      return x <= 0.5 ? 1.0 : 0.0;
    case TResampling::Bilinear:
      return x < 1.0 ? 1.0 - x : 0.0;
    case TResampling::Cubic:
      if (x < 1.0) return (1.5 * x - 2.5) * x * x + 1.0;
      return x < 2.0 ? ((-0.5 * x + 2.5) * x - 4.0) * x + 2.0 : 0.0;
    case TResampling::Lanczos:
      if (x >= 3.0) return 0.0;
      // The quotient is 1 - O(x^2): below this it is 1.
      if (x < 1e-9) return 1.0;
      return 3.0 * SinPiUpTo3(x) * SinPiUpTo3(x / 3.0) / (kPi * kPi * x * x);
  }
  return 0.0;
}

/// Four numbers that a processor works on together.
template <class Sample>
struct FourOf;
template <>
struct FourOf<float> {
  typedef float Type __attribute__((vector_size(16)));
};
template <>
struct FourOf<double> {
  typedef double Type __attribute__((vector_size(32)));
};

template <class Sample>
[[gnu::always_inline]] inline void Load(const Sample* from, typename FourOf<Sample>::Type& four) {
  std::memcpy(&four, from, sizeof four);
}

/// Cubic weights of the pixels at -1, 0, 1, 2 for a point at x between 0 and 1: a polynomial in each lane.
template <class Sample>
[[gnu::always_inline]] inline void CubicWeights(Sample x, typename FourOf<Sample>::Type& w) {
  using Four = typename FourOf<Sample>::Type;
  constexpr Sample kHalf = Sample(0.5);
  const Four cubic = {-kHalf, 3 * kHalf, -3 * kHalf, kHalf};
  const Four square = {1, -5 * kHalf, 2, -kHalf};
  const Four linear = {-kHalf, 0, kHalf, 0};
  const Four constant = {0, 1, 0, 0};
  w = ((cubic * x + square) * x + linear) * x + constant;
}

/// Four by four pixels: four columns together, row by row, then across.
template <class Sample>
[[gnu::always_inline]] inline Sample Cubic4x4(const Sample* pixels, std::ptrdiff_t stride, double x, double y) {
  typename FourOf<Sample>::Type wx, wy, row, sum;
  CubicWeights(static_cast<Sample>(x), wx);
  CubicWeights(static_cast<Sample>(y), wy);
  Load(pixels, row);
  sum = row * wy[0];
  for (int r = 1; r < 4; ++r) {
    Load(pixels + r * stride, row);
    sum += row * wy[r];
  }
  sum *= wx;
  return (sum[0] + sum[1]) + (sum[2] + sum[3]);
}

constexpr int kLanczosTaps = 6;

/// Lanczos weights of the pixels at -2 to 3 for a point at x between 0 and 1: of sin(pi (x - k)) only the sign changes
/// with k, and sin(pi (x - k) / 3) follows from the sine and the cosine of one angle.
void LanczosWeights(double x, double* w) {
  if (x < 1e-9 || x > 1.0 - 1e-9) {  // on a pixel, where the quotient below is 0 / 0
    for (int k = 0; k < kLanczosTaps; ++k) w[k] = k == (x < 0.5 ? 2 : 3) ? 1.0 : 0.0;
    return;
  }
  constexpr double kHalfRoot3 = 0.86602540378443864676;
  // cos and sin of pi k / 3 for k = -2 to 3
  constexpr double kCos[] = {-0.5, 0.5, 1.0, 0.5, -0.5, -1.0};
  constexpr double kSin[] = {-kHalfRoot3, -kHalfRoot3, 0.0, kHalfRoot3, kHalfRoot3, 0.0};
  const double whole = SinPi(x <= 0.5 ? x : 1.0 - x);
  const double third = SinPi(x / 3.0);
  const double cosine = std::sqrt(1.0 - third * third);
  double sum = 0.0;
  for (int k = 0; k < kLanczosTaps; ++k) {
    const double d = x - (k - 2);
    w[k] = (k % 2 == 0 ? whole : -whole) * (third * kCos[k] - cosine * kSin[k]) / (d * d);
    sum += w[k];
  }
  const double toOne = 1.0 / sum;
  for (int k = 0; k < kLanczosTaps; ++k) w[k] *= toOne;
}

/// Lanczos weights at equal distances, linear between them: right to 3e-8.
class LanczosTable {
 public:
  LanczosTable() : weights_(kLanczosTaps * (kPhases + 2)) {
    for (int i = 0; i <= kPhases; ++i) LanczosWeights(double(i) / kPhases, &weights_[std::size_t(i) * kLanczosTaps]);
    // One more row, for a point that rounding brings to 1.
    std::copy_n(&weights_[std::size_t(kPhases) * kLanczosTaps], kLanczosTaps,
                &weights_[std::size_t(kPhases + 1) * kLanczosTaps]);
  }
  template <class Sample>
  void Get(double x, Sample* w) const {
    const double at = x * kPhases;
    const int phase = static_cast<int>(at);
    const double part = at - phase;
    const double* const from = &weights_[std::size_t(phase) * kLanczosTaps];
    for (int k = 0; k < kLanczosTaps; ++k) {
      w[k] = static_cast<Sample>(from[k] + part * (from[k + kLanczosTaps] - from[k]));
    }
  }

 private:
  static constexpr int kPhases = 4096;
  std::vector<double> weights_;
};

/// Six by six pixels: twice four columns together, the second time from the third on with the first two left out.
template <class Sample>
Sample Lanczos6x6(const LanczosTable& table, const Sample* pixels, std::ptrdiff_t stride, double x, double y) {
  using Four = typename FourOf<Sample>::Type;
  Sample wx[kLanczosTaps], wy[kLanczosTaps];
  table.Get(x, wx);
  table.Get(y, wy);
  Four left, right;
  Load(pixels, left);
  Load(pixels + 2, right);
  left *= wy[0];
  right *= wy[0];
  for (int r = 1; r < kLanczosTaps; ++r) {
    Four row;
    Load(pixels + r * stride, row);
    left += row * wy[r];
    Load(pixels + r * stride + 2, row);
    right += row * wy[r];
  }
  return ((left[0] * wx[0] + left[1] * wx[1]) + (left[2] * wx[2] + left[3] * wx[3])) +
         (right[2] * wx[4] + right[3] * wx[5]);
}

const LanczosTable& TheLanczosTable() {
  static const LanczosTable table;
  return table;
}

template <class Sample>
Sample Bilinear2x2(const Sample* pixels, std::ptrdiff_t stride, double x, double y) {
  const auto fx = static_cast<Sample>(x);
  const auto fy = static_cast<Sample>(y);
  const Sample above = pixels[0] + fx * (pixels[1] - pixels[0]);
  const Sample below = pixels[stride] + fx * (pixels[stride + 1] - pixels[stride]);
  return above + fy * (below - above);
}

}  // namespace

Resampler::Resampler(TResampling kind, double alongLines, double alongSamples) : kind_(kind) {
  const double ratios[] = {alongLines, alongSamples};
  for (int axis = 0; axis < 2; ++axis) {
    const bool coarser = kind != TResampling::Nearest && ratios[axis] > kNotCoarser;
    scale_[axis] = coarser ? ratios[axis] : 1.0;
    wider_ = wider_ || coarser;
    reach_[axis] = static_cast<int>(std::ceil(Radius(kind) * scale_[axis]));
  }
}

/// Weights of the pixels from `*begin` on that the kernel about `at` reaches between `first` and `last`.
/// \return how many.
int Resampler::Weights(TResampling kind, int axis, double at, int first, int last, double* weights, int* begin) const {
  const double scale = scale_[axis];
  const int reach = reach_[axis];
  const int middle = static_cast<int>(std::floor(at));
  *begin = std::max(first, middle - reach);
  const int end = std::min(last, middle + reach + 1);
  for (int i = *begin; i <= end; ++i) weights[i - *begin] = Kernel(kind, std::fabs(i - at) / scale);
  return end - *begin + 1;
}

/// Any place and any width: at the image's edge and beside pixels without data, the bilinear kernel over what is there.
template <class Sample>
Sample Resampler::General(const PixelWindow<Sample>& window, double line, double sample) const {
  const PixelRect& rect = window.rect;
  thread_local std::vector<double> weights;
  const std::size_t most = 2 * std::size_t(std::max(reach_[0], reach_[1])) + 4;
  weights.resize(2 * most);
  double* const rows = weights.data();
  double* const columns = rows + most;
  for (const TResampling kind : {kind_, TResampling::Bilinear}) {
    int row, column;
    const int rowCount = Weights(kind, 0, line, rect.row, rect.row + rect.rows - 1, rows, &row);
    const int columnCount = Weights(kind, 1, sample, rect.column, rect.column + rect.columns - 1, columns, &column);
    double sum = 0.0;
    double all = 0.0;
    bool complete = true;
    for (int r = 0; r < rowCount; ++r) {
      const std::size_t from =
          std::size_t(row + r - rect.row) * std::size_t(rect.columns) + std::size_t(column - rect.column);
      for (int c = 0; c < columnCount; ++c) {
        const double weight = rows[r] * columns[c];
        if (weight == 0.0) continue;
        if (window.known != nullptr && window.known[from + std::size_t(c)] == 0) {
          complete = false;
          continue;
        }
        sum += weight * double(window.pixels[from + std::size_t(c)]);
        all += weight;
      }
    }
    const auto whole = [](int begin, int count, double at, int reach) {
      return begin <= std::ceil(at - reach) && begin + count - 1 >= std::floor(at + reach);
    };
    complete = complete && whole(row, rowCount, line, reach_[0]) && whole(column, columnCount, sample, reach_[1]);
    if (complete || kind == TResampling::Bilinear) return static_cast<Sample>(sum / all);
  }
  return std::numeric_limits<Sample>::quiet_NaN();
}

template <class Sample>
Sample Resampler::One(const PixelWindow<Sample>& window, double line, double sample) const {
  const PixelRect& rect = window.rect;
  // From the outer edge of the window's first pixel; not negative, or the point would lie outside the image.
  const double row = line - rect.row + 0.5;
  const double column = sample - rect.column + 0.5;
  // In an image of one row or column the half may be rounded up to the outer edge.
  const int r = std::min(static_cast<int>(row), rect.rows - 1);
  const int c = std::min(static_cast<int>(column), rect.columns - 1);
  const std::ptrdiff_t nearest = std::ptrdiff_t(r) * rect.columns + c;
  if (window.known != nullptr && window.known[nearest] == 0) return std::numeric_limits<Sample>::quiet_NaN();
  return kind_ == TResampling::Nearest ? window.pixels[nearest] : General(window, line, sample);
}

/// Points whose kernel lies within the window and meets only data.
template <class Sample, TResampling kKind>
void Resampler::RunInside(const PixelWindow<Sample>& window, std::size_t count, const double* line,
                          const double* sample, Sample* out) const {
  constexpr int kBefore = Radius(kKind) - 1;
  constexpr int kBehind = Radius(kKind);
  const PixelRect& rect = window.rect;
  const std::ptrdiff_t stride = rect.columns;
  const LanczosTable& table = TheLanczosTable();
  const Sample* const origin = window.pixels - kBefore * stride - kBefore;
  const double lastRow = rect.rows - kBehind;
  const double lastColumn = rect.columns - kBehind;
  for (std::size_t i = 0; i < count; ++i) {
    const double l = line[i] - rect.row;
    const double s = sample[i] - rect.column;
    if (l >= kBefore && s >= kBefore && l < lastRow && s < lastColumn) {
      const int row = static_cast<int>(l);
      const int column = static_cast<int>(s);
      const Sample* const pixels = origin + row * stride + column;
      if constexpr (kKind == TResampling::Cubic) {
        out[i] = Cubic4x4(pixels, stride, s - column, l - row);
      } else if constexpr (kKind == TResampling::Lanczos) {
        out[i] = Lanczos6x6(table, pixels, stride, s - column, l - row);
      } else {
        out[i] = Bilinear2x2(pixels, stride, s - column, l - row);
      }
    } else {
      out[i] = std::isnan(l) ? std::numeric_limits<Sample>::quiet_NaN() : One(window, line[i], sample[i]);
    }
  }
}

template <class Sample>
void Resampler::Run(const PixelWindow<Sample>& window, std::size_t count, const double* line, const double* sample,
                    Sample* out) const {
  if (window.known == nullptr && !wider_) {
    switch (kind_) {
      case TResampling::Bilinear:
        return RunInside<Sample, TResampling::Bilinear>(window, count, line, sample, out);
      case TResampling::Cubic:
        return RunInside<Sample, TResampling::Cubic>(window, count, line, sample, out);
      case TResampling::Lanczos:
        return RunInside<Sample, TResampling::Lanczos>(window, count, line, sample, out);
      case TResampling::Nearest:
        break;
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    out[i] = std::isnan(line[i]) ? std::numeric_limits<Sample>::quiet_NaN() : One(window, line[i], sample[i]);
  }
}

template void Resampler::Run(const PixelWindow<float>&, std::size_t, const double*, const double*, float*) const;
template void Resampler::Run(const PixelWindow<double>&, std::size_t, const double*, const double*, double*) const;

}  // namespace SatCommonUtils
