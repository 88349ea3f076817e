#pragma once

#include <string>

#include "platform/swiftui/view.h"
#include "widgets/affirmation/affirmation_entry.h"

namespace glancery {

/// One sentence, centred, in the colour of its theme.
struct AffirmationWidgetEntryView {
  AffirmationEntry entry;
  /// The provider's sentence for want of another, which no user ever sees as such.
  std::string placeholderText;

  platform::View body() const;
};

/// The picture behind it, which fills the widget whatever its shape.
platform::View affirmationBackground(const AffirmationEntry& entry);

}  // namespace glancery
