#include "host/home/home_state.h"

#include <algorithm>
#include <functional>

#include <nlohmann/json.hpp>

#include "host/home/clock_targets.h"
#include "host/home/placed_counts.h"
#include "host/home/tap_areas.h"
#include "host/phone/host_app.h"
#include "platform/foundation/data/json_serialization.h"

namespace host {

using namespace platform;

namespace {

using Json = nlohmann::ordered_json;

Json toJSON(const auto& value) {
  return value;
}

Json toJSON(const Date& date) {
  return date.iso8601();
}

template <class T>
Json orNull(const std::optional<T>& value) {
  return value ? toJSON(*value) : Json();
}

Json arrayOf(const auto& items, const auto& json) {
  Json array = Json::array();
  for (const auto& item : items) {
    array.push_back(json(item));
  }
  return array;
}

std::string textOf(const OperatingSystemVersion& version) {
  return std::to_string(version.major) + "." + std::to_string(version.minor) +
         (version.patch == 0 ? "" : "." + std::to_string(version.patch));
}

Json deviceOf(const HostSettings& settings) {
  return {{"scheme", rawValue(settings.scheme)},
          {"locale", settings.device.locale},
          {"timeZone", settings.device.timeZone},
          {"screen", settings.screen.name},
          {"os", textOf(settings.device.systemVersion)}};
}

Json appOf(const HomePhone& phone) {
  const Dictionary& hostApp = phone.hostApp();
  Json streak;
  if (const auto record = recordIn(hostApp, glancery::kStreakDataKey)) {
    const auto last = record->number("timestamp").transform(Date::since1970);
    streak = {{"count", orNull(record->integer("count"))}, {"lastActive", orNull(last)}};
  }
  Json moods = Json::object();
  if (const auto record = recordIn(hostApp, glancery::kMoodsDataKey)) {
    for (const auto& [day, mood] : *record) {
      if (const auto* name = mood.as<std::string>()) {
        moods[day] = *name;
      }
    }
  }
  return {{"uid", orNull(hostApp.string(glancery::kSharedUidKey))},
          {"streak", streak},
          {"moods", moods}};
}

Json areasOf(const PlacedWidget& widget, const NSBundle& bundle) {
  return arrayOf(tapAreas(widget.list, bundle), [](const TapArea& area) -> Json {
    return {{"x", area.frame.x},
            {"y", area.frame.y},
            {"width", area.frame.width},
            {"height", area.frame.height},
            {"link", area.link},
            {"label", area.label}};
  });
}

Json widgetOf(const HomePhone& phone, TimelineScheduler::Id id, const NSBundle& bundle) {
  const PlacedWidget& widget = phone.widgets()[id];
  const WidgetSchedule& schedule = phone.scheduler().at(id);
  const RefreshBudget& budget = phone.scheduler().budget();
  const Date now = Date::now();
  const Size size = phone.settings().screen.sizeOf(widget.family);
  const auto& entries = widget.stored.timeline.entries;
  const auto reload = schedule.nextReload(now, budget);
  const auto& record = schedule.record();
  return {
      {"kind", widget.item.kind},
      {"name", widget.item.displayName},
      {"description", widget.item.description},
      {"count", widget.count},
      {"mostPlaced", kMostPlaced},
      {"family", nameOf(widget.family)},
      {"width", size.width},
      {"height", size.height},
      {"picture", widget.picture.png ? Json(widget.picture.path) : Json()},
      {"alt", widget.item.displayName + " — " + spokenText(widget.list, bundle)},
      {"link", orNull(widget.list.widgetURL)},
      {"areas", areasOf(widget, bundle)},
      {"entry", widget.entry ? toJSON(entries.at(*widget.entry).date) : Json()},
      {"entryIndex", orNull(widget.entry)},
      {"entryCount", entries.size()},
      {"entries", arrayOf(entries, [](const ArchivedEntry& each) { return toJSON(each.date); })},
      {"nextEntry", orNull(schedule.nextEntry(now, budget))},
      {"fetched", orNull(record.fetched)},
      {"fetchReason", record.fetchedFor.why},
      {"nextReload", reload ? toJSON(std::max(reload->at, now)) : Json()},
      {"nextReloadReason", reload ? Json(reload->request.why) : Json()},
      {"budgetLeft", budget.enforced ? Json(schedule.budgetLeft(now, budget)) : Json()},
      {"problem", orNull(widget.problem)}};
}

Json widgetsOf(const HomePhone& phone) {
  const NSBundle bundle(phone.settings().extension, phone.settings().infoOverrides);
  Json widgets = Json::array();
  for (TimelineScheduler::Id id = 0; id < phone.widgets().size(); ++id) {
    widgets.push_back(widgetOf(phone, id, bundle));
  }
  return widgets;
}

Json travelOf(const HomePhone& phone) {
  Json travel;
  for (const auto& [name, instant] : clockTargets(phone)) {
    travel[name] = orNull(instant);
  }
  return travel;
}

Json downloadsOf(DownloadDelivery& downloads) {
  const std::size_t pending = downloads.pending();
  return {{"pending", pending},
          {"waitingFor", pending > 0 ? Json(downloads.waitingFor()) : Json()}};
}

Json tapsOf(const HomePhone& phone) {
  return arrayOf(phone.taps(), [](const Tap& tap) -> Json {
    return {{"at", tap.at.iso8601()}, {"kind", tap.kind}, {"link", orNull(tap.link)}};
  });
}

std::string printed(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string stateJSON(HomePhone& phone) {
  const Clock& clock = phone.settings().device.clock;
  const auto& failure = phone.host().extension().failure();
  const RefreshBudget& budget = phone.scheduler().budget();
  const bool running = phone.clockRuns();
  return printed(
      {{"running", running},
       {"clock", running ? Json(clock.shift) : Json(clock.instant.iso8601())},
       {"device", deviceOf(phone.settings())},
       {"screens", arrayOf(screenClasses(), std::mem_fn(&ScreenClass::name))},
       {"app", appOf(phone)},
       {"budget", {{"on", budget.enforced}, {"perDay", budget.perDay}}},
       {"travel", travelOf(phone)},
       {"downloads", downloadsOf(phone.downloads())},
       {"extension",
        {{"running", !failure},
         {"launches", phone.host().launches()},
         {"problem", failure ? Json(failure->reason) : Json()}}},
       {"bundle", {{"changed", phone.bundleChange()}, {"problem", phone.bundleProblem()}}},
       {"widgets", widgetsOf(phone)},
       {"taps", tapsOf(phone)}});
}

std::vector<std::string> takeEventsJSON(HomePhone& phone) {
  std::vector<std::string> events;
  for (const PhoneEvent& event : phone.takeEvents()) {
    Json json = {{"at", event.at.iso8601()}};
    if (event.widget) {
      json["kind"] = phone.widgets()[*event.widget].item.kind;
    }
    if (event.shown) {
      json["shown"] = event.shown->iso8601();
      json["picture"] = event.picture;
    }
    if (event.reloaded) {
      json["cause"] = nameOf(event.reloaded->cause);
      json["why"] = event.reloaded->why;
      json["budgetLeft"] = event.budgetLeft;
    }
    if (event.downloads) {
      json["downloads"] = *event.downloads;
    }
    events.push_back(printed(json));
  }
  return events;
}

std::string logJSON(const std::vector<LogLine>& lines) {
  const auto json = [](const LogLine& line) -> Json {
    return {{"at", line.at.iso8601()},
            {"text", line.text},
            {"source", line.fromExtension ? "extension" : "host"}};
  };
  return printed({{"lines", arrayOf(lines, json)}});
}

}  // namespace host
