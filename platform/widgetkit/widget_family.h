#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace platform {

/// The sizes of widgets on a home screen.
enum class WidgetFamily : std::uint8_t { systemSmall, systemMedium };

inline constexpr std::array<std::string_view, 2> kWidgetFamilyNames = {"systemSmall",
                                                                       "systemMedium"};

constexpr std::string_view nameOf(WidgetFamily family) {
  return kWidgetFamilyNames[static_cast<std::size_t>(family)];
}

constexpr std::optional<WidgetFamily> widgetFamilyNamed(std::string_view name) {
  for (std::size_t index = 0; index < kWidgetFamilyNames.size(); ++index) {
    if (kWidgetFamilyNames[index] == name) {
      return static_cast<WidgetFamily>(index);
    }
  }
  return std::nullopt;
}

}  // namespace platform
