#pragma once

#include <string>

#include "platform/foundation/network/url.h"
#include "platform/support/require.h"
#include "platform/widgetkit/widget_configuration.h"
#include "store/shared_store.h"

namespace glancery {

/// Declares the streak widget: days in a row, small.
struct Streak {
  std::string kind = kStreakKind;
  platform::URL widgetURL = platform::require(platform::URL::fromString("quiloapp://streak"));

  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
