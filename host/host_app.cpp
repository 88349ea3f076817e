#include "host/host_app.h"

#include "host/command_error.h"
#include "platform/foundation/date_formatter.h"
#include "platform/foundation/json_serialization.h"

namespace host {

using namespace platform;

namespace {

constexpr const char* kMoodsKey = "moodsDataKey";

Data serialized(const Dictionary& record, const std::string& what) {
  auto data = NSJSONSerialization::dataWithJSONObject(record);
  if (!data) {
    throw CommandError(what + " can't be written: " + data.error().localizedDescription);
  }
  return *std::move(data);
}

CommandError unreadableMoods(const std::string& why) {
  return CommandError("the moods under the key \"" + std::string(kMoodsKey) +
                      "\" can't be read and were left alone: " + why);
}

Dictionary storedMoods(const NSUserDefaults& suite) {
  const auto stored = suite.objectForKey(kMoodsKey);
  if (!stored) {
    return {};
  }
  const auto* data = stored->as<Data>();
  if (!data) {
    throw unreadableMoods("they are no data");
  }
  const auto object = NSJSONSerialization::JSONObjectWithData(*data);
  if (!object) {
    throw unreadableMoods(object.error().localizedDescription);
  }
  const Dictionary* moods = object->dictionaryOfStrings();
  if (!moods) {
    throw unreadableMoods("they are no JSON object of strings");
  }
  return *moods;
}

}  // namespace

NSUserDefaults openSharedSuite() {
  auto suite = NSUserDefaults::initWithSuiteName(kSharedSuite);
  if (!suite) {
    throw CommandError("the suite " + std::string(kSharedSuite) + " in " +
                       sharedContainer().string() + " can't be opened");
  }
  return *std::move(suite);
}

void synchronize(NSUserDefaults& suite) {
  if (!suite.synchronize()) {
    throw CommandError("the suite " + std::string(kSharedSuite) + " in " +
                       sharedContainer().string() + " can't be written");
  }
}

void signIn(const std::string& uid) {
  auto suite = openSharedSuite();
  suite.setObject(uid, "sharedUid");
  synchronize(suite);
}

void signOut() {
  auto suite = openSharedSuite();
  suite.removeObjectForKey("sharedUid");
  synchronize(suite);
}

void recordStreak(std::int64_t count, Date lastActive) {
  const Data record = serialized(
      {{"count", count}, {"timestamp", lastActive.timeIntervalSince1970()}}, "the streak");
  auto suite = openSharedSuite();
  suite.setObject(record, "streakData");
  synchronize(suite);
}

void recordMood(const std::string& mood, Date moment) {
  NSDateFormatter keys;
  keys.setDateFormat("yyyy-MM-dd");
  auto suite = openSharedSuite();
  Dictionary moods = storedMoods(suite);
  moods.set(keys.stringFromDate(moment), mood);
  suite.setObject(serialized(moods, "the moods"), kMoodsKey);
  synchronize(suite);
}

}  // namespace host
