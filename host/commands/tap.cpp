#include <charconv>
#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/phone/widget_host.h"

namespace host {

using namespace platform;

namespace {

struct TapOptions {
  DeviceOptions device = {};
  std::string kind = {};
  std::string point = {};
};

std::optional<Point> parsePoint(const std::string& text) {
  Point point;
  const char* const end = text.data() + text.size();
  const auto x = std::from_chars(text.data(), end, point.x);
  if (x.ec != std::errc() || x.ptr == end || *x.ptr != ',') {
    return std::nullopt;
  }
  const auto y = std::from_chars(x.ptr + 1, end, point.y);
  return y.ec == std::errc() && y.ptr == end ? std::optional(point) : std::nullopt;
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
  WidgetHost host(settle(options.device));
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

void addTapCommand(CLI::App& app) {
  auto options = std::make_shared<TapOptions>();
  CLI::App* command = app.add_subcommand(
      "tap", "Prints the deep link that a tap on a widget opens; nothing if there is none");
  command->add_option("KIND", options->kind, "The widget, as gallery lists it")->required();
  command->add_option(
      "POINT", options->point, "X,Y in points from the top left (default: the middle)");
  options->device.addTo(*command);
  command->callback([options] { tap(*options); });
}

}  // namespace host
