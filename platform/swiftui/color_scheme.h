#pragma once

#include <cstdint>

namespace platform {

enum class ColorScheme : std::uint8_t { light, dark };

}  // namespace platform
