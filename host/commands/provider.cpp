#include <algorithm>
#include <iostream>
#include <iterator>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/commands/terminal.h"
#include "host/phone/widget_host.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

namespace {

struct ProviderOptions {
  std::string kind = {};
  bool json = false;
  bool settle = false;
  int longest = kLongestSettling;
};

std::vector<Line> linesOf(const Answer& answer) {
  const bool isTimeline = answer.what == ProvideRequest::What::timeline;
  std::vector<Line> lines;
  for (std::size_t index = 0; const ArchivedEntry& entry : answer.timeline.entries) {
    if (isTimeline) {
      lines.push_back({{answer.kind + " entry " + std::to_string(index++)}, kStrong});
    }
    for (const auto& [name, text] : fieldTexts(entry)) {
      lines.push_back({{"  " + name + ":", text}});
    }
  }
  if (isTimeline) {
    const auto& date = answer.timeline.policy.date;
    lines.push_back({{"next timeline: " + (date ? "after " + date->iso8601() : "never")}});
  }
  return lines;
}

void provide(ProvideRequest::What what, const ProviderOptions& options) {
  WidgetHost host(phone());
  std::vector<Answer> answers;
  const auto ask = [&] {
    const auto before = static_cast<std::ptrdiff_t>(host.log().size());
    ArchivedTimeline timeline = host.provide(what, options.kind);
    const std::vector<std::string> log = host.log();
    answers.push_back({what, options.kind, std::move(timeline), {log.begin() + before, log.end()}});
  };
  ask();
  if (options.settle) {
    host.downloads().settle(options.kind, std::chrono::seconds(options.longest), ask);
  }
  if (options.json) {
    std::cout << (options.settle ? settledJSON(answers, host.log()) : answerJSON(answers.front()))
              << '\n';
    return;
  }
  std::vector<Line> lines;
  for (const Answer& answer : answers) {
    std::ranges::move(linesOf(answer), std::back_inserter(lines));
  }
  for (const std::string& line : host.log()) {
    lines.push_back({{line}, kFaint});
  }
  print(lines);
}

}  // namespace

Words kinds() {
  return {glancery::kCheckinKind,
          glancery::kStreakKind,
          glancery::kAffirmationKind,
          glancery::kBinnacleKind};
}

Option kindArgument(std::string& kind) {
  return {"KIND", &kind, "The widget, as gallery lists it", Suggested(kinds)};
}

// clang-format off
Command providerCommand(const std::string& request) {
  static ProviderOptions options;
  const auto what = withRawValue<ProvideRequest::What>(request).value();
  Command command = {
      .name = request,
      .description = "Prints the " + request + " of a widget's provider",
      .groups = {{"Output", {
          kindArgument(options.kind),
          {"--json", &options.json, "Print JSON"}}}},
      .examples = {request + " StreakWidget"},
      .run = [what] { provide(what, options); }};
  if (what == ProvideRequest::What::timeline) {
    command.groups.push_back({"Downloads", {
        {"--settle", &options.settle, "Wait until all downloads are delivered, and ask again for each reload"},
        {"--for SECONDS", &options.longest,
         "The longest wait of --settle (default: " + std::to_string(kLongestSettling) + ")", Range(1, 86400)}}});
    command.examples.emplace_back("timeline AffirmationWidget --settle --json");
  }
  return withDevice(DeviceUse::all, std::move(command));
}
// clang-format on

}  // namespace host
