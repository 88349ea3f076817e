#pragma once

#include <chrono>
#include <cstddef>
#include <expected>
#include <mutex>
#include <optional>
#include <string>

#include "platform/foundation/data/value.h"

namespace platform {

/// Why a channel gave nothing.
struct ChannelError {
  enum class Kind { closed, timedOut, malformed, system };
  Kind kind = Kind::closed;
  std::string what;
};

/// Values over a stream socket: four bytes of length, most significant first, then CBOR.
///
/// Owns the descriptor. `send` is safe from any thread; one thread receives.
class MessageChannel {
 public:
  /// No message is longer; whoever announces a longer one is cut off as malformed.
  static constexpr std::size_t kMaxLength = std::size_t{16} << 20;

  explicit MessageChannel(int descriptor) : descriptor_(descriptor) {}
  ~MessageChannel();
  MessageChannel(const MessageChannel&) = delete;
  MessageChannel& operator=(const MessageChannel&) = delete;

  std::expected<void, ChannelError> send(const Value& value);

  /// The next message whole. `timedOut` after that long without one; what had arrived by then is
  /// kept for the next call. No timeout waits for ever.
  std::expected<Value, ChannelError> receive(
      std::optional<std::chrono::milliseconds> timeout = std::nullopt);

  int descriptor() const { return descriptor_; }

 private:
  /// Bytes of the first message in `buffer_`, header included, once that is known.
  std::expected<std::optional<std::size_t>, ChannelError> announced() const;

  int descriptor_;
  std::mutex sending_;
  std::string buffer_;
};

}  // namespace platform
