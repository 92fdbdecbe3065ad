#pragma once
// The pixels of an image, window by window.

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "gdal_session.h"
#include "image_coordinates.h"

namespace SatCommonUtils {

/// What is resampled on its own: a band, or one part of a band of complex numbers.
struct ImageLayer {
  int band = 1;
  int part = 0;  ///< 0, 1: of complex numbers
  bool complex = false;
  GDALDataType type = GDT_Byte;  ///< of the band
  bool masked = false;           ///< some pixels may have no data
  bool alpha = false;            ///< says by itself where there are data: not where it is 0
};

/// An image that is open for reading. One thread at a time reads; others wait.
class ImageSource {
 public:
  /// \return false, and why, when it cannot be opened or has no bands.
  bool Open(const std::string& path, std::string* error);

  GDALDataset* Dataset() const noexcept { return dataset_.get(); }
  int Width() const { return dataset_->GetRasterXSize(); }
  int Height() const { return dataset_->GetRasterYSize(); }
  const std::vector<ImageLayer>& Layers() const noexcept { return layers_; }
  bool HasAlpha() const noexcept { return hasAlpha_; }
  bool HasPalette() const noexcept { return hasPalette_; }
  /// Whether all bands have values that single precision holds exactly.
  bool IsNarrow() const noexcept { return narrow_; }

  /// Pixels of a layer. \param pixels resized to the rectangle. \param known the same, or left empty when all pixels
  /// there have data.
  template <class Sample>
  bool Read(const ImageLayer& layer, const PixelRect& rect, std::vector<Sample>* pixels,
            std::vector<std::uint8_t>* known, std::string* error);

 private:
  DatasetHandle dataset_;
  std::vector<ImageLayer> layers_;
  bool hasAlpha_ = false;
  bool hasPalette_ = false;
  bool narrow_ = true;
  std::mutex mutex_;
};

}  // namespace SatCommonUtils
