#include "ui/widget_background.h"

#include "platform/foundation/time/device.h"

namespace glancery {

using namespace platform;

View widgetBackground(const View& content, const View& background) {
  return isOperatingSystemAtLeast({17, 0})
             ? content.containerBackground(ContainerBackgroundPlacement::widget, background)
             : content.background(background);
}

}  // namespace glancery
