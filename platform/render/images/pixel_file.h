#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/render/images/picture.h"

namespace platform {

// Files of pre-rendered pixels: a drawing at one scale, mapped and drawn from without copying.
//
// 48 bytes of header, then the rows; numbers in the machine's byte order. The header has the
// checksum of the drawing, so that pixels of a replaced drawing are not used.

/// `flame@3x.pixels` for `flame.svg` at scale 3, beside it.
std::filesystem::path pixelFileFor(const std::filesystem::path& drawing, int scale);

/// Maps the file. Nothing if there is no file, or if it was made from a drawing with another
/// checksum. The error names a damaged file.
std::expected<std::optional<Picture>, std::string> openPixelFile(const std::filesystem::path& file,
                                                                 std::uint64_t drawingChecksum);

/// Replaces the file in one step; processes that have mapped the old one keep it. `picture` is the
/// drawing at `scale` pixels a point.
std::expected<void, std::string> writePixelFile(const std::filesystem::path& file,
                                                std::uint64_t drawingChecksum,
                                                int scale,
                                                const Picture& picture);

}  // namespace platform
