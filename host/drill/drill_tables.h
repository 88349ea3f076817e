#pragma once

#include <vector>

#include "host/drill/drill.h"

// The drills of each subject.

namespace host {

std::vector<Drill> extensionDrills();
std::vector<Drill> hostDrills();
std::vector<Drill> suiteDrills();
std::vector<Drill> clockDrills();
std::vector<Drill> serverDrills();

}  // namespace host
