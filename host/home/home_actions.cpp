#include "host/home/home_actions.h"

#include <algorithm>
#include <array>

#include "host/home/clock_targets.h"
#include "host/http/json_members.h"
#include "host/phone/host_app.h"

namespace host {

using namespace platform;

namespace {

void storeStreak(const JsonMembers& action) {
  recordStreak(action.integer("count"),
               instantOf(action.optionalText("lastActive").value_or(""), "lastActive"));
}

void changeDevice(HomePhone& phone, const JsonMembers& action) {
  HostSettings settings = phone.settings();
  for (const std::string_view setting : kTextSettings) {
    if (const auto text = action.optionalText(setting)) {
      change(settings, setting, *text, setting);
    }
  }
  phone.setDevice(std::move(settings));
}

void travel(HomePhone& phone, const std::string& to) {
  if (to == "now") {
    phone.setClock({});
    return;
  }
  const auto targets = clockTargets(phone);
  const auto known = targets.find(to);
  const auto instant = known == targets.end() ? instantOf(to, "to") : known->second;
  if (!instant) {
    throw HostError("there is no " + to);
  }
  phone.setClock(*instant, phone.clockRuns());
}

void setRunning(HomePhone& phone, bool running) {
  if (running != phone.clockRuns()) {
    phone.setClock(Date::now(), running);
  }
}

struct Action {
  std::string_view name;
  /// Whether it changes the suite.
  bool writes;
  void (*perform)(HomePhone&, const JsonMembers&);
};

// clang-format off
constexpr std::array kActions = {
    Action{"sign-in",  true,  [](HomePhone&, const JsonMembers& action) { signIn(action.text("uid")); }},
    Action{"sign-out", true,  [](HomePhone&, const JsonMembers&) { signOut(); }},
    Action{"streak",   true,  [](HomePhone&, const JsonMembers& action) { storeStreak(action); }},
    Action{"mood",     true,  [](HomePhone&, const JsonMembers& action) { recordNamedMood(action.text("mood"), action.optionalText("day")); }},
    Action{"device",   false, changeDevice},
    Action{"travel",   false, [](HomePhone& phone, const JsonMembers& action) { travel(phone, action.text("to")); }},
    Action{"clock",    false, [](HomePhone& phone, const JsonMembers& action) { setRunning(phone, action.boolean("running")); }},
    Action{"budget",   false, [](HomePhone& phone, const JsonMembers& action) { phone.setBudgetEnforced(action.boolean("on")); }},
    Action{"tap",      false, [](HomePhone& phone, const JsonMembers& action) { phone.tap(action.text("kind"), action.optionalText("link")); }},
    Action{"place",    false, [](HomePhone& phone, const JsonMembers& action) { phone.setCount(action.text("kind"), action.integer("count")); }},
    Action{"reload",   false, [](HomePhone& phone, const JsonMembers& action) { phone.reload(action.text("kind")); }},
};
// clang-format on

}  // namespace

HttpAnswer performAction(HomePhone& phone, std::string request) {
  const JsonMembers action(std::move(request));
  const std::string name = action.text("action");
  if (name == "picture") {
    return contentAnswer("image/png", phone.drawPicture(action.text("kind"), action.text("of")));
  }
  const auto* known = std::ranges::find(kActions, name, &Action::name);
  if (known == kActions.end()) {
    throw BadRequest("unknown action \"" + name + "\"");
  }
  known->perform(phone, action);
  if (known->writes) {
    phone.suiteChanged();
  }
  return jsonAnswer("{}");
}

}  // namespace host
