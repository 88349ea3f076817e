#include "host/drill/drill.h"

#include <algorithm>
#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/json_output.h"
#include "host/commands/terminal.h"
#include "host/drill/kill_campaign.h"

namespace host {

namespace {

struct DrillOptions {
  Words names = {};
  bool all = false;
  bool list = false;
  bool json = false;
  int kills = 0;
};

Words drillNames() {
  return wordsOf(drills(), &Drill::name);
}

std::vector<Drill> chosen(const DrillOptions& options) {
  if (options.names.empty() && !options.all && !options.list) {
    throw CommandError("give names of drills, --all, --kills N, or --list", kWrongUsage);
  }
  if (options.names.empty()) {
    return drills();
  }
  std::vector<Drill> named;
  for (const std::string& name : options.names) {
    named.push_back(*std::ranges::find(drills(), name, &Drill::name));
  }
  return named;
}

void list(const std::vector<Drill>& listed, bool json) {
  if (json) {
    std::cout << drillsJSON(listed) << '\n';
    return;
  }
  std::vector<Line> lines;
  for (const Drill& drill : listed) {
    lines.push_back({{std::string(drill.name)}, kStrong});
    lines.push_back({{"  " + std::string(drill.fault) + ". " + std::string(drill.promise)}});
  }
  print(lines);
}

void runCampaign(int kills) {
  const auto sentence = [](const KillFigures& figures) {
    return std::to_string(figures.kills()) + " kills in " + std::to_string(figures.rounds) +
           " rounds: " + std::to_string(figures.hosts) + " hosts, " +
           std::to_string(figures.extensions) + " extensions, " + std::to_string(figures.writers) +
           " writers; " + std::to_string(figures.requests) + " requests";
  };
  int announced = 0;
  try {
    const KillFigures figures = playKills(kills, [&](const KillFigures& soFar) {
      if (soFar.kills() >= announced + 100) {
        announced = soFar.kills();
        complain(sentence(soFar));
      }
    });
    print({{{"held:", sentence(figures)}, kGood}});
  } catch (const HostError& broken) {
    throw CommandError(broken.what(), kDiffers);
  }
}

void run(const DrillOptions& options) {
  if (options.kills > 0) {
    runCampaign(options.kills);
    return;
  }
  const std::vector<Drill> played = chosen(options);
  if (options.list) {
    list(played, options.json);
    return;
  }
  std::vector<DrillResult> results;
  playAll(played, [&](const Drill& drill, DrillResult result) {
    if (!options.json) {
      print({{{std::string(drill.name) + ":",
               result.held ? "held." : "BROKEN.",
               std::string(drill.promise),
               "Seen:",
               result.seen},
              result.held ? kGood : kBad}});
      std::cout.flush();
    }
    results.push_back(std::move(result));
  });
  if (options.json) {
    std::cout << drillsJSON(played, results) << '\n';
  }
  const auto broken = std::ranges::count(results, false, &DrillResult::held);
  if (!options.json && played.size() > 1) {
    std::vector<Line> table = {{{}}};
    for (std::size_t index = 0; index < played.size(); ++index) {
      const bool held = results[index].held;
      table.push_back({{held ? "held" : "BROKEN",
                        std::string(played[index].name),
                        std::string(played[index].fault)},
                       held ? kGood : kBad});
    }
    print(table);
  }
  if (broken > 0) {
    throw CommandError(
        std::to_string(broken) + " of " + std::to_string(played.size()) + " promises did not hold",
        kDiffers);
  }
}

}  // namespace

// clang-format off
Command drillCommand() {
  static DrillOptions options;
  return {
      .name = "drill",
      .description = "Plays faults against the real programs and checks what the user is promised",
      .groups = {
          {"Drills", {
              {"[NAME...]", &options.names, "The drills to play", OneOf(drillNames)},
              {"--all", &options.all, "Play every drill, several at once"},
              {"--kills N", &options.kills, "Kill N processes at random times instead", Range(1, 1'000'000)},
              {"--list", &options.list, "List the drills instead of playing them"}}},
          {"Output", {{"--json", &options.json, "Print JSON"}}}},
      .examples = {"drill --list", "drill suite-damaged server-down", "drill --all", "drill --kills 10000"},
      .notes = "Every drill has a scratch container; yours is not touched.\n"
               "Exit status 3: a promise did not hold.",
      .run = [] { run(options); }};
}
// clang-format on

}  // namespace host
