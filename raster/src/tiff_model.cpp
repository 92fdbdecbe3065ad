// The RPC tag of a TIFF file: TIFF revision 6.0 (1992), BigTIFF, and "RPCs in GeoTIFF" for the tag.

#include "tiff_model.h"

#include <cpl_vsi.h>

#include <cstdint>
#include <cstring>
#include <memory>

namespace SatCommonUtils {

namespace {

constexpr std::uint64_t kTag = 50844;
constexpr std::uint64_t kDouble = 12;
// Entries of a directory that are looked at: real ones have some dozens.
constexpr std::uint64_t kMaxEntries = 4096;

struct CloseFile {
  void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};

class TiffFile {
 public:
  explicit TiffFile(const std::string& path) : file_(VSIFOpenL(path.c_str(), "rb")) {}

  bool FindModel(double* numbers) {
    std::uint64_t mark = 0;
    std::uint64_t kind = 0;
    if (file_ == nullptr || !Number(0, 2, &mark) || (mark != 0x4949 && mark != 0x4D4D)) return false;
    big_endian_ = mark == 0x4D4D;
    if (!Number(2, 2, &kind) || (kind != 42 && kind != 43)) return false;
    const bool big = kind == 43;
    const int word = big ? 8 : 4;
    std::uint64_t directory = 0;
    std::uint64_t count = 0;
    if (!Number(big ? 8 : 4, word, &directory) || !Number(directory, big ? 8 : 2, &count)) return false;
    const std::uint64_t size = big ? 20 : 12;
    const std::uint64_t first = directory + (big ? 8 : 2);
    for (std::uint64_t i = 0; i < count && i < kMaxEntries; ++i) {
      const std::uint64_t entry = first + i * size;
      std::uint64_t tag = 0, type = 0, length = 0, place = 0;
      if (!Number(entry, 2, &tag)) return false;
      if (tag != kTag) continue;
      return Number(entry + 2, 2, &type) && type == kDouble && Number(entry + 4, word, &length) &&
             length == kTiffModelNumbers && Number(entry + 4 + word, word, &place) && Doubles(place, numbers);
    }
    return false;
  }

 private:
  bool Bytes(std::uint64_t at, void* bytes, std::size_t size) {
    return VSIFSeekL(file_.get(), at, SEEK_SET) == 0 && VSIFReadL(bytes, 1, size, file_.get()) == size;
  }

  // An unsigned number of `size` bytes in the file's order.
  std::uint64_t Decode(const unsigned char* bytes, int size) const {
    std::uint64_t number = 0;
    for (int i = 0; i < size; ++i) number = number << 8 | bytes[big_endian_ ? i : size - 1 - i];
    return number;
  }

  bool Number(std::uint64_t at, int size, std::uint64_t* number) {
    unsigned char bytes[8];
    if (!Bytes(at, bytes, static_cast<std::size_t>(size))) return false;
    *number = Decode(bytes, size);
    return true;
  }

  bool Doubles(std::uint64_t at, double* numbers) {
    unsigned char bytes[8 * kTiffModelNumbers];
    if (!Bytes(at, bytes, sizeof bytes)) return false;
    for (int i = 0; i < kTiffModelNumbers; ++i) {
      const std::uint64_t bits = Decode(bytes + 8 * i, 8);
      std::memcpy(numbers + i, &bits, sizeof bits);
    }
    return true;
  }

  std::unique_ptr<VSILFILE, CloseFile> file_;
  bool big_endian_ = false;
};

}  // namespace

bool ReadTiffModel(const std::string& path, double* numbers) { return TiffFile(path).FindModel(numbers); }

}  // namespace SatCommonUtils
