#pragma once

#include <string>

namespace glancery {

/// The backdrop of the present hour, by the device's calendar at the moment of the call.
std::string timeOfDayBackground();

/// The key of the present hour's line of encouragement, likewise.
std::string timeOfDayTextKey();

}  // namespace glancery
