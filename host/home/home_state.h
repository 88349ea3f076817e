#pragma once

#include <string>

#include "host/home/home_phone.h"

namespace host {

/// Everything that the page shows but pictures and log, as one JSON object on one line, without the
/// present instant: it is the same text as long as nothing has happened.
std::string stateJSON(HomePhone& phone);

/// `{"lines": [{"at", "text", "source"}]}`, source being "extension" or "host".
std::string logJSON(const std::vector<LogLine>& lines);

/// `{"error": why}`.
std::string errorJSON(const std::string& why);

/// Where the widget's picture is served: another address for every other picture.
std::string picturePath(const PlacedWidget& widget);

}  // namespace host
