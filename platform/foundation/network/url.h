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
  /// punycode. A host, a port or a scheme that is wrong otherwise is not mended.
  static std::optional<URL> fromString(std::string_view text);
  /// The path's "file://" address; a relative path counts from the working directory. No path at
  /// all stops the process.
  static URL fileURLWithPath(std::string_view path);

  const std::string& absoluteString() const { return absolute_; }
  /// As written, without its colon.
  std::optional<std::string> scheme() const;
  /// As written, without the brackets of an IPv6 address; nothing where it is empty.
  std::optional<std::string> host() const;
  /// The path on the disk of a "file://" address; nothing for any other.
  std::optional<std::string> path() const;
  friend bool operator==(const URL&, const URL&) = default;

 private:
  explicit URL(std::string absolute) : absolute_(std::move(absolute)) {}

  std::string absolute_;
};

}  // namespace platform
