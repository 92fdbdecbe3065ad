// Pages: HTML put together as text. Everything that comes from outside goes through HtmlText; a content security policy
// lets nothing run and nothing load but the page's own script and style, which are named by their hashes.

#include "report/page.h"

#include <cmath>

#include "frame/zxstd/encoding.h"
#include "report/fixed_digits.h"
#include "report/page_assets.h"
#include "version.h"

namespace orbmath_tool {

namespace {

const char* ToneClass(PageTone tone) {
  switch (tone) {
    case PageTone::Second:
      return " class=\"second\"";
    case PageTone::Bad:
      return " class=\"bad\"";
    default:
      return "";
  }
}

std::string Element(const char* name, const std::string& text) {
  return std::string("<") + name + ">" + HtmlText(text) + "</" + name + ">\n";
}

std::string ColumnLabel(const PageColumn& column) {
  return HtmlText(column.unit.empty() ? column.title : column.title + ", " + column.unit);
}

const char* KindName(PageColumn::Kind kind) {
  switch (kind) {
    case PageColumn::Kind::Number:
      return "number";
    case PageColumn::Kind::Choice:
      return "choice";
    default:
      return "text";
  }
}

std::string HeadOf(const PageTable& table) {
  std::string html = "<thead role=\"rowgroup\"><tr role=\"row\">";
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    const PageColumn& column = table.columns[i];
    html += std::string("<th role=\"columnheader\" scope=\"col\" data-kind=\"") + KindName(column.kind) + "\"";
    if (table.sorted_column == i) html += " aria-sort=\"descending\"";
    html += "><span>" + HtmlText(column.title);
    if (!column.unit.empty()) html += " <small>" + HtmlText(column.unit) + "</small>";
    html += "</span></th>";
  }
  return html + "</tr></thead>\n";
}

/// Narrow screens show a row as a card; its cells then carry their columns' names. Roles keep the table a table there.
std::string BodyOf(const PageTable& table) {
  std::vector<std::string> opened;
  for (const PageColumn& column : table.columns) {
    const char* const style = column.kind == PageColumn::Kind::Number ? "number"
                              : column.kind == PageColumn::Kind::Text ? "words"
                                                                      : "choice";
    opened.push_back(opened.empty() ? "<th role=\"rowheader\" scope=\"row\">"
                                    : std::string("<td role=\"cell\" class=\"") + style + "\" data-label=\"" +
                                          ColumnLabel(column) + "\">");
  }
  std::string html = "<tbody role=\"rowgroup\">\n";
  for (const PageTable::Row& row : table.rows) {
    html += std::string("<tr role=\"row\"") + ToneClass(row.tone) + ">";
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      html += opened[i] + HtmlText(row.cells[i]) + (i == 0 ? "</th>" : "</td>");
    }
    html += "</tr>\n";
  }
  return html + "</tbody>";
}

/// With more columns a table has smaller letters.
constexpr std::size_t kManyColumns = 10;

std::string TableHtml(const PageTable& table, const std::string& id) {
  std::string html = "<div class=\"table\"";
  if (table.sorts_and_filters) html += " data-sorts-and-filters";
  html += ">\n<table id=\"" + id + "\" role=\"table\"" +
          (table.columns.size() > kManyColumns ? " class=\"wide\"" : "") + ">\n" + Element("caption", table.caption);
  html += HeadOf(table) + BodyOf(table) + "</table>\n</div>\n";
  if (!table.note.empty()) html += "<p class=\"note\">" + HtmlText(table.note) + "</p>\n";
  return html;
}

}  // namespace

std::string HtmlText(std::string_view text) {
  std::string html;
  html.reserve(text.size());
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = SatCommonUtils::ZxUtf8Size(text.substr(at));
    const char c = text[at];
    const auto byte = static_cast<unsigned char>(c);
    if (length == 0 || (byte < 0x20 && c != '\n' && c != '\t') || byte == 0x7F) {
      html += "\ufffd";
    } else if (c == '<') {
      html += "&lt;";
    } else if (c == '>') {
      html += "&gt;";
    } else if (c == '&') {
      html += "&amp;";
    } else if (c == '"') {
      html += "&quot;";
    } else if (c == '\'') {
      html += "&#39;";
    } else {
      html += text.substr(at, length);
    }
    at += length == 0 ? 1 : length;
  }
  return html;
}

std::string PageNumber(double value, int digits) { return std::isfinite(value) ? Fixed(value, digits) : "none"; }

