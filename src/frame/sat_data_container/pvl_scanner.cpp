// The characters of a PVL text: blanks and comments between words, and the line that a fault is on.

#include "frame/sat_data_container/pvl_scanner.h"

#include <algorithm>

namespace SatCommonUtils {

namespace {

constexpr std::string_view kBlanks = " \t\r\n\v\f";
constexpr std::string_view kLineEnds = "\r\n";

}  // namespace

void PvlScanner::Restore(const Mark& mark) {
  position_ = mark.position;
  line_ = mark.line;
}

void PvlScanner::SkipBlanks() {
  for (;;) {
    const std::size_t next = std::min(text_.find_first_not_of(kBlanks, position_), text_.size());
    Advance(next - position_);
    if (StartsWith("/*")) {
      TakeThrough("*/", "the comment is not closed");
    } else if (Peek() == '#') {
      Advance(std::min(text_.find_first_of(kLineEnds, position_), text_.size()) - position_);
    } else {
      return;
    }
  }
}

void PvlScanner::SkipBlanksBeforeStatement() {
  for (SkipBlanks(); StartsWith("//"); SkipBlanks()) {
    Advance(std::min(text_.find_first_of(kLineEnds, position_), text_.size()) - position_);
  }
}

void PvlScanner::SkipUnit() {
  SkipBlanks();
  if (Peek() == '<') TakeThrough(">", "the unit is not closed");
}

bool PvlScanner::Take(char c) {
  if (AtEnd() || Peek() != c) return false;
  Advance(1);
  return true;
}

std::string_view PvlScanner::TakeWord(std::string_view stops) {
  std::size_t end = position_;
  while (end < text_.size() && kBlanks.find(text_[end]) == std::string_view::npos &&
         stops.find(text_[end]) == std::string_view::npos && text_.compare(end, 2, "/*") != 0) {
    ++end;
  }
  return Advance(end - position_);
}

std::string_view PvlScanner::TakeQuoted() {
  const std::string_view quote = text_.substr(position_, 1);
  const Mark begin = Save();
  Advance(1);
  const std::size_t end = text_.find(quote, position_);
  if (end == std::string_view::npos) throw PvlFault{begin.line, "the quoted text is not closed"};
  const std::string_view content = Advance(end - position_);
  Advance(1);
  return content;
}

std::string_view PvlScanner::Advance(std::size_t count) {
  const std::string_view passed = text_.substr(position_, count);
  for (std::size_t i = 0; i < passed.size(); ++i) {
    const bool lone_return = passed[i] == '\r' && text_.compare(position_ + i, 2, "\r\n") != 0;
    if (passed[i] == '\n' || lone_return) ++line_;
  }
  position_ += passed.size();
  return passed;
}

std::string_view PvlScanner::TakeThrough(std::string_view mark, const char* what) {
  const std::size_t found = text_.find(mark, position_);
  if (found == std::string_view::npos) throw PvlFault{line_, what};
  return Advance(found + mark.size() - position_);
}

}  // namespace SatCommonUtils
