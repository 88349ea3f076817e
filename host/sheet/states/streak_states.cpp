#include <cstdint>
#include <string>

#include "host/sheet/phones.h"
#include "host/sheet/states/states.h"
#include "store/shared_store.h"

namespace host {

using namespace glancery;
using namespace platform;
using enum ProvideRequest::What;

namespace {

/// A time of day with a sky and a line of its own.
struct Band {
  std::string_view name;
  std::string_view time;
};

constexpr Band kBands[] = {
    {"dawn", "04:00"},
    {"morning", "08:30"},
    {"midday", "10:30"},
    {"afternoon", "12:30"},
    {"late-afternoon", "14:30"},
    {"evening", "16:30"},
    {"dusk", "18:30"},
    {"night", "20:30"},
    {"late-night", "22:30"},
};

constexpr Phones kEveryText = {kTranslations, kEveryScreen, kUsual.schemes, kEverySystem};
/// The view knows no schemes, but a picture of the catalogue may have one for the dark.
constexpr Phones kArtwork = {kUsual.locales, kUsual.screens, kEveryScheme, kUsual.systems};

Dictionary streak(std::int64_t count, Date lastActive) {
  return {{kStreakDataKey,
           record({{"count", count}, {"timestamp", lastActive.timeIntervalSince1970()}})}};
}

std::string days(std::int64_t count) {
  return std::to_string(count) + (count == 1 ? "-day" : "-days");
}

std::string in(const Band& band) {
  return "." + std::string(band.name);
}

SheetState activeYesterday(std::int64_t count, const Band& band, std::vector<Phones> phones) {
  return {.name = "yesterday-" + days(count) + in(band),
          .now = at(band.time),
          .suite = [count] { return streak(count, at("2026-03-04", "18:00")); },
          .phones = std::move(phones)};
}

SheetState activeToday(std::int64_t count, std::int64_t image, std::vector<Phones> phones) {
  return {.name = "today-" + days(count) + ".image-" + std::to_string(image),
          .now = at("09:30"),
          .suite =
              [count, image] {
                Dictionary suite = streak(count, at("09:00"));
                suite.set(kSuccessImageIndexKey, image - 1);
                return suite;
              },
          .phones = std::move(phones)};
}

SheetState broken(std::int64_t image) {
  return {.name = "broken.message-" + std::to_string(image),
          .now = at("09:30"),
          .suite =
              [image] {
                Dictionary suite = streak(7, at("2026-03-01", "18:00"));
                suite.set(kFailImageIndexKey, image - 1);
                return suite;
              },
          .phones = {kEveryText, kArtwork}};
}

}  // namespace

std::vector<SheetState> streakStates() {
  constexpr Phones kEverySize = {kUsual.locales, kEveryScreen, kUsual.schemes, kEverySystem};
  // Three digits leave the message the least room, on the smallest phone most of all.
  constexpr Phones kNarrow = {kTranslations, kFarScreens, kUsual.schemes, kUsual.systems};
  constexpr Phones kSample = {kTranslations, kUsual.screens, kUsual.schemes, kEverySystem};
  std::vector<SheetState> states;
  for (const Band& band : kBands) {
    states.push_back(activeYesterday(7, band, {kEveryText, kArtwork}));
    states.push_back(activeYesterday(365, band, {kNarrow}));
    states.push_back({.name = "no-record" + in(band), .now = at(band.time), .phones = {kArtwork}});
  }
  states.push_back(activeYesterday(0, kBands[1], {kUsual}));
  states.push_back(activeYesterday(1, kBands[1], {kUsual}));
  for (const std::int64_t count : {0, 1, 7, 365, 12345}) {
    states.push_back(activeToday(count, 1, {kEverySize, kArtwork}));
  }
  for (const std::int64_t image : {2, 3, 4, 5}) {
    states.push_back(activeToday(7, image, {kArtwork}));
  }
  for (const std::int64_t image : {1, 2, 3, 4}) {
    states.push_back(broken(image));
  }
  states.push_back({.name = "unreadable-record",
                    .now = at("09:30"),
                    .suite =
                        [] {
                          return Dictionary{{kStreakDataKey, Data{"{\"count\": 7,"}}};
                        },
                    .phones = {kUsual}});
  states.push_back(
      {.name = "placeholder", .now = at("09:30"), .phones = {kSample}, .what = placeholder});
  states.push_back({.name = "snapshot", .now = at("09:30"), .phones = {kSample}, .what = snapshot});
  return states;
}

}  // namespace host
