#include "host/simulate/script.h"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <set>

#include <nlohmann/json.hpp>

#include "host/phone/host_error.h"
#include "platform/foundation/time/time_zone.h"
#include "store/shared_store.h"

namespace host {

namespace {

using Json = nlohmann::ordered_json;
using enum ScriptEvent::Kind;

constexpr std::array<std::string_view, 3> kFaults = {"error", "cut", "nonsense"};

/// What an event of that name does, and the member that says with what.
struct EventForm {
  std::string_view name;
  ScriptEvent::Kind kind;
  std::string_view member = {};
  bool lasts = false;
};

constexpr std::array kForms = {
    EventForm{"sign-in", signIn, "user"},
    EventForm{"sign-out", signOut},
    EventForm{"streak", streak},
    EventForm{"mood", mood, "mood"},
    EventForm{"travel", travel, "timeZone"},
    EventForm{"offline", offline, {}, true},
    EventForm{"server", server, "fault", true},
};

void require(bool holds, const std::string& what) {
  if (!holds) {
    throw HostError(what);
  }
}

void checkValue(const ScriptEvent& event, const std::string& member) {
  const std::string& value = event.value;
  require(event.kind != signIn || !value.empty(), "\"" + member + "\" is empty");
  if (event.kind == mood) {
    require(std::ranges::count(glancery::kMoodNames, value) == 1,
            R"("mood" must be one of )" + listOf(glancery::kMoodNames));
  } else if (event.kind == travel) {
    require(platform::TimeZone::withIdentifier(value).has_value(),
            R"("timeZone": the tz database has no ")" + value + "\"");
  } else if (event.kind == server) {
    require(std::ranges::count(kFaults, value) == 1,
            R"("fault" must be one of )" + listOf(kFaults));
  }
}

/// Reads the members of an event, each once, and refuses those that are left.
class EventReader {
 public:
  explicit EventReader(const Json& json) : json_(json) {}

  ScriptEvent read() {
    const std::string name = text("do");
    const auto* form = std::ranges::find(kForms, name, &EventForm::name);
    require(form != kForms.end(), R"("do" must be one of )" + listOf(kForms, &EventForm::name));
    ScriptEvent event = {.kind = form->kind};
    if (!form->member.empty()) {
      event.value = text(std::string(form->member));
      checkValue(event, std::string(form->member));
    }
    event.minute = minuteOf(text("at"));
    event.day = number("day", 0, 0).value_or(0);
    const auto every = number("every", 1, {});
    event.every = every.value_or(1);
    event.until = number("until", event.day, every ? std::numeric_limits<int>::max() : event.day)
                      .value_or(event.day);
    if (form->lasts) {
      event.hours = number("hours", 1, {}).value_or(0);
      require(event.hours > 0, "\"hours\" is missing");
    }
    for (const auto& [member, value] : json_.items()) {
      require(read_.contains(member), "unknown member \"" + member + "\"");
    }
    return event;
  }

 private:
  const Json* find(const std::string& member) {
    read_.insert(member);
    const auto found = json_.find(member);
    return found == json_.end() ? nullptr : &*found;
  }
  std::string text(const std::string& member) {
    const Json* value = find(member);
    require(value && value->is_string(), "\"" + member + "\" must be a string");
    return *value;
  }
  /// An integer of at least `least`, or `otherwise` if there is none.
  std::optional<int> number(const std::string& member, int least, std::optional<int> otherwise) {
    const Json* value = find(member);
    if (!value) {
      return otherwise;
    }
    require(value->is_number_integer() && *value >= least && *value <= 1'000'000,
            "\"" + member + "\" must be an integer from " + std::to_string(least) + " to 1000000");
    return value->get<int>();
  }
  static int minuteOf(const std::string& at) {
    int hour = -1;
    int minute = -1;
    char rest = 0;
    require(at.size() == 5 && std::sscanf(at.c_str(), "%2d:%2d%c", &hour, &minute, &rest) == 2 &&
                hour >= 0 && hour < 24 && minute >= 0 && minute < 60,
            R"("at" must be a time such as "20:15")");
    return hour * 60 + minute;
  }

