// Start and stop of the library, and what it knows of its own file.

#include "frame/module.h"

#include <memory>
#include <mutex>
#include <new>

#include "frame/module_file.h"
#include "frame/sat_data_container/start_stop.h"
#include "transform/affine_2d_registration.h"

namespace SatCommonUtils {
namespace {

/// Present while the library's registrations are.
struct TRegistrationToken {};

/// The one record of the process.
struct TModule {
  std::mutex mutex;
  unsigned long long users = 0;
  std::string base_name = "Orbmath";
  std::string extension = "dll";
  TModuleFile file;
  TPathParts parts;
  std::unique_ptr<TRegistrationToken> token;
};

// Never destroyed: a host's static objects may stop the library while they go. It stands in memory that is there from
// the beginning, so that a start without free memory is counted, too.
TModule& Module() {
  alignas(TModule) static unsigned char place[sizeof(TModule)];
  static TModule* const module = new (place) TModule;
  return *module;
}

/// A start reports no failure: what there is no memory for stays empty, and is not registered.
void Start(TModule* module) {
  Init_SatDataContainer();
  try {
    module->file = FindOwnModule(module->base_name + "." + module->extension);
    module->parts = SplitPath(module->file.path);
  } catch (const std::bad_alloc&) {
    module->file = {};
    module->parts = {};
  }
  module->token.reset(new (std::nothrow) TRegistrationToken);
  if (module->token && !Register2DAffineTransform()) module->token.reset();
}

void Stop(TModule* module) {
  if (module->token) {
    Unregister2DAffineTransform();
    module->token.reset();
  }
  Deinit_SatDataContainer();
}

}  // namespace

void Init_Orbmath() {
  TModule& module = Module();
  const std::lock_guard<std::mutex> lock(module.mutex);
  if (module.users == 0) Start(&module);
  ++module.users;
}

void Deinit_Orbmath() {
  TModule& module = Module();
  const std::lock_guard<std::mutex> lock(module.mutex);
  if (module.users == 0 || --module.users > 0) return;
  Stop(&module);
}

TOrbmathModuleInfo GetOrbmathModuleInfo() {
  TModule& module = Module();
  const std::lock_guard<std::mutex> lock(module.mutex);
  TOrbmathModuleInfo info;
  info.users = module.users;
  info.path = module.file.path;
  info.directory = module.parts.directory;
  info.base_name = module.parts.base_name;
  info.extension = module.parts.extension;
  info.handle = module.file.handle;
  return info;
}

}  // namespace SatCommonUtils
