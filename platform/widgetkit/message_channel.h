#pragma once

#include <chrono>
#include <cstddef>
#include <expected>
#include <mutex>
#include <optional>
#include <string>

namespace platform {

/// Why a channel could not send or receive.
struct ChannelError {
  enum class Kind { closed, timedOut, malformed, system };
  Kind kind = Kind::closed;
  std::string what;
};

/// Messages over a stream socket: four bytes of length, most significant first, then the message.
///
/// Owns the descriptor. `send` is safe from any thread; one thread receives.
class MessageChannel {
 public:
  /// The longest message in bytes. A peer that announces a longer one gets `malformed`.
  static constexpr std::size_t kMaxLength = std::size_t{16} << 20;

  explicit MessageChannel(int descriptor) : descriptor_(descriptor) {}
  ~MessageChannel();
  MessageChannel(const MessageChannel&) = delete;
  MessageChannel& operator=(const MessageChannel&) = delete;

  /// Sends what `encode` returned; its error is returned as `malformed`.
  std::expected<void, ChannelError> send(const std::expected<std::string, std::string>& message);

  /// The next whole message. Returns `timedOut` after `timeout` and keeps what has arrived by then
  /// for the next call; waits forever without a timeout.
  std::expected<std::string, ChannelError> receive(
      std::optional<std::chrono::milliseconds> timeout = std::nullopt);

  int descriptor() const { return descriptor_; }

 private:
  /// The size of the first message in `buffer_` including its header, once the header is there.
  std::expected<std::optional<std::size_t>, ChannelError> announced() const;

  int descriptor_;
  std::mutex sending_;
  std::string buffer_;
};

}  // namespace platform
