// Reading images through GDAL: values as floating-point numbers, and which of them are data.

#include "image_source.h"

#include <algorithm>
#include <cmath>
#include <type_traits>

namespace SatCommonUtils {

namespace {

bool HoldsExactly(GDALDataType type) {
  return type == GDT_Byte || type == GDT_UInt16 || type == GDT_Int16 || type == GDT_Float32 || type == GDT_CInt16 ||
         type == GDT_CFloat32;
}

bool IsFloating(GDALDataType type) { return GDALDataTypeIsFloating(type) != 0; }

template <class Sample>
CPLErr ReadValues(GDALRasterBand* band, const ImageLayer& layer, const PixelRect& rect, Sample* pixels) {
  constexpr bool kSingle = std::is_same_v<Sample, float>;
  if (!layer.complex) {
    return band->RasterIO(GF_Read, rect.column, rect.row, rect.columns, rect.rows, pixels, rect.columns, rect.rows,
                          kSingle ? GDT_Float32 : GDT_Float64, 0, 0, nullptr);
  }
  std::vector<Sample> both(2 * rect.Count());
  const CPLErr read = band->RasterIO(GF_Read, rect.column, rect.row, rect.columns, rect.rows, both.data(), rect.columns,
                                     rect.rows, kSingle ? GDT_CFloat32 : GDT_CFloat64, 0, 0, nullptr);
  for (std::size_t i = 0; i < rect.Count(); ++i) pixels[i] = both[2 * i + std::size_t(layer.part)];
  return read;
}

}  // namespace

bool ImageSource::Open(const std::string& path, std::string* error) {
  const GdalSession session;
  dataset_ = OpenRaster(path, false);
  if (dataset_ == nullptr || dataset_->GetRasterCount() < 1) {
    *error = path + ": " + (dataset_ == nullptr ? "cannot be opened as an image" : "has no bands") +
             (session.LastError().empty() ? "" : " (" + session.LastError() + ")");
    return false;
  }
  for (int number = 1; number <= dataset_->GetRasterCount(); ++number) {
    GDALRasterBand* const band = dataset_->GetRasterBand(number);
    ImageLayer layer;
    layer.band = number;
    layer.type = band->GetRasterDataType();
    layer.complex = GDALDataTypeIsComplex(layer.type) != 0;
    layer.alpha = band->GetColorInterpretation() == GCI_AlphaBand;
    layer.masked = !layer.alpha && (band->GetMaskFlags() & GMF_ALL_VALID) == 0;
    hasAlpha_ = hasAlpha_ || layer.alpha;
    hasPalette_ = hasPalette_ || band->GetColorTable() != nullptr;
    narrow_ = narrow_ && HoldsExactly(layer.type);
    for (layer.part = 0; layer.part < (layer.complex ? 2 : 1); ++layer.part) layers_.push_back(layer);
  }
  return true;
}

template <class Sample>
bool ImageSource::Read(const ImageLayer& layer, const PixelRect& rect, std::vector<Sample>* pixels,
                       std::vector<std::uint8_t>* known, std::string* error) {
  const GdalSession session;
  pixels->resize(rect.Count());
  known->clear();
  CPLErr read;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    GDALRasterBand* const band = dataset_->GetRasterBand(layer.band);
    read = ReadValues(band, layer, rect, pixels->data());
    if (read == CE_None && layer.masked) {
      known->resize(rect.Count());
      read = band->GetMaskBand()->RasterIO(GF_Read, rect.column, rect.row, rect.columns, rect.rows, known->data(),
                                           rect.columns, rect.rows, GDT_Byte, 0, 0, nullptr);
    }
  }
  if (read != CE_None) {
    *error = std::string(dataset_->GetDescription()) + ": cannot be read (" + session.LastError() + ")";
    return false;
  }
  if (layer.alpha) {
    // The colours' mask: a kernel that made some alpha beside it would show colours that are not there.
    known->resize(rect.Count());
    for (std::size_t i = 0; i < known->size(); ++i) (*known)[i] = (*pixels)[i] != Sample(0) ? 255 : 0;
  }
  if (IsFloating(layer.type)) {
    const auto isNaN = [](Sample value) { return std::isnan(value); };
    if (known->empty() && std::any_of(pixels->begin(), pixels->end(), isNaN)) known->assign(rect.Count(), 255);
    for (std::size_t i = 0; i < known->size(); ++i) {
      if (isNaN((*pixels)[i])) (*known)[i] = 0;
    }
  }
  if (std::find(known->begin(), known->end(), std::uint8_t(0)) == known->end()) known->clear();
  return true;
}

template bool ImageSource::Read(const ImageLayer&, const PixelRect&, std::vector<float>*, std::vector<std::uint8_t>*,
                                std::string*);
template bool ImageSource::Read(const ImageLayer&, const PixelRect&, std::vector<double>*, std::vector<std::uint8_t>*,
                                std::string*);

}  // namespace SatCommonUtils
