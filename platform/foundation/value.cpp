#include "platform/foundation/value.h"

#include <algorithm>
#include <cmath>

namespace platform {

Dictionary::Dictionary(std::initializer_list<Map::value_type> members) : members_(members) {
}

const Value* Dictionary::find(std::string_view key) const {
  const auto found = members_.find(key);
  return found == members_.end() ? nullptr : &found->second;
}

void Dictionary::set(std::string key, Value value) {
  members_.insert_or_assign(std::move(key), std::move(value));
}

void Dictionary::remove(std::string_view key) {
  if (const auto found = members_.find(key); found != members_.end()) {
    members_.erase(found);
  }
}

std::optional<std::int64_t> Dictionary::integer(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->integer() : std::nullopt;
}

std::optional<double> Dictionary::number(std::string_view key) const {
  const Value* value = find(key);
  return value ? value->number() : std::nullopt;
}

std::optional<std::string> Dictionary::string(std::string_view key) const {
  const Value* value = find(key);
  const auto* text = value ? value->as<std::string>() : nullptr;
  return text ? std::optional(*text) : std::nullopt;
}

bool operator==(const Dictionary& a, const Dictionary& b) {
  return a.members_ == b.members_;
}

const Dictionary* Value::dictionaryOfStrings() const {
  const Dictionary* members = dictionary();
  const bool strings = members && std::ranges::all_of(*members, [](const auto& member) {
                         return member.second.template as<std::string>() != nullptr;
                       });
  return strings ? members : nullptr;
}

std::optional<std::int64_t> Value::integer() const {
  if (const auto* integer = as<std::int64_t>()) {
    return *integer;
  }
  if (const auto* boolean = as<bool>()) {
    return *boolean ? 1 : 0;
  }
  // The bounds are the powers of two themselves: the largest integer is no double.
  if (const auto* real = as<double>();
      real && std::trunc(*real) == *real && *real >= -0x1p63 && *real < 0x1p63) {
    return static_cast<std::int64_t>(*real);
  }
  return std::nullopt;
}

std::optional<double> Value::number() const {
  if (const auto* real = as<double>()) {
    return *real;
  }
  if (const auto* integer = as<std::int64_t>()) {
    return static_cast<double>(*integer);
  }
  if (const auto* boolean = as<bool>()) {
    return *boolean ? 1.0 : 0.0;
  }
  return std::nullopt;
}

}  // namespace platform
