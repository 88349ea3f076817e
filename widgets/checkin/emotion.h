#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "platform/foundation/data/raw_representable.h"
#include "store/shared_store.h"

namespace glancery {

/// How the user feels, from worst to best: the order of the faces. The raw value names the face's
/// picture and ends its deep link.
enum class Emotion : std::uint8_t { veryBad, bad, neutral, well, veryWell };

}  // namespace glancery

template <>
inline constexpr std::array<std::string_view, 5> platform::kRawValues<glancery::Emotion> =
    glancery::kMoodNames;
