#include "platform/swiftui/member_coding.h"

#include <cmath>

#include "platform/swiftui/geometry.h"

namespace platform {
namespace {

/// By the table of well-formed sequences: no overlong forms, no surrogates, nothing past U+10FFFF.
bool isUTF8(std::string_view text) {
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = [&](std::size_t offset) -> unsigned {
      return i + offset < text.size() ? static_cast<unsigned char>(text[i + offset]) : 0u;
    };
    const unsigned lead = byte(0);
    const std::size_t length = lead < 0x80                    ? 1
                               : lead >= 0xC2 && lead <= 0xDF ? 2
                               : lead >= 0xE0 && lead <= 0xEF ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0) {
      return false;
    }
    for (std::size_t offset = 1; offset < length; ++offset) {
      if ((byte(offset) & 0xC0) != 0x80) {
        return false;
      }
    }
    const unsigned second = byte(1);
    if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
        (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F)) {
      return false;
    }
    i += length;
  }
  return true;
}

/// The number that the value is; a boolean is none.
std::optional<double> strictNumber(const Value& value) {
  return value.as<bool>() ? std::nullopt : value.number();
}

bool lies(double number, NumberRange range) {
  switch (range) {
    case NumberRange::finite:
      return std::isfinite(number);
    case NumberRange::positive:
      return std::isfinite(number) && number > 0;
    case NumberRange::orInfinity:
      return std::isfinite(number) || number == infinity;
  }
  return false;
}

std::string_view rule(NumberRange range) {
  switch (range) {
    case NumberRange::finite:
      return "must be a finite number";
    case NumberRange::positive:
      return "must be a positive number";
    case NumberRange::orInfinity:
      return "must be a finite number or infinity";
  }
  return {};
}

}  // namespace

std::string quotedForeignName(std::string_view name) {
  constexpr std::size_t longest = 40;
  if (name.size() > longest || !isUTF8(name)) {
    return "(unprintable)";
  }
  return std::string("\"").append(name).append("\"");
}

void MemberEncoder::number(const char* key, const std::optional<double>& value, NumberRange) {
  if (value) {
    members_.set(key, *value);
  }
}

void MemberEncoder::color(const char* key, const Color& value) {
  members_.set(key, Array{value.red, value.green, value.blue, value.opacity});
}

void MemberDecoder::string(const char* key, std::string& target) {
  if (const Value* value = required(key)) {
    const auto* text = value->as<std::string>();
    if (check(text && isUTF8(*text), key, "must be a string of valid UTF-8")) {
      target = *text;
    }
  }
}

void MemberDecoder::boolean(const char* key, bool& target) {
  if (const Value* value = required(key)) {
    if (const auto* flag = value->as<bool>(); check(flag, key, "must be a boolean")) {
      target = *flag;
    }
  }
}

void MemberDecoder::number(const char* key, double& target, NumberRange range) {
  if (const Value* value = required(key)) {
    take(key, *value, target, range);
  }
}

void MemberDecoder::number(const char* key, std::optional<double>& target, NumberRange range) {
  if (const Value* value = find(key)) {
    take(key, *value, target.emplace(), range);
  }
}

void MemberDecoder::weight(const char* key, Weight& target) {
  if (const Value* value = required(key)) {
    const auto* weight = value->as<std::int64_t>();
    if (check(weight && *weight >= 100 && *weight <= 900 && *weight % 100 == 0,
              key,
              "must be a weight: 100, 200, and so on to 900")) {
      target = static_cast<Weight>(*weight);
    }
  }
}

void MemberDecoder::color(const char* key, Color& target) {
  const Value* value = required(key);
  if (!value) {
    return;
  }
  constexpr std::string_view rule = "must be four numbers from 0 to 1";
  const Array* components = value->array();
  if (!check(components && components->size() == 4, key, rule)) {
    return;
  }
  double* const targets[] = {&target.red, &target.green, &target.blue, &target.opacity};
  for (std::size_t i = 0; i < 4; ++i) {
    const auto component = strictNumber((*components)[i]);
    if (check(component && *component >= 0 && *component <= 1, key, rule)) {
      *targets[i] = *component;
    }
  }
}

std::string MemberDecoder::fault() {
  for (const auto& [key, value] : members_) {
    check(read_.contains(key), key, "is no member of it");
  }
  return fault_;
}

const Value* MemberDecoder::find(std::string_view key) {
  read_.insert(key);
  return members_.find(key);
}

const Value* MemberDecoder::required(std::string_view key) {
  const Value* value = find(key);
  check(value, key, "is missing");
  return value;
}

void MemberDecoder::take(const char* key, const Value& value, double& target, NumberRange range) {
  const auto number = strictNumber(value);
  if (check(number && lies(*number, range), key, rule(range))) {
    target = *number;
  }
}

std::optional<int> MemberDecoder::codeUpTo(const char* key, int last) {
  const Value* value = required(key);
  if (!value) {
    return std::nullopt;
  }
  const auto* code = value->as<std::int64_t>();
  if (!check(code && *code >= 0 && *code <= last,
             key,
             "must be an integer from 0 to " + std::to_string(last))) {
    return std::nullopt;
  }
  return static_cast<int>(*code);
}

bool MemberDecoder::check(bool holds, std::string_view key, std::string_view rule) {
  if (!holds && fault_.empty()) {
    fault_ = quotedForeignName(key) + " " + std::string(rule);
  }
  return holds;
}

}  // namespace platform
