// Descriptions of a product that lie beside its model.

#include "rpc/forms/side_files.h"

#include "frame/zxstd/encoding.h"
#include "frame/zxstd/message.h"
#include "frame/zxstd/number_text.h"
#include "frame/zxstd/path.h"
#include "frame/zxstd/text.h"

namespace SatCommonUtils {

namespace RPCForms {

namespace {

// Folder with its slash, and the name behind it.
std::size_t NameBegin(const std::string& path) {
  const std::size_t slash = path.find_last_of("/\\");
  return slash == std::string::npos ? 0 : slash + 1;
}

// The content of the first of these files that is there.
bool ReadFirst(const std::vector<std::string>& paths, std::string* found, std::string* content) {
  for (const std::string& path : paths) {
    TZxFileStream file;
    TRPCFileError ignored;
    if (!file.Open(TZxPath(path), TZxOpenMode::Read) || !ReadContent(&file, content, &ignored)) continue;
    *found = path;
    return true;
  }
  return false;
}

// NAME.RPB has NAME.IMD, NAME_RPC.TXT has it too.
std::vector<std::string> ImdPaths(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  if (dot == std::string::npos || dot < NameBegin(path)) return {};
  std::string stem = path.substr(0, dot);
  if (stem.size() > 4 && toupper(stem.substr(stem.size() - 4)) == "_RPC") stem.resize(stem.size() - 4);
  return {stem + ".IMD", stem + ".imd"};
}

// The value of a PVL statement on a line of its own, quotes and semicolon off.
std::string_view StatementValue(std::string_view line, std::string_view* key) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  *key = Trimmed(line.substr(0, equals));
  std::string_view value = Trimmed(line.substr(equals + 1));
  if (!value.empty() && value.back() == ';') value = Trimmed(value.substr(0, value.size() - 1));
  if (value.size() > 1 && value.front() == '"' && value.back() == '"') value = value.substr(1, value.size() - 2);
  return value;
}

void AddImd(std::string_view content, TRPCFile* out) {
  for (std::string_view rest = ZxWithoutUtf8Mark(content); !rest.empty();) {
    std::string_view key;
    const std::string_view value = StatementValue(TakeLine(&rest), &key).substr(0, 64);
    int count = 0;
    if (value.empty()) continue;
    if (key == "satId" && out->extras.satelliteId.value_or("").empty()) out->extras.satelliteId = std::string(value);
    if (key == "bandId" && out->extras.bandId.value_or("").empty()) out->extras.bandId = std::string(value);
    if (key == "numRows" && ParseInt(value, &count) && count > 0) out->origin.rasterHeight = count;
    if (key == "numColumns" && ParseInt(value, &count) && count > 0) out->origin.rasterWidth = count;
    if (key == "firstLineTime" || (key == "TLCTime" && out->origin.acquisitionTime.empty())) {
      out->origin.acquisitionTime = std::string(value);
    }
  }
}

void AddDim(const std::string& content, const std::string& path, TRPCFile* out) {
  try {
    AddDimapProduct(XmlElements(content), out);
  } catch (const TZxMessage& message) {
    out->origin.notes.push_back(path + " beside it is damaged: " + message.GetText());
  }
}

}  // namespace

void AddSideFiles(const std::string& path, TRPCFile* out) {
  std::string found;
  std::string content;
  if (out->form == TRPCFileForm::RPB || out->form == TRPCFileForm::Text) {
    if (!ReadFirst(ImdPaths(path), &found, &content)) return;
    AddImd(content, out);
  } else if (out->form == TRPCFileForm::Dimap) {
    const std::size_t name = NameBegin(path);
    if (path.compare(name, 4, "RPC_") != 0) return;
    if (!ReadFirst({path.substr(0, name) + "DIM_" + path.substr(name + 4)}, &found, &content)) return;
    AddDim(content, found, out);
  } else {
    return;
  }
  out->origin.source += ", " + found;
}

}  // namespace RPCForms

}  // namespace SatCommonUtils
