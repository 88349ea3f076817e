#pragma once

#include <expected>

#include "platform/foundation/data/error.h"
#include "platform/foundation/data/value.h"
#include "platform/foundation/network/url.h"

namespace platform {

struct NSFileManager {
  static NSFileManager defaultManager() { return {}; }

  /// Removes a file or an empty folder; the error names it.
  std::expected<void, NSError> removeItemAtURL(const URL& url) const;
};

/// `Data(contentsOf:)`: reads the whole file; the error names it.
std::expected<Data, NSError> dataWithContentsOfURL(const URL& url);

}  // namespace platform
