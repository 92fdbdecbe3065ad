#pragma once
/// \file
/// Elements of a drawing, in the classes that the pages' style gives colours to.

#include <string>
#include <utility>
#include <vector>

#include "report/page.h"

namespace orbmath_tool {

/// A place in a drawing.
struct SvgPoint {
  double x = 0.0;
  double y = 0.0;
};

/// What each tone stands for; an empty one is not in the key.
struct ToneNames {
  std::string plain;
  std::string second;
  std::string bad;
};

/// Collects elements. A `hint`, where there is one, is what shows under the pointer.
class Svg {
 public:
  void Line(const char* classes, SvgPoint from, SvgPoint to);
  void Polygon(const std::string& classes, const std::vector<SvgPoint>& corners, const std::string& hint);
  void Rectangle(const char* classes, SvgPoint corner, double width, double height, const std::string& hint = "");
  void Circle(const char* classes, SvgPoint middle, double radius, const std::string& hint = "");
  void Text(const char* classes, SvgPoint at, const std::string& text);
  /// A disc, a square or a cross, as the tone is.
  void Mark(PageTone tone, SvgPoint at, double size, const std::string& hint);
  /// An arrow, with a bar in the place of its head when it has been cut short.
  void Arrow(const std::string& classes, SvgPoint from, SvgPoint to, bool cut, const std::string& hint);
  /// Pieces of outlines and marks with their names, in rows from `at` to `right`. \return the height of all rows but
  /// the first.
  double Key(const ToneNames& outlines, const ToneNames& marks, SvgPoint at, double right);
  /// Moves what follows down, until `EndShift`.
  void BeginShift(double down);
  void EndShift() { text_ += "</g>\n"; }

  /// Puts what follows into a group that shows only within a box, until `EndClip`.
  void BeginClip(SvgPoint corner, double width, double height);
  void EndClip() { text_ += "</svg>\n"; }

  std::string Take() { return std::move(text_); }

 private:
  std::string text_;
};

/// " second", " bad" or nothing: the class that a tone adds.
const char* ToneSuffix(PageTone tone);

}  // namespace orbmath_tool
