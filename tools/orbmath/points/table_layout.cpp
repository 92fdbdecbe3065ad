// Names of columns, separators, and the headers of tables.

#include "points/table_layout.h"

#include <algorithm>

#include "points/field_text.h"
#include "points/json_members.h"

namespace orbmath_tool {

namespace columns {

namespace {

TableColumn Text(const std::string& name, const std::vector<std::string>& others) {
  TableColumn column{name, others, false};
  column.is_text = true;
  return column;
}

std::vector<std::string> Joined(std::vector<std::string> names, const std::string& last) {
  names.push_back(last);
  return names;
}

TableColumn Angle(const std::string& name, const std::vector<std::string>& others, Quantity quantity) {
  TableColumn column{name, others};
  column.quantity = quantity;
  return column;
}

}  // namespace

const TableColumn kLat = Angle("lat", {"latitude", "latdeg", "latitudedeg", "phi", "y"}, Quantity::Latitude);
const TableColumn kLon =
    Angle("lon", {"longitude", "londeg", "longitudedeg", "long", "longdeg", "lng", "lambda", "x"}, Quantity::Longitude);
const TableColumn kHeight{"height",
                          {"heightm", "h", "hgt", "hm", "hae", "ellipsoidalheight", "heightellipsoid", "alt", "altm",
                           "altitude", "elevation", "elev", "z", "zm"}};
const TableColumn kLine{"line", {"row", "linepx", "rowpx", "lin", "imagey", "imgy", "ypx", "pixely"}};
const TableColumn kSample{"sample", {"samp", "column", "col", "samplepx", "colpx", "imagex", "imgx", "xpx", "pixelx"}};
const TableColumn kMeasuredLine{"measured_line", {"measuredrow"}};
const TableColumn kMeasuredSample{"measured_sample", {"measuredcolumn", "measuredcol", "measuredsamp"}};
const TableColumn kSigma{"sigma", {"sigmapx", "sigmapixel", "sigmapixels"}, false, 1.0};
const TableColumn kId = Text("id", {"point", "pointid", "pointname", "name", "label", "gcp", "gcpid", "pt", "station"});
const TableColumn kImage = Text("image", {"imageid", "imagename", "img", "photo", "scene", "model"});
const TableColumn kRole = Text("role", {"use", "kind"});
const TableColumn kLineOrY{"line", Joined(kLine.other_names, "y")};
const TableColumn kSampleOrX{"sample", Joined(kSample.other_names, "x")};
const TableColumn kEast{"x", {"east", "easting", "e", "xm", "utmx"}};
const TableColumn kNorth{"y", {"north", "northing", "n", "ym", "utmy"}};

}  // namespace columns

namespace {

constexpr std::size_t kNone = static_cast<std::size_t>(-1);
/// Columns of a file beyond this one are not looked at.
constexpr std::size_t kMostColumns = 1000;
/// Names that have to be known among words that may be something else than a header.
constexpr std::size_t kEnoughNames = 2;

/// Counts `mark` outside of quotes.
std::size_t CountOf(std::string_view line, char mark) {
  std::size_t count = 0;
  bool inside = false;
  for (const char c : line) {
    inside = inside != (c == '"');
    if (c == mark && !inside) ++count;
  }
  return count;
}

/// What stands between the fields of a line of names.
Separator SeparatorOfNames(std::string_view line) {
  if (CountOf(line, ';') > 0) return Separator::Semicolon;
  if (CountOf(line, ',') > 0) return Separator::Comma;
  return CountOf(line, '\t') > 0 ? Separator::Tab : Separator::Blanks;
}

/// What stands between the fields of a row. \param fields how many it should have, 0: unknown. Between numbers tabs are
/// blanks like others, unless they alone make the right number of fields.
Separator SeparatorOfRow(std::string_view line, std::size_t fields) {
  if (CountOf(line, ';') > 0) return Separator::Semicolon;
  if (CountOf(line, ',') > 0) return Separator::Comma;
  const std::size_t tabs = CountOf(line, '\t');
  return tabs > 0 && tabs + 1 == fields ? Separator::Tab : Separator::Blanks;
}

/// True when a line has fields with something in them, and none of them is a number. Names may end in a separator with
/// nothing behind it.
bool IsWords(const std::vector<std::string>& fields) {
  const auto is_number = [](const std::string& field) {
    const InputColumn any{"", std::nullopt, Quantity::Latitude, true};
    double value = 0.0;
    std::string reason;
    return !field.empty() && ReadNumber(field, any, &value, &reason);
  };
  return std::any_of(fields.begin(), fields.end(), [](const std::string& field) { return !field.empty(); }) &&
         std::none_of(fields.begin(), fields.end(), is_number);
}

/// The place of a column among names that are not `taken`; its own name counts before others.
std::size_t Find(const TableColumn& column, const std::vector<std::string>& keys, const std::vector<bool>& taken) {
  const auto place = [&](const std::string& key) {
    for (std::size_t i = 0; i < keys.size(); ++i) {
      if (!taken[i] && keys[i] == key) return i;
    }
    return kNone;
  };
  std::size_t found = place(KeyOfName(column.name));
  for (std::size_t i = 0; i < column.other_names.size() && found == kNone; ++i) found = place(column.other_names[i]);
  return found;
}

/// The wanted columns of a layout without fields.
TableLayout LayoutOf(const std::vector<TableColumn>& wanted, Separator separator) {
  TableLayout layout;
  layout.separator = separator;
  layout.wanted = wanted.size();
  layout.found.resize(wanted.size());
  for (const TableColumn& column : wanted) {
    // A text that need not be there stands in files with names only.
    const bool by_name_only = column.is_text && !column.required;
    InputColumn number{by_name_only ? "" : column.name, std::nullopt, column.quantity, column.may_be_missing};
    if (!column.required) number.fallback = column.fallback;
    layout.numbers.push_back(number);
    layout.texts.push_back(column.is_text ? column.name : "");
  }
  return layout;
}

TableLayout::Field FieldOf(const TableColumn& column, std::size_t target) {
  return {column.is_text ? TableLayout::Field::Kind::Text : TableLayout::Field::Kind::Number, target};
}

}  // namespace

std::string KeyOfName(std::string_view name) {
  std::string key;
  for (const char c : name.substr(0, name.find_first_of("(["))) {
    // Bytes of letters beyond ASCII are above a blank, whether `char` has a sign or not.
    if (static_cast<unsigned char>(c) <= ' ' || std::string_view("\"'_-.").find(c) != std::string_view::npos) continue;
    key += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return key;
}

std::vector<std::string> ColumnNames(std::string_view line) {
  std::vector<std::string> names = SplitRow(line, SeparatorOfNames(line));
  names.resize(std::min(names.size(), kMostColumns));
  return names;
}

TableLayout LayoutOfNames(const std::vector<TableColumn>& wanted, const std::vector<std::string>& names,
                          Separator separator, bool keep_others) {
  TableLayout layout = LayoutOf(wanted, separator);
  layout.more_allowed = true;
  layout.names = names;
  layout.fields.resize(names.size());
  std::vector<std::string> keys;
  keys.reserve(names.size());
  for (const std::string& name : names) keys.push_back(KeyOfName(name));
  std::vector<bool> taken(names.size());
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    const std::size_t place = Find(wanted[i], keys, taken);
    layout.found[i] = place != kNone;
    if (layout.found[i]) {
      taken[place] = true;
      layout.fields[place] = FieldOf(wanted[i], i);
      const bool twice = std::count(keys.begin(), keys.end(), keys[place]) > 1;
      if (twice && !wanted[i].is_text && layout.twice.empty()) layout.twice = names[place];
    } else if (wanted[i].required && layout.missing.empty()) {
      layout.missing = wanted[i].name;
      layout.hint = wanted[i].hint;
    }
  }
  for (std::size_t i = 0; i < names.size() && keep_others; ++i) {
    if (taken[i]) continue;
    layout.fields[i] = {TableLayout::Field::Kind::Text, layout.texts.size()};
    layout.texts.push_back(names[i].empty() ? "column" + std::to_string(i + 1) : names[i]);
  }
  // What stands behind the last column of use does not matter.
  while (!layout.fields.empty() && layout.fields.back().kind == TableLayout::Field::Kind::Ignored) {
    layout.fields.pop_back();
  }
  return layout;
}

TableLayout LayoutOfOrder(const std::vector<TableColumn>& wanted, Separator separator) {
  TableLayout layout = LayoutOf(wanted, separator);
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    if (wanted[i].is_text && !wanted[i].required) continue;
    layout.fields.push_back(FieldOf(wanted[i], i));
    layout.found[i] = true;
  }
  return layout;
}