  const Json& json_;
  std::set<std::string> read_;
};

/// Counts the characters that a parser has taken.
struct CountingIterator {
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  const char* at = nullptr;
  std::size_t* taken = nullptr;

  reference operator*() const { return *at; }
  CountingIterator& operator++() {
    ++at;
    ++*taken;
    return *this;
  }
  friend bool operator==(const CountingIterator& one, const CountingIterator& other) {
    return one.at == other.at;
  }
};

std::string placeOf(std::string_view json, std::size_t offset) {
  const std::string_view before = json.substr(0, offset);
  const std::size_t lines = static_cast<std::size_t>(std::ranges::count(before, '\n'));
  const std::size_t column = before.size() - (before.rfind('\n') + 1);
  return "line " + std::to_string(lines + 1) + ", column " + std::to_string(column + 1) + ": ";
}

}  // namespace

std::expected<Script, std::string> readScript(std::string_view json) {
  std::size_t taken = 0;
  std::size_t start = 0;
  Script script;
  try {
    // The parser takes a NUL for the end of the text, and would ignore what follows it.
    if (const auto nul = json.find('\0'); nul != json.npos) {
      start = nul;
      throw HostError("not valid JSON");
    }
    bool hasEvents = false;
    const Json::parser_callback_t read = [&](int depth, Json::parse_event_t event, Json& parsed) {
      using enum Json::parse_event_t;
      if (event == object_start || event == array_start || (event == value && depth < 3)) {
        start = taken - 1;
        require(depth > 2 || event == (depth == 1 ? array_start : object_start),
                depth == 1 ? "an array was expected" : "an object was expected");
      } else if (event == key && depth == 1) {
        start = taken - 1;
        require(parsed == "events", "the only member is \"events\"");
        hasEvents = true;
      } else if (event == object_end && depth == 2) {
        script.push_back(EventReader(parsed).read());
      }
      return true;
    };
    [[maybe_unused]] const Json whole =
        Json::parse(CountingIterator{json.data(), &taken},
                    CountingIterator{json.data() + json.size(), &taken},
                    read);
    require(hasEvents, "\"events\" is missing");
    return script;
  } catch (const Json::parse_error& error) {
    return std::unexpected(placeOf(json, error.byte == 0 ? 0 : error.byte - 1) + "not valid JSON");
  } catch (const Json::out_of_range&) {
    return std::unexpected(placeOf(json, taken) + "the number before this is too large");
  } catch (const HostError& error) {
    return std::unexpected(placeOf(json, start) + error.what());
  }
}

std::string_view defaultScript() {
  return R"({"events": [
  {"do": "sign-in", "at": "08:00", "user": "u-1"},
  {"do": "streak", "at": "20:15", "every": 1, "until": 119},
  {"do": "streak", "at": "21:30", "every": 1, "day": 127},
  {"do": "mood", "at": "20:20", "every": 2, "mood": "well"},
  {"do": "mood", "at": "22:10", "every": 3, "day": 1, "mood": "bad"},
  {"do": "travel", "at": "06:00", "day": 60, "timeZone": "Europe/Madrid"},
  {"do": "travel", "at": "19:00", "day": 74, "timeZone": "America/Mexico_City"},
  {"do": "offline", "at": "09:00", "day": 100, "hours": 30},
  {"do": "server", "at": "00:00", "day": 150, "fault": "error", "hours": 24},
  {"do": "server", "at": "00:00", "day": 180, "fault": "cut", "hours": 1},
  {"do": "server", "at": "00:00", "day": 210, "fault": "nonsense", "hours": 24},
  {"do": "sign-out", "at": "10:00", "day": 240},
  {"do": "sign-in", "at": "10:00", "day": 243, "user": "u-2"}
]})";
}

}  // namespace host
