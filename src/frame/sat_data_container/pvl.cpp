// From the statements of a PVL text (CCSDS 641.0-B-2) to sections and items.

#include "frame/sat_data_container/pvl.h"

#include <string_view>
#include <vector>

#include "frame/sat_data_container/pvl_scanner.h"
#include "frame/zxstd/encoding.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/quoted.h"
#include "frame/zxstd/text.h"
#include "frame/zxstd/xini_writer.h"

namespace SatCommonUtils {

namespace {

constexpr std::size_t kMaxNesting = 256;

// What ends a keyword and a value in a list, and what ends a value of its own.
constexpr std::string_view kWordStops = "=;,(){}<>\"'";
constexpr std::string_view kValueStops = "=;<";

bool IsQuote(char c) { return c == '"' || c == '\''; }

enum class Word { Keyword, BeginGroup, BeginObject, EndGroup, EndObject, End };

Word Classify(std::string_view word) {
  const std::string upper = toupper(std::string(word.substr(0, 16)));
  if (upper == "GROUP" || upper == "BEGIN_GROUP") return Word::BeginGroup;
  if (upper == "OBJECT" || upper == "BEGIN_OBJECT") return Word::BeginObject;
  if (upper == "END_GROUP") return Word::EndGroup;
  if (upper == "END_OBJECT") return Word::EndObject;
  if (upper == "END") return Word::End;
  return Word::Keyword;
}

// Reads statement after statement and writes what they say. Throws PvlFault.
class PvlConverter {
 public:
  PvlConverter(std::string_view text, TZxXIniStreamWriter* writer) : scanner_(text), writer_(writer) {}

  void Convert() {
    while (ConvertStatement()) {
    }
    if (!open_.empty()) {
      const Group& group = open_.back();
      throw PvlFault{group.line, "the group " + Quoted(group.name) + " is not closed"};
    }
    if (!any_) throw PvlFault{0, "there is no \"keyword = value\" in the text"};
  }

 private:
  struct Group {
    std::string name;
    Word end;
    std::size_t line;
  };

  // \return false at the end.
  bool ConvertStatement() {
    scanner_.SkipBlanksBeforeStatement();
    if (scanner_.Take(';')) return true;
    if (scanner_.AtEnd()) return false;
    const std::size_t line = scanner_.Line();
    writer_->SetSourceLine(line);
    const std::string keyword(scanner_.TakeWord(kWordStops));
    if (keyword.empty()) {
      throw PvlFault{line, Quoted(std::string(1, scanner_.Peek())) + " stands where a keyword is expected"};
    }
    const bool has_value = TakeEquals();
    const Word word = Classify(keyword);
    if (word == Word::End && !has_value) return false;
    if (word == Word::EndGroup || word == Word::EndObject) {
      EndGroup(word, has_value, line);
      return true;
    }
    if (!has_value) throw PvlFault{line, Quoted(keyword) + " is not followed by \"=\""};
    if (word == Word::BeginGroup || word == Word::BeginObject) {
      BeginGroup(word, keyword, line);
    } else if (!writer_->WriteS(keyword, TakeValue())) {
      throw PvlFault{0, "the XML text could not be written"};
    }
    any_ = true;
    return true;
  }

  bool TakeEquals() {
    scanner_.SkipBlanks();
    return scanner_.Take('=');
  }

  void BeginGroup(Word word, const std::string& keyword, std::size_t line) {
    const std::string name = TakeName();
    if (name.empty()) throw PvlFault{line, Quoted(keyword) + " has no name"};
    if (open_.size() >= kMaxNesting) throw PvlFault{line, "groups are nested too deeply"};
    writer_->BeginSectionSE(name);
    open_.push_back({name, word == Word::BeginGroup ? Word::EndGroup : Word::EndObject, line});
  }

  void EndGroup(Word word, bool has_name, std::size_t line) {
    const std::string name = has_name ? TakeName() : std::string();
    if (open_.empty()) throw PvlFault{line, "no group is open that could end here"};
    const Group& group = open_.back();
    if (word != group.end || (!name.empty() && toupper(name) != toupper(group.name))) {
      throw PvlFault{line, "the group that is open here is " + Quoted(group.name) + " of line " +
                               std::to_string(group.line) + ", which this does not end"};
    }
    writer_->EndSection();
    open_.pop_back();
  }

  // The name of a group. It stands on the line of its keyword, so that a missing one does not take the next statement.
  std::string TakeName() {
    const PvlScanner::Mark before = scanner_.Save();
    scanner_.SkipBlanks();
    if (scanner_.Line() != before.line) {
      scanner_.Restore(before);
      return std::string();
    }
    return std::string(IsQuote(scanner_.Peek()) ? scanner_.TakeQuoted() : scanner_.TakeWord(kWordStops));
  }

