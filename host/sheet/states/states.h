#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/sheet/shot.h"

// What each widget can have to show, a file a widget.

namespace host {

std::vector<SheetState> checkinStates();
std::vector<SheetState> streakStates();
std::vector<SheetState> affirmationStates();
std::vector<SheetState> moodLogStates();

/// An instant of the day that the sheet plays on, a Thursday; every phone keeps universal time,
/// which no version of the zones' database tells otherwise.
platform::Date at(std::string_view time);
platform::Date at(std::string_view day, std::string_view time);

/// A JSON object as the host app stores it.
platform::Data record(const platform::Dictionary& members);

}  // namespace host
