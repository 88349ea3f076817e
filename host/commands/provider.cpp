#include <algorithm>
#include <iostream>
#include <iterator>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
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
  for (const auto& [name, text] : fieldTexts(entry)) {
    std::cout << "  " << name << ": " << text << '\n';
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

void provide(ProvideRequest::What what, const ProviderOptions& options) {
  const bool isTimeline = what == ProvideRequest::What::timeline;
  WidgetHost host(settle(options.device));
  std::vector<LoggedTimeline> answers;
  const auto ask = [&] {
    const std::size_t before = host.log().size();
    ArchivedTimeline timeline = host.provide(what, options.kind);
    const std::vector<std::string> log = host.log();
    answers.push_back(
        {std::move(timeline), {log.begin() + static_cast<std::ptrdiff_t>(before), log.end()}});
  };
  ask();
  if (options.settle) {
    host.downloads().settle(options.kind, std::chrono::seconds(options.longest), ask);
  }
  const ArchivedTimeline& first = answers.front().timeline;
  if (options.json) {
    std::cout << (options.settle ? settledJSON(options.kind, answers, host.log())
                                 : answerJSON(what, options.kind, first, host.log()))
              << '\n';
    return;
  }
  for (const LoggedTimeline& answer : answers) {
    isTimeline ? printTimeline(options.kind, answer.timeline) : printEntry(first.entries.front());
  }
  for (const std::string& line : host.log()) {
    std::cout << line << '\n';
  }
}

}  // namespace

ProvideRequest::What requestNamed(const std::string& name) {
  const auto* found = std::ranges::find(kRequestNames, name);
  if (found == std::end(kRequestNames)) {
    throw InvalidValue("--of", name, "give placeholder, snapshot or timeline");
  }
  return static_cast<ProvideRequest::What>(found - std::begin(kRequestNames));
}

void addProviderCommands(CLI::App& app) {
  for (const char* name : kRequestNames) {
    const auto what = requestNamed(name);
    auto options = std::make_shared<ProviderOptions>();
    CLI::App* command =
        app.add_subcommand(name, "Prints the " + std::string(name) + " of a widget's provider");
    command->add_option("KIND", options->kind, "The widget, as gallery lists it")->required();
    command->add_flag("--json", options->json, "Print JSON");
    options->device.addTo(*command);
    if (what == ProvideRequest::What::timeline) {
      command->add_flag("--settle",
                        options->settle,
                        "Wait until all downloads are delivered, and ask again for each reload");
      command->add_option("--for", options->longest, "The longest wait of --settle, in seconds")
          ->check(CLI::Range(1, 86400))
          ->capture_default_str();
    }
    command->callback([options, what] { provide(what, *options); });
  }
}

}  // namespace host
