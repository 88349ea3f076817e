#pragma once

#include <string>

#include "platform/foundation/time/date.h"

namespace glancery {

/// The day in the words of the device's locale, in the order that its language is used to:
/// "05 de marzo, 2025", "05 mars 2025", "March 5, 2025".
std::string formattedCheckinDate(platform::Date date);

}  // namespace glancery
