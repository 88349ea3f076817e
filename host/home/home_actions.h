#pragma once

#include <string>

#include "host/home/home_phone.h"
#include "host/http/http_server.h"

namespace host {

/// Performs an action of the page, `{"action": NAME, ...}`. Throws `BadRequest` or `InvalidValue`
/// for an action that is not valid, and `HostError` for one that fails. Answers with an empty JSON
/// object, or with the picture that was requested.
HttpAnswer performAction(HomePhone& phone, std::string request);

}  // namespace host
