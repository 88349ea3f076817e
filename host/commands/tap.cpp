#include <iostream>
#include <optional>
#include <sstream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/phone/widget_host.h"

namespace host {

using namespace platform;

namespace {

/// "40,79"
Point pointFrom(const std::string& text) {
  std::istringstream stream(text);
  Point point;
  char comma = '\0';
  stream >> point.x >> comma >> point.y;
  if (!stream || comma != ',' || stream.peek() != EOF) {
    throw InvalidValue("POINT", text, "give points from the widget's top left, such as 40,79");
  }
  return point;
}

void tap(const std::string& kind, const std::optional<Point>& point) {
  WidgetHost host(phone());
  const ArchivedTimeline timeline = host.provide(ProvideRequest::What::timeline, kind);
  const DisplayList list =
      host.display(timeline.entries[shownEntry(timeline, Date::now())], host.familyOf(kind));
  if (point && !(point->x >= 0 && point->x < list.size.width && point->y >= 0 &&
                 point->y < list.size.height)) {
    std::ostringstream message;
    message << "POINT \"" << point->x << ',' << point->y << "\": the widget is " << list.size.width
            << 'x' << list.size.height << " points";
    throw InvalidValue(message.str());
  }
  const Point middle = {list.size.width / 2, list.size.height / 2};
  if (const auto link = linkAt(list, point.value_or(middle))) {
    std::cout << *link << '\n';
  }
}

}  // namespace

// clang-format off
Command tapCommand() {
  static std::string kind;
  static std::optional<Point> point;
  return withDevice(DeviceUse::all, {
      .name = "tap",
      .description = "Prints the deep link that a tap on a widget opens; nothing if there is none",
      .groups = {{"", {
          kindArgument(kind),
          {"[POINT]", [](const std::string& text) { point = pointFrom(text); },
           "X,Y in points from the top left (default: the middle)"}}}},
      .examples = {"tap Checkin 290,79"},
      .run = [] { tap(kind, point); }});
}
// clang-format on

}  // namespace host
