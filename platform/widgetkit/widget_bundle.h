#pragma once

#include <functional>
#include <tuple>
#include <vector>

#include "platform/widgetkit/widget_configuration.h"

namespace platform {

/// A widget: its body declares it.
template <class T>
concept Widget = std::default_initializable<T> && requires(const T& widget) {
  { widget.body() } -> std::same_as<WidgetConfiguration>;
};

/// A bundle for the process entry: `body` makes the bundle and returns its widgets in gallery
/// order.
struct WidgetBundleConformance {
  std::vector<WidgetConfiguration> (*body)();
};

/// The conformance of a bundle type, whose `body()` is a tuple of widgets. One for the process;
/// safe from any thread.
template <class Bundle>
const WidgetBundleConformance& widgetBundleConformance() {
  static const WidgetBundleConformance conformance = {[] {
    return std::apply(
        [](const Widget auto&... widgets) {
          return std::vector<WidgetConfiguration>{widgets.body()...};
        },
        Bundle().body());
  }};
  return conformance;
}

/// The entry of the extension: enters the sandbox, makes the widgets, serves the host at the socket
/// `kHostSocket` and runs the main queue on the calling thread. Returns when the host closes the
/// socket. Exits with status 2 and a message on standard error if the process was not started by a
/// host.
void NSExtensionMain(std::vector<WidgetConfiguration> (*widgets)());

/// The widget-bundle main: serves the host until it closes the socket.
inline void runWidgetBundle(const WidgetBundleConformance& conformance) {
  NSExtensionMain(conformance.body);
}

}  // namespace platform
