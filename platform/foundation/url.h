#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// An address by RFC 3986.
class URL {
 public:
  /// Nothing for what is no address. What may not stand in one is mended as the platform does:
  /// characters outside the grammar are percent-encoded, a host's letters outside ASCII become
  /// punycode.
  static std::optional<URL> fromString(std::string_view text);
  static URL fileURLWithPath(std::string_view path);

  const std::string& absoluteString() const { return absolute_; }
  std::optional<std::string> scheme() const;
  std::optional<std::string> host() const;
  friend bool operator==(const URL&, const URL&) = default;

 private:
  explicit URL(std::string absolute) : absolute_(std::move(absolute)) {}

  std::string absolute_;
};

}  // namespace platform
