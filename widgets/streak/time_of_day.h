#pragma once

#include <string>

namespace glancery {

/// The backdrop of the current hour of the device's calendar.
std::string timeOfDayBackground();

/// The key of the current hour's message.
std::string timeOfDayTextKey();

}  // namespace glancery
