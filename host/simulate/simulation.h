#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/phone/host_settings.h"
#include "host/simulate/script.h"

namespace host {

struct SimulationSettings {
  /// Its clock shows when the simulation begins.
  HostSettings phone;
  int days = 1;
  Script script;
  std::function<void(std::size_t day)> progress = [](auto) {};
};

/// What a widget did on a day.
struct WidgetDay {
  /// How many entries or pictures it has shown.
  int shown = 0;
  /// Its new timelines, by their cause's name.
  std::map<std::string, int> reloads = {};
  /// The least budget that was left.
  int budgetLeft = 0;
};

struct SimulatedDay {
  /// "2026-03-05", and the zone in which it is that day.
  std::string date;
  std::string timeZone;
  /// By kind, in the gallery's order.
  std::vector<std::pair<std::string, WidgetDay>> widgets = {};
  int downloads = 0;
  /// "20:15:00 text" from the extension, "20:15:00 host: text" from the host.
  std::vector<std::string> log = {};
};

/// Something that must never happen.
struct Violation {
  std::string at;
  std::string says;
};

struct Simulation {
  std::vector<SimulatedDay> days = {};
  std::vector<Violation> violations = {};
  /// The times at which something was due.
  int moments = 0;
};

/// Simulates days of a phone in seconds: the clock jumps from one due time to the next, the real
/// extension answers, every picture is drawn, and downloads come from a server of this process.
/// Everything follows the phone's clock, so two runs with equal settings have equal results.
///
/// Checks what must never happen: a widget without a picture, one that still shows an earlier day
/// although its timeline was to be reloaded at a date, one with more reloads than its budget, a
/// download that is lost.
/// Throws a `HostError` if the phone can't be played. Changes the device and the container of this
/// process.
Simulation simulate(const SimulationSettings& settings);

}  // namespace host
