#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// A URL by RFC 3986.
class URL {
 public:
  /// Nothing for text that is not a valid URL. Like the platform it percent-encodes characters
  /// outside the grammar and turns a host's letters outside ASCII into punycode; any other fault of
  /// scheme, host or port makes the text invalid.
  static std::optional<URL> fromString(std::string_view text);
  /// The "file://" URL of a path; a relative path counts from the working directory. An empty path
  /// stops the process.
  static URL fileURLWithPath(std::string_view path);

  const std::string& absoluteString() const { return absolute_; }
  /// As written, without its colon.
  std::optional<std::string> scheme() const;
  /// As written, without the brackets of an IPv6 address; nothing if it is empty.
  std::optional<std::string> host() const;
  /// The file's path of a "file://" URL; nothing for any other.
  std::optional<std::string> path() const;
  friend bool operator==(const URL&, const URL&) = default;

 private:
  explicit URL(std::string absolute) : absolute_(std::move(absolute)) {}

  std::string absolute_;
};

}  // namespace platform
