#include "platform/render/output/render_module.h"

#include "platform/support/files.h"
#include "platform/support/module_library.h"

namespace platform {

namespace fs = std::filesystem;

fs::path renderLibrary() {
  return programFolder() / "libglancery_render.so";
}

std::expected<std::unique_ptr<Renderer>, std::string> loadRenderer(const fs::path& bundle,
                                                                   const fs::path& systemFonts,
                                                                   const fs::path& library) {
  const auto entry = openModule(library, "glanceryOpenRenderer");
  if (!entry) {
    return std::unexpected(entry.error());
  }
  std::expected<std::unique_ptr<Renderer>, std::string> result;
  reinterpret_cast<decltype(glanceryOpenRenderer)*> (*entry)(bundle, systemFonts, result);
  return result;
}

}  // namespace platform
