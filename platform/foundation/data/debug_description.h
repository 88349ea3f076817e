#pragma once

#include <string>

#include "platform/foundation/data/value.h"

namespace platform {

/// The printed form of a dictionary of strings, `["a": "b", "c": "d"]`, `[:]` when it is empty: in
/// order of the keys, quotes, backslashes and control characters escaped, all other text as it is.
/// A value of another type stops the process: its form is not implemented.
std::string debugDescription(const Dictionary& strings);

}  // namespace platform
