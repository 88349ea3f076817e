#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

#include "platform/foundation/data/raw_representable.h"
#include "store/shared_store.h"

namespace glancery {

/// The mood of a day. The raw values are the names that the host app stores and, except for the
/// empty day in dark mode, those of the pictures.
enum class MoodType : std::uint8_t { veryBad, bad, neutral, well, veryWell, emptyDay };

}  // namespace glancery

template <>
inline constexpr std::array<std::string_view, 6> platform::kRawValues<glancery::MoodType> = [] {
  std::array<std::string_view, 6> names = {};
  *std::ranges::copy(glancery::kMoodNames, names.begin()).out = "emptyDay";
  return names;
}();
