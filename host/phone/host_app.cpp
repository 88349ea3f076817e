#include "host/phone/host_app.h"

#include <algorithm>

#include "host/phone/host_error.h"
#include "platform/foundation/data/json_serialization.h"
#include "platform/foundation/defaults/user_defaults.h"
#include "platform/foundation/locale/date_formatter.h"
#include "platform/foundation/time/time_zone.h"

namespace host {

using namespace glancery;
using namespace platform;

namespace {

Data serialized(const Dictionary& record, const std::string& what) {
  auto data = NSJSONSerialization::dataWithJSONObject(record);
  if (!data) {
    throw HostError(what + " can't be written: " + data.error().debugDescription);
  }
  return *std::move(data);
}

/// An instant of a day of the Gregorian calendar in the device's zone; now if no day is given.
Date instantIn(const std::optional<std::string>& day) {
  if (!day) {
    return Date::now();
  }
  const auto midnight = Date::fromISO8601(*day + "T00:00:00Z");
  if (!midnight) {
    throw InvalidValue("day", *day, "give a day such as 2026-03-05");
  }
  const TimeZone zone = TimeZone::current();
  const Date first = zone.firstDateShowing(midnight->wholeSecondsSince1970());
  constexpr double kSecondsPerDay = 24 * 60 * 60;
  const double wall = first.timeIntervalSince1970() + zone.secondsFromGMT(first);
  if (wall - midnight->timeIntervalSince1970() >= kSecondsPerDay) {
    throw InvalidValue("day", *day, "the time zone " + zone.identifier() + " skipped that day");
  }
  return first;
}

Dictionary storedMoods(const Dictionary& suite) {
  const Value* stored = suite.find(kMoodsDataKey);
  if (!stored) {
    return {};
  }
  std::string why = "they are not data";
  if (const auto* data = stored->as<Data>()) {
    const auto object = NSJSONSerialization::JSONObjectWithData(*data);
    const Dictionary* moods = object ? object->dictionaryOfStrings() : nullptr;
    if (moods) {
      return *moods;
    }
    why = object ? "they are not a JSON object of strings" : object.error().debugDescription;
  }
  throw HostError("the moods under the key \"" + std::string(kMoodsDataKey) +
                  "\" can't be read and were left alone: " + why);
}

SuiteFile openSharedSuite() {
  SuiteFile file(SuiteFile::pathOf(sharedContainer(), kAppGroupIdentifier));
  if (const auto opened = file.canBeOpened(); !opened) {
    throw HostError(opened.error());
  }
  return file;
}

void requireStored(const std::expected<void, std::string>& stored) {
  if (!stored) {
    throw HostError("the suite can't be stored: " + stored.error());
  }
}

void save(std::string_view key, const Value& value) {
  saveSharedSuite([&](Dictionary& suite) {
    suite.set(std::string(key), value);
    return true;
  });
}

}  // namespace

std::optional<Dictionary> recordIn(const Dictionary& suite, std::string_view key) {
  const Value* stored = suite.find(key);
  const Data* json = stored ? stored->as<Data>() : nullptr;
  const auto object =
      json ? NSJSONSerialization::JSONObjectWithData(*json).value_or(Value()) : Value();
  return object.dictionary() ? std::optional(*object.dictionary()) : std::nullopt;
}

Dictionary readSharedSuite() {
  const SuiteContents contents = openSharedSuite().read();
  if (!contents.reason.empty()) {
    throw HostError(contents.reason);
  }
  return contents.dictionary();
}

void changeSharedSuite(const SuiteFile::Edit& edit) {
  requireStored(openSharedSuite().change(edit));
}

void saveSharedSuite(const SuiteFile::Edit& edit) {
  changeSharedSuite(edit);
  requireStored(openSharedSuite().synchronize());
}

void signIn(const std::string& uid) {
  if (uid.empty()) {
    throw InvalidValue("user", uid, "give the user's identifier");
  }
  save(kSharedUidKey, uid);
}

void signOut() {
  saveSharedSuite([](Dictionary& suite) { return suite.remove(kSharedUidKey); });
}

void recordStreak(std::int64_t count, Date lastActive) {
  save(kStreakDataKey,
       serialized({{"count", count}, {"timestamp", lastActive.timeIntervalSince1970()}},
                  "the streak"));
}

Date instantOf(const std::string& text, const std::string& name) {
  if (text.empty()) {
    return Date::now();
  }
  const auto instant = Date::fromISO8601(text);
  if (!instant) {
    throw InvalidValue(name, text, "give an instant such as 2026-03-05T08:30:00Z");
  }
  return *instant;
}

void recordNamedMood(const std::string& mood, const std::optional<std::string>& day) {
  if (std::ranges::find(kMoodNames, mood) == kMoodNames.end()) {
    throw InvalidValue("mood", mood, "give one of " + listOf(kMoodNames));
  }
  const Date instant = instantIn(day);
  NSDateFormatter keys;
  keys.setDateFormat("yyyy-MM-dd");
  saveSharedSuite([&](Dictionary& suite) {
    Dictionary moods = storedMoods(suite);
    moods.set(keys.stringFromDate(instant), mood);
    suite.set(kMoodsDataKey, serialized(moods, "the moods"));
    return true;
  });
}

}  // namespace host
