#pragma once

#include <string>

#include "platform/swiftui/view.h"
#include "widgets/affirmation/affirmation_entry.h"

namespace glancery {

/// A centred sentence in the colour of its theme.
struct AffirmationWidgetEntryView {
  AffirmationEntry entry;
  /// The provider's placeholder, which the view replaces by a localised text.
  std::string placeholderText;

  platform::View body() const;
};

/// The picture behind the sentence, stretched to the widget's size.
platform::View affirmationBackground(const AffirmationEntry& entry);

}  // namespace glancery
