// Elements of SVG 1.1. Coordinates have one digit behind the point, a tenth of what a screen shows.

#include "report/page_svg.h"

#include <algorithm>
#include <cmath>

#include "report/fixed_digits.h"

namespace orbmath_tool {

namespace {

std::string Pair(SvgPoint point) { return Fixed(point.x, 1) + " " + Fixed(point.y, 1); }

std::string Closed(const char* element, const std::string& hint) {
  if (hint.empty()) return "/>\n";
  return "><title>" + HtmlText(hint) + "</title></" + element + ">\n";
}

std::string Attribute(const char* name, double value) {
  return std::string(" ") + name + "=\"" + Fixed(value, 1) + "\"";
}

std::string Path(const std::string& classes, const std::string& d, const std::string& hint) {
  return "<path class=\"" + classes + "\" d=\"" + d + "\"" + Closed("path", hint);
}

}  // namespace

const char* ToneSuffix(PageTone tone) {
  if (tone == PageTone::Plain) return "";
  return tone == PageTone::Second ? " second" : " bad";
}

void Svg::Line(const char* classes, SvgPoint from, SvgPoint to) {
  text_ += Path(classes, "M" + Pair(from) + "L" + Pair(to), "");
}

void Svg::Polygon(const std::string& classes, const std::vector<SvgPoint>& corners, const std::string& hint) {
  std::string d;
  for (const SvgPoint& corner : corners) d += (d.empty() ? "M" : "L") + Pair(corner);
  text_ += Path(classes, d + "Z", hint);
}

void Svg::Rectangle(const char* classes, SvgPoint corner, double width, double height, const std::string& hint) {
  text_ += std::string("<rect class=\"") + classes + "\"" + Attribute("x", corner.x) + Attribute("y", corner.y) +
           Attribute("width", width) + Attribute("height", height) + Closed("rect", hint);
}

void Svg::Circle(const char* classes, SvgPoint middle, double radius, const std::string& hint) {
  text_ += std::string("<circle class=\"") + classes + "\"" + Attribute("cx", middle.x) + Attribute("cy", middle.y) +
           Attribute("r", radius) + Closed("circle", hint);
}

void Svg::Text(const char* classes, SvgPoint at, const std::string& text) {
  text_ += std::string("<text class=\"") + classes + "\"" + Attribute("x", at.x) + Attribute("y", at.y) + ">" +
           HtmlText(text) + "</text>\n";
}

void Svg::Mark(PageTone tone, SvgPoint at, double size, const std::string& hint) {
  const std::string classes = std::string("mark") + ToneSuffix(tone);
  if (tone == PageTone::Plain) {
    Circle(classes.c_str(), at, size, hint);
    return;
  }
  const SvgPoint low{at.x - size, at.y - size};
  const SvgPoint high{at.x + size, at.y + size};
  if (tone == PageTone::Second) {
    Rectangle(classes.c_str(), low, 2.0 * size, 2.0 * size, hint);
  } else {
    text_ += Path(classes,
                  "M" + Pair(low) + "L" + Pair(high) + "M" + Pair({low.x, high.y}) + "L" + Pair({high.x, low.y}), hint);
  }
}

void Svg::Arrow(const std::string& classes, SvgPoint from, SvgPoint to, bool cut, const std::string& hint) {
  std::string d = "M" + Pair(from) + "L" + Pair(to);
  const double length = std::hypot(to.x - from.x, to.y - from.y);
  // A shaft below a pixel shows as a dot, and has no direction that could be seen.
  if (length > 1.0) {
    const double along = cut ? 0.0 : std::min(6.0, 0.5 * length);
    const double across = cut ? 5.0 : 0.45 * along;
    const SvgPoint unit{(to.x - from.x) / length, (to.y - from.y) / length};
    const SvgPoint foot{to.x - along * unit.x, to.y - along * unit.y};
    d += "M" + Pair({foot.x - across * unit.y, foot.y + across * unit.x}) + "L" + Pair(to) + "L" +
         Pair({foot.x + across * unit.y, foot.y - across * unit.x});
  }
  text_ += Path("arrow" + classes, d, hint);
}

double Svg::Key(const ToneNames& outlines, const ToneNames& marks, SvgPoint at, double right) {
  constexpr double kCharacter = 6.8;  // of the widest of usual fonts, so that names never meet
  constexpr double kRow = 18.0;
  const SvgPoint start = at;
  const auto add = [&](PageTone tone, const std::string& name, bool mark) {
    if (name.empty()) return;
    const double width = 16.0 + kCharacter * static_cast<double>(name.size());
    if (at.x > start.x && at.x + width > right) at = {start.x, at.y + kRow};
    if (mark) {
      Mark(tone, {at.x + 4.0, at.y - 4.2}, 3.5, "");
    } else {
      Rectangle((std::string("outline") + ToneSuffix(tone)).c_str(), {at.x, at.y - 9.0}, 9.0, 9.0);
    }
    Text("strong", {at.x + 13.0, at.y}, name);
    at.x += width + 14.0;
  };
  for (const bool mark : {false, true}) {
    const ToneNames& names = mark ? marks : outlines;
    add(PageTone::Plain, names.plain, mark);
    add(PageTone::Second, names.second, mark);
    add(PageTone::Bad, names.bad, mark);
  }
  return at.y - start.y;
}

void Svg::BeginShift(double down) { text_ += "<g transform=\"translate(0 " + Fixed(down, 0) + ")\">\n"; }

void Svg::BeginClip(SvgPoint corner, double width, double height) {
  // A drawing inside the drawing shows nothing beyond its edges; its coordinates stay those of the outer one.
  text_ += "<svg class=\"inner\"" + Attribute("x", corner.x) + Attribute("y", corner.y) + Attribute("width", width) +
           Attribute("height", height) + " viewBox=\"" + Pair(corner) + " " + Fixed(width, 1) + " " + Fixed(height, 1) +
           "\">\n";
}

}  // namespace orbmath_tool
