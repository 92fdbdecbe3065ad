// The form of the file: MapInfo Data Interchange Format, appendix of the MapInfo Professional user guide.

#include "geometry/polygon_mif.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string_view>
#include <utility>

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/text.h"

namespace SatCommonUtils {
namespace {

constexpr std::size_t kLongestFile = std::size_t{1} << 30;
constexpr std::string_view kLineEnds = "\r\n";
constexpr std::string_view kSeparators = " \t\r\n,";

/// The TRANSFORM of a header: a factor and a shift for each axis; 0 stands for "none".
struct Transform {
  std::array<double, 4> values{};

  double Apply(double value, std::size_t axis) const {
    if (values[axis] != 0.0) value *= values[axis];
    if (values[axis + 2] != 0.0) value += values[axis + 2];
    return value;
  }
};

/// Walks a MIF by lines in the header and between objects, and by words within an object.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(ZxWithoutUtf8Mark(text)) {}

  bool AtEnd() const { return rest_.empty(); }
  std::size_t GetRest() const { return rest_.size(); }

  /// The first word of the line in upper case, empty when there is none on this line.
  std::string Keyword() {
    SkipWhile(" \t");
    const std::size_t length = std::min(rest_.find_first_of(" \t\r\n,("), rest_.size());
    // No keyword is that long: what is longer is not worth a copy.
    std::string word = toupper(std::string(rest_.substr(0, std::min<std::size_t>(length, 32))));
    rest_.remove_prefix(length);
    return word;
  }

  /// Moves to the start of the next line.
  void SkipLine() {
    rest_.remove_prefix(std::min(rest_.find_first_of(kLineEnds), rest_.size()));
    if (rest_.substr(0, 2) == "\r\n") {
      rest_.remove_prefix(2);
    } else if (!rest_.empty()) {
      rest_.remove_prefix(1);
    }
  }

  /// A whole word that is a finite number.
  bool Number(double* value) {
    const std::string_view word = Word();
    return ParseDouble(word, value) && std::isfinite(*value);
  }

  /// A whole word that is a count of things which take at least `least` bytes each of what is left.
  bool Count(std::size_t least, std::size_t* count) {
    unsigned long long value = 0;
    if (!ParseUnsigned(Word(), &value)) return false;
    // The last thing may end with the text, one separator short.
    if (value > (rest_.size() + 1) / least) return false;
    *count = static_cast<std::size_t>(value);
    return true;
  }

 private:
  void SkipWhile(std::string_view characters) {
    rest_.remove_prefix(std::min(rest_.find_first_not_of(characters), rest_.size()));
  }

  std::string_view Word() {
    SkipWhile(kSeparators);
    const std::string_view word = rest_.substr(0, rest_.find_first_of(kSeparators));
    rest_.remove_prefix(word.size());
    return word;
  }

  std::string_view rest_;
};

/// Reads up to and with the DATA line. False when there is none.
bool ReadHeader(Scanner* scanner, Transform* transform) {
  for (; !scanner->AtEnd(); scanner->SkipLine()) {
    const std::string keyword = scanner->Keyword();
    if (keyword == "DATA") {
      scanner->SkipLine();
      return true;
    }
    if (keyword == "TRANSFORM") {
      for (double& value : transform->values) {
        if (!scanner->Number(&value)) return false;
      }
    } else if (keyword == "COLUMNS") {
      // The names of columns are free: "Data" may be one.
      std::size_t count = 0;
      if (!scanner->Count(1, &count)) return false;
      for (; count > 0; --count) scanner->SkipLine();
    }
  }
  return false;
}

bool ReadRing(Scanner* scanner, const Transform& transform, TPolygon* ring) {
  // A vertex is at least "0 0" and a separator.
  std::size_t count = 0;
  if (!scanner->Count(4, &count)) return false;
  std::vector<xy_d> vertices(count);
  for (xy_d& vertex : vertices) {
    if (!scanner->Number(&vertex.x) || !scanner->Number(&vertex.y)) return false;
    vertex = {transform.Apply(vertex.x, 0), transform.Apply(vertex.y, 1)};
  }
  if (count > 1 && vertices.front() == vertices.back()) vertices.pop_back();
  ring->SetVertices(std::move(vertices));
  return true;
}

bool ReadRegion(Scanner* scanner, const Transform& transform, std::vector<TPolygon>* rings) {
  // A ring is at least its count and a separator.
  std::size_t count = 0;
  if (!scanner->Count(2, &count)) return false;
  for (; count > 0; --count) {
    TPolygon ring;
    if (!ReadRing(scanner, transform, &ring)) return false;
    rings->push_back(std::move(ring));
  }
  return true;
}

/// A polygon that a REGION can hold.
bool IsWritable(const TPolygon& polygon) {
  const std::vector<xy_d>& vertices = polygon.GetVertices();
  return polygon && std::all_of(vertices.begin(), vertices.end(),
                                [](const xy_d& v) { return std::isfinite(v.x) && std::isfinite(v.y); });
}

void AppendVertex(const xy_d& vertex, std::string* text) {
  *text += FormatDouble(vertex.x) + ' ' + FormatDouble(vertex.y) + '\n';
}

}  // namespace

const char* const kMifLongitudeLatitude = "Earth Projection 1, 104";

bool WriteMIF(TZxStream* stream, const std::vector<TPolygon>& polygons, const std::string& coord_sys) {
  if (stream == nullptr || !std::all_of(polygons.begin(), polygons.end(), IsWritable)) return false;
  if (coord_sys.find_first_of(kLineEnds) != std::string::npos) return false;
  std::string text = "Version 300\nCharset \"Neutral\"\nDelimiter \",\"\nCoordSys " + coord_sys +
                     "\nColumns 1\n  Id Integer\nData\n\n";
  for (const TPolygon& polygon : polygons) {
    const std::vector<xy_d>& vertices = polygon.GetVertices();
    text += "Region 1\n  " + std::to_string(vertices.size() + 1) + "\n";
    for (const xy_d& vertex : vertices) AppendVertex(vertex, &text);
    AppendVertex(vertices.front(), &text);
  }
  return stream->Write(text.data(), text.size()) == text.size();
}

bool ReadMIF(TZxStream* stream, std::vector<std::vector<TPolygon>>* regions) {
  std::string text;
  if (!ZxReadAll(stream, &text, kLongestFile)) return false;
  Scanner scanner(text);
  Transform transform;
  if (!ReadHeader(&scanner, &transform)) return false;
  std::vector<std::vector<TPolygon>> read;
  for (; !scanner.AtEnd(); scanner.SkipLine()) {
    if (scanner.Keyword() != "REGION") continue;
    read.emplace_back();
    if (!ReadRegion(&scanner, transform, &read.back())) return false;
  }
  *regions = std::move(read);
  return true;
}

bool TPolygon::SaveToMIF(TZxStream* stream) const { return WriteMIF(stream, {*this}); }

bool TPolygon::InitializeFromMIF(TZxStream* stream) {
  std::vector<std::vector<TPolygon>> regions;
  if (!ReadMIF(stream, &regions)) return false;
  for (std::vector<TPolygon>& rings : regions) {
    for (TPolygon& ring : rings) {
      if (!ring) continue;
      vertices_ = std::move(ring.vertices_);
      return true;
    }
  }
  return false;
}

}  // namespace SatCommonUtils
