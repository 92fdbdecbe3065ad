#pragma once
/// \file
/// A report to look at: one HTML file that needs nothing beside it, with sections of facts, figures and tables.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orbmath_tool {

/// Text as HTML and XML show it. Bytes that are not UTF-8, and control characters, become U+FFFD.
std::string HtmlText(std::string_view text);
/// A number with fixed digits, or "none" when it is not finite.
std::string PageNumber(double value, int digits);
/// "1,234,567"
std::string PageCount(std::size_t count);

/// The last part of a path, for headings.
std::string FileName(const std::string& path);

/// What a row, a mark or an outline means beside others. Pages never say it by colour alone.
enum class PageTone {
  Plain,
  Second,  ///< apart from the plain ones: check points, another image
  Bad
};

/// A column of a table.
struct PageColumn {
  enum class Kind {
    Text,
    Number,  ///< sorts by value
    Choice   ///< few different texts, which readers can choose from
  };

  std::string title;
  std::string unit;  ///< may be empty
  Kind kind = Kind::Number;
};

/// Rows of the longest table: more make a page slow, and nobody reads them.
constexpr std::size_t kMostTableRows = 500;

/// A table; the first column names its rows.
struct PageTable {
  struct Row {
    std::vector<std::string> cells;  ///< as many as there are columns
    PageTone tone = PageTone::Plain;
  };

  std::string caption;
  std::vector<PageColumn> columns;
  std::vector<Row> rows;
  std::string note;                          ///< a sentence below it, e.g. which rows are left out; may be empty
  bool sorts_and_filters = false;            ///< readers can
  std::optional<std::size_t> sorted_column;  ///< by which the rows stand, the largest first
};

/// A drawing in a coordinate system of its own, x to the right, y down.
struct PageDrawing {
  double width = 0.0;
  double height = 0.0;
  std::string title;        ///< what it shows, for those who cannot see it
  std::string description;  ///< what there is to see in it, for the same
  std::string svg;          ///< the elements inside <svg>
};

/// A drawing with words, and its numbers as a table that opens.
struct PageFigure {
  std::string title;
  PageDrawing drawing;
  std::string caption;  ///< how to read it
  PageTable numbers;    ///< no rows: the words below it say where they are
};

/// One line of a list of facts.
struct PageFact {
  std::string label;
  std::string value;
};

/// Collects a page from top to bottom. All texts are plain: the page escapes them. The same calls give the same bytes.
class Page {
 public:
  /// \param command e.g. "refine". \param title the heading. \param lead the result in a sentence.
  Page(std::string command, std::string title, std::string lead);

  /// Begins a section; what follows belongs to it.
  void Section(const std::string& title);
  void Paragraph(const std::string& text);
  void Facts(const std::vector<PageFact>& facts);
  /// Side by side where there is room.
  void Figures(const std::vector<PageFigure>& figures);
  void Table(const PageTable& table);

  /// The whole file.
  std::string Html() const;

 private:
  void AddFigure(const PageFigure& figure);

  std::string command_;
  std::string title_;
  std::string lead_;
  std::string contents_;  ///< the list of sections
  std::string body_;
  std::size_t sections_ = 0;
  std::size_t figures_ = 0;
  std::size_t tables_ = 0;
};

}  // namespace orbmath_tool
