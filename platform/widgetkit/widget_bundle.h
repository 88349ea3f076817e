#pragma once

#include <functional>
#include <tuple>
#include <vector>

#include "platform/widgetkit/extension_main.h"
#include "platform/widgetkit/widget_configuration.h"

namespace platform {

/// A widget record: its body declares it.
template <class T>
concept Widget = std::default_initializable<T> && requires(const T& widget) {
  { widget.body() } -> std::same_as<WidgetConfiguration>;
};

/// How the process entry reaches a bundle: makes it and reads its body, the widgets in gallery
/// order.
struct WidgetBundleConformance {
  std::vector<WidgetConfiguration> (*body)();
};

/// The conformance of a bundle type, whose `body()` is a tuple of widget records. Made once and
/// kept for the process; safe from any thread.
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

/// The widget-bundle main: hands the process over to the host until the host lets go of it.
inline void runWidgetBundle(const WidgetBundleConformance& conformance) {
  NSExtensionMain(conformance.body());
}

}  // namespace platform
