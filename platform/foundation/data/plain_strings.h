#pragma once

#include <optional>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace platform {

/// Reads the JSON that most records are: one object of strings without escapes. Some six times as
/// fast as a parser of all of JSON, which a record that grows by a member a day comes to feel.
///
/// Nothing for any other text, right or wrong; what is wrong with it is the parser's to say.
std::optional<Dictionary> parsePlainStrings(std::string_view json);

}  // namespace platform
