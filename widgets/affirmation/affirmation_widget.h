#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"

namespace glancery {

/// Declares the affirmation widget: a sentence a day, medium.
struct Affirmation {
  std::string kind = "AffirmationWidget";

  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