std::string TableLayout::Problem() const {
  if (missing.empty()) {
    // A feature may have a property called as a coordinate is, which comes first.
    return twice.empty() || is_json ? "" : "two columns are called '" + twice + "'; name the columns with --columns";
  }
  return "these names have no column '" + missing + "'; name the columns with --columns" +
         (hint.empty() ? "" : ", or " + hint);
}

LayoutFinder::LayoutFinder(const std::vector<TableColumn>& wanted, std::vector<std::string> names, bool keep_others,
                           Header header)
    : wanted_(wanted), names_(std::move(names)), keep_others_(keep_others), header_(header) {}

std::size_t LayoutFinder::KnownAmong(const std::vector<std::string>& names) const {
  const TableLayout layout = LayoutOfNames(wanted_, names, Separator::Blanks, false);
  return static_cast<std::size_t>(std::count(layout.found.begin(), layout.found.end(), true));
}

void LayoutFinder::TakeFirstRecord(std::string_view line) {
  std::vector<JsonMember> members;
  std::string reason;
  const bool is_record = SplitRecord(line, &members, &reason);
  std::vector<std::string> names;
  names.reserve(members.size());
  for (const JsonMember& member : members) names.emplace_back(member.key);
  has_names_ = true;
  layout_ = LayoutOfNames(wanted_, names, Separator::Blanks, keep_others_);
  layout_.is_json = true;
  if (!is_record) layout_.hint = "see to its first record: " + reason;
}

