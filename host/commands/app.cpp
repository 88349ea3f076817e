#include <iostream>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/phone/command_error.h"
#include "host/phone/device_options.h"
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

/// The change of the locale is the one thing here that the extension itself hears of.
void changeLocale(const AppOptions& options) {
  WidgetHost host(settle(options.device));
  host.changeLocale();
  if (options.settle) {
    host.settleDownloads({}, std::chrono::seconds(90), [] {});
  }
  for (const std::string& line : host.log()) {
    std::cout << line << '\n';
  }
}

CLI::App* addAction(CLI::App& app,
                    const std::string& name,
                    const std::string& description,
                    const std::shared_ptr<AppOptions>& options,
                    const std::function<void(const AppOptions&)>& action) {
  CLI::App* command = app.add_subcommand(name, description);
  options->device.addSuiteOptions(*command);
  command->callback([options, action] {
    settleSuite(options->device);
    action(*options);
  });
  return command;
}

}  // namespace

void addAppCommand(CLI::App& app) {
  CLI::App* group =
      app.add_subcommand("app", "Plays the host app: writes what it would write into the suite");
  group->require_subcommand(1);

  auto signInOptions = std::make_shared<AppOptions>();
  addAction(*group,
            "sign-in",
            "Signs a user in",
            signInOptions,
            [](const AppOptions& options) { signIn(options.uid); })
      ->add_option("UID", signInOptions->uid, "The user's identifier")
      ->required();

  addAction(*group,
            "sign-out",
            "Signs the user out",
            std::make_shared<AppOptions>(),
            [](const AppOptions&) { signOut(); });

  auto streakOptions = std::make_shared<AppOptions>();
  CLI::App* streak =
      addAction(*group,
                "streak",
                "Records the streak of active days",
                streakOptions,
                [](const AppOptions& options) {
                  recordStreak(options.count, instantOf(options.lastActive, "--last-active"));
                });
  streak->add_option("N", streakOptions->count, "Days in a row")->required();
  streak->add_option("--last-active",
                     streakOptions->lastActive,
                     "The last active moment, ISO 8601 (default: now)");

  auto moodOptions = std::make_shared<AppOptions>();
  CLI::App* mood =
      addAction(*group, "mood", "Records the mood of a day", moodOptions, [](const auto& options) {
        recordNamedMood(options.mood, options.day);
      });
  mood->add_option("NAME", moodOptions->mood, "veryBad, bad, neutral, well or veryWell")
      ->required();
  mood->add_option("--day", moodOptions->day, "The day, such as 2026-03-05 (default: today)");
  moodOptions->device.addCalendarOptions(*mood);

  auto localeOptions = std::make_shared<AppOptions>();
  CLI::App* locale = group->add_subcommand(
      "locale-change", "Tells a running extension that the device's locale is now --locale");
  localeOptions->device.addTo(*locale);
  locale->add_flag("--settle", localeOptions->settle, "Wait until every download was delivered");
  locale->callback([localeOptions] { changeLocale(*localeOptions); });
}

}  // namespace host
