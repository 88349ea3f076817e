#include "host/home/home_actions.h"

#include <algorithm>
#include <array>
#include <functional>

#include <nlohmann/json.hpp>

#include "host/phone/command_error.h"
#include "host/phone/host_app.h"
#include "platform/foundation/data/json_serialization.h"

namespace host {

using namespace platform;

namespace {

std::string text(const Dictionary& action, const char* key) {
  const Value* value = action.find(key);
  if (!value) {
    throw CommandError("the action lacks \"" + std::string(key) + "\"", kWrongUsage);
  }
  const auto* found = value->as<std::string>();
  if (!found) {
    throw CommandError("\"" + std::string(key) + "\" is no text", kWrongUsage);
  }
  return *found;
}

std::optional<std::string> textIfAny(const Dictionary& action, const char* key) {
  const Value* value = action.find(key);
  return value && !value->isNull() ? std::optional(text(action, key)) : std::nullopt;
}

double number(const Dictionary& action, const char* key) {
  const auto found = action.number(key);
  if (!found) {
    throw CommandError("\"" + std::string(key) + "\" is missing or no number", kWrongUsage);
  }
  return *found;
}

bool boolean(const Dictionary& action, const char* key) {
  const Value* value = action.find(key);
  const bool* found = value ? value->as<bool>() : nullptr;
  if (!found) {
    throw CommandError("\"" + std::string(key) + "\" is missing or neither true nor false",
                       kWrongUsage);
  }
  return *found;
}

void recordStreakOf(const Dictionary& action) {
  const auto count = action.integer("count");
  if (!count) {
    throw CommandError("\"count\" is missing or no whole number", kWrongUsage);
  }
  recordStreak(*count, instantOf(textIfAny(action, "lastActive").value_or(""), "lastActive"));
}

void changeDevice(HomePhone& phone, const Dictionary& action) {
  DeviceOptions options = phone.options();
  const auto change = [&](const char* key, std::string DeviceOptions::*member) {
    if (auto value = textIfAny(action, key)) {
      options.*member = *std::move(value);
    }
  };
  change("scheme", &DeviceOptions::scheme);
  change("locale", &DeviceOptions::locale);
  change("timeZone", &DeviceOptions::timeZone);
  change("os", &DeviceOptions::os);
  if (action.find("screen")) {
    change("screen", &DeviceOptions::device);
    options.size.clear();
    options.scale.reset();
  }
  phone.setDevice(options);
}

void travel(HomePhone& phone, const std::string& to) {
  const auto arrive = [&](std::optional<Date> instant, const char* what) {
    if (!instant) {
      throw CommandError("there is no next " + std::string(what) + " to travel to");
    }
    phone.travelTo(*instant);
  };
  if (to == "now") {
    phone.travelToNow();
  } else if (to == "next-entry") {
    arrive(phone.nextEntry(), "entry");
  } else if (to == "next-reload") {
    arrive(phone.nextReload(), "reload");
  } else if (to == "next-midnight") {
    phone.travelTo(phone.nextMidnight());
  } else {
    phone.travelTo(instantOf(to, "to"));
  }
}

std::string tap(HomePhone& phone, const Dictionary& action) {
  const auto link = phone.tap(text(action, "kind"), {number(action, "x"), number(action, "y")});
  const nlohmann::json answer = {{"link", link ? nlohmann::json(*link) : nlohmann::json()}};
  return answer.dump();
}

struct Action {
  std::string_view name;
  /// Whether the suite is another one afterwards.
  bool writes;
  void (*perform)(HomePhone&, const Dictionary&);
};

// clang-format off
constexpr std::array kActions = {
    Action{"sign-in",  true,  [](HomePhone&, const Dictionary& action) { signIn(text(action, "uid")); }},
    Action{"sign-out", true,  [](HomePhone&, const Dictionary&) { signOut(); }},
    Action{"streak",   true,  [](HomePhone&, const Dictionary& action) { recordStreakOf(action); }},
    Action{"mood",     true,  [](HomePhone&, const Dictionary& action) {
      recordNamedMood(text(action, "mood"), textIfAny(action, "day"));
    }},
    Action{"device",   false, changeDevice},
    Action{"travel",   false, [](HomePhone& phone, const Dictionary& action) { travel(phone, text(action, "to")); }},
    Action{"clock",    false, [](HomePhone& phone, const Dictionary& action) { phone.setRunning(boolean(action, "running")); }},
    Action{"budget",   false, [](HomePhone& phone, const Dictionary& action) { phone.setBudgetEnforced(boolean(action, "on")); }},
    Action{"reload",   false, [](HomePhone& phone, const Dictionary& action) { phone.reload(text(action, "kind")); }},
};
// clang-format on

}  // namespace

std::string performAction(HomePhone& phone, std::string_view request) {
  const auto object = NSJSONSerialization::JSONObjectWithData(Data{std::string(request)});
  const Dictionary* action = object ? object->dictionary() : nullptr;
  if (!action) {
    throw CommandError("the request is no JSON object", kWrongUsage);
  }
  const std::string name = text(*action, "action");
  if (name == "tap") {
    return tap(phone, *action);
  }
  const auto* known = std::ranges::find(kActions, name, &Action::name);
  if (known == kActions.end()) {
    throw wrongValue("action", name, "there is none of that name");
  }
  known->perform(phone, *action);
  if (known->writes) {
    phone.suiteChanged();
  }
  return "{}";
}

}  // namespace host
