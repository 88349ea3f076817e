#include "ui/widget_background.h"

#include <gtest/gtest.h>

#include "platform/foundation/bundle/bundle.h"
#include "platform/swiftui/stacks.h"
#include "platform/swiftui/view_archiver.h"
#include "tests/on_device.h"

namespace glancery {
namespace {

using namespace platform;

TEST(WidgetBackground, IsTheContainersFromVersion17On) {
  for (const auto& [version, isContainers] :
       {std::pair(OperatingSystemVersion{16, 9}, false), {{17, 0}, true}, {{18, 0}, true}}) {
    const OnDevice device({.systemVersion = version});
    const ArchivedView view = archiveView(
        widgetBackground(Color::white, Color::black), {9, 9}, {}, NSBundle::mainBundle());
    EXPECT_EQ(std::holds_alternative<ContainerBackgroundModifier>(view.element), isContainers);
    EXPECT_EQ(std::holds_alternative<BackgroundModifier>(view.element), !isContainers);
    EXPECT_EQ(view.children.at(1).element, ArchivedView::Element(ArchivedFill{Color::black}));
  }
}

}  // namespace
}  // namespace glancery