std::string PageCount(std::size_t count) {
  std::string text = std::to_string(count);
  for (std::size_t behind = 3; behind < text.size(); behind += 4) text.insert(text.size() - behind, ",");
  return text;
}

std::string FileName(const std::string& path) { return path.substr(path.rfind('/') + 1); }

Page::Page(std::string command, std::string title, std::string lead)
    : command_(std::move(command)), title_(std::move(title)), lead_(std::move(lead)) {
  // Sentences of results begin with small letters, since messages go on with them.
  if (!lead_.empty() && lead_.front() >= 'a' && lead_.front() <= 'z')
    lead_.front() = static_cast<char>(lead_.front() - 'a' + 'A');
}

void Page::Section(const std::string& title) {
  const std::string id = "section-" + std::to_string(++sections_);
  contents_ += "<li><a href=\"#" + id + "\">" + HtmlText(title) + "</a></li>\n";
  if (sections_ > 1) body_ += "</section>\n";
  body_ += "<section aria-labelledby=\"" + id + "\">\n<h2 id=\"" + id + "\">" + HtmlText(title) + "</h2>\n";
}

void Page::Paragraph(const std::string& text) { body_ += Element("p", text); }

void Page::Facts(const std::vector<PageFact>& facts) {
  body_ += "<dl>\n";
  for (const PageFact& fact : facts) {
    body_ += "<div><dt>" + HtmlText(fact.label) + "</dt><dd>" + HtmlText(fact.value) + "</dd></div>\n";
  }
  body_ += "</dl>\n";
}

void Page::Figures(const std::vector<PageFigure>& figures) {
  body_ += "<div class=\"figures\">\n";
  for (const PageFigure& figure : figures) AddFigure(figure);
  body_ += "</div>\n";
}

void Page::AddFigure(const PageFigure& figure) {
  const std::string id = "figure-" + std::to_string(++figures_);
  const PageDrawing& drawing = figure.drawing;
  body_ += "<figure>\n" + Element("h3", figure.title) + "<svg role=\"img\" aria-labelledby=\"" + id + "-title " + id +
           "-text\" viewBox=\"0 0 " + Fixed(drawing.width, 0) + " " + Fixed(drawing.height, 0) + "\">\n<title id=\"" +
           id + "-title\">" + HtmlText(drawing.title) + "</title>\n<desc id=\"" + id + "-text\">" +
           HtmlText(drawing.description) + "</desc>\n" + drawing.svg + "</svg>\n" +
           Element("figcaption", figure.caption);
  if (!figure.numbers.rows.empty()) {
    body_ += "<details><summary>Numbers<span class=\"unseen\">" + HtmlText(" of the figure: " + figure.title) +
             "</span></summary>\n" + TableHtml(figure.numbers, id + "-numbers") + "</details>\n";
  }
  body_ += "</figure>\n";
}

void Page::Table(const PageTable& table) { body_ += TableHtml(table, "table-" + std::to_string(++tables_)); }

std::string Page::Html() const {
  const std::string version = SatCommonUtils::GetOrbmathVersionText();
  const std::string policy = "default-src 'none'; img-src data:; style-src 'sha256-" + std::string(kPageStyleHash) +
                             "'; script-src 'sha256-" + std::string(kPageScriptHash) +
                             "'; base-uri 'none'; form-action 'none'";
  std::string html =
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"" +
      policy + "\">\n<meta name=\"generator\" content=\"orbmath " + version + "\">\n" + Element("title", title_) +
      "<link rel=\"icon\" href=\"data:,\">\n<style>";
  html += kPageStyle;
  html +=
      "</style>\n</head>\n<body>\n<a class=\"skip\" href=\"#content\">Skip to the content</a>\n<header>\n"
      "<p class=\"command\">orbmath " +
      HtmlText(command_) + "</p>\n" + Element("h1", title_) + "<p class=\"lead\">" + HtmlText(lead_) +
      "</p>\n<button type=\"button\" id=\"dark\" hidden>Dark</button>\n</header>\n<nav aria-label=\"Sections\"><ul>\n" +
      contents_ + "</ul></nav>\n<main id=\"content\" tabindex=\"-1\">\n" + body_ +
      (sections_ > 0 ? "</section>\n" : "") + "</main>\n<footer><p>Made by orbmath " + version +
      ". Angles are degrees, heights metres above the ellipsoid, image coordinates pixels.</p></footer>\n<script>";
  html += kPageScript;
  return html + "</script>\n</body>\n</html>\n";
}

}  // namespace orbmath_tool
