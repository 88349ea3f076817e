#pragma once

#include <functional>
#include <vector>

#include "platform/widgetkit/extension_protocol.h"
#include "platform/widgetkit/widget_configuration.h"

namespace platform {

/// Answers a host's messages with a bundle's widgets.
///
/// Providers run on the calling thread. An answer is handed to `answer` when the provider
/// completes, before `handle` returns or later; what goes wrong is a `Failure` that names it.
class ExtensionService {
 public:
  using Answer = std::function<void(ExtensionMessage)>;

  ExtensionService(std::vector<WidgetConfiguration> widgets, Answer answer);
  void handle(const HostMessage& message) const;

 private:
  ExtensionMessage::Content describe() const;
  void provide(std::int64_t id, const ProvideRequest& request) const;

  std::vector<WidgetConfiguration> widgets_;
  Answer answer_;
};

/// The extension's entry: serves the host at the other end of the socket that the process was
/// started with, and returns when the host closes it. A process that no host started says so on
/// standard error and exits with status 2.
void NSExtensionMain(std::vector<WidgetConfiguration> widgets);

}  // namespace platform
