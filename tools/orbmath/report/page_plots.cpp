// Arrows over an image, and histograms. Elementary.

#include "report/page_plots.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "report/fixed_digits.h"
#include "report/page_scale.h"

namespace orbmath_tool {

namespace {

constexpr double kWidth = 440.0;
constexpr double kLeft = 58.0;
constexpr double kRight = 24.0;
constexpr double kTop = 52.0;
constexpr double kInner = kWidth - kLeft - kRight;

/// A stretch of one axis.
struct Stretch {
  double from = 0.0;
  double to = 1.0;

  void Take(double value) {
    if (!std::isfinite(value)) return;
    from = std::min(from, value);
    to = std::max(to, value);
  }
  double Size() const { return std::max(to - from, 1.0); }
  /// Adds a share of the size on both sides.
  void Widen(double share) {
    const double rim = share * Size();
    from -= rim;
    to += rim;
  }
};

/// What of image and points is seen, drawn as large as it goes.
class ImageFrame {
 public:
  explicit ImageFrame(const ArrowField& field)
      : lines{field.first_line, field.last_line}, samples{field.first_sample, field.last_sample} {
    constexpr double kLeastHeight = 120.0;
    constexpr double kMostHeight = 360.0;
    TakePoints(field);
    // Arrows at the rim point out of the image.
    lines.Widen(0.11);
    samples.Widen(0.11);
    scale_ = std::min(kInner / samples.Size(), kMostHeight / lines.Size());
    height = std::max(scale_ * lines.Size(), kLeastHeight);
    const auto fill = [&](Stretch* stretch, double room) {
      const double more = 0.5 * (room / scale_ - stretch->Size());
      stretch->from -= more;
      stretch->to += more;
    };
    fill(&lines, height);
    fill(&samples, kInner);
  }

  SvgPoint Place(double line, double sample) const {
    return {kLeft + (sample - samples.from) * scale_, kTop + (line - lines.from) * scale_};
  }

  Stretch lines;
  Stretch samples;
  double height = 0.0;
  bool is_part = false;  ///< of the image, where the points are

 private:
  /// Image and points, or the points' part of the image alone where that is a small one.
  void TakePoints(const ArrowField& field) {
    constexpr double kSmallPart = 0.3;
    constexpr double kNone = std::numeric_limits<double>::infinity();
    Stretch rows{kNone, -kNone};
    Stretch columns{kNone, -kNone};
    for (const ImageArrow& arrow : field.arrows) {
      rows.Take(arrow.line);
      columns.Take(arrow.sample);
    }
    if (!(rows.to >= rows.from && columns.to >= columns.from)) return;
    is_part = rows.Size() < kSmallPart * lines.Size() && columns.Size() < kSmallPart * samples.Size() &&
              field.arrows.size() > 1;
    if (is_part) {
      lines = rows;
      samples = columns;
      return;
    }
    for (const double line : {rows.from, rows.to}) lines.Take(line);
    for (const double sample : {columns.from, columns.to}) samples.Take(sample);
  }

