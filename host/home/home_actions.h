#pragma once

#include <string>

#include "host/home/home_phone.h"

namespace host {

/// Performs an action of the page, `{"action": NAME, ...}`. Throws `BadRequest` or `InvalidValue`
/// for an action that is not valid, and `HostError` for one that fails.
void performAction(HomePhone& phone, std::string request);

}  // namespace host