  std::string TakeValue() {
    const PvlScanner::Mark before = scanner_.Save();
    scanner_.SkipBlanks();
    const char first = scanner_.Peek();
    std::string value;
    if (first == '(' || first == '{') {
      value = TakeList();
    } else if (IsQuote(first)) {
      value = std::string(scanner_.TakeQuoted());
    } else if (scanner_.Line() != before.line && AtStatement()) {
      scanner_.Restore(before);
      return value;
    } else {
      value = TakeWords();
    }
    scanner_.SkipUnit();
    return value;
  }

  // True when a new statement begins here, and not a value.
  bool AtStatement() {
    const PvlScanner::Mark here = scanner_.Save();
    const Word word = Classify(scanner_.TakeWord(kWordStops));
    const bool equals = TakeEquals();
    scanner_.Restore(here);
    return equals || word == Word::End || word == Word::EndGroup || word == Word::EndObject;
  }

  // A value without quotes: strictly one word, but all words up to the end of the line or the next statement are taken.
  std::string TakeWords() {
    std::string value(scanner_.TakeWord(kValueStops));
    for (;;) {
      const PvlScanner::Mark before = scanner_.Save();
      scanner_.SkipBlanks();
      if (scanner_.Peek() == '=') throw PvlFault{scanner_.Line(), "a second \"=\" follows " + Quoted(value)};
      if (scanner_.Line() != before.line || scanner_.AtEnd() || AtStatement()) {
        scanner_.Restore(before);
        return value;
      }
      const std::string_view word = scanner_.TakeWord(kValueStops);
      if (word.empty()) return value;
      value.append(" ").append(word);
    }
  }

  // The values of a list, however nested, with commas between them.
  std::string TakeList() {
    const std::size_t line = scanner_.Line();
    std::string values;
    std::string closers;
    bool after_value = false;
    do {
      scanner_.SkipBlanks();
      const char c = scanner_.Peek();
      if (!closers.empty() && scanner_.Take(closers.back())) {
        closers.pop_back();
        scanner_.SkipUnit();
        after_value = true;
      } else if (scanner_.Take(',')) {
        values += ',';
        after_value = false;
      } else if (after_value || scanner_.AtEnd() || c == ';' || c == '=' || c == ')' || c == '}') {
        throw PvlFault{scanner_.Line(), "the list that begins in line " + std::to_string(line) +
                                            " is not closed, or a comma is missing in it"};
      } else if (scanner_.Take('(') || scanner_.Take('{')) {
        if (closers.size() >= kMaxNesting) throw PvlFault{scanner_.Line(), "lists are nested too deeply"};
        closers += c == '(' ? ')' : '}';
      } else {
        values += TakeElement();
        after_value = true;
      }
    } while (!closers.empty());
    return values;
  }

  std::string_view TakeElement() {
    const bool quoted = IsQuote(scanner_.Peek());
    const std::string_view element = quoted ? scanner_.TakeQuoted() : scanner_.TakeWord(kWordStops);
    if (!quoted && element.empty()) {
      throw PvlFault{scanner_.Line(), Quoted(std::string(1, scanner_.Peek())) + " stands where a value is expected"};
    }
    scanner_.SkipUnit();
    return element;
  }

  PvlScanner scanner_;
  TZxXIniStreamWriter* writer_;
  std::vector<Group> open_;
  bool any_ = false;
};

std::string_view WithoutByteOrderMark(std::string_view text) {
  const TZxTextEncoding encoding = ZxByteOrderMark(text);
  if (encoding == TZxTextEncoding::Utf16LittleEndian || encoding == TZxTextEncoding::Utf16BigEndian) {
    throw PvlFault{1, "the text is UTF-16, not UTF-8"};
  }
  return ZxWithoutUtf8Mark(text);
}

}  // namespace

bool PVLtoXML(TZxStream* in, TZxStream* out, TPVLError* error) {
  try {
    std::string pvl;
    if (out == nullptr || !ZxReadAll(in, &pvl)) throw PvlFault{0, "the stream cannot be read"};
    TZxStringStream xml;
    TZxXIniStreamWriter writer(&xml);
    PvlConverter(WithoutByteOrderMark(pvl), &writer).Convert();
    writer.Close();
    const std::string& text = xml.GetString();
    if (out->Write(text.data(), text.size()) != text.size()) throw PvlFault{0, "the XML text could not be written"};
    return true;
  } catch (const PvlFault& fault) {
    if (error != nullptr) *error = {fault.line, fault.text};
  } catch (const TZxMessage& message) {
    if (error != nullptr) *error = {0, message.GetText()};
  }
  return false;
}

}  // namespace SatCommonUtils
