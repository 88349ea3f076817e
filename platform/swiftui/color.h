#pragma once

namespace platform {

/// A colour in sRGB; components and opacity from 0 to 1, not premultiplied.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double opacity = 1;

  static const Color white;
  static const Color black;
  static const Color clear;

  friend bool operator==(const Color&, const Color&) = default;
};

inline constexpr Color Color::white{1, 1, 1, 1};
inline constexpr Color Color::black{0, 0, 0, 1};
inline constexpr Color Color::clear{0, 0, 0, 0};

}  // namespace platform
