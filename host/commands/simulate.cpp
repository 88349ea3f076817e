#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/terminal.h"
#include "host/phone/host_app.h"
#include "host/simulate/report.h"
#include "platform/support/files.h"
#include "platform/support/scratch_folder.h"

namespace host {

using namespace platform;

namespace {

struct SimulateOptions {
  int days = 7;
  std::string from = {};
  std::string script = {};
  std::string output = {};
};

Script scriptOf(const std::string& file) {
  if (file.empty()) {
    return readScript(defaultScript()).value();
  }
  const auto text = readFile(file);
  if (!text) {
    throw CommandError(file + " can't be read: " + text.error().message());
  }
  auto script = readScript(*text);
  if (!script) {
    throw CommandError(file + ": " + script.error());
  }
  return *std::move(script);
}

void write(const std::filesystem::path& file, const std::string& text) {
  std::error_code error;
  std::filesystem::create_directories(file.parent_path(), error);
  error = replaceFile(file, text);
  if (error) {
    throw CommandError(file.string() + " can't be written: " + error.message());
  }
}

void run(const SimulateOptions& options) {
  const Script script = scriptOf(options.script);
  const auto container = ScratchFolder::inMemory();
  SimulationSettings settings = {.phone = phone(), .days = options.days, .script = script};
  settings.phone.container = container.path();
  settings.phone.device.clock = platform::Clock::frozenAt(instantOf(options.from, "--from"));
  Simulation simulation;
  {
    ProgressBar bar("days");
    const auto days = static_cast<std::size_t>(options.days);
    settings.progress = [&](std::size_t day) { bar.show(std::min(day, days), days); };
    simulation = simulate(settings);
  }
  const std::filesystem::path folder = options.output;
  write(folder / "report.json", simulationJSON(simulation));
  write(folder / "report.html", simulationPage(simulation));
  std::cout << "Days: " << simulation.days.size() << ", moments: " << simulation.moments
            << ", violations: " << simulation.violations.size() << "; see "
            << (folder / "report.html").string() << '\n';
  if (!simulation.violations.empty()) {
    const auto& [at, says] = simulation.violations.front();
    throw CommandError("at " + at + ": " + says, kDiffers);
  }
}

}  // namespace

// clang-format off
Command simulateCommand() {
  static SimulateOptions options;
  const std::string usual = std::to_string(SimulateOptions().days);
  return withDevice(DeviceUse::all, {
      .name = "simulate",
      .description = "Simulates days of a phone in seconds, and checks what must never happen",
      .groups = {
          {"Simulation", {
              {"--days N", &options.days, "How many days (default: " + usual + ")", Range(1, 3660)},
              {"--from INSTANT", &options.from, "When it begins, ISO 8601 (default: now)"},
              {"--script FILE", &options.script, "What the user does, as JSON (default: an active user with a few mishaps)"}}},
          {"Output", {{"-o,--output DIR", &options.output, "Folder of report.html and report.json", Required()}}}},
      .examples = {"simulate --days 365 -o year", "simulate --days 30 --script holiday.json --from 2026-07-01T00:00:00-06:00 -o out"},
      .notes = "The phone has a new container; yours is not touched.\nExit status 3: something happened that must not.",
      .run = [] { run(options); }});
}
// clang-format on

}  // namespace host
