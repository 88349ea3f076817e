#pragma once

#include "fuzz/fuzz.h"
#include "platform/foundation/data/cbor.h"
#include "platform/widgetkit/extension_protocol.h"

namespace fuzz {

/// Reads one message as the other process's bytes, and expects what is accepted to be the same once
/// it was said again. Compared are bytes: in values, NaN would differ from itself.
template <class Message>
void messageRoundTrip(std::string_view input,
                      std::expected<Message, std::string> (*decode)(const platform::Value&)) {
  const auto encoded = [](const platform::Value& value) {
    const auto bytes = platform::encodeCBOR(value);
    expect(bytes.has_value(), "what was read can be written");
    return *bytes;
  };
  const auto value = platform::decodeCBOR(input);
  if (!accepted(value)) {
    return;
  }
  const std::string canonical = encoded(*value);
  const auto same = platform::decodeCBOR(canonical);
  expect(same && encoded(*same) == canonical, "a value survives a round trip");

  const auto message = decode(*value);
  if (!accepted(message)) {
    return;
  }
  const std::string said = encoded(platform::encode(*message));
  const auto heard = platform::decodeCBOR(said);
  expect(heard.has_value(), "what was written can be read");
  const auto again = decode(*heard);
  expect(again.has_value(), "an accepted message is accepted again");
  expect(encoded(platform::encode(*again)) == said, "a message survives a round trip");
}

}  // namespace fuzz
