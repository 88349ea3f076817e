#include "host/host_app.h"

#include "host/command_error.h"
#include "platform/foundation/json_serialization.h"

namespace host {

using namespace platform;

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
  const auto record = NSJSONSerialization::dataWithJSONObject(
      Dictionary{{"count", count}, {"timestamp", lastActive.timeIntervalSince1970()}});
  if (!record) {
    throw CommandError("the streak can't be written: " + record.error().localizedDescription);
  }
  auto suite = openSharedSuite();
  suite.setObject(*record, "streakData");
  synchronize(suite);
}

}  // namespace host
