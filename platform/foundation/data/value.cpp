#include "platform/foundation/data/value.h"

#include <algorithm>
#include <cmath>

namespace platform {

namespace {

/// The first member whose key is not before `key`.
auto lowerBound(auto& members, std::string_view key) {
  return std::ranges::lower_bound(members, key, {}, &Dictionary::Member::first);
}

}  // namespace

Dictionary::Dictionary(std::initializer_list<Member> members)
    : Dictionary(std::vector<Member>(members)) {
}

Dictionary::Dictionary(std::vector<Member> members) : members_(std::move(members)) {
  const auto isBefore = [](const Member& a, const Member& b) { return a.first < b.first; };
  const auto isNotBefore = [](const Member& a, const Member& b) { return a.first >= b.first; };
  if (std::ranges::adjacent_find(members_, isNotBefore) == members_.end()) {
    return;  // The usual case: they are in order already.
  }
  std::ranges::stable_sort(members_, isBefore);
  // Reversed, so that the last of equal keys is kept.
  const auto kept =
      std::unique(members_.rbegin(), members_.rend(), [](const Member& a, const Member& b) {
        return a.first == b.first;
      });
  members_.erase(members_.begin(), kept.base());
}

const Value* Dictionary::find(std::string_view key) const {
  const auto found = lowerBound(members_, key);
  return found == members_.end() || found->first != key ? nullptr : &found->second;
}

void Dictionary::set(std::string key, Value value) {
  const auto place = lowerBound(members_, key);
  if (place != members_.end() && place->first == key) {
    place->second = std::move(value);
  } else {
    members_.emplace(place, std::move(key), std::move(value));
  }
}

bool Dictionary::remove(std::string_view key) {
  const auto found = lowerBound(members_, key);
  const bool present = found != members_.end() && found->first == key;
  if (present) {
    members_.erase(found);
  }
  return present;
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
  // The upper bound is exclusive: the largest integer is not representable as a double.
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
