#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"

namespace glancery {

/// Declares the mood log widget: the last seven days, medium.
struct Binnacle {
  std::string kind = "Binnacle";

  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
