#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace platform {

/// A key of the string catalogue, with the integers interpolated into it: a text made from a number
/// alone has the key "%lld" and the number as its argument.
struct LocalizedStringKey {
  LocalizedStringKey(std::string name, std::vector<std::int64_t> interpolated = {})
      : key(std::move(name)), arguments(std::move(interpolated)) {}
  LocalizedStringKey(const char* name) : key(name) {}

  std::string key;
  std::vector<std::int64_t> arguments = {};
};

}  // namespace platform
