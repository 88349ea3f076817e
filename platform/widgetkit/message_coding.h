#pragma once

#include <cmath>
#include <cstdint>
#include <expected>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/foundation/data/value.h"

// How any message becomes a value and is read from one that nobody has checked.

namespace platform {

/// Reads members of one message; one that is at fault reads as a default, and the first of them is
/// remembered.
class MessageReader {
 public:
  bool failed() const { return !error_.empty(); }
  /// The sentence that names what was first at fault; empty where nothing is.
  const std::string& error() const { return error_; }

  void fail(std::string_view member) {
    failWith("the member \"" + std::string(member) + "\" is missing or malformed");
  }
  void failWith(std::string sentence) {
    if (!failed()) {
      error_ = std::move(sentence);
    }
  }

  template <class T>
  T take(const Dictionary& from, std::string_view member) {
    const Value* value = from.find(member);
    const T* typed = value ? value->as<T>() : nullptr;
    if (!typed) {
      fail(member);
      return T();
    }
    return *typed;
  }

  double takeNumber(const Dictionary& from, std::string_view member) {
    const auto number = from.number(member);
    if (!number || !std::isfinite(*number)) {
      fail(member);
      return 0;
    }
    return *number;
  }

  int takeInt(const Dictionary& from, std::string_view member, int low, int high) {
    const auto number = from.integer(member);
    if (!number || *number < low || *number > high) {
      fail(member);
      return low;
    }
    return static_cast<int>(*number);
  }

  template <class T>
  std::vector<T> takeAll(const Dictionary& from, std::string_view member, auto element) {
    std::vector<T> all;
    for (const Value& value : take<Array>(from, member)) {
      if (auto decoded = element(value)) {
        all.push_back(*std::move(decoded));
      } else {
        fail(member);
        break;
      }
    }
    return all;
  }

 private:
  std::string error_;
};

/// The content by `encodeContent`, with the message's number.
template <class Message>
Value encodeMessage(const Message& message, auto encodeContent) {
  Dictionary encoded = std::visit(encodeContent, message.content);
  encoded.set("id", message.id);
  return encoded;
}

/// The content by `decodeContent`, which gets its type, the members and their reader.
template <class Message>
std::expected<Message, std::string> decodeMessage(const Value& value, auto decodeContent) {
  const Dictionary* from = value.dictionary();
  if (!from) {
    return std::unexpected("a message is a dictionary");
  }
  MessageReader reader;
  Message message;
  message.id = reader.take<std::int64_t>(*from, "id");
  message.content = decodeContent(reader.take<std::string>(*from, "type"), *from, reader);
  if (reader.failed()) {
    return std::unexpected(reader.error());
  }
  return message;
}

}  // namespace platform
