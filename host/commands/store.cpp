#include <charconv>
#include <iostream>
#include <memory>

#include <CLI/CLI.hpp>

#include "host/commands/commands.h"
#include "host/commands/json_output.h"
#include "host/phone/command_error.h"
#include "host/phone/device_options.h"
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

/// The value that a word means under a type.
struct ValueType {
  const char* name;
  const char* right;
  std::optional<Value> (*parse)(const std::string& text);
};

constexpr ValueType kValueTypes[] = {
    {"string", "any text", [](const std::string& text) { return std::optional(Value(text)); }},
    {"integer",
     "a whole number of 64 bits",
     [](const std::string& text) {
       return parseNumber<std::int64_t>(text).transform([](auto n) { return Value(n); });
     }},
    {"real",
     "a number such as 1.5",
     [](const std::string& text) {
       return parseNumber<double>(text).transform([](auto n) { return Value(n); });
     }},
    {"boolean",
     "true or false",
     [](const std::string& text) {
       const bool known = text == "true" || text == "false";
       return known ? std::optional(Value(text == "true")) : std::nullopt;
     }},
    {"date",
     "an instant such as 2026-03-05T08:30:00Z",
     [](const std::string& text) {
       return Date::fromISO8601(text).transform([](Date date) { return Value(date); });
     }},
    {"data",
     "base64",
     [](const std::string& text) {
       return decodeBase64(text).transform([](auto bytes) { return Value(Data{bytes}); });
     }},
    {"text-data",
     "any text, stored as its bytes",
     [](const std::string& text) { return std::optional(Value(Data{text})); }},
};

std::string typeNames() {
  std::string names;
  for (const ValueType& type : kValueTypes) {
    names += (names.empty() ? "" : ", ") + std::string(type.name);
  }
  return names;
}

Value valueOf(const StoreOptions& options) {
  for (const ValueType& type : kValueTypes) {
    if (options.type != type.name) {
      continue;
    }
    auto value = type.parse(options.value);
    if (!value) {
      throw wrongValue(
          "VALUE", options.value, "a value of type " + options.type + " is " + type.right);
    }
    return *std::move(value);
  }
  throw wrongValue("--type", options.type, "give one of " + typeNames());
}

CommandError unknownKey(const Dictionary& all, const std::string& key) {
  std::string keys;
  for (const auto& [known, value] : all) {
    keys += (keys.empty() ? "" : ", ") + known;
  }
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
  readSharedSuite();  // A damaged suite is reported, and not set aside: there is nothing to delete.
  saveSharedSuite([&](Dictionary& suite) {
    if (!suite.remove(options.key)) {
      throw unknownKey(suite, options.key);
    }
    return true;
  });
}

void dump(const StoreOptions&) {
  std::cout << valueJSON(readSharedSuite()) << '\n';
}

/// Adds one of the group's commands; those with a key take it as their first word.
CLI::App* addAction(CLI::App& group,
                    const char* name,
                    const char* description,
                    bool takesKey,
                    const std::shared_ptr<StoreOptions>& options,
                    void (*action)(const StoreOptions&)) {
  CLI::App* command = group.add_subcommand(name, description);
  if (takesKey) {
    command->add_option("KEY", options->key, "The value's key")->required();
  }
  options->device.addSuiteOptions(*command);
  command->callback([options, action] {
    settleSuite(options->device);
    action(*options);
  });
  return command;
}

}  // namespace

void addStoreCommand(CLI::App& app) {
  CLI::App* group = app.add_subcommand("store", "Reads and writes the shared suite by key");
  group->require_subcommand(1);
  addAction(*group, "get", "Prints a value", true, std::make_shared<StoreOptions>(), get);
  addAction(*group, "delete", "Removes a value", true, std::make_shared<StoreOptions>(), remove);
  addAction(*group, "dump", "Prints every value", false, std::make_shared<StoreOptions>(), dump);

  auto options = std::make_shared<StoreOptions>();
  CLI::App* setCommand = addAction(*group, "set", "Stores a value", true, options, set);
  setCommand->add_option("VALUE", options->value, "The value, as its type words it")->required();
  setCommand->add_option("--type", options->type, "One of " + typeNames())->capture_default_str();
}

}  // namespace host
