#include "store/shared_user.h"

#include "platform/foundation/defaults/user_defaults.h"
#include "store/shared_store.h"

namespace glancery {

using namespace platform;

std::optional<std::string> signedInUid(const std::string& suiteName, const std::string& key) {
  const auto suite = NSUserDefaults::initWithSuiteName(suiteName);
  // Not the platform's string accessor: that returns a number as text.
  const auto object = suite ? suite->objectForKey(key) : std::nullopt;
  const auto* uid = object ? object->as<std::string>() : nullptr;
  return uid && !uid->empty() ? std::optional(*uid) : std::nullopt;
}

bool hasSharedUid() {
  return signedInUid(kAppGroupIdentifier, kSharedUidKey).has_value();
}

}  // namespace glancery