  double scale_ = 1.0;
};

void DrawAxes(const ImageFrame& frame, Svg* svg) {
  const double bottom = kTop + frame.height;
  const double x_step = RoundStep(frame.samples.Size(), 5);
  for (const double sample : Multiples(frame.samples.from, frame.samples.to, x_step)) {
    const double x = frame.Place(0.0, sample).x;
    svg->Line("ticks", {x, bottom}, {x, bottom + 5.0});
    svg->Text("middle", {x, bottom + 18.0}, AxisLabel(sample, x_step));
  }
  const double y_step = RoundStep(frame.lines.Size(), std::max(2, static_cast<int>(frame.height / 50.0)));
  for (const double line : Multiples(frame.lines.from, frame.lines.to, y_step)) {
    const double y = frame.Place(line, 0.0).y;
    svg->Line("ticks", {kLeft - 5.0, y}, {kLeft, y});
    svg->Text("end", {kLeft - 8.0, y + 4.0}, AxisLabel(line, y_step));
  }
  svg->Text("end", {kLeft - 8.0, kTop - 12.0}, "line, px");
  svg->Text("end", {kWidth - kRight, bottom + 36.0}, "sample, px");
}

double LengthOf(const ImageArrow& arrow) { return std::hypot(arrow.line_offset, arrow.sample_offset); }

/// The length that becomes a tenth of the plot: almost the longest of those that are not bad.
double TypicalLength(const std::vector<ImageArrow>& arrows) {
  std::vector<double> lengths;
  std::vector<double> all;
  for (const ImageArrow& arrow : arrows) {
    const double length = LengthOf(arrow);
    if (!std::isfinite(length)) continue;
    all.push_back(length);
    if (arrow.tone != PageTone::Bad) lengths.push_back(length);
  }
  if (lengths.empty()) lengths = all;
  std::sort(lengths.begin(), lengths.end());
  const double typical = Quantile(lengths, 0.95);
  return typical > 0.0 ? typical : 0.0;
}

struct HistogramLayout {
  double top = 0.0;
  double height = 96.0;
  double x0 = kLeft + 22.0;  ///< where the classes begin; before it stands what lies below them
  double width = kInner - 44.0;
};

void DrawBars(const HistogramCounts& counts, const HistogramClasses& classes, double most, const HistogramLayout& at,
              const std::string& unit, Svg* svg) {
  const double base = at.top + at.height;
  const double wide = at.width / static_cast<double>(std::max<std::size_t>(classes.count, 1));
  const auto bar = [&](const char* style, double x, double width, std::size_t count, const std::string& where) {
    if (count == 0) return;
    // Even a single point among thousands stays visible.
    const double high = std::max(1.5, at.height * static_cast<double>(count) / most);
    svg->Rectangle(style, {x, base - high}, width, high, where + ": " + PageCount(count));
  };
  for (std::size_t i = 0; i < classes.count; ++i) {
    bar("bar", at.x0 + static_cast<double>(i) * wide, wide, counts.inside[i],
        AxisLabel(classes.Border(i), classes.width) + " to " + AxisLabel(classes.Border(i + 1), classes.width) + " " +
            unit);
  }
  bar("bar beyond", at.x0 - 18.0, 12.0, counts.below, "below");
  bar("bar beyond", at.x0 + at.width + 6.0, 12.0, counts.above, "above");
}

std::string BeyondText(const HistogramCounts& counts) {
  std::string text;
  if (counts.below > 0) text += PageCount(counts.below) + " below";
  if (counts.above > 0) text += (text.empty() ? "" : ", ") + PageCount(counts.above) + " above the axis";
  return text;
}

PageTable ClassTable(const std::vector<HistogramSeries>& series, const std::vector<HistogramCounts>& counts,
                     const HistogramClasses& classes, const std::string& unit, const std::string& counted) {
  PageTable table;
  table.caption = "How many " + counted + " by class";
  table.columns = {{"class", unit, PageColumn::Kind::Text}};
  for (const HistogramSeries& one : series) table.columns.push_back({one.name, counted});
  const auto add = [&](const std::string& name, const auto& count_of) {
    PageTable::Row row{{name}, PageTone::Plain};
    for (const HistogramCounts& one : counts) row.cells.push_back(PageCount(count_of(one)));
    table.rows.push_back(row);
  };
  const auto border = [&](std::size_t i) { return AxisLabel(classes.Border(i), classes.width); };
  add("below " + border(0), [](const HistogramCounts& one) { return one.below; });
  for (std::size_t i = 0; i < classes.count; ++i) {
    add(border(i) + " to " + border(i + 1), [&](const HistogramCounts& one) { return one.inside[i]; });
  }
  add("above " + border(classes.count), [](const HistogramCounts& one) { return one.above; });
  return table;
}

void DrawHistogramAxis(const HistogramClasses& classes, const HistogramLayout& at, double bottom,
                       const std::string& label, Svg* svg) {
  const double from = classes.Border(0);
  const double to = classes.Border(classes.count);
  // Ticks on borders of classes, as far as there is room.
  const double step = RoundStep(to - from, 5);
  for (const double value : Multiples(from, to, step)) {
    const double x = at.x0 + at.width * (value - from) / (to - from);
    svg->Line("ticks", {x, bottom}, {x, bottom + 5.0});
    svg->Text("middle", {x, bottom + 18.0}, AxisLabel(value, step));
  }
  svg->Text("end", {kWidth - kRight, bottom + 36.0}, label);
}

}  // namespace

PageFigure ArrowFigure(const std::string& title, const std::string& caption, const ArrowField& field) {
  PageFigure figure{title, {}, caption, {}};
  const ImageFrame frame(field);
  const double typical = TypicalLength(field.arrows);
  // Many arrows are shorter ones, down to two fifths, so that they do not lie on each other.
  const double crowd = static_cast<double>(std::max<std::size_t>(field.arrows.size(), 100)) / 100.0;
  const double room = std::max(1.0 / std::sqrt(crowd), 0.4) * kInner;
  const double enlarged = typical > 0.0 ? 0.1 * room / typical : 0.0;
  const double longest = 0.2 * room;

  Svg svg;
  const double more = svg.Key({}, field.names, {kLeft, 22.0}, kWidth);
  svg.BeginShift(more);
  const SvgPoint first = frame.Place(field.first_line, field.first_sample);
  const SvgPoint last = frame.Place(field.last_line, field.last_sample);
  DrawAxes(frame, &svg);
  const double bottom = kTop + frame.height + 40.0;
  svg.BeginClip({kLeft, kTop}, kInner, frame.height);
  svg.Rectangle("image", first, last.x - first.x, last.y - first.y);
  std::size_t cut = 0;
  for (const ImageArrow& arrow : field.arrows) {
    const double length = LengthOf(arrow) * enlarged;
    if (!std::isfinite(length) || !std::isfinite(arrow.line) || !std::isfinite(arrow.sample)) continue;
    const bool is_cut = length > longest;
    if (is_cut) ++cut;
    const double factor = is_cut ? enlarged * longest / length : enlarged;
    const SvgPoint from = frame.Place(arrow.line, arrow.sample);
    const SvgPoint to{from.x + factor * arrow.sample_offset, from.y + factor * arrow.line_offset};
    const std::string hint =
        arrow.name + ": line " + Fixed(arrow.line_offset, 4) + ", sample " + Fixed(arrow.sample_offset, 4) + " px";
    if (arrow.tone != PageTone::Plain || field.arrows.size() <= 300) {
      svg.Mark(arrow.tone, from, arrow.tone == PageTone::Plain ? 1.8 : 3.0, hint);
    }
    svg.Arrow(ToneSuffix(arrow.tone), from, to, is_cut, hint);
  }
  svg.EndClip();
  svg.Rectangle("frame", {kLeft, kTop}, kInner, frame.height);

  const double key = enlarged > 0.0 ? RoundLength(0.2 * kInner / enlarged) : 0.0;
  const std::string key_text = key > 0.0 ? AxisLabel(key, key) + " px" : "no arrow is longer than 0 px";
  if (key > 0.0) svg.Arrow(" key", {kLeft, bottom + 8.0}, {kLeft + key * enlarged, bottom + 8.0}, false, "");
  svg.Text("strong", {kLeft + key * enlarged + (key > 0.0 ? 8.0 : 0.0), bottom + 12.0}, key_text);
  svg.EndShift();
  if (frame.is_part) figure.caption += " Shown is the part of the image that has points.";
  if (cut > 0) {
    figure.caption += " " + PageCount(cut) + (cut == 1 ? " arrow is" : " arrows are") +
                      " much longer than the others and cut short, with a bar in the place of the head.";
  }
  figure.drawing = {kWidth, bottom + 28.0 + more, title,
                    PageCount(field.arrows.size()) + (field.arrows.size() == 1 ? " arrow" : " arrows") +
                        " over an image from line " + Fixed(field.first_line, 0) + " to " + Fixed(field.last_line, 0) +
                        " and sample " + Fixed(field.first_sample, 0) + " to " + Fixed(field.last_sample, 0) +
                        "; most are up to " + AxisLabel(typical, RoundStep(typical, 100)) + " pixels long.",
                    svg.Take()};
  return figure;
}

PageFigure HistogramFigure(const std::string& title, const std::string& caption,
                           const std::vector<HistogramSeries>& series, const std::string& unit, const std::string& name,
                           const std::string& counted) {
  std::vector<std::vector<double>> values;
  values.reserve(series.size());
  for (const HistogramSeries& one : series) values.push_back(one.values);
  const HistogramClasses classes = ClassesOf(values);
  std::vector<HistogramCounts> counts;
  std::size_t highest = 1;
  for (const HistogramSeries& one : series) {
    counts.push_back(CountsOf(one.values, classes));
    const HistogramCounts& last = counts.back();
    for (const std::size_t count : last.inside) highest = std::max(highest, count);
    highest = std::max({highest, last.below, last.above});
  }
  const double step = std::max(1.0, RoundStep(static_cast<double>(highest), 3));
  const double most = step * std::ceil(static_cast<double>(highest) / step);

  Svg svg;
  HistogramLayout at;
  at.top = 34.0;
  for (std::size_t i = 0; i < series.size(); ++i) {
    const double base = at.top + at.height;
    for (const double count : Multiples(0.0, most, step)) {
      const double y = base - at.height * count / most;
      svg.Line(count == 0.0 ? "ticks" : "grid", {kLeft, y}, {kWidth - kRight, y});
      svg.Text("end", {kLeft - 6.0, y + 4.0}, PageCount(static_cast<std::size_t>(count)));
    }
    DrawBars(counts[i], classes, most, at, unit, &svg);
    const double from = classes.Border(0);
    const double to = classes.Border(classes.count);
    if (from < 0.0 && to > 0.0) {
      const double x = at.x0 + at.width * -from / (to - from);
      svg.Line("zero", {x, at.top}, {x, base});
    }
    svg.Text("strong", {kLeft, at.top - 10.0}, series[i].name);
    svg.Text("end", {kWidth - kRight, at.top - 10.0}, BeyondText(counts[i]));
    at.top = base + 34.0;
  }
  const double bottom = at.top - 34.0;
  if (classes.count > 0) DrawHistogramAxis(classes, at, bottom, name + ", " + unit, &svg);
  PageFigure figure{title, {}, caption, ClassTable(series, counts, classes, unit, counted)};
  figure.drawing = {kWidth, bottom + 46.0, title,
                    "Histograms of " + PageCount(series.size()) + " series in " + PageCount(classes.count) +
                        " classes of " + AxisLabel(classes.width, classes.width) + " " + unit +
                        "; the fullest class has " + PageCount(highest) + " " + counted + ".",
                    svg.Take()};
  return figure;
}

}  // namespace orbmath_tool
