// The registry of 2D transforms by name, and their XML form.

#include <map>
#include <mutex>
#include <stdexcept>
#include <utility>

#include "frame/zxstd/projective_transform.h"
#include "frame/zxstd/transform_2d.h"

namespace SatCommonUtils {

namespace {

constexpr const char* kNameKey = "ContentName";
constexpr const char* kContentSection = "Content";

struct Registry {
  std::mutex mutex;
  std::map<std::string, TZx2DTransform::TSerializer::TFactory> factories{
      {TProjectiveTransform::StaticGetContentName(), &TProjectiveTransform::CreateDefault}};
};

// Never destroyed: a host's static objects may unregister after the library's own are gone.
Registry& TheRegistry() {
  static Registry* const registry = new Registry;
  return *registry;
}

// Derived classes throw what they like from their content; bad memory apart, it becomes a message here.
template <class Operation>
void WithMessages(const Operation& operation) {
  try {
    operation();
  } catch (const std::runtime_error& error) {
    throw TZxMessage(error.what());
  }
}

}  // namespace

bool TZx2DTransform::TSerializer::RegisterName(const std::string& name, TFactory factory) {
  if (!factory) return false;
  Registry& registry = TheRegistry();
  const std::lock_guard<std::mutex> lock(registry.mutex);
  return registry.factories.emplace(name, std::move(factory)).second;
}

bool TZx2DTransform::TSerializer::UnregisterName(const std::string& name) {
  Registry& registry = TheRegistry();
  const std::lock_guard<std::mutex> lock(registry.mutex);
  return registry.factories.erase(name) > 0;
}

TZx2DTransform::TSerializer::TFactory TZx2DTransform::TSerializer::FindFactory(const std::string& name) {
  Registry& registry = TheRegistry();
  const std::lock_guard<std::mutex> lock(registry.mutex);
  const auto entry = registry.factories.find(name);
  return entry == registry.factories.end() ? TFactory() : entry->second;
}

var_a<TZx2DTransform*> TZx2DTransform::TSerializer::CreateN(const std::string& name) {
  // Outside the lock: a factory may use the registry.
  const TFactory factory = FindFactory(name);
  return factory ? factory() : nullptr;
}

var_a<TZx2DTransform*> TZx2DTransform::TSerializer::CreateE(const std::string& name) {
  var_a<TZx2DTransform*> transform = CreateN(name);
  if (!transform) throw TZxMessage("no 2D transform is registered under the name \"" + name + "\"");
  return transform;
}

void TZx2DTransform::TSerializer::SaveE(const TZx2DTransform& transform, TZxXIniWriter* writer,
                                        const std::string& key) {
  TZxXIniWriterSection section(writer, key);
  bool written = writer->WriteS(kNameKey, std::string(transform.GetContentName()));
  TZxXIniWriterSection content(writer, kContentSection);
  WithMessages([&] { transform.SaveContent(writer); });
  written = content.End() && written;
  if (!section.End() || !written) throw TZxMessage("the 2D transform \"" + key + "\" could not be written");
}

var_a<TZx2DTransform*> TZx2DTransform::TSerializer::LoadE(TZxXIniReader* reader, const std::string& key) {
  const TZxXIniSection section(reader, key);
  if (!section) throw TZxMessage("there is no section \"" + key + "\" with a 2D transform");
  var_a<TZx2DTransform*> transform = CreateE(reader->ReadKeyE<std::string>(kNameKey));
  const TZxXIniSection content(reader, kContentSection);
  if (!content) throw TZxMessage("the 2D transform \"" + key + "\" has no content");
  WithMessages([&] { transform->LoadContent(reader); });
  return transform;
}

var_a<TZx2DTransform*> TZx2DTransform::TSerializer::LoadN(TZxXIniReader* reader, const std::string& key) {
  try {
    return LoadE(reader, key);
  } catch (const TZxMessage&) {
    return nullptr;
  }
}

}  // namespace SatCommonUtils
