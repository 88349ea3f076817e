#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/foundation/data/value.h"

namespace host {

/// A request can't be understood; the text names the member at fault.
class BadRequest : public std::runtime_error {
 public:
  using runtime_error::runtime_error;
};

/// The members of a request's body, a JSON object from an untrusted sender. Every read throws a
/// `BadRequest` if the member is missing or of another type.
class JsonMembers {
 public:
  explicit JsonMembers(std::string body);

  /// A string that is not empty.
  std::string text(std::string_view name) const;
  /// Nothing if the member is missing or null.
  std::optional<std::string> optionalText(std::string_view name) const;
  double number(std::string_view name) const;
  std::int64_t integer(std::string_view name) const;
  bool boolean(std::string_view name) const;
  platform::Dictionary object(std::string_view name) const;

 private:
  platform::Dictionary members_;
};

}  // namespace host
