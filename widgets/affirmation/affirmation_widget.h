#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"

namespace glancery {

/// Declares the affirmation widget: a sentence a day, medium.
///
/// The constructor adds an observer of the device's locale, which fetches an affirmation in the new
/// language; it stays until the process ends.
struct Affirmation {
  std::string kind;
  /// The client's session, whose events the widget handles.
  std::string backgroundSessionIdentifier;

  Affirmation();
  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
