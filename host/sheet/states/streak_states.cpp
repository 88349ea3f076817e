#include <cstdint>

#include "host/sheet/states/states.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;
using namespace platform;
using enum ProvideRequest::What;

namespace {

/// A time of day with its own background and text.
struct TimeOfDay {
  std::string name;
  std::string_view time;
};

const TimeOfDay kMorning = {"morning", "08:30"};
const TimeOfDay kTimesOfDay[] = {
    {"dawn", "04:00"},
    kMorning,
    {"midday", "10:30"},
    {"afternoon", "12:30"},
    {"late-afternoon", "14:30"},
    {"evening", "16:30"},
    {"dusk", "18:30"},
    {"night", "20:30"},
    {"late-night", "22:30"},
};

constexpr DeviceMatrix kTexts = {
    .locales = kTranslations, .screens = kScreens, .systems = kSystems};
/// The view ignores the scheme, but an image of the catalogue may have a dark variant.
constexpr DeviceMatrix kArtwork = {.schemes = kSchemes};

std::string days(std::int64_t count) {
  return std::to_string(count) + (count == 1 ? "-day" : "-days");
}

/// A streak, and one index that an earlier timeline stored.
Suite streak(std::int64_t count,
             Date lastActive,
             std::string_view indexKey = {},
             std::int64_t index = 0) {
  Dictionary suite = {
      {kStreakDataKey,
       record({{"count", count}, {"timestamp", lastActive.timeIntervalSince1970()}})}};
  if (!indexKey.empty()) {
    suite.set(std::string(indexKey), index);
  }
  return [suite] { return suite; };
}

SheetState activeYesterday(std::int64_t count,
                           const TimeOfDay& when,
                           std::vector<DeviceMatrix> devices) {
  return {"yesterday-" + days(count) + "." + when.name,
          at(when.time),
          streak(count, at("18:00", "2026-03-04")),
          std::move(devices)};
}

SheetState activeToday(std::int64_t count, std::int64_t image, std::vector<DeviceMatrix> devices) {
  return {"today-" + days(count) + ".image-" + std::to_string(image),
          at("09:30"),
          streak(count, at("09:00"), kSuccessImageIndexKey, image - 1),
          std::move(devices)};
}

}  // namespace

std::vector<SheetState> streakStates() {
  constexpr DeviceMatrix kSizes = {.screens = kScreens, .systems = kSystems};
  // Three digits leave the message the least room.
  constexpr DeviceMatrix kNarrow = {.locales = kTranslations, .screens = kExtremeScreens};
  constexpr DeviceMatrix kSample = {.locales = kTranslations, .systems = kSystems};
  const Date now = at("09:30");
  std::vector<SheetState> states;
  for (const TimeOfDay& when : kTimesOfDay) {
    states.push_back(activeYesterday(7, when, {kTexts, kArtwork}));
    states.push_back(activeYesterday(365, when, {kNarrow}));
    states.push_back(
        {.name = "no-record." + when.name, .now = at(when.time), .devices = {kArtwork}});
  }
  states.push_back(activeYesterday(0, kMorning, {{}}));
  states.push_back(activeYesterday(1, kMorning, {{}}));
  for (const std::int64_t count : {0, 1, 7, 365, 12345}) {
    states.push_back(activeToday(count, 1, {kSizes, kArtwork}));
  }
  for (const std::int64_t image : {2, 3, 4, 5}) {
    states.push_back(activeToday(7, image, {kArtwork}));
  }
  for (const std::int64_t image : {1, 2, 3, 4}) {
    states.push_back({"broken.message-" + std::to_string(image),
                      now,
                      streak(7, at("18:00", "2026-03-01"), kFailImageIndexKey, image - 1),
                      {kTexts, kArtwork}});
  }
  const Dictionary unreadable = {{kStreakDataKey, Data{"{\"count\": 7,"}}};
  states.push_back({"unreadable-record", now, [unreadable] { return unreadable; }});
  states.push_back({.name = "placeholder", .now = now, .devices = {kSample}, .what = placeholder});
  states.push_back({.name = "snapshot", .now = now, .devices = {kSample}, .what = snapshot});
  return states;
}

}  // namespace host
