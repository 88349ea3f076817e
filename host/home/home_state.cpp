#include "host/home/home_state.h"

#include <algorithm>
#include <array>

#include <nlohmann/json.hpp>

#include "host/home/device_clock.h"
#include "host/home/tap_areas.h"
#include "host/phone/host_app.h"
#include "platform/foundation/data/json_serialization.h"

namespace host {

using namespace platform;

namespace {

using Json = nlohmann::ordered_json;

constexpr std::array kLocales = {
    "es_MX", "es_ES", "en_US", "pt_BR", "fr_FR", "ja_JP", "th_TH", "ar_EG"};
constexpr std::array kTimeZones = {"America/Mexico_City",
                                   "America/Bogota",
                                   "America/Buenos_Aires",
                                   "America/New_York",
                                   "America/Sao_Paulo",
                                   "Europe/Madrid",
                                   "Europe/Paris",
                                   "Asia/Kathmandu",
                                   "Asia/Tokyo",
                                   "Pacific/Auckland",
                                   "Pacific/Apia",
                                   "UTC"};
constexpr std::array kSystems = {"16.0", "16.4", "17.0", "17.4", "18.0"};

Json dateOrNull(const std::optional<Date>& date) {
  return date ? Json(date->iso8601()) : Json();
}

template <class Text>
Json textOrNull(const std::optional<Text>& text) {
  return text ? Json(*text) : Json();
}

/// The choices, with the current one added if it is not among them.
template <class Choices>
Json choicesWith(const Choices& choices, const std::string& current) {
  Json list = Json::array();
  if (std::ranges::find(choices, current) == choices.end()) {
    list.push_back(current);
  }
  for (const char* choice : choices) {
    list.push_back(choice);
  }
  return list;
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
          {"scale", settings.screen.scale},
          {"os", textOf(settings.device.systemVersion)}};
}

Json choicesOf(const HostSettings& settings) {
  Json screens = Json::array();
  for (const ScreenClass& screen : screenClasses()) {
    const std::size_t cross = screen.name.find('x');
    screens.push_back({{"name", screen.name},
                       {"width", std::stoi(std::string(screen.name.substr(0, cross)))},
                       {"height", std::stoi(std::string(screen.name.substr(cross + 1)))},
                       {"scale", screen.scale}});
  }
  return {{"locales", choicesWith(kLocales, settings.device.locale)},
          {"timeZones", choicesWith(kTimeZones, settings.device.timeZone)},
          {"screens", screens},
          {"systems", choicesWith(kSystems, textOf(settings.device.systemVersion))}};
}

std::optional<Dictionary> recordOf(const Dictionary& hostApp, const char* key) {
  const Value* stored = hostApp.find(key);
  const Data* data = stored ? stored->as<Data>() : nullptr;
  if (!data) {
    return std::nullopt;
  }
  auto object = NSJSONSerialization::JSONObjectWithData(*data);
  return object && object->dictionary() ? std::optional(*object->dictionary()) : std::nullopt;
}

Json appOf(const HomePhone& phone) {
  const Dictionary& hostApp = phone.hostApp();
  Json streak;
  if (const auto record = recordOf(hostApp, glancery::kStreakDataKey)) {
    const auto count = record->integer("count");
    const auto last = record->number("timestamp").transform(Date::since1970);
    streak = {{"count", count ? Json(*count) : Json()}, {"lastActive", dateOrNull(last)}};
  }
  Json moods = Json::object();
  if (const auto record = recordOf(hostApp, glancery::kMoodsDataKey)) {
    for (const auto& [day, mood] : *record) {
      if (const auto* name = mood.as<std::string>()) {
        moods[day] = *name;
      }
    }
  }
  return {{"uid", textOrNull(hostApp.string(glancery::kSharedUidKey))},
          {"streak", streak},
          {"moods", moods},
          {"moodNames", glancery::kMoodNames}};
}

Json areasOf(const PlacedWidget& widget, const NSBundle& bundle) {
  Json areas = Json::array();
  for (const TapArea& area : tapAreas(widget.list, bundle)) {
    areas.push_back({{"x", area.frame.x},
                     {"y", area.frame.y},
                     {"width", area.frame.width},
                     {"height", area.frame.height},
                     {"link", area.link},
                     {"label", area.label}});
  }
  return areas;
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
  const bool shown = widget.entry && *widget.entry < entries.size();
  return {{"kind", widget.item.kind},
          {"name", widget.item.displayName},
          {"description", widget.item.description},
          {"family", nameOf(widget.family)},
          {"width", size.width},
          {"height", size.height},
          {"picture", widget.png.empty() ? Json() : Json(picturePath(widget))},
          {"alt", widget.item.displayName + " — " + spokenText(widget.list, bundle)},
          {"link", textOrNull(widget.list.widgetURL)},
          {"areas", areasOf(widget, bundle)},
          {"entry", shown ? Json(entries[*widget.entry].date.iso8601()) : Json()},
          {"entryIndex", shown ? Json(*widget.entry) : Json()},
          {"entryCount", entries.size()},
          {"nextEntry", dateOrNull(schedule.nextEntry(now, budget))},
          {"fetched", dateOrNull(record.fetched)},
          {"fetchReason", record.fetchedFor.why},
          {"nextReload", reload ? Json(std::max(reload->at, now).iso8601()) : Json()},
          {"nextReloadReason", reload ? Json(reload->request.why) : Json()},
          {"budgetLeft", budget.enforced ? Json(schedule.budgetLeft(now, budget)) : Json()},
          {"problem", textOrNull(widget.problem)}};
}

Json widgetsOf(const HomePhone& phone) {
  const NSBundle bundle(phone.settings().extension, phone.settings().infoOverrides);
  Json widgets = Json::array();
  for (TimelineScheduler::Id id = 0; id < phone.widgets().size(); ++id) {
    widgets.push_back(widgetOf(phone, id, bundle));
  }
  return widgets;
}

Json downloadsOf(DownloadDelivery& downloads) {
  const std::size_t pending = downloads.pending();
  return {{"pending", pending},
          {"waitingFor", pending > 0 ? Json(downloads.waitingFor()) : Json()}};
}

Json tapsOf(const HomePhone& phone) {
  Json taps = Json::array();
  for (const Tap& tap : phone.taps()) {
    taps.push_back({{"at", tap.at.iso8601()}, {"kind", tap.kind}, {"link", textOrNull(tap.link)}});
  }
  return taps;
}

std::string printed(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string stateJSON(HomePhone& phone) {
  const Clock& clock = phone.settings().device.clock;
  const auto& failure = phone.host().extension().failure();
  const RefreshBudget& budget = phone.scheduler().budget();
  const bool running = isRunning(clock);
  return printed({{"running", running},
                  {"clock", running ? Json(clock.shift) : Json(clock.instant.iso8601())},
                  {"device", deviceOf(phone.settings())},
                  {"choices", choicesOf(phone.settings())},
                  {"app", appOf(phone)},
                  {"budget", {{"on", budget.enforced}, {"perDay", budget.perDay}}},
                  {"travel",
                   {{"nextEntry", dateOrNull(phone.nextEntry())},
                    {"nextReload", dateOrNull(phone.nextReload())},
                    {"nextMidnight", nextMidnight().iso8601()}}},
                  {"downloads", downloadsOf(phone.downloads())},
                  {"extension",
                   {{"running", !failure},
                    {"launches", phone.host().launches()},
                    {"problem", failure ? Json(failure->reason) : Json()}}},
                  {"widgets", widgetsOf(phone)},
                  {"taps", tapsOf(phone)}});
}

std::string logJSON(const std::vector<LogLine>& lines) {
  Json list = Json::array();
  for (const LogLine& line : lines) {
    list.push_back({{"at", line.at.iso8601()},
                    {"text", line.text},
                    {"source", line.fromExtension ? "extension" : "host"}});
  }
  return printed({{"lines", list}});
}

std::string errorJSON(const std::string& why) {
  return printed({{"error", why}});
}

std::string picturePath(const PlacedWidget& widget) {
  return "/widgets/" + widget.item.kind + ".png?v=" + widget.version;
}

}  // namespace host
