#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/swiftui/geometry.h"
#include "platform/widgetkit/widget_family.h"

namespace host {

/// Phones whose home screens give widgets the same sizes, in points.
struct ScreenClass {
  /// The screen's own size, "390x844".
  std::string_view name;
  platform::Size small;
  platform::Size medium;
  double scale;

  platform::Size sizeOf(platform::WidgetFamily family) const {
    return family == platform::WidgetFamily::systemSmall ? small : medium;
  }
};

/// Largest first.
std::span<const ScreenClass> screenClasses();
const ScreenClass* screenClassNamed(std::string_view name);

/// "338x158", lengths of 20 to 1000 points; nothing for anything else.
std::optional<platform::Size> parseSize(std::string_view text);

/// How round a widget's corners are drawn. The platform publishes no number; designers' estimates
/// lie between 20 and 24.
inline constexpr double kWidgetCornerRadius = 22;

}  // namespace host
