#pragma once

#include <cstdint>
#include <expected>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/render/images/picture.h"

namespace platform {

/// Which drawing a file of ready pixels was made from, so that pixels of a drawing that has been
/// replaced since are not taken for the new one's.
struct DrawingIdentity {
  std::uint32_t bytes = 0;
  std::uint32_t checksum = 0;
  friend bool operator==(const DrawingIdentity&, const DrawingIdentity&) = default;
};
DrawingIdentity identify(std::string_view drawing);

/// Ready pixels of a drawing at one scale, in a file that is mapped and drawn from without copying.
///
/// 48 bytes of header, then the rows; numbers in the machine's byte order.
struct PixelFile {
  DrawingIdentity drawing;
  int scale = 1;
  Picture picture;
};

/// `flame@3x.pixels` for `flame.svg` at scale 3, beside it.
std::filesystem::path pixelFileFor(const std::filesystem::path& drawing, int scale);

/// Maps the file; nothing if there is none. The error names a damaged one.
std::expected<std::optional<PixelFile>, std::string> openPixelFile(
    const std::filesystem::path& file);

/// Replaces the file in one step: who has mapped the old one keeps it.
std::expected<void, std::string> writePixelFile(const std::filesystem::path& file,
                                                const PixelFile& content);

}  // namespace platform
