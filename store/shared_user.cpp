#include "store/shared_user.h"

#include "platform/foundation/user_defaults.h"
#include "store/shared_store.h"

namespace glancery {

using namespace platform;

bool hasSharedUid() {
  const auto suite = NSUserDefaults::initWithSuiteName(kAppGroupIdentifier);
  const auto uid = suite ? suite->stringForKey(kSharedUidKey) : std::nullopt;
  return uid && !uid->empty();
}

}  // namespace glancery
