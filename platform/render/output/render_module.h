#pragma once

#include <expected>
#include <filesystem>
#include <memory>
#include <string>

#include "platform/render/output/renderer.h"

namespace platform {

/// `libglancery_render.so` beside the running program.
std::filesystem::path renderLibrary();

/// Opens the renderer of a bundle folder (its `Assets.xcassets`, its fonts by `UIAppFonts`), with
/// the system's typefaces from `systemFonts`. No other fonts of the machine are used, so that
/// images are the same everywhere. The error names the file at fault. Safe from any thread.
///
/// Loads `library` and keeps it loaded. The program itself links neither text nor drawing
/// libraries, so that commands that draw nothing start in a millisecond.
std::expected<std::unique_ptr<Renderer>, std::string> loadRenderer(
    const std::filesystem::path& bundle,
    const std::filesystem::path& systemFonts,
    const std::filesystem::path& library = renderLibrary());

}  // namespace platform

/// The only function that the library exports.
extern "C" void glanceryOpenRenderer(
    const std::filesystem::path& bundle,
    const std::filesystem::path& systemFonts,
    std::expected<std::unique_ptr<platform::Renderer>, std::string>& result);
