// Documents of sections and items: whatever the reader accepts, the writer writes so that it reads the same.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "frame/zxstd/message.h"
#include "frame/zxstd/stream.h"
#include "frame/zxstd/xini_reader.h"
#include "frame/zxstd/xini_writer.h"

namespace {

using SatCommonUtils::TZxMessage;
using SatCommonUtils::TZxStringStream;
using SatCommonUtils::TZxXIniSection;
using SatCommonUtils::TZxXIniStreamReader;
using SatCommonUtils::TZxXIniStreamWriter;

void Require(bool holds) {
  if (!holds) std::abort();
}

// Copies the current section. Of several sections of one name the reader can enter the first only.
void Copy(TZxXIniStreamReader* reader, TZxXIniStreamWriter* writer) {
  for (std::size_t i = 0; i < reader->GetCount(); ++i) {
    const std::string key = *reader->GetKey(i);
    const std::size_t found = reader->FindF(key, i);
    Require(found == i);
    reader->Read<int>(i, 0);
    reader->Read<unsigned long long>(i, 0);
    reader->Read<bool>(i, false);
    writer->SetSourceLine(reader->GetLine(i));
    if (const std::string* const text = reader->GetText(i)) {
      Require(writer->WriteS(key, *text));
      const double number = reader->Read<double>(i, 0.5);
      Require(writer->WriteS(key, number));
      continue;
    }
    const std::size_t depth = reader->GetDepth();
    {
      const TZxXIniSection section(reader, key);
      Require(static_cast<bool>(section) && reader->GetDepth() == depth + 1);
      writer->BeginSectionSE(key);
      // Sections of one name would otherwise grow without bound, one copy of the first for each of them.
      if (found == reader->FindF(key)) Copy(reader, writer);
      Require(writer->EndSection());
    }
    Require(reader->GetDepth() == depth);
  }
}

void Compare(TZxXIniStreamReader* copy, const TZxXIniStreamReader& original) {
  std::size_t j = 0;
  for (std::size_t i = 0; i < original.GetCount(); ++i, ++j) {
    Require(copy->GetKey(j) != nullptr && *copy->GetKey(j) == *original.GetKey(i));
    // Without a line of its own to hand on, a copy has that of its own text.
    Require(original.GetLine(i) == 0 || copy->GetLine(j) == original.GetLine(i));
    const std::string* const text = original.GetText(i);
    Require((text == nullptr) == (copy->GetText(j) == nullptr));
    if (text == nullptr) continue;
    Require(*copy->GetText(j) == *text);
    const double number = original.Read<double>(i, 0.5);
    const double again = copy->ReadE<double>(++j);
    Require(number == again || (number != number && again != again));
  }
  Require(j == copy->GetCount());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  TZxStringStream in(std::string(reinterpret_cast<const char*>(data), size));
  try {
    TZxXIniStreamReader reader(&in);
    TZxStringStream out;
    TZxXIniStreamWriter writer(&out);
    Copy(&reader, &writer);
    Require(writer.Close());
    TZxXIniStreamReader copy(&out);
    Compare(&copy, reader);
  } catch (const TZxMessage&) {
    // Not a document.
  }
  return 0;
}
