#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"
#include "store/shared_store.h"

namespace glancery {

/// Declares the check-in widget: five faces, each a link, medium.
struct Checkin {
  std::string kind = kCheckinKind;

  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
