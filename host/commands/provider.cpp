#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/commands/json_output.h"
#include "host/commands/provider_request.h"
#include "host/phone/command_error.h"
#include "host/phone/widget_host.h"

namespace host {

using namespace platform;

namespace {

struct ProviderOptions {
  DeviceOptions device = {};
  std::string kind = {};
  bool json = false;
  bool settle = false;
  int longest = 90;
};

void printEntry(const ArchivedEntry& entry) {
  for (const auto& [name, field] : entry.fields) {
    const auto* value = std::get_if<Value>(&field);
    const auto* text = value ? value->as<std::string>() : nullptr;
    std::cout << "  " << name << ": " << (text ? *text : fieldJSON(field)) << '\n';
  }
}

void printTimeline(const std::string& kind, const ArchivedTimeline& timeline) {
  for (std::size_t index = 0; index < timeline.entries.size(); ++index) {
    std::cout << kind << " entry " << index << '\n';
    printEntry(timeline.entries[index]);
  }
  std::cout << "next timeline: "
            << (timeline.policy.date ? "after " + timeline.policy.date->iso8601() : "never")
            << '\n';
}

void printLog(const std::vector<std::string>& log) {
  for (const std::string& line : log) {
    std::cout << line << '\n';
  }
}

void printAnswer(ProvideRequest::What what,
                 const ProviderOptions& options,
                 const ArchivedTimeline& timeline,
                 const std::vector<std::string>& log) {
  const bool planned = what == ProvideRequest::What::timeline;
  if (options.json) {
    std::cout << (planned ? timelineJSON(options.kind, timeline, log)
                          : entryJSON(options.kind, timeline.entries.front(), log))
              << '\n';
    return;
  }
  if (planned) {
    printTimeline(options.kind, timeline);
  } else {
    printEntry(timeline.entries.front());
  }
  printLog(log);
}

/// Asks, downloads, and asks again for as long as reloads are requested.
void printSettled(WidgetHost& host, const ProviderOptions& options) {
  std::vector<LoggedTimeline> timelines;
  const auto ask = [&] {
    const std::size_t before = host.log().size();
    LoggedTimeline logged{host.provide(ProvideRequest::What::timeline, options.kind), {}};
    const auto lines = host.log();
    logged.log.assign(lines.begin() + static_cast<std::ptrdiff_t>(before), lines.end());
    timelines.push_back(std::move(logged));
  };
  ask();
  host.settleDownloads(options.kind, std::chrono::seconds(options.longest), ask);
  if (options.json) {
    std::cout << settledJSON(options.kind, timelines, host.log()) << '\n';
    return;
  }
  for (const LoggedTimeline& logged : timelines) {
    printTimeline(options.kind, logged.timeline);
  }
  printLog(host.log());
}

}  // namespace

ProvideRequest::What requestNamed(const std::string& name) {
  const auto* found = std::ranges::find(kRequestNames, name);
  if (found == std::end(kRequestNames)) {
    throw wrongValue("--of", name, "give placeholder, snapshot or timeline");
  }
  return static_cast<ProvideRequest::What>(found - std::begin(kRequestNames));
}

void addProviderCommands(CLI::App& app) {
  for (const char* name : kRequestNames) {
    const auto what = requestNamed(name);
    auto options = std::make_shared<ProviderOptions>();
    CLI::App* command = app.add_subcommand(
        name, "Asks a widget's provider for its " + std::string(name) + " and prints the answer");
    command->add_option("KIND", options->kind, "The widget, as gallery lists it")->required();
    command->add_flag("--json", options->json, "Print JSON");
    options->device.addTo(*command);
    if (what == ProvideRequest::What::timeline) {
      command->add_flag("--settle", options->settle, "Wait until every download was delivered");
      command->add_option("--for", options->longest, "Seconds that --settle waits at most")
          ->check(CLI::Range(1, 86400))
          ->capture_default_str();
    }
    command->callback([options, what] {
      WidgetHost host(settle(options->device));
      if (options->settle) {
        printSettled(host, *options);
        return;
      }
      const ArchivedTimeline timeline = host.provide(what, options->kind);
      printAnswer(what, *options, timeline, host.log());
    });
  }
}

}  // namespace host
