#include "platform/support/module_library.h"

#include <dlfcn.h>

namespace platform {

std::expected<void*, std::string> openModule(const std::filesystem::path& library,
                                             const char* function) {
  const auto failure = [&] {
    const char* reason = dlerror();
    return std::unexpected("can't load " + library.string() + ": " +
                           (reason ? reason : "unknown reason"));
  };
  // Lazy binding: a module calls few of the functions that it links.
  void* const module = dlopen(library.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
  if (!module) {
    return failure();
  }
  void* const address = dlsym(module, function);
  if (!address) {
    return failure();
  }
  return address;
}

}  // namespace platform
