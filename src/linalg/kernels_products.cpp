#include <algorithm>

#include "linalg/kernels.h"
#include "linalg/packing.h"
#include "linalg/simd.h"
#include "linalg/tile.h"

namespace SatCommonUtils::kernels {

namespace {

// Terms of the sums that are packed at a time: a panel of them fits the first cache.
constexpr std::size_t kInnerBlock = 128;
// Columns that are packed at a time: a block of them fits the second cache. A multiple of every panel.
constexpr std::size_t kColumnBlock = 1536;
// Rows that a share of a triangle consists of; a multiple of every tile's rows.
constexpr std::size_t kShareRows = 8;
// The widest panel, of which all others are divisors.
constexpr std::size_t kWidestPanel = TTileShape<8>::kPanel;
// Below so many multiplications packing does not pay.
constexpr std::size_t kSmallProduct = 2000;

std::size_t RoundedUp(std::size_t count, std::size_t unit) { return (count + unit - 1) / unit * unit; }

double Element(const TFactor& factor, std::size_t k, std::size_t i) {
  if (factor.transposed) return factor.rows[i][k];
  const double value = factor.rows[k][i];
  return factor.weights == nullptr ? value : value * factor.weights[k];
}

double WithTerm(TTerm term, double product, const double* weights, std::size_t k) {
  if (term == TTerm::Times) return product * weights[k];
  if (term == TTerm::Divided) return product / weights[k];
  return product;
}

bool IsSmall(const TProduct& product) {
  return product.inner * product.rows * product.columns < kSmallProduct || product.inner == 0;
}

// The plain loops, for products that are over before anything is packed.
void MultiplySmall(const TProduct& product, TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    std::fill_n(c[i], product.columns, 0.0);
    for (std::size_t k = 0; k < product.inner; ++k) {
      const double factor = Element(product.x, k, i);
      for (std::size_t j = 0; j < product.columns; ++j) {
        c[i][j] += WithTerm(product.term, factor * Element(product.y, k, j), product.weights, k);
      }
    }
  }
}

// Whether the rows from `row` on, up to the next multiple of kShareRows, are the share's. Going forth and back over
// the threads evens out that upper rows are longer.
bool IsOfShare(const TShare& share, std::size_t row) {
  const std::size_t group = row / kShareRows;
  const std::size_t place = group % share.threads;
  return share.thread == ((group / share.threads) % 2 == 0 ? place : share.threads - 1 - place);
}

// The blocked product. Of the rows in `range` those of the share are made, from the diagonal on when `upper`.
template <TTerm Term>
struct TBlockedProduct {
  const TProduct& product;
  TRange range;
  TShare share;
  bool upper;
  TRows c;
  double* y_panels;
  double* x_panel;

  template <int Width>
  [[gnu::always_inline]] void Run() const {
    for (std::size_t j = 0; j < product.columns; j += kColumnBlock) {
      const TRange columns{j, std::min(j + kColumnBlock, product.columns)};
      for (std::size_t k = 0; k < product.inner; k += kInnerBlock) {
        Block<Width>(columns, {k, std::min(k + kInnerBlock, product.inner)});
      }
    }
  }

  // Adds the terms of `inner` to the sums of `columns`.
  template <int Width>
  [[gnu::always_inline]] void Block(TRange columns, TRange inner) const {
    constexpr std::size_t kPanel = TTileShape<Width>::kPanel;
    constexpr std::size_t kRows = TTileShape<Width>::kRows;
    const std::size_t terms = inner.last - inner.first;
    for (std::size_t j = columns.first; j < columns.last; j += kPanel) {
      PackPanel<Width>(product.y, inner, {j, std::min(j + kPanel, columns.last)}, YPanel(columns, terms, j));
    }
    for (std::size_t i = range.first; i < range.last; i += kPanel) {
      if (upper && i >= columns.last) break;
      const double* const x = XPanel<Width>(columns, inner, i);
      const std::size_t last = std::min(i + kPanel, range.last);
      for (std::size_t row = i; row < last; row += kRows) {
        if (upper && !IsOfShare(share, row)) continue;
        Strip<Width>(columns, inner, {row, std::min(row + kRows, last)}, x + (row - i));
      }
    }
  }

  double* YPanel(TRange columns, std::size_t terms, std::size_t j) const {
    return y_panels + (j - columns.first) * terms;
  }

  // The packed factors of the rows from `i` on: a panel of y where both are the same.
  template <int Width>
  [[gnu::always_inline]] const double* XPanel(TRange columns, TRange inner, std::size_t i) const {
    constexpr std::size_t kPanel = TTileShape<Width>::kPanel;
    const bool same = upper && product.x.rows == product.y.rows && product.x.weights == product.y.weights;
    if (same && i >= columns.first) return YPanel(columns, inner.last - inner.first, i);
    PackPanel<Width>(product.x, inner, {i, std::min(i + kPanel, range.last)}, x_panel);
    return x_panel;
  }

