#pragma once

#include <cstdint>

#include "platform/swiftui/color_scheme.h"

namespace platform {

/// A colour in sRGB, with components and opacity from 0 to 1, not premultiplied; or a semantic
/// colour of the platform, which differs between light and dark.
struct Color {
  enum class Role : std::uint8_t { fixed, primary, secondary };

  double red = 0;
  double green = 0;
  double blue = 0;
  double opacity = 1;
  Role role = Role::fixed;

  static const Color white;
  static const Color black;
  static const Color clear;
  /// The default colour of texts: black on light, white on dark.
  static const Color primary;
  static const Color secondary;

  /// The colour in a scheme, with the role `fixed`.
  constexpr Color resolved(ColorScheme scheme) const;
  /// The same colour with another opacity.
  constexpr Color withOpacity(double value) const { return {red, green, blue, value, role}; }

  friend bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color Color::white{1, 1, 1, 1};
inline constexpr Color Color::black{0, 0, 0, 1};
inline constexpr Color Color::clear{0, 0, 0, 0};
inline constexpr Color Color::primary{0, 0, 0, 1, Role::primary};
inline constexpr Color Color::secondary{0, 0, 0, 1, Role::secondary};

constexpr Color Color::resolved(ColorScheme scheme) const {
  const bool dark = scheme == ColorScheme::dark;
  switch (role) {
    case Role::fixed:
      break;
    case Role::primary:
      return dark ? white : black;
    case Role::secondary:
      return dark ? Color{235 / 255.0, 235 / 255.0, 245 / 255.0, 0.6}
                  : Color{60 / 255.0, 60 / 255.0, 67 / 255.0, 0.6};
  }
  return *this;
}

}  // namespace platform
