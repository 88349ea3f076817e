#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

/// A key of the string catalogue and the integers to interpolate. A text that is only a number has
/// the key "%lld" and the number as its argument.
struct LocalizedStringKey {
  LocalizedStringKey(std::string name, std::vector<std::int64_t> interpolated = {})
      : key(std::move(name)), arguments(std::move(interpolated)) {}
  LocalizedStringKey(const char* name) : key(name) {}

  std::string key;
  std::vector<std::int64_t> arguments = {};
};

}  // namespace platform
