#pragma once

#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

namespace host {

/// What the host could not do, as one sentence for people.
class HostError : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

/// A value from outside is not valid. The sentence names the value and says what is valid.
class InvalidValue : public HostError {
 public:
  using HostError::HostError;
  InvalidValue(const std::string& name, const std::string& value, const std::string& valid)
      : HostError(name + " \"" + value + "\": " + valid) {}
};

/// The texts of the items, separated by commas.
template <class Items, class TextOf = std::identity>
std::string listOf(const Items& items, const TextOf& textOf = {}) {
  std::string list;
  for (const auto& item : items) {
    list += (list.empty() ? "" : ", ") + std::string(std::invoke(textOf, item));
  }
  return list;
}

/// The extension has ended; a new launch may succeed.
class ExtensionEnded : public HostError {
 public:
  using HostError::HostError;
};

/// Prints a line on standard error for a problem that does not stop the command.
inline void complain(const std::string& line) {
  std::cerr << "glancery: " << line << '\n';
}

}  // namespace host
