// A process that loads a host of the library, uses it and unloads it, again and again: unload HOST LIBRARY_NAME. After
// each round the library must be gone from memory.
#include <dlfcn.h>

#include <cstdio>

int main(int count, char** arguments) {
  if (count != 3) return 2;
  for (int round = 0; round < 5; ++round) {
    void* const host = dlopen(arguments[1], RTLD_NOW);
    if (host == nullptr) {
      std::printf("%s\n", dlerror());
      return 1;
    }
    const auto use = reinterpret_cast<int (*)()>(dlsym(host, "UseOrbmath"));
    if (use == nullptr || use() != 0) return 1;
    if (dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD) == nullptr) {
      std::puts("the library is not there while it is in use: the check below would say nothing");
      return 1;
    }
    // Two handles: the host's, and the one that the question above has opened.
    void* const library = dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD);
    dlclose(library);
    dlclose(library);
    dlclose(host);
    if (dlopen(arguments[2], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
      std::puts("the library stays in memory after its host has gone");
      return 1;
    }
  }
  return 0;
}
