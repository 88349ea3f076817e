#include "platform/widgetkit/message_channel.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace platform {

namespace {

constexpr std::size_t kHeader = 4;

using Clock = std::chrono::steady_clock;

ChannelError systemError() {
  if (errno == EPIPE || errno == ECONNRESET) {
    return {ChannelError::Kind::closed, "the other side has closed the channel"};
  }
  return {ChannelError::Kind::system, std::strerror(errno)};
}

ChannelError malformed(std::string what) {
  return {ChannelError::Kind::malformed, std::move(what)};
}

/// Waits for bytes; false when the time is over.
std::expected<bool, ChannelError> waitReadable(int descriptor,
                                               std::optional<Clock::time_point> deadline) {
  for (;;) {
    int milliseconds = -1;
    if (deadline) {
      const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
      milliseconds = static_cast<int>(std::max<std::int64_t>(0, left.count()));
    }
    pollfd wanted = {.fd = descriptor, .events = POLLIN, .revents = 0};
    const int ready = ::poll(&wanted, 1, milliseconds);
    if (ready >= 0) {
      return ready > 0;
    }
    if (errno != EINTR) {
      return std::unexpected(systemError());
    }
  }
}

}  // namespace

MessageChannel::~MessageChannel() {
  ::close(descriptor_);
}

std::expected<void, ChannelError> MessageChannel::send(
    const std::expected<std::string, std::string>& body) {
  if (!body) {
    return std::unexpected(malformed(body.error()));
  }
  if (body->size() > kMaxLength) {
    return std::unexpected(
        malformed("a message of " + std::to_string(body->size()) + " bytes is too long"));
  }
  std::string bytes;
  bytes.reserve(kHeader + body->size());
  for (int shift = 24; shift >= 0; shift -= 8) {
    bytes += static_cast<char>((body->size() >> shift) & 0xFF);
  }
  bytes += *body;

  const std::scoped_lock lock(sending_);
  std::size_t sent = 0;
  while (sent < bytes.size()) {
    // A peer that is gone is an answer, not a signal.
    const ssize_t count =
        ::send(descriptor_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) {
      return std::unexpected(systemError());
    }
    sent += static_cast<std::size_t>(std::max<ssize_t>(0, count));
  }
  return {};
}

std::expected<std::optional<std::size_t>, ChannelError> MessageChannel::announced() const {
  if (buffer_.size() < kHeader) {
    return std::nullopt;
  }
  std::size_t length = 0;
  for (std::size_t index = 0; index < kHeader; ++index) {
    length = length << 8 | static_cast<unsigned char>(buffer_[index]);
  }
  if (length > kMaxLength) {
    return std::unexpected(
        malformed("a message of " + std::to_string(length) + " bytes was announced"));
  }
  return kHeader + length;
}

std::expected<std::string, ChannelError> MessageChannel::receive(
    std::optional<std::chrono::milliseconds> timeout) {
  const auto deadline =
      timeout.transform([](std::chrono::milliseconds wait) { return Clock::now() + wait; });
  for (;;) {
    const auto length = announced();
    if (!length) {
      return std::unexpected(length.error());
    }
    if (*length && buffer_.size() >= **length) {
      std::string message = buffer_.substr(kHeader, **length - kHeader);
      buffer_.erase(0, **length);
      return message;
    }
    const auto readable = waitReadable(descriptor_, deadline);
    if (!readable) {
      return std::unexpected(readable.error());
    }
    if (!*readable) {
      return std::unexpected(ChannelError{ChannelError::Kind::timedOut, "no answer in time"});
    }
    std::array<char, 65536> chunk;
    const ssize_t count = ::recv(descriptor_, chunk.data(), chunk.size(), 0);
    if (count == 0) {
      return std::unexpected(
          ChannelError{ChannelError::Kind::closed, "the other side has closed the channel"});
    }
    if (count < 0 && errno != EINTR) {
      return std::unexpected(systemError());
    }
    buffer_.append(chunk.data(), static_cast<std::size_t>(std::max<ssize_t>(0, count)));
  }
}

}  // namespace platform
