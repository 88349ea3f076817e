#include "host/simulate/report.h"

#include <nlohmann/json.hpp>

#include "host/pages/page_files.h"

namespace host {

/// The folder `page`.
extern const std::span<const PageFile> kSimulationPage;

namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const SimulatedDay& day) {
  Json widgets = Json::object();
  for (const auto& [kind, widget] : day.widgets) {
    widgets[kind] = {
        {"shown", widget.shown}, {"reloads", widget.reloads}, {"budgetLeft", widget.budgetLeft}};
  }
  return {{"date", day.date},
          {"timeZone", day.timeZone},
          {"widgets", widgets},
          {"downloads", day.downloads},
          {"log", day.log}};
}

Json jsonOf(const Simulation& simulation) {
  Json days = Json::array();
  for (const SimulatedDay& day : simulation.days) {
    days.push_back(jsonOf(day));
  }
  Json violations = Json::array();
  for (const auto& [at, says] : simulation.violations) {
    violations.push_back({{"at", at}, {"says", says}});
  }
  return {{"glancery", "simulation"},
          {"moments", simulation.moments},
          {"violations", violations},
          {"days", days}};
}

std::string printed(const Json& json, int indent) {
  return json.dump(indent, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string simulationJSON(const Simulation& simulation) {
  return printed(jsonOf(simulation), 2) + "\n";
}

std::string simulationPage(const Simulation& simulation) {
  return documentPage(*pageFile(kSimulationPage, "/simulation.html"),
                      printed(jsonOf(simulation), -1));
}

}  // namespace host
