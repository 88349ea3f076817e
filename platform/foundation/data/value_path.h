#pragma once

#include <string>
#include <string_view>

namespace platform {

/// What is wrong with a part of a value, and how to get to that part from the top: `week[3].mood`.
/// A writer that fails inside returns one, and each level it passes on the way out puts its own
/// step in front, so that a write that succeeds pays nothing for it.
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
