#pragma once

#include <string>

#include "host/home/home_phone.h"

namespace host {

/// Everything that the page shows except pictures and log, as a JSON object on one line. It does
/// not contain the current time, so the text changes only when the state does.
std::string stateJSON(HomePhone& phone);

/// `{"lines": [{"at", "text", "source"}]}`, source being "extension" or "host".
std::string logJSON(const std::vector<LogLine>& lines);

}  // namespace host
