// Adjusted models and refinement sections: what loads can be used, and saving and loading it again gives the same
// bytes.

#include "refine/adjusted_rpc.h"

#include <cstdint>
#include <cstdlib>
#include <string>

#include "frame/zxstd/message.h"
#include "frame/zxstd/stream.h"

using namespace SatCommonUtils;

namespace {

void Require(bool condition) {
  if (!condition) std::abort();
}

template <class Object>
std::string Saved(const Object& object) {
  TZxStringStream stream;
  TZxXIniStreamWriter writer(&stream);
  Require(object.SaveToXML(&writer) && writer.Close());
  return stream.GetString();
}

/// Calls `load(reader)` on a document, when it is one.
template <class Load>
void WithReader(const std::string& xml, const Load& load) {
  try {
    TZxStringStream stream(xml);
    TZxXIniStreamReader reader(&stream);
    load(&reader);
  } catch (const TZxMessage&) {
    // no document, or no model
  }
}

void CheckRefinement(const std::string& xml) {
  WithReader(xml, [](TZxXIniReader* reader) {
    const auto refinement = CreateRefinementFromXMLE(reader);
    Require(static_cast<bool>(*refinement));
    const std::string saved = Saved(*refinement);
    bool loaded = false;
    WithReader(saved, [&](TZxXIniReader* again) {
      Require(Saved(*CreateRefinementFromXMLE(again)) == saved);
      loaded = true;
    });
    Require(loaded);
    Require(Saved(*CreateRefinementCopyE(*refinement)) == saved);
    Require(CreateRefinementDataFromXMLN(reader)->type == refinement->GetType());
  });
}

void CheckModel(const std::string& xml) {
  WithReader(xml, [](TZxXIniReader* reader) {
    const TAdjustedRPC model(reader);
    const std::string saved = Saved(model);
    bool loaded = false;
    WithReader(saved, [&](TZxXIniReader* again) {
      Require(Saved(TAdjustedRPC(again)) == saved);
      loaded = true;
    });
    Require(loaded);
    double line, sample, lat, lon, d_line[3], d_sample[3];
    model.CalculateLineSample(43.6, 1.4, 200.0, &line, &sample, d_line, d_sample);
    model.CalculateLatLon(7000.0, 6000.0, 200.0, &lat, &lon);
  });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string xml(reinterpret_cast<const char*>(data), size);
  CheckRefinement(xml);
  CheckModel(xml);
  return 0;
}
