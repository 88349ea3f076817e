#pragma once

#include <string>

#include "platform/widgetkit/widget_configuration.h"
#include "store/shared_store.h"

namespace glancery {

/// Declares the mood log widget: the last seven days, medium.
struct Binnacle {
  std::string kind = kBinnacleKind;

  platform::WidgetConfiguration body() const;
};

}  // namespace glancery
