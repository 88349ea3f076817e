#pragma once

#include "platform/foundation/error.h"

namespace host {

struct CurlFailure {
  platform::NSError error;
  /// Another attempt would fail as well.
  bool final = false;
};

/// What a CURLcode other than CURLE_OK means, given the number of the system's error or 0.
CurlFailure failureOf(int result, int systemError);

}  // namespace host
