#include <iostream>
#include <optional>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/phone/host_app.h"
#include "host/phone/widget_host.h"

namespace host {

using namespace platform;

namespace {

void changeLocale(bool settle) {
  WidgetHost host(phone());
  host.tell(LocaleChanged());
  if (settle) {
    host.downloads().settle({}, std::chrono::seconds(kLongestSettling), [] {});
  }
  for (const std::string& line : host.log()) {
    std::cout << line << '\n';
  }
}

}  // namespace

// clang-format off
Command appCommand() {
  static std::string uid;
  static std::int64_t count = 0;
  static std::string lastActive;
  static std::string mood;
  static std::optional<std::string> day;
  static bool settle = false;
  return {
      .name = "app",
      .description = "Writes to the suite as the host app would",
      .commands = {
          withDevice(DeviceUse::clock, {
              .name = "sign-in",
              .description = "Signs a user in",
              .groups = {{"", {{"UID", &uid, "The user's identifier"}}}},
              .examples = {"app sign-in u-1"},
              .run = [] { signIn(uid); }}),
          withDevice(DeviceUse::clock, {
              .name = "sign-out",
              .description = "Signs the user out",
              .examples = {"app sign-out"},
              .run = signOut}),
          withDevice(DeviceUse::clock, {
              .name = "streak",
              .description = "Records the streak of active days",
              .groups = {{"Streak", {
                  {"N", &count, "Days in a row"},
                  {"--last-active INSTANT", &lastActive, "The last active instant, ISO 8601 (default: now)"}}}},
              .examples = {"app streak 12 --last-active 2026-03-04T21:00:00-06:00"},
              .run = [] { recordStreak(count, instantOf(lastActive, "--last-active")); }}),
          withDevice(DeviceUse::calendar, {
              .name = "mood",
              .description = "Records the mood of a day",
              .groups = {{"Mood", {
                  {"NAME", &mood, "veryBad, bad, neutral, well or veryWell",
                   Suggested([] { return wordsOf(glancery::kMoodNames); })},
                  {"--day DAY", &day, "The day, such as 2026-03-05 (default: today)"}}}},
              .examples = {"app mood well", "app mood bad --day 2026-03-04"},
              .run = [] { recordNamedMood(mood, day); }}),
          withDevice(DeviceUse::all, {
              .name = "locale-change",
              .description = "Tells the extension that the device's locale has changed to --locale",
              .groups = {{"Downloads", {
                  {"--settle", &settle, "Wait until all downloads are delivered"}}}},
              .examples = {"app locale-change --locale en_US --settle"},
              .run = [] { changeLocale(settle); }})}};
}
// clang-format on

}  // namespace host
