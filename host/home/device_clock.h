#pragma once

#include "platform/foundation/time/device.h"

namespace host {

/// Whether the clock runs, as opposed to a frozen one.
bool isRunning(const platform::Clock& clock);

/// A clock that shows `instant` now, and runs from there or is frozen.
platform::Clock clockAt(platform::Date instant, bool running);

/// The start of the next day by the current device's clock and zone.
platform::Date nextMidnight();

}  // namespace host
