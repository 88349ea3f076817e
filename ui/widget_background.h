#pragma once

#include "platform/swiftui/view.h"

namespace glancery {

/// The view with a background of the whole widget: from iOS 17 on its container background, which
/// lies under the content margins, before that a plain one behind the view.
platform::View widgetBackground(const platform::View& content, const platform::View& background);

}  // namespace glancery
