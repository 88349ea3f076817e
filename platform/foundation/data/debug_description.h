#pragma once

#include <string>

#include "platform/foundation/data/value.h"

namespace platform {

/// Prints a dictionary of strings as `["a": "b", "c": "d"]`, an empty one as `[:]`, in the order of
/// the keys. Quotes, backslashes and control characters are escaped. A value of another type is not
/// implemented and stops the process.
std::string debugDescription(const Dictionary& strings);

}  // namespace platform
