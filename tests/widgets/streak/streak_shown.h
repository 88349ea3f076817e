#pragma once

#include "tests/platform/render/layout/layout_fixture.h"
#include "tests/widgets/view_dump.h"
#include "widgets/streak/streak_widget_entry_view.h"

namespace world {

/// The streak widget's view with a host's layout. The flame's picture is twice as large as drawn.
inline platform::DisplayList laidOut(const glancery::StreakWidgetEntryView& view,
                                     platform::Size widget,
                                     platform::EdgeInsets margins = kNoMargins) {
  return laidOut(view, widget, margins, platform::ColorScheme::light, [](std::string_view name) {
    return name == "flame" ? platform::Size{36, 60} : platform::test::naturalSize(name);
  });
}

}  // namespace world
