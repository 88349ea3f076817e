#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/render/output/renderer.h"

namespace platform {

/// `libglancery_render.so` beside the running program.
std::filesystem::path renderLibrary();

/// `openRenderer` out of that library, which is loaded now and kept: the program itself links
/// neither text nor drawing libraries, so that what needs no pictures starts in a millisecond.
///
/// The error says what is missing or names the file at fault.
std::expected<std::unique_ptr<Renderer>, std::string> loadRenderer(
    const std::filesystem::path& bundle,
    const std::filesystem::path& systemFonts,
    const std::filesystem::path& library = renderLibrary());

}  // namespace platform
