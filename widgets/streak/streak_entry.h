#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/foundation/data/raw_representable.h"
#include "platform/foundation/time/date.h"
#include "platform/widgetkit/timeline.h"

namespace glancery {

enum class StreakDisplayType : std::uint8_t { successCounter, failMessage };

/// The contents of the streak widget from `date` on.
struct StreakEntry {
  platform::Date date = platform::Date::distantPast();
  std::int64_t displayStreakCount = 0;
  std::string backgroundImageName = {};
  StreakDisplayType displayType = StreakDisplayType::successCounter;
  std::optional<std::string> failMessageKey = {};
  std::optional<std::string> timeBasedMessageKey = {};
  bool showTimeBasedText = false;
  std::string flameImageName = {};
  friend bool operator==(const StreakEntry&, const StreakEntry&) = default;
};

platform::Mirror mirror(const StreakEntry& entry);

}  // namespace glancery

template <>
inline constexpr std::array<std::string_view, 2> platform::kRawValues<glancery::StreakDisplayType> =
    {"successCounter", "failMessage"};
