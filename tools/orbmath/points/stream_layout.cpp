// From the front of a file to its layout, and the names of what travels.

#include "points/stream_layout.h"

#include <algorithm>

#include "errors.h"
#include "points/field_text.h"

namespace orbmath_tool {

namespace {

/// Whether a layout says nothing that the order of the columns does not say.
bool IsPlain(const LayoutFinder& finder) {
  const TableLayout& layout = finder.Layout();
  if (layout.is_json || layout.separator == Separator::Semicolon || !finder.HeaderLine().empty()) return false;
  if (!finder.HasNames()) return true;
  if (layout.fields.size() != layout.numbers.size() || layout.texts.size() > layout.wanted) return false;
  for (std::size_t i = 0; i < layout.fields.size(); ++i) {
    if (layout.fields[i].kind != TableLayout::Field::Kind::Number || layout.fields[i].target != i) return false;
  }
  return true;
}

}  // namespace

StreamLayouts::StreamLayouts(const std::vector<TableColumn>& input, const std::vector<OutputColumn>& output,
                             const std::string& names)
    : input_(input), output_(output), names_(ColumnNames(names)) {
  if (!names.empty()) {
    const TableLayout layout = LayoutOfNames(input, names_, Separator::Comma, false);
    if (!layout.missing.empty()) {
      throw UsageError("--columns names no column '" + layout.missing + "'" +
                       (layout.hint.empty() ? "" : "; " + layout.hint));
    }
  }
  StreamLayout plain;
  plain.numbers.columns = LayoutOfOrder(input, Separator::Blanks).numbers;
  plain_ = std::make_shared<const StreamLayout>(std::move(plain));
  StartFile(0);
}

void StreamLayouts::StartFile(std::size_t number) {
  file_ = number;
  current_ = nullptr;
  finder_.emplace(input_, names_, true, LayoutFinder::Header::KnownNames);
}

std::shared_ptr<const StreamLayout> StreamLayouts::Make(const LayoutFinder& finder) const {
  if (IsPlain(finder)) return plain_;
  StreamLayout layout;
  layout.plain = false;
  layout.table = finder.Layout();
  layout.travellers.first = layout.table.wanted;
  layout.travellers.is_json = layout.table.is_json;
  for (std::size_t i = layout.table.wanted; i < layout.table.texts.size(); ++i) {
    const std::string& name = layout.table.texts[i];
    const bool taken =
        name == "input_line" || name == "error" || name == "comment" ||
        std::any_of(output_.begin(), output_.end(), [&](const auto& column) { return column.name == name; });
    layout.travellers.names.push_back(taken ? "given_" + name : name);
  }
  layout.header_comment = "#";
  for (const OutputColumn& column : output_) layout.header_comment += " " + column.name;
  for (const std::string& name : layout.travellers.names) layout.header_comment += " " + name;
  return std::make_shared<const StreamLayout>(std::move(layout));
}

std::shared_ptr<const StreamLayout> StreamLayouts::For(const LineSource& source, std::size_t line, CharBuffer* block,
                                                       std::optional<std::size_t>* header) {
  if (source.Number() != file_) StartFile(source.Number());
  if (current_ != nullptr) return current_;
  if (!finder_->Look(block->view(), source.IsJson())) return plain_;
  std::size_t place = 0;
  if (!finder_->HeaderLine().empty()) {
    char* const front = block->data() + (finder_->HeaderLine().data() - block->view().data());
    place = static_cast<std::size_t>(std::count(block->data(), front, '\n'));
    *header = place;
    *front = '#';
  }
  const std::string problem = finder_->Layout().Problem();
  if (!problem.empty()) throw Failure(source.Name() + ":" + std::to_string(line + place) + ": " + problem);
  if (finder_->StartsWithWords()) {
    const std::string& hint = input_.front().hint;
    Note(source.Name() + ": if the first line holds the names of columns, they are not known here: --columns says " +
         "which is which, in the words " + NamesOf(finder_->Layout().numbers) + (hint.empty() ? "" : "; " + hint));
  }
  current_ = Make(*finder_);
  return current_;
}

void ParseBlock(std::string_view text, const StreamLayout& layout, LineBlock* block) {
  layout.plain ? ParseLines(text, layout.numbers, block) : ParseRows(text, layout.table, block);
}

}  // namespace orbmath_tool
