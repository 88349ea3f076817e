#pragma once

#include "platform/swiftui/view.h"

namespace glancery {

/// Adds a background that fills the widget: from iOS 17 on the container background, which also
/// covers the content margins, before that a plain background of the view.
platform::View widgetBackground(const platform::View& content, const platform::View& background);

}  // namespace glancery
