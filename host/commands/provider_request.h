#pragma once

#include <string>

#include "platform/widgetkit/extension_protocol.h"

namespace host {

/// The names of the three requests, as the command line has them.
inline constexpr const char* kRequestNames[] = {"placeholder", "snapshot", "timeline"};

/// The request of that name; a `CommandError` names another word.
platform::ProvideRequest::What requestNamed(const std::string& name);

}  // namespace host
