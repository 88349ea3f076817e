#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>

#include "platform/foundation/data/value.h"
#include "platform/swiftui/color.h"
#include "platform/swiftui/font.h"

// How the members of an archived element become a dictionary and come back. Both coders have the
// same operations, so that an element lists its members once for the two of them.

namespace platform {

/// What a number may be; never NaN.
enum class NumberRange { finite, positive, orInfinity };

class MemberEncoder {
 public:
  void string(const char* key, const std::string& value) { members_.set(key, value); }
  void boolean(const char* key, bool value) { members_.set(key, value); }
  void number(const char* key, double value, NumberRange) { members_.set(key, value); }
  void number(const char* key, const std::optional<double>& value, NumberRange);
  template <class Code>
  void code(const char* key, Code value, Code) {
    members_.set(key, static_cast<int>(value));
  }
  void weight(const char* key, Weight value) { members_.set(key, static_cast<int>(value)); }
  void color(const char* key, const Color& value);

  Dictionary take() { return std::move(members_); }

 private:
  Dictionary members_;
};

/// Fills an element's members from a dictionary that nobody has checked, and keeps the first fault
/// that it meets. A member at fault keeps its default.
class MemberDecoder {
 public:
  /// Keeps a reference to the dictionary.
  explicit MemberDecoder(const Dictionary& members) : members_(members) {}

  void string(const char* key, std::string& target);
  void boolean(const char* key, bool& target);
  void number(const char* key, double& target, NumberRange range);
  /// Where it is left out it stays absent.
  void number(const char* key, std::optional<double>& target, NumberRange range);
  /// An enumerator from the first, which is 0, to `last`.
  template <class Code>
  void code(const char* key, Code& target, Code last) {
    if (const auto code = codeUpTo(key, static_cast<int>(last))) {
      target = static_cast<Code>(*code);
    }
  }
  void weight(const char* key, Weight& target);
  void color(const char* key, Color& target);

  /// What is wrong with the members, unknown ones included; empty if nothing is.
  std::string fault();

 private:
  const Value* find(std::string_view key);
  const Value* required(std::string_view key);
  void take(const char* key, const Value& value, double& target, NumberRange range);
  std::optional<int> codeUpTo(const char* key, int last);
  bool check(bool holds, std::string_view key, std::string_view rule);

  const Dictionary& members_;
  std::set<std::string_view> read_;
  std::string fault_;
};

/// A foreign name for an error message, unless it is too long or no text.
std::string quotedForeignName(std::string_view name);

}  // namespace platform
