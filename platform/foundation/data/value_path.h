#pragma once

#include <string>
#include <string_view>

namespace platform {

/// What is wrong with a part of a value and the path to it: `week[3].mood`. Each level of a writer
/// that returns the fault prepends its own step, so that a successful write builds no path.
struct ValueFault {
  std::string what;
  std::string path = {};

  ValueFault inMember(std::string_view key) && {
    const bool steps = !path.empty() && path.front() != '[';
    return {std::move(what), std::string(key) + (steps ? "." : "") + path};
  }
  ValueFault inElement(std::size_t index) && {
    const bool steps = !path.empty() && path.front() != '[';
    return {std::move(what), "[" + std::to_string(index) + "]" + (steps ? "." : "") + path};
  }
  std::string sentence() const { return path.empty() ? what : what + " under \"" + path + "\""; }
};

}  // namespace platform
