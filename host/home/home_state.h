#pragma once

#include <string>
#include <vector>

#include "host/home/home_phone.h"

namespace host {

/// Everything that the page shows except pictures and log, as a JSON object on one line. It does
/// not contain the current time, so the text changes only when the state does.
std::string stateJSON(HomePhone& phone);

/// What has happened since the last call, a JSON object each: the time "at", and "kind" with
/// "shown" and "picture" or with "cause", "why" and "budgetLeft", or "downloads", the number of
/// pending ones.
std::vector<std::string> takeEventsJSON(HomePhone& phone);

/// `{"lines": [{"at", "text", "source"}]}`, source being "extension" or "host".
std::string logJSON(const std::vector<LogLine>& lines);

}  // namespace host
