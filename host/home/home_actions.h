#pragma once

#include <string>
#include <string_view>

#include "host/home/home_phone.h"

namespace host {

/// Does what the page asks for, `{"action": NAME, ...}`, and answers as a JSON object. A
/// `CommandError` names what can't be done or is no action.
std::string performAction(HomePhone& phone, std::string_view request);

}  // namespace host
