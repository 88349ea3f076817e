#pragma once

#include <vector>

#include "platform/widgetkit/widget_configuration.h"

namespace platform {

/// The extension's entry: serves the host at the other end of the socket that the process was
/// started with, and returns when the host closes it. Runs the main queue, on the thread that calls
/// it. A process that no host started says so on standard error and exits with status 2.
void NSExtensionMain(std::vector<WidgetConfiguration> widgets);

}  // namespace platform
