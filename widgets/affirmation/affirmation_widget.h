#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"

namespace glancery {

/// Declares the affirmation widget: a sentence a day, medium.
///
/// Every record that is made listens for a change of the device's locale from then on, for as long
/// as the process lives, and has an affirmation in the new language fetched.
struct Affirmation {
  std::string kind;
  /// The client's session, whose events the widget takes.
  std::string backgroundSessionIdentifier;

  Affirmation();
  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
