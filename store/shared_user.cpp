#include "store/shared_user.h"

#include "platform/foundation/user_defaults.h"
#include "store/shared_store.h"

namespace glancery {

using namespace platform;

std::optional<std::string> signedInUid(const std::string& suiteName, const std::string& key) {
  const auto suite = NSUserDefaults::initWithSuiteName(suiteName);
  auto uid = suite ? suite->stringForKey(key) : std::nullopt;
  return uid && !uid->empty() ? uid : std::nullopt;
}

bool hasSharedUid() {
  return signedInUid(kAppGroupIdentifier, kSharedUidKey).has_value();
}

}  // namespace glancery
