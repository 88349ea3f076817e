#include "extension/glancery_bundle.h"
#include "platform/widgetkit/widget_bundle.h"

int main() {
  platform::runWidgetBundle(platform::widgetBundleConformance<glancery::GlanceryBundle>());
  return 0;
}
