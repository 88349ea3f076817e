#include <charconv>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/command_error.h"
#include "host/commands/commands.h"
#include "host/commands/device_options.h"
#include "host/commands/json_output.h"
#include "host/phone/host_app.h"
#include "platform/foundation/text/base64.h"

namespace host {

using namespace platform;

namespace {

struct StoreOptions {
  DeviceOptions device = {};
  std::string key = {};
  std::string value = {};
  std::string type = "string";
};

template <class Number>
std::optional<Number> parseNumber(const std::string& text) {
  Number number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

template <class T>
std::optional<Value> valueFrom(const std::optional<T>& parsed) {
  return parsed ? std::optional(Value(*parsed)) : std::nullopt;
}

std::optional<bool> parseBoolean(const std::string& text) {
  return text == "true" || text == "false" ? std::optional(text == "true") : std::nullopt;
}

std::optional<Data> parseData(const std::string& text) {
  return decodeBase64(text).transform([](auto bytes) { return Data{bytes}; });
}

/// How a type is written on the command line.
struct ValueType {
  const char* name;
  const char* format;
  std::optional<Value> (*parse)(const std::string& text);
};

// clang-format off
constexpr ValueType kValueTypes[] = {
    {"string", "any text", [](const auto& text) { return std::optional(Value(text)); }},
    {"integer", "a whole number of 64 bits", [](const auto& text) { return valueFrom(parseNumber<std::int64_t>(text)); }},
    {"real", "a number such as 1.5", [](const auto& text) { return valueFrom(parseNumber<double>(text)); }},
    {"boolean", "true or false", [](const auto& text) { return valueFrom(parseBoolean(text)); }},
    {"date", "an instant such as 2026-03-05T08:30:00Z", [](const auto& text) { return valueFrom(Date::fromISO8601(text)); }},
    {"data", "base64", [](const auto& text) { return valueFrom(parseData(text)); }},
    {"text-data", "any text, stored as its bytes", [](const auto& text) { return std::optional(Value(Data{text})); }},
};
// clang-format on

std::string typeNames() {
  return listOf(kValueTypes, [](const ValueType& type) { return type.name; });
}

Value valueOf(const StoreOptions& options) {
  for (const ValueType& type : kValueTypes) {
    if (options.type != type.name) {
      continue;
    }
    auto value = type.parse(options.value);
    if (!value) {
      throw InvalidValue(
          "VALUE", options.value, "a value of type " + options.type + " is " + type.format);
    }
    return *std::move(value);
  }
  throw InvalidValue("--type", options.type, "give one of " + typeNames());
}

CommandError unknownKey(const Dictionary& suite, const std::string& key) {
  const std::string keys = listOf(suite, [](const auto& member) { return member.first; });
  return CommandError("no value under the key \"" + key + "\": the suite holds " +
                      (keys.empty() ? "nothing" : keys));
}

void get(const StoreOptions& options) {
  const Dictionary suite = readSharedSuite();
  const Value* value = suite.find(options.key);
  if (!value) {
    throw unknownKey(suite, options.key);
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

void remove(const StoreOptions& options) {
  readSharedSuite();  // Reports a damaged suite, which saving would set aside.
  saveSharedSuite([&](Dictionary& suite) {
    if (!suite.remove(options.key)) {
      throw unknownKey(suite, options.key);
    }
    return true;
  });
}

void dump(const StoreOptions&) {
  std::cout << valueJSON(Value(readSharedSuite())) << '\n';
}

}  // namespace

void addStoreCommand(CLI::App& app) {
  CLI::App* group = app.add_subcommand("store", "Reads and writes the shared suite by key");
  group->require_subcommand(1);
  auto options = std::make_shared<StoreOptions>();
  const auto add = [&](const char* name, const char* description, auto action) {
    return addSuiteCommand(
        *group, name, description, options->device, [options, action] { action(*options); });
  };
  const auto addWithKey = [&](const char* name, const char* description, auto action) {
    CLI::App* command = add(name, description, action);
    command->add_option("KEY", options->key, "The key of the value")->required();
    return command;
  };
  addWithKey("get", "Prints a value", get);
  addWithKey("delete", "Removes a value", remove);
  add("dump", "Prints every value", dump);
  CLI::App* setCommand = addWithKey("set", "Stores a value", set);
  setCommand->add_option("VALUE", options->value, "The value, written as its type requires")
      ->required();
  setCommand->add_option("--type", options->type, "One of " + typeNames())->capture_default_str();
}

}  // namespace host
