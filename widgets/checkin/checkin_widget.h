#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"

namespace glancery {

/// Declares the check-in widget: five faces, each a link, medium.
struct Checkin {
  std::string kind = "Checkin";

  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
