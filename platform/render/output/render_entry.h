#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/render/output/renderer.h"

namespace platform {

/// `openRenderer`, as the render module exports it under `kRenderEntry`.
using RenderEntry = void(const std::filesystem::path& bundle,
                         const std::filesystem::path& systemFonts,
                         std::expected<std::unique_ptr<Renderer>, std::string>& result);
inline constexpr const char* kRenderEntry = "glanceryOpenRenderer";

}  // namespace platform
