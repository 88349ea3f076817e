#include "platform/render/output/render_entry.h"

#include <type_traits>

extern "C" __attribute__((visibility("default"))) void glanceryOpenRenderer(
    const std::filesystem::path& bundle,
    const std::filesystem::path& systemFonts,
    std::expected<std::unique_ptr<platform::Renderer>, std::string>& result) {
  static_assert(std::is_same_v<decltype(glanceryOpenRenderer), platform::RenderEntry>);
  result = platform::openRenderer(bundle, systemFonts);
}
