#pragma once

#include <map>
#include <optional>
#include <string>

#include "host/home/home_phone.h"

namespace host {

/// The instants to which the page offers to set the clock, with their names; without a value where
/// there is none.
std::map<std::string, std::optional<platform::Date>> clockTargets(const HomePhone& phone);

}  // namespace host
