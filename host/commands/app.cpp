#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/phone/host_app.h"
#include "host/phone/widget_host.h"

namespace host {

using namespace platform;

namespace {

struct AppOptions {
  DeviceOptions device = {};
  std::string uid = {};
  std::int64_t count = 0;
  std::string lastActive = {};
  std::string mood = {};
  std::optional<std::string> day = {};
  bool settle = false;
};

void changeLocale(const AppOptions& options) {
  WidgetHost host(settle(options.device));
  host.tell(LocaleChanged());
  if (options.settle) {
    host.downloads().settle({}, std::chrono::seconds(90), [] {});
  }
  for (const std::string& line : host.log()) {
    std::cout << line << '\n';
  }
}

}  // namespace

void addAppCommand(CLI::App& app) {
  CLI::App* group = app.add_subcommand("app", "Writes to the suite as the host app would");
  group->require_subcommand(1);
  auto options = std::make_shared<AppOptions>();
  const auto add = [&](const char* name, const char* description, const auto& action) {
    return addSuiteCommand(*group, name, description, options->device, action);
  };

  add("sign-in", "Signs a user in", [options] { signIn(options->uid); })
      ->add_option("UID", options->uid, "The user's identifier")
      ->required();

  add("sign-out", "Signs the user out", [] { signOut(); });

  CLI::App* streak = add("streak", "Records the streak of active days", [options] {
    recordStreak(options->count, instantOf(options->lastActive, "--last-active"));
  });
  streak->add_option("N", options->count, "Days in a row")->required();
  streak->add_option(
      "--last-active", options->lastActive, "The last active instant, ISO 8601 (default: now)");

  CLI::App* mood = add("mood", "Records the mood of a day", [options] {
    recordNamedMood(options->mood, options->day);
  });
  mood->add_option("NAME", options->mood, "veryBad, bad, neutral, well or veryWell")->required();
  mood->add_option("--day", options->day, "The day, such as 2026-03-05 (default: today)");
  options->device.addCalendarOptions(*mood);

  CLI::App* locale = group->add_subcommand(
      "locale-change", "Notifies a running extension that the device's locale is now --locale");
  options->device.addTo(*locale);
  locale->add_flag("--settle", options->settle, "Wait until all downloads are delivered");
  locale->callback([options] { changeLocale(*options); });
}

}  // namespace host
