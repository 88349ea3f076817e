#pragma once

#include <string>

#include "platform/foundation/time/date.h"

namespace glancery {

/// The day in the device's locale, in the usual order of its language:
/// "05 de marzo, 2025", "05 mars 2025", "March 5, 2025".
std::string formattedCheckinDate(platform::Date date);

}  // namespace glancery