bool LayoutFinder::Look(std::string_view text, bool is_json) {
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    std::string_view line = text.substr(begin, end - begin);
    begin = end + 1;
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string_view::npos) continue;
    if (is_json) {
      TakeFirstRecord(line);
      return true;
    }
    if (line[first] != '#') return TakeFirstLine(line);
    line.remove_prefix(std::min(line.find_first_not_of("# \t\r"), line.size()));
    if (KnownAmong(ColumnNames(line)) >= kEnoughNames && IsWords(ColumnNames(line))) comment_ = line;
  }
  return false;
}

bool LayoutFinder::TakeFirstLine(std::string_view line) {
  const std::vector<std::string> words = ColumnNames(line);
  const bool is_header =
      IsWords(words) && (header_ == Header::Words || !names_.empty() || KnownAmong(words) >= kEnoughNames);
  has_names_ = true;
  starts_with_words_ = !is_header && IsWords(words);
  if (is_header) {
    header_line_ = line;
    layout_ = LayoutOfNames(wanted_, names_.empty() ? words : names_, SeparatorOfNames(line), keep_others_);
    return true;
  }
  const std::vector<std::string> in_comment = names_.empty() ? ColumnNames(comment_) : names_;
  const Separator separator = SeparatorOfRow(line, in_comment.size());
  if (!names_.empty() || (!comment_.empty() && in_comment.size() == SplitRow(line, separator).size())) {
    layout_ = LayoutOfNames(wanted_, in_comment, separator, keep_others_);
    return true;
  }
  has_names_ = false;
  layout_ = LayoutOfOrder(wanted_, separator);
  return true;
}

}  // namespace orbmath_tool
