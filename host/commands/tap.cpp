#include <iostream>
#include <optional>
#include <sstream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/phone/widget_host.h"

namespace host {

using namespace platform;

namespace {

struct TapOptions {
  std::string kind = {};
  std::string point = {};
};

std::optional<Point> parsePoint(const std::string& text) {
  std::istringstream stream(text);
  Point point;
  char comma = '\0';
  stream >> point.x >> comma >> point.y;
  const bool whole = stream && comma == ',' && stream.peek() == EOF;
  return whole ? std::optional(point) : std::nullopt;
}

void tap(const TapOptions& options) {
  std::optional<Point> point;
  if (!options.point.empty()) {
    point = parsePoint(options.point);
    if (!point) {
      throw InvalidValue(
          "POINT", options.point, "give points from the widget's top left, such as 40,79");
    }
  }
  WidgetHost host(phone());
  const ArchivedTimeline timeline = host.provide(ProvideRequest::What::timeline, options.kind);
  if (timeline.entries.empty()) {
    throw CommandError("the timeline of \"" + options.kind + "\" has no entries");
  }
  const DisplayList list = host.display(timeline.entries[shownEntry(timeline, Date::now())],
                                        host.familyOf(options.kind));
  if (point && !(point->x >= 0 && point->x < list.size.width && point->y >= 0 &&
                 point->y < list.size.height)) {
    throw InvalidValue("POINT",
                       options.point,
                       "the widget is " + std::to_string(static_cast<int>(list.size.width)) + "x" +
                           std::to_string(static_cast<int>(list.size.height)) + " points");
  }
  const Point middle = {list.size.width / 2, list.size.height / 2};
  if (const auto link = linkAt(list, point.value_or(middle))) {
    std::cout << *link << '\n';
  }
}

}  // namespace

// clang-format off
Command tapCommand() {
  static TapOptions options;
  return withDevice(DeviceUse::all, {
      .name = "tap",
      .description = "Prints the deep link that a tap on a widget opens; nothing if there is none",
      .groups = {{"", {
          kindArgument(options.kind),
          {"[POINT]", &options.point, "X,Y in points from the top left (default: the middle)"}}}},
      .examples = {"tap Checkin 290,79"},
      .run = [] { tap(options); }});
}
// clang-format on

}  // namespace host
