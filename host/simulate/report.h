#pragma once

#include <string>

#include "host/simulate/simulation.h"

namespace host {

/// {"glancery", "days": [...], "violations": [...], "moments"}, two spaces a level.
std::string simulationJSON(const Simulation& simulation);

/// A page with charts over the same, which needs no other file.
std::string simulationPage(const Simulation& simulation);

}  // namespace host
