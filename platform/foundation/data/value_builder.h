#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/foundation/data/value.h"
#include "platform/support/utf8.h"

namespace platform {

/// Builds a `Value` from the events of nlohmann's parser, which prescribes the names. Limits
/// nesting while parsing: copying or freeing a deep tree would exhaust the stack.
class ValueBuilder {
 public:
  explicit ValueBuilder(int maxDepth) : maxDepth_(static_cast<std::size_t>(maxDepth)) {}

  /// The value, after the parser succeeded.
  Value take() { return std::move(root_); }
  /// Why the parser failed; valid UTF-8 for any input.
  const std::string& failure() const { return failure_; }
  bool isTooDeep() const { return tooDeep_; }

  bool null() { return add(Value()); }
  bool boolean(bool value) { return add(value); }
  bool number_integer(std::int64_t value) { return add(value); }
  bool number_unsigned(std::uint64_t value) {
    return value <= INT64_MAX ? add(static_cast<std::int64_t>(value))
                              : add(static_cast<double>(value));
  }
  bool number_float(double value, const std::string&) { return add(value); }
  bool string(std::string& value) { return add(std::move(value)); }
  template <class Bytes>
  bool binary(Bytes& bytes) {
    return add(Data{{bytes.begin(), bytes.end()}});
  }

  bool start_object(std::size_t) { return open(true); }
  bool key(std::string& key) {
    open_.back().key = std::move(key);
    return true;
  }
  bool end_object() { return close(); }
  bool start_array(std::size_t) { return open(false); }
  bool end_array() { return close(); }

  template <class Exception>
  bool parse_error(std::size_t, const std::string&, const Exception& exception) {
    // The library's message begins with an error name in brackets.
    const std::string_view text = exception.what();
    const auto end = text.find("] ");
    return fail(text.starts_with('[') && end != text.npos ? text.substr(end + 2) : text);
  }

 private:
  bool fail(std::string_view why) {
    failure_ = excerpt(why);
    return false;
  }
  bool add(Value value) {
    if (open_.empty()) {
      root_ = std::move(value);
    } else if (Container& parent = open_.back(); parent.isObject) {
      parent.members.emplace_back(std::move(parent.key), std::move(value));
    } else {
      parent.elements.push_back(std::move(value));
    }
    return true;
  }

  struct Container {
    bool isObject;
    std::string key = {};
    std::vector<Dictionary::Member> members = {};
    Array elements = {};
  };

  bool open(bool isObject) {
    if (open_.size() == maxDepth_) {
      tooDeep_ = true;
      return fail("nested deeper than " + std::to_string(maxDepth_) + " levels");
    }
    open_.push_back({isObject});
    return true;
  }
  bool close() {
    Container done = std::move(open_.back());
    open_.pop_back();
    return done.isObject ? add(Dictionary(std::move(done.members))) : add(std::move(done.elements));
  }

  std::size_t maxDepth_;
  std::vector<Container> open_;
  Value root_;
  std::string failure_;
  bool tooDeep_ = false;
};

}  // namespace platform
