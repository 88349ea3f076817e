#pragma once

#include <cstdint>
#include <string>

namespace platform {

/// Weights as values of a variable typeface's `wght` axis.
enum class Weight : std::int16_t {
  ultraLight = 100,
  thin = 200,
  light = 300,
  regular = 400,
  medium = 500,
  semibold = 600,
  bold = 700,
  heavy = 800,
  black = 900,
};

/// A typeface at a size in points.
struct Font {
  /// Empty for the system's typeface.
  std::string family = {};
  double size = 17;
  Weight weight = Weight::regular;

  static Font system(double size, Weight weight = Weight::regular) { return {{}, size, weight}; }
  /// The platform's style for captions.
  static Font caption() { return system(12); }
  static Font custom(std::string family, double size) { return {std::move(family), size}; }
  friend bool operator==(const Font&, const Font&) = default;
};

}  // namespace platform
