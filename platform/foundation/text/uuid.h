#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace platform {

/// A universally unique identifier, RFC 9562.
class UUID {
 public:
  /// A new random identifier (version 4).
  UUID();

  /// "E621E1F8-C36C-495A-93FC-0C247A3E6E5F".
  std::string uuidString() const;
  friend bool operator==(const UUID&, const UUID&) = default;

 private:
  std::array<std::uint8_t, 16> bytes_;
};

}  // namespace platform
