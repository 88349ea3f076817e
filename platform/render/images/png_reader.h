#pragma once

#include <expected>
#include <string>
#include <string_view>

#include "platform/render/images/picture.h"

namespace platform {

/// A PNG file's picture, of any colour type and depth; `scale` is its pixels a point. The error
/// says what is wrong with the bytes.
std::expected<Picture, std::string> readPNG(std::string_view bytes, double scale);

}  // namespace platform
