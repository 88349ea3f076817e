#pragma once

#include "fuzz/fuzz.h"
#include "platform/widgetkit/extension_protocol.h"

namespace fuzz {

/// Decodes a message from the other process. One that is accepted must be equal after it was
/// encoded and decoded again.
template <class Message>
void messageRoundTrip(std::string_view input,
                      std::expected<Message, std::string> (*decode)(std::string_view)) {
  const auto message = decode(input);
  if (!accepted(message)) {
    return;
  }
  const auto bytes = platform::encode(*message);
  expect(bytes.has_value(), "an accepted message can be encoded");
  expect(decode(*bytes) == message, "a message survives a round trip");
}

}  // namespace fuzz
