#include <algorithm>
#include <charconv>
#include <iostream>

#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/phone/host_app.h"
#include "platform/foundation/text/base64.h"
#include "store/shared_store.h"

namespace host {

using namespace platform;

namespace {

struct StoreOptions {
  std::string key = {};
  std::string value = {};
  std::string type = "string";
};

template <class Number>
std::optional<Value> parseNumber(const std::string& text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end ? std::optional(Value(number)) : std::nullopt;
}

/// How a type is written on the command line.
struct ValueType {
  std::string_view name;
  const char* format;
  std::optional<Value> (*parse)(const std::string& text);
};

// clang-format off
constexpr ValueType kValueTypes[] = {
    {"string", "any text", [](const auto& text) { return std::optional(Value(text)); }},
    {"integer", "a whole number of 64 bits", [](const auto& text) { return parseNumber<std::int64_t>(text); }},
    {"real", "a number such as 1.5", [](const auto& text) { return parseNumber<double>(text); }},
    {"boolean", "true or false", [](const auto& text) { return text == "true" || text == "false" ? std::optional(Value(text == "true")) : std::nullopt; }},
    {"date", "an instant such as 2026-03-05T08:30:00Z", [](const auto& text) { return Date::fromISO8601(text).transform([](Date date) { return Value(date); }); }},
    {"data", "base64", [](const auto& text) { return decodeBase64(text).transform([](auto bytes) { return Value(Data{bytes}); }); }},
    {"text-data", "any text, stored as its bytes", [](const auto& text) { return std::optional(Value(Data{text})); }},
};
// clang-format on

Value valueOf(const StoreOptions& options) {
  const auto* type = std::ranges::find(kValueTypes, options.type, &ValueType::name);
  auto value = type->parse(options.value);
  if (!value) {
    throw InvalidValue(
        "VALUE", options.value, "a value of type " + options.type + " is " + type->format);
  }
  return *std::move(value);
}

CommandError unknownKey(const Dictionary& suite, const std::string& key) {
  const std::string keys = listOf(suite, [](const auto& member) { return member.first; });
  return CommandError("no value under the key \"" + key + "\": the suite holds " +
                      (keys.empty() ? "nothing" : keys));
}

void get(const std::string& key) {
  const Dictionary suite = readSharedSuite();
  const Value* value = suite.find(key);
  if (!value) {
    throw unknownKey(suite, key);
  }
  std::cout << valueJSON(*value) << '\n';
}

void set(const StoreOptions& options) {
  const Value value = valueOf(options);
  saveSharedSuite([&](Dictionary& suite) {
    suite.set(options.key, value);
    return true;
  });
}

void remove(const std::string& key) {
  readSharedSuite();  // Reports a damaged suite, which saving would set aside.
  saveSharedSuite([&](Dictionary& suite) {
    if (!suite.remove(key)) {
      throw unknownKey(suite, key);
    }
    return true;
  });
}

Words keys() {
  return {glancery::kStreakDataKey,
          glancery::kSharedUidKey,
          glancery::kMoodsDataKey,
          glancery::kSuccessImageIndexKey,
          glancery::kFailImageIndexKey,
          glancery::kSuccessIndexLastUpdateDateKey,
          glancery::kFailIndexLastUpdateDateKey,
          glancery::kAffirmationDataKey,
          glancery::kAffirmationLastFetchKey};
}

Words types() {
  return wordsOf(kValueTypes, &ValueType::name);
}

}  // namespace

// clang-format off
Command storeCommand() {
  static StoreOptions options;
  const OptionGroup key = {"", {{"KEY", &options.key, "The key of the value", Suggested(keys)}}};
  return {
      .name = "store",
      .description = "Reads and writes the shared suite by key",
      .commands = {
          withDevice(DeviceUse::clock, {
              .name = "get",
              .description = "Prints a value",
              .groups = {key},
              .examples = {"store get streakData"},
              .run = [] { get(options.key); }}),
          withDevice(DeviceUse::clock, {
              .name = "delete",
              .description = "Removes a value",
              .groups = {key},
              .examples = {"store delete streakImageIndex"},
              .run = [] { remove(options.key); }}),
          withDevice(DeviceUse::clock, {
              .name = "dump",
              .description = "Prints every value",
              .examples = {"store dump"},
              .run = [] { std::cout << valueJSON(Value(readSharedSuite())) << '\n'; }}),
          withDevice(DeviceUse::clock, {
              .name = "set",
              .description = "Stores a value",
              .groups = {key, {"Value", {
                  {"VALUE", &options.value, "The value, written as its type requires"},
                  {"--type TYPE", &options.type, "One of " + listOf(types()) + " (default: string)", OneOf(types)}}}},
              .examples = {"store set streakImageIndex 3 --type integer"},
              .run = [] { set(options); }})}};
}
// clang-format on

}  // namespace host