  // One tile of rows over all columns of the block.
  template <int Width>
  [[gnu::always_inline]] void Strip(TRange columns, TRange inner, TRange rows, const double* x) const {
    constexpr std::size_t kPanel = TTileShape<Width>::kPanel;
    const std::size_t terms = inner.last - inner.first;
    // From the vector on that holds the diagonal.
    const std::size_t first = upper && rows.first > columns.first ? rows.first / Width * Width : columns.first;
    for (std::size_t j = (first - columns.first) / kPanel * kPanel + columns.first; j < columns.last; j += kPanel) {
      const std::size_t begin = std::max(j, first);
      const double* const y = YPanel(columns, terms, j) + (begin - j);
      const TRange tile_columns{begin, std::min(j + kPanel, columns.last)};
      switch ((tile_columns.last - begin + Width - 1) / Width) {
        case 1:
          Tile<Width, 1>(inner, rows, tile_columns, x, y);
          break;
        case 2:
          Tile<Width, 2>(inner, rows, tile_columns, x, y);
          break;
        default:
          Tile<Width, TTileShape<Width>::kVectors>(inner, rows, tile_columns, x, y);
      }
    }
  }

  // One tile; at the edges of the result by way of a whole one.
  template <int Width, std::size_t Vectors>
  [[gnu::always_inline]] void Tile(TRange inner, TRange rows, TRange columns, const double* x, const double* y) const {
    constexpr std::size_t kRows = TTileShape<Width>::kRows;
    constexpr std::size_t kColumns = Vectors * Width;
    const std::size_t terms = inner.last - inner.first;
    const double* const w = Term == TTerm::Plain ? nullptr : product.weights + inner.first;
    const bool fresh = inner.first == 0;
    const std::size_t height = rows.last - rows.first;
    const std::size_t width = columns.last - columns.first;
    double* tile_rows[kRows];
    if (height == kRows && width == kColumns) {
      for (std::size_t r = 0; r < kRows; ++r) tile_rows[r] = c[rows.first + r] + columns.first;
      AddToTile<Width, Vectors, Term>(x, y, w, terms, tile_rows, fresh);
      return;
    }
    double whole[kRows][kColumns] = {};
    for (std::size_t r = 0; r < kRows; ++r) tile_rows[r] = whole[r];
    if (!fresh) {
      for (std::size_t r = 0; r < height; ++r) {
        for (std::size_t j = 0; j < width; ++j) whole[r][j] = c[rows.first + r][columns.first + j];
      }
    }
    AddToTile<Width, Vectors, Term>(x, y, w, terms, tile_rows, fresh);
    for (std::size_t r = 0; r < height; ++r) {
      for (std::size_t j = 0; j < width; ++j) c[rows.first + r][columns.first + j] = whole[r][j];
    }
  }
};

void RunBlocked(const TProduct& product, TRange range, TShare share, bool upper, TRows c, const TWorkspace& workspace) {
  double* const y = workspace.GetY();
  double* const x = workspace.GetX();
  switch (product.term) {
    case TTerm::Times:
      return simd::Dispatch(TBlockedProduct<TTerm::Times>{product, range, share, upper, c, y, x});
    case TTerm::Divided:
      return simd::Dispatch(TBlockedProduct<TTerm::Divided>{product, range, share, upper, c, y, x});
    default:
      return simd::Dispatch(TBlockedProduct<TTerm::Plain>{product, range, share, upper, c, y, x});
  }
}

}  // namespace

TWorkspace::TWorkspace(const TProduct& product)
    : TWorkspace(IsSmall(product) ? 0
                                  : std::min(product.inner, kInnerBlock) *
                                        std::min(RoundedUp(product.columns, kWidestPanel), kColumnBlock),
                 IsSmall(product) ? 0 : std::min(product.inner, kInnerBlock) * kWidestPanel) {}

TWorkspace::TWorkspace(std::size_t y_size, std::size_t x_size) : buffer_(y_size + x_size), x_offset_(y_size) {}

void Multiply(const TProduct& product, TRange range, TRows c, const TWorkspace& workspace) {
  if (IsSmall(product)) return MultiplySmall(product, range, c);
  RunBlocked(product, range, {}, false, c, workspace);
}

void MultiplyUpper(const TProduct& product, TShare share, TRows c, const TWorkspace& workspace) {
  if (!IsSmall(product)) return RunBlocked(product, {0, product.rows}, share, true, c, workspace);
  if (share.thread == 0) MultiplySmall(product, {0, product.rows}, c);
}

void MirrorUpper(TRange range, TRows c) {
  for (std::size_t i = range.first; i < range.last; ++i) {
    for (std::size_t j = 0; j < i; ++j) c[i][j] = c[j][i];
  }
}

void MultiplySymmetric(const TProduct& product, TRows c) {
  MultiplyUpper(product, {}, c, TWorkspace(product));
  MirrorUpper({0, product.rows}, c);
}

}  // namespace SatCommonUtils::kernels
