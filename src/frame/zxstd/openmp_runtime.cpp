// Keeps the OpenMP runtime in memory. Its idle threads wait inside its code; a host that unloads this library, where
// nothing else uses the runtime, would take that code away from under them. Only the runtime stays: this library itself
// can go.
#if !defined(_WIN32) && !defined(ORBMATH_STATIC)

#include <dlfcn.h>
#include <omp.h>

namespace {

/// Asks the loader, when this library is loaded, never to unload the file that holds the runtime.
bool KeepRuntime() noexcept {
  Dl_info info;
  if (dladdr(reinterpret_cast<void*>(&omp_get_max_threads), &info) == 0 || info.dli_fname == nullptr) return false;
  return dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE) != nullptr;
}

[[maybe_unused]] const bool runtime_stays = KeepRuntime();

}  // namespace

#endif
